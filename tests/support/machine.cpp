#include "tests/support/machine.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "tests/support/platform_faults.h"

namespace simulator {
namespace {

bool leaveMachine = false;
std::uint32_t language = 0;
decltype(&GetLocaleInfoA) getLocaleInfoA = nullptr;
decltype(&GetLocaleInfoW) getLocaleInfoW = nullptr;

LCID Locale(LCID asked) { return asked == LOCALE_USER_DEFAULT ? MAKELCID(language, SORT_DEFAULT) : asked; }

int WINAPI LocaleInfoA(LCID locale, LCTYPE type, LPSTR data, int size) {
  return getLocaleInfoA(Locale(locale), type, data, size);
}

int WINAPI LocaleInfoW(LCID locale, LCTYPE type, LPWSTR data, int size) {
  return getLocaleInfoW(Locale(locale), type, data, size);
}

template <class Function>
Function Replace(const char* name, Function replacement) {
  return reinterpret_cast<Function>(ReplaceImport(name, reinterpret_cast<void*>(replacement)));
}

}  // namespace

bool LeaveMachine() { return leaveMachine; }

std::uint32_t UsersLanguage() {
  const char* wanted = std::getenv("WSD_LANGUAGE");
  return language != 0 ? language : std::strtoul(wanted != nullptr ? wanted : "0409", nullptr, 16);
}

void TakeMachine(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    leaveMachine = leaveMachine || std::strcmp(argv[i], "--leave-machine") == 0;
    if (std::strcmp(argv[i], "--language") == 0 && i + 1 < argc) {
      language = std::strtoul(argv[i + 1], nullptr, 16);
    }
  }
  if (language == 0) {
    return;
  }
  getLocaleInfoA = Replace("GetLocaleInfoA", &LocaleInfoA);
  getLocaleInfoW = Replace("GetLocaleInfoW", &LocaleInfoW);
  // Where a language has no strings, the platform takes those of the first language of these that has.
  SetProcessPreferredUILanguages(MUI_LANGUAGE_NAME, L"en-US\0", nullptr);
}

}  // namespace simulator

#include <gtest/gtest.h>

#include <tuple>

#include "platform/registry_reader.h"
#include "platform/scoped.h"
#include "tests/support/machine.h"

namespace {

// A key that is gone afterwards, and its value "v".
struct Key {
  Key(HKEY root, const wchar_t* name, REGSAM view = 0) : root(root), name(name), view(view) {
    HKEY made = nullptr;
    RegCreateKeyExW(root, name, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS | view, nullptr, &made, nullptr);
    key.reset(made);
  }
  ~Key() { RegDeleteKeyExW(root, name, view, 0); }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  // Stores `bytes` bytes of the text.
  void Set(const std::wstring& text, std::size_t bytes) const {
    RegSetValueExW(key.get(), L"v", 0, REG_BINARY, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>(bytes));
  }
  HKEY root;
  const wchar_t* name;
  REGSAM view;
  platform::RegistryKey key;
};

using Result = std::pair<DWORD, std::wstring>;

Result Read(HKEY key) {
  wchar_t value[MAX_PATH + 1] = L"old";
  value[MAX_PATH] = L'#';
  const DWORD read = GetRegValueString(key, L"v", value);
  EXPECT_EQ(value[MAX_PATH], L'#') << "written past the buffer";
  return {read, value};
}

TEST(RegistryReader, BoundsValues) {
  if (harness::leaveMachine) GTEST_SKIP() << "writes to the registry";
  const Key test(HKEY_CURRENT_USER, L"WiaScanDialogRegistryTest");
  EXPECT_EQ(Read(test.key.get()), Result(0, L"")) << "there is none";
  const std::wstring full(260, L'y');
  for (const auto& [stored, bytes, expected] : {std::tuple{std::wstring(L"name"), 10U, Result(10, L"name")},
                                                {full, 520U, Result(520, full.substr(1))},  // cut for a terminator
                                                {std::wstring(300, L'z'), 602U, Result(0, L"")},
                                                {std::wstring(L"nameless"), 8U, Result(8, L"name")}}) {
    test.Set(stored, bytes);
    EXPECT_EQ(Read(test.key.get()), expected) << bytes;
  }
}

// A 64-bit driver's entries are in the 64-bit view, where a 32-bit application has to ask for them.
TEST(RegistryReader, FindsWhatExistsInThe64BitViewOnly) {
  if (harness::leaveMachine) GTEST_SKIP() << "writes to the registry";
  SYSTEM_INFO system = {};
  GetNativeSystemInfo(&system);
  const bool emulated = sizeof(void*) == 4 && system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL;
  EXPECT_EQ(IsWow64(), emulated);
  constexpr wchar_t kKey[] = L"Software\\WiaScanDialogViewTest";
  const Key test(HKEY_LOCAL_MACHINE, kKey, KEY_WOW64_64KEY);
  test.Set(L"64", 6);
  const auto open = [&](REGSAM access) {
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, access, &opened);
    return platform::RegistryKey(opened);
  };
  EXPECT_EQ(open(KEY_READ) == nullptr, emulated) << "the views are one";
  EXPECT_EQ(Read(open(RegistryReadAccess()).get()), Result(6, L"64"));
}

}  // namespace

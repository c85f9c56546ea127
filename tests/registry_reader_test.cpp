#include <gtest/gtest.h>

#include "platform/registry_reader.h"
#include "platform/scoped.h"
#include "tests/support/machine.h"

namespace {

// A key that is gone afterwards.
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
  void Set(const std::wstring& text, std::size_t bytes, DWORD type = REG_SZ) const {
    RegSetValueExW(key.get(), L"v", 0, type, reinterpret_cast<const BYTE*>(text.c_str()), static_cast<DWORD>(bytes));
  }
  HKEY root;
  const wchar_t* name;
  REGSAM view;
  platform::RegistryKey key;
};

std::pair<DWORD, std::wstring> Read(HKEY key, const wchar_t* name = L"v") {
  wchar_t value[MAX_PATH + 1] = L"old";
  value[MAX_PATH] = L'#';
  const DWORD read = GetRegValueString(key, name, value);
  EXPECT_EQ(value[MAX_PATH], L'#') << "written past the buffer";
  return {read, value};
}

TEST(RegistryReader, BoundsValues) {
  if (harness::leaveMachine) GTEST_SKIP() << "writes to the registry";
  const Key test(HKEY_CURRENT_USER, L"WiaScanDialogRegistryTest");
  using Result = std::pair<DWORD, std::wstring>;
  const auto roundTrip = [&](const std::wstring& text, std::size_t bytes, DWORD type = REG_SZ) {
    test.Set(text, bytes, type);
    return Read(test.key.get());
  };
  const std::wstring longest(259, L'x');
  const std::wstring full(260, L'y');
  EXPECT_EQ(roundTrip(L"name", 10), Result(10, L"name"));
  EXPECT_EQ(roundTrip(longest, 520), Result(520, longest));
  EXPECT_EQ(roundTrip(full, 520, REG_BINARY), Result(520, full.substr(1))) << "no room for a terminator: cut";
  EXPECT_EQ(roundTrip(std::wstring(300, L'z'), 602), Result(0, L""));
  EXPECT_EQ(roundTrip(L"nameless", 8), Result(8, L"name")) << "stored without terminator";
  EXPECT_EQ(roundTrip(std::wstring(L"a\0b", 3), 8, REG_BINARY), Result(8, L"a"));
  EXPECT_EQ(Read(test.key.get(), L"missing"), Result(0, L""));
  EXPECT_EQ(Read(nullptr).first, 0U);
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
  EXPECT_EQ(Read(open(RegistryReadAccess()).get()), (std::pair<DWORD, std::wstring>(6, L"64")));
}

}  // namespace

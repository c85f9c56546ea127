#include <gtest/gtest.h>

#include "platform/registry_reader.h"
#include "platform/scoped.h"
#include "tests/support/machine.h"

namespace {

class RegistryReader : public testing::Test {
 protected:
  void SetUp() override {
    if (harness::leaveMachine) {
      GTEST_SKIP() << "writes to the registry";
    }
    HKEY made = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, kName, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr, &made,
                              nullptr),
              ERROR_SUCCESS);
    key.reset(made);
  }
  void TearDown() override { RegDeleteKeyW(HKEY_CURRENT_USER, kName); }

  // Stores the text with `bytes` bytes and reads it back.
  std::pair<DWORD, std::wstring> RoundTrip(const std::wstring& text, std::size_t bytes, DWORD type = REG_SZ) {
    RegSetValueExW(key.get(), L"v", 0, type, reinterpret_cast<const BYTE*>(text.c_str()), static_cast<DWORD>(bytes));
    wchar_t value[MAX_PATH + 1] = {};
    value[MAX_PATH] = L'#';
    const DWORD read = GetRegValueString(key.get(), L"v", value);
    EXPECT_EQ(value[MAX_PATH], L'#') << "written past the buffer";
    return {read, value};
  }
  static constexpr wchar_t kName[] = L"WiaScanDialogRegistryTest";
  platform::RegistryKey key;
};

TEST_F(RegistryReader, BoundsValues) {
  using Result = std::pair<DWORD, std::wstring>;
  const std::wstring longest(259, L'x');
  const std::wstring full(260, L'y');
  EXPECT_EQ(RoundTrip(L"name", 10), Result(10, L"name"));
  EXPECT_EQ(RoundTrip(longest, 520), Result(520, longest));
  EXPECT_EQ(RoundTrip(full, 520, REG_BINARY), Result(520, full.substr(1))) << "no room for a terminator: cut";
  EXPECT_EQ(RoundTrip(std::wstring(300, L'z'), 602), Result(0, L""));
  EXPECT_EQ(RoundTrip(L"nameless", 8), Result(8, L"name")) << "stored without terminator";
  EXPECT_EQ(RoundTrip(std::wstring(L"a\0b", 3), 8, REG_BINARY), Result(8, L"a"));

  wchar_t value[MAX_PATH] = L"old";
  EXPECT_EQ(GetRegValueString(key.get(), L"missing", value), 0U);
  EXPECT_STREQ(value, L"");
  EXPECT_EQ(GetRegValueString(nullptr, L"v", value), 0U);
}

// A 64-bit driver's entries are in the 64-bit view, where a 32-bit application has to ask for them.
TEST(RegistryReaderView, FindsWhatExistsInThe64BitViewOnly) {
  if (harness::leaveMachine) {
    GTEST_SKIP() << "writes to the registry";
  }
  SYSTEM_INFO system = {};
  GetNativeSystemInfo(&system);
  const bool emulated = sizeof(void*) == 4 && system.wProcessorArchitecture != PROCESSOR_ARCHITECTURE_INTEL;
  EXPECT_EQ(IsWow64(), emulated);

  constexpr wchar_t kKey[] = L"Software\\WiaScanDialogViewTest";
  HKEY opened = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_SET_VALUE | KEY_WOW64_64KEY,
                            nullptr, &opened, nullptr),
            ERROR_SUCCESS);
  platform::RegistryKey key(opened);
  EXPECT_EQ(RegSetValueExW(key.get(), L"v", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"64"), 6), ERROR_SUCCESS);
  opened = nullptr;
  const LSTATUS plain = RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &opened);
  key.reset(opened);
  EXPECT_EQ(plain, emulated ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS) << "the views are one";
  opened = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, RegistryReadAccess(), &opened), ERROR_SUCCESS);
  key.reset(opened);
  wchar_t value[MAX_PATH] = {};
  EXPECT_EQ(GetRegValueString(key.get(), L"v", value), 6U);
  EXPECT_STREQ(value, L"64");
  RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kKey, KEY_WOW64_64KEY, 0);
}

}  // namespace

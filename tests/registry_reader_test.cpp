#include <gtest/gtest.h>

#include "platform/registry_reader.h"
#include "platform/scoped.h"

namespace {

class RegistryReader : public testing::Test {
 protected:
  void SetUp() override {
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

TEST_F(RegistryReader, SixtyFourBitViewOnlyWhereNeeded) {
  const bool wow64 = IsWow64();
  EXPECT_EQ(sizeof(void*) == 8 && wow64, false);
  EXPECT_EQ(RegistryReadAccess(), wow64 ? 0x00020119U : 0x00020019U);
}

}  // namespace

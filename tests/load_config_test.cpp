#ifndef _MSC_VER

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>

extern "C" UINT_PTR __stack_chk_guard;

namespace {

[[gnu::noinline]] void Fill(std::size_t size) {
  char buffer[16];
  char* volatile start = buffer;
  std::memset(start, 'x', size);
}

}  // namespace

TEST(LoadConfig, StackGuardIsNotTheOneThatEverybodyKnows) {
  EXPECT_NE(__stack_chk_guard, sizeof(void*) == 8 ? static_cast<UINT_PTR>(0x00002B992DDFA232) : 0xBB40E64E);
}

TEST(LoadConfig, OverwrittenStackEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Fill(16);
  // Without the guard it would end too, at an address that nobody chose: with another code. Wine has its own.
  const auto endedByTheGuard = [](int code) {
    const auto status = static_cast<DWORD>(code);
    return status == STATUS_STACK_BUFFER_OVERRUN || status == 0xC0000602;
  };
  EXPECT_EXIT(Fill(64), endedByTheGuard, "");
}

#endif

#include <gtest/gtest.h>

#include <cstring>

#include "platform/module_state.h"
#include "tests/support/machine.h"
#include "tests/support/scan_host.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  harness::leaveMachine = argc > 1 && std::strcmp(argv[1], "--leave-machine") == 0;
  harness::thorough = argc > 1 && std::strcmp(argv[1], "--thorough") == 0;
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  g_hInstance = harness::Library();
  if (g_hInstance == nullptr) {
    fprintf(stderr, "WiaScanDialog.dll does not load\n");
    return 1;
  }
  return RUN_ALL_TESTS();
}

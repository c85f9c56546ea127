// The machine and its user, as the test program was told to take them.
#pragma once

#include <cstdint>

namespace simulator {

// Whether it was told "--leave-machine": tests that change the registry, the system's folder or the devices are
// skipped.
bool LeaveMachine();

// The user's language and how it measures: as told by "--language 040D", and then for this program's own code only,
// else by the environment, which has to fit the locale there: WSD_LANGUAGE, or English.
std::uint32_t UsersLanguage();

// Reads these options. argv: what Google Test left of it.
void TakeMachine(int argc, char** argv);

}  // namespace simulator

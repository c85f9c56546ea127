// The libraries that this one imports come from the system's folder. Otherwise the loader looks into the application's
// folder first, where, unlike into the system's, others may be able to write. Windows heeds this from version 10 1607
// on. MSVC's linker makes the same of /DEPENDENTLOADFLAG, and its runtime brings the structure along.
#ifndef _MSC_VER

#include <windows.h>

namespace {

// LoadLibraryEx's LOAD_LIBRARY_SEARCH_SYSTEM32.
constexpr WORD kSearchSystemFolder = 0x800;

constexpr IMAGE_LOAD_CONFIG_DIRECTORY MakeLoadConfig() {
  IMAGE_LOAD_CONFIG_DIRECTORY config = {};
  config.Size = sizeof(config);
  config.Reserved1 = kSearchSystemFolder;  // DependentLoadFlags in newer headers
  return config;
}

}  // namespace

// The name is what the linker looks for.
extern "C" {
extern const IMAGE_LOAD_CONFIG_DIRECTORY _load_config_used;
alignas(void*) const IMAGE_LOAD_CONFIG_DIRECTORY _load_config_used = MakeLoadConfig();
}

#endif

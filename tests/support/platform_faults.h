// The platform's own calls going wrong: a full disk, a file that somebody holds, no memory, no graphics objects left.
#pragma once

#include <windows.h>

#include <cstddef>

namespace harness {

// Lets this program's own code call the replacement, which must have the function's type, until it is replaced again.
// What it called before; null: it does not import the function.
void* ReplaceImport(const char* name, void* replacement);

// What this program's own code is told of the user's settings while it lives; the last one made counts. With the first
// one the functions that answer are replaced for good.
class UserLocale {
 public:
  // language: as LOCALE_ILANGUAGE has it, such as "040D".
  explicit UserLocale(const char* language, bool inches = false);
  ~UserLocale();
  UserLocale(const UserLocale&) = delete;
  UserLocale& operator=(const UserLocale&) = delete;

 private:
  const char* m_language;
  DWORD m_measure;
};

// allocations: by operator new.
enum class PlatformCalls { files, memory, graphics, allocations };

struct PlatformFault {
  std::size_t call = 0;  // from 1; 0: none, the calls are only counted
  bool fromThenOn = false;
  DWORD error = ERROR_ACCESS_DENIED;
};

// Lets calls that this program's own code (not the libraries it loads) makes on this thread fail while it lives. One at
// a time. The program's import table is redirected for good with the first one; calls then cost a comparison more.
class PlatformFaults {
 public:
  PlatformFaults(PlatformCalls calls, const PlatformFault& fault);
  ~PlatformFaults();
  PlatformFaults(const PlatformFaults&) = delete;
  PlatformFaults& operator=(const PlatformFaults&) = delete;

  // Calls so far.
  std::size_t Count() const { return m_count; }
  // How many of the failed calls were to delete a file. What they should have deleted may be left behind.
  std::size_t RefusedDeletions() const { return m_refusedDeletions; }

  // For the redirected functions: counts a call, and tells whether it is to fail. The last error is set then.
  static bool Strikes(PlatformCalls calls, bool deletes = false) noexcept;

 private:
  const PlatformCalls m_calls;
  const PlatformFault m_fault;
  std::size_t m_count = 0;
  std::size_t m_refusedDeletions = 0;
};

}  // namespace harness

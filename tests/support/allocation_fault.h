// Memory that runs out. Linking it replaces the program's operator new, so it is no part of the simulator's library.
#pragma once

namespace harness {

// Makes the allocation number `failing` (from 1) of this thread, or every one from it on, fail while it lives; 0: none.
// Counts them.
class AllocationFault {
 public:
  explicit AllocationFault(int failing, bool fromThenOn = false);
  ~AllocationFault();
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;
  int Count() const;
};

}  // namespace harness

// The replaced operators, in a file of their own: compilers check that inlined pairs of new and delete match.
#include "tests/support/allocation_fault.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool countAllocations = false;
thread_local int allocationCount = 0;
thread_local int failingAllocation = 0;
thread_local bool laterOnesFail = false;

}  // namespace

void* operator new(std::size_t size) {
  allocationCount += countAllocations ? 1 : 0;
  const bool fails = laterOnesFail ? allocationCount >= failingAllocation : allocationCount == failingAllocation;
  if (countAllocations && failingAllocation != 0 && fails) {
    throw std::bad_alloc();
  }
  if (void* block = std::malloc(size != 0 ? size : 1)) {
    return block;
  }
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace harness {

AllocationFault::AllocationFault(int failing, bool fromThenOn) {
  countAllocations = true;
  allocationCount = 0;
  failingAllocation = failing;
  laterOnesFail = fromThenOn;
}
AllocationFault::~AllocationFault() { countAllocations = false; }
int AllocationFault::Count() const { return allocationCount; }

}  // namespace harness

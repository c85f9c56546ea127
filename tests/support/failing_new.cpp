// The program's operator new, which runs out of memory when a test wants it to. A file of its own: compilers check that
// inlined pairs of new and delete match, and only the tests are linked with it.
#include <cstdlib>
#include <new>

#include "tests/support/platform_faults.h"

void* operator new(std::size_t size) {
  using namespace harness;
  void* const block = PlatformFaults::Strikes(PlatformCalls::allocations) ? nullptr : std::malloc(size != 0 ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

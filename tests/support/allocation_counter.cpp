#include "support/allocation_counter.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool t_counting = false;
thread_local long t_allocations = 0;

void* counted_allocation(std::size_t size) {
  if (t_counting) {
    ++t_allocations;
  }
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) { return counted_allocation(size); }
void* operator new[](std::size_t size) { return counted_allocation(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace tovanel::uvc_stereo::test_support {

AllocationCount::AllocationCount() {
  t_allocations = 0;
  t_counting = true;
}

AllocationCount::~AllocationCount() { t_counting = false; }

long AllocationCount::stop() {
  t_counting = false;
  return t_allocations;
}

UncountedAllocations::UncountedAllocations() : was_counting_(t_counting) { t_counting = false; }

UncountedAllocations::~UncountedAllocations() { t_counting = was_counting_; }

}  // namespace tovanel::uvc_stereo::test_support

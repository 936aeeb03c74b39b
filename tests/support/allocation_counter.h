#pragma once

// Counts the allocations the current thread makes while counting is on, so that a test can prove that a code path
// allocates nothing. Every other thread, and this one while counting is off, allocates as usual. A program that links
// this has its global operator new and delete replaced.
namespace tovanel::uvc_stereo::test_support {

// Counts this thread's allocations from construction until stop().
class AllocationCount {
 public:
  AllocationCount();
  ~AllocationCount();
  AllocationCount(const AllocationCount&) = delete;
  AllocationCount& operator=(const AllocationCount&) = delete;

  long stop();
};

// Leaves this thread's allocations out of the count while it lives (the simulated rig's own bookkeeping, say).
class UncountedAllocations {
 public:
  UncountedAllocations();
  ~UncountedAllocations();
  UncountedAllocations(const UncountedAllocations&) = delete;
  UncountedAllocations& operator=(const UncountedAllocations&) = delete;

 private:
  bool was_counting_;
};

}  // namespace tovanel::uvc_stereo::test_support

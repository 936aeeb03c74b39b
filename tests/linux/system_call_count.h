#pragma once

#include <functional>
#include <string>
#include <vector>

// Counts the system calls a piece of code really makes, whatever makes them (the C library, the C++ library's
// file system, the SDK): the code runs in a child process that this one traces, and every system call the child
// enters between the start and the end of `body` is counted.
namespace tovanel::uvc_stereo::linux_testing {

struct SystemCallCount {
  bool traced = false;             ///< false: the child could not be traced (the reason is in `problem`)
  std::string problem;             ///< why tracing failed, or what `body` reported on failure
  std::vector<long> system_calls;  ///< the numbers of the system calls `body` made, in order
  std::vector<long> body_results;  ///< what `body` reported, carried back from the child
};

// Runs `body` in a traced child process. `body` returns numbers to carry back (counts, say); a negative first
// number is a failure that `problem` names.
[[nodiscard]] SystemCallCount count_system_calls(const std::function<std::vector<long>()>& body);

}  // namespace tovanel::uvc_stereo::linux_testing

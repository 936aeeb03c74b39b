#include "linux/system_call_count.h"

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tovanel::uvc_stereo::linux_testing {
namespace {

// The marks around the counted code: a system call that nothing in the SDK makes.
void mark() { syscall(SYS_getppid); }

[[noreturn]] void run_child(const std::function<std::vector<long>()>& body, int out) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
    _exit(3);
  }
  raise(SIGSTOP);
  mark();
  const std::vector<long> results = body();
  mark();
  const long count = static_cast<long>(results.size());
  bool written = write(out, &count, sizeof(count)) == static_cast<ssize_t>(sizeof(count));
  for (const long value : results) {
    written = written && write(out, &value, sizeof(value)) == static_cast<ssize_t>(sizeof(value));
  }
  _exit(written ? 0 : 4);
}

std::vector<long> read_results(int in) {
  std::vector<long> results;
  long count = 0;
  if (read(in, &count, sizeof(count)) != static_cast<ssize_t>(sizeof(count)) || count < 0 || count > 1024) {
    return results;
  }
  for (long i = 0; i < count; ++i) {
    long value = 0;
    if (read(in, &value, sizeof(value)) != static_cast<ssize_t>(sizeof(value))) {
      break;
    }
    results.push_back(value);
  }
  return results;
}

}  // namespace

SystemCallCount count_system_calls(const std::function<std::vector<long>()>& body) {
  SystemCallCount count;
  int channel[2];
  if (pipe(channel) != 0) {
    count.problem = std::string("pipe: ") + std::strerror(errno);
    return count;
  }
  const pid_t child = fork();
  if (child < 0) {
    count.problem = std::string("fork: ") + std::strerror(errno);
    return count;
  }
  if (child == 0) {
    close(channel[0]);
    run_child(body, channel[1]);
  }
  close(channel[1]);
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status)) {
    count.problem = "the child did not stop to be traced";
    close(channel[0]);
    return count;
  }
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  count.traced = true;
  int marks = 0;
  while (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0 && waitpid(child, &status, 0) == child) {
    if (WIFEXITED(status) || WIFSIGNALED(status)) {
      break;
    }
    if (!WIFSTOPPED(status) || WSTOPSIG(status) != (SIGTRAP | 0x80)) {
      continue;
    }
    __ptrace_syscall_info info{};
    if (ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof(info), &info) <= 0 || info.op != PTRACE_SYSCALL_INFO_ENTRY) {
      continue;
    }
    const long number = static_cast<long>(info.entry.nr);
    if (number == SYS_getppid) {
      ++marks;
    } else if (marks == 1) {
      count.system_calls.push_back(number);
    }
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    count.traced = false;
    count.problem = "the traced child did not finish its work";
  }
  count.body_results = read_results(channel[0]);
  close(channel[0]);
  return count;
}

}  // namespace tovanel::uvc_stereo::linux_testing

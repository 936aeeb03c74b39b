// Interrupts on POSIX systems: Ctrl-C (SIGINT), a request to end (SIGTERM, as from `kill`,
// `timeout` or a service manager) and the terminal closing (SIGHUP).
#include <signal.h>
#include <unistd.h>

#include "uvc-stereo/interrupt_platform.h"

namespace tovanel::uvc_stereo::cli::interrupts {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void on_signal(int) { note_interrupt(); }

}  // namespace

const int* interrupt_signals(int& count) noexcept {
  count = static_cast<int>(sizeof(kSignals) / sizeof(kSignals[0]));
  return kSignals;
}

SignalHandler route_signal(int signal) noexcept {
  struct sigaction previous {};
  if (::sigaction(signal, nullptr, &previous) != 0) {
    return SIG_ERR;
  }
  // A hangup ignored from the start (nohup) stays ignored: the run was meant to outlive its
  // terminal. Ctrl-C and SIGTERM are always caught, also where a shell started the run in the
  // background with them ignored, so that they still end it cleanly.
  if (signal == SIGHUP && previous.sa_handler == SIG_IGN) {
    return SIG_IGN;
  }
  // Without SA_RESTART: a read of standard input that waits on a terminal returns at once,
  // so Ctrl-C still ends a run that is waiting for the user's typing.
  struct sigaction action {};
  action.sa_handler = on_signal;
  sigemptyset(&action.sa_mask);
  if (::sigaction(signal, &action, &previous) != 0) {
    return SIG_ERR;
  }
  return previous.sa_handler;
}

void restore_signal(int signal, SignalHandler previous) noexcept {
  struct sigaction action {};
  action.sa_handler = previous == SIG_ERR ? SIG_DFL : previous;
  sigemptyset(&action.sa_mask);
  static_cast<void>(::sigaction(signal, &action, nullptr));
}

void start_console_events() noexcept {}

void stop_console_events() noexcept {}

void write_to_standard_error(const char* text, std::size_t length) noexcept {
  static_cast<void>(::write(STDERR_FILENO, text, length));
}

}  // namespace tovanel::uvc_stereo::cli::interrupts

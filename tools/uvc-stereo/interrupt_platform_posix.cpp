// Interrupts on POSIX systems: Ctrl-C (SIGINT), a request to end (SIGTERM, as from `kill`,
// `timeout` or a service manager) and the terminal closing (SIGHUP).
#include <signal.h>
#include <sys/select.h>
#include <unistd.h>

#include <cerrno>

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

bool wait_for_input(int descriptor) noexcept {
  if (descriptor < 0 || descriptor >= FD_SETSIZE) {
    return !interrupt_noted();  // nothing to wait on: the read itself reports what is wrong
  }
  // The interrupt signals are held back while the noted flag is checked, and let in again only
  // by pselect itself, atomically: one that comes between the check and the wait is not lost.
  sigset_t held;
  sigset_t previous;
  sigemptyset(&held);
  for (const int signal : kSignals) {
    sigaddset(&held, signal);
  }
  if (::pthread_sigmask(SIG_BLOCK, &held, &previous) != 0) {
    return !interrupt_noted();
  }
  bool readable = false;
  if (!interrupt_noted()) {
    fd_set descriptors;
    FD_ZERO(&descriptors);
    FD_SET(descriptor, &descriptors);
    const int ready = ::pselect(descriptor + 1, &descriptors, nullptr, nullptr, nullptr, &previous);
    // Any failure but an interrupt is left for the read to report.
    readable = ready > 0 || (ready < 0 && errno != EINTR);
    readable = readable && !interrupt_noted();
  }
  static_cast<void>(::pthread_sigmask(SIG_SETMASK, &previous, nullptr));
  return readable;
}

void wake_input_wait() noexcept {}

void start_console_events() noexcept {}

void stop_console_events() noexcept {}

void write_to_standard_error(const char* text, std::size_t length) noexcept {
  static_cast<void>(::write(STDERR_FILENO, text, length));
}

}  // namespace tovanel::uvc_stereo::cli::interrupts

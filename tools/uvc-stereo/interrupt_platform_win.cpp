// Interrupts on Windows: the console's control events (Ctrl-C, Ctrl-Break, the console
// window closed, logoff, shutdown), which Windows delivers on a thread of its own, and the
// C runtime's SIGINT and SIGTERM for interrupts raised within the process.
#include <io.h>

#include <csignal>

#include "uvc-stereo/interrupt_platform.h"

namespace tovanel::uvc_stereo::cli::interrupts {
namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};

// The C runtime puts a signal back to its default before calling the handler, so the
// handler routes it here again at once: a second interrupt must not end the write.
extern "C" void on_signal(int signal) {
  std::signal(signal, on_signal);
  note_interrupt();
}

// Set while no command is holding interrupts; a handler waiting for the command to finish
// waits on it. Made once and kept for the life of the process, so a handler that is late
// to wait never finds it gone.
HANDLE command_finished() noexcept {
  static HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  return event;
}

}  // namespace

const int* interrupt_signals(int& count) noexcept {
  count = static_cast<int>(sizeof(kSignals) / sizeof(kSignals[0]));
  return kSignals;
}

SignalHandler route_signal(int signal) noexcept { return std::signal(signal, on_signal); }

void restore_signal(int signal, SignalHandler previous) noexcept {
  std::signal(signal, previous == SIG_ERR ? SIG_DFL : previous);
}

BOOL WINAPI handle_console_event(DWORD event) {
  switch (event) {
    case CTRL_C_EVENT:
    case CTRL_BREAK_EVENT:
      note_interrupt();
      return TRUE;
    case CTRL_CLOSE_EVENT:
    case CTRL_LOGOFF_EVENT:
    case CTRL_SHUTDOWN_EVENT:
      // Windows ends the process as soon as this handler returns, or when its own time runs
      // out (about five seconds by default for a console being closed, the system's kill
      // timeout at logoff and shutdown), whatever the handler does. So the interrupt is
      // recorded and this thread, not the one writing, waits for the command to finish its
      // write, verification and report: as long as Windows allows, and no shorter, since
      // returning early would only cut the write sooner.
      note_interrupt();
      WaitForSingleObject(command_finished(), INFINITE);
      return TRUE;
    default:
      return FALSE;
  }
}

void start_console_events() noexcept {
  ResetEvent(command_finished());
  // Registered after the C runtime's own handler, so it is asked first and the runtime's
  // SIGINT never fires for a console event as well.
  SetConsoleCtrlHandler(handle_console_event, TRUE);
}

void stop_console_events() noexcept {
  SetEvent(command_finished());
  SetConsoleCtrlHandler(handle_console_event, FALSE);
}

bool wait_for_input(int) noexcept { return !interrupt_noted(); }

void write_to_standard_error(const char* text, std::size_t length) noexcept {
  static_cast<void>(_write(2, text, static_cast<unsigned int>(length)));
}

}  // namespace tovanel::uvc_stereo::cli::interrupts

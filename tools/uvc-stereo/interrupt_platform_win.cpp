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

// Set when an interrupt is noted, reset when a command begins holding them: a wait for input
// watches it beside the input, so an interrupt noted on any thread ends the wait at once.
HANDLE interrupt_arrived() noexcept {
  static HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  return event;
}

// How often a wait on a pipe looks whether input has come. An anonymous pipe cannot be waited
// on, so the wait sleeps on the interrupt event between looks: input is seen within this, an
// interrupt at once.
constexpr DWORD kPipeLookIntervalMs = 10;

bool wait_for_pipe(HANDLE pipe, HANDLE interrupted) noexcept {
  while (!interrupt_noted()) {
    DWORD available = 0;
    // Input, or the writer gone (the read then finds the end), or a failure the read reports.
    if (!PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) || available > 0) {
      return !interrupt_noted();
    }
    if (WaitForSingleObject(interrupted, kPipeLookIntervalMs) == WAIT_OBJECT_0) {
      return false;
    }
  }
  return false;
}

// True when the next console input event is a key typed, which a read turns into text.
bool key_typed(const INPUT_RECORD& record) noexcept {
  return record.EventType == KEY_EVENT && record.Event.KeyEvent.bKeyDown &&
         record.Event.KeyEvent.uChar.UnicodeChar != 0;
}

bool wait_for_console(HANDLE console, HANDLE interrupted) noexcept {
  const HANDLE watched[2] = {interrupted, console};
  while (!interrupt_noted()) {
    const DWORD woken = WaitForMultipleObjects(2, watched, FALSE, INFINITE);
    if (woken == WAIT_OBJECT_0) {
      return false;
    }
    if (woken != WAIT_OBJECT_0 + 1) {
      return !interrupt_noted();  // a failed wait is left for the read to report
    }
    // The console wakes the wait for any event (focus, mouse, a key let go); only a key typed
    // is input. The others are taken off, so that they do not wake the wait again.
    INPUT_RECORD record;
    DWORD count = 0;
    if (!PeekConsoleInputW(console, &record, 1, &count)) {
      return !interrupt_noted();
    }
    if (count != 0 && key_typed(record)) {
      return !interrupt_noted();
    }
    if (count != 0 && !ReadConsoleInputW(console, &record, 1, &count)) {
      return !interrupt_noted();
    }
  }
  return false;
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
  ResetEvent(interrupt_arrived());
  // Registered after the C runtime's own handler, so it is asked first and the runtime's
  // SIGINT never fires for a console event as well.
  SetConsoleCtrlHandler(handle_console_event, TRUE);
}

void stop_console_events() noexcept {
  SetEvent(command_finished());
  SetConsoleCtrlHandler(handle_console_event, FALSE);
}

bool wait_for_input(int descriptor) noexcept {
  const auto input = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  const HANDLE interrupted = interrupt_arrived();
  if (input == INVALID_HANDLE_VALUE || interrupted == nullptr) {
    return !interrupt_noted();  // nothing to wait on: the read itself reports what is wrong
  }
  DWORD console_mode = 0;
  switch (GetFileType(input)) {
    case FILE_TYPE_PIPE:
      return wait_for_pipe(input, interrupted);
    case FILE_TYPE_CHAR:
      // A console, or a character device such as NUL, which always has its end to read.
      return GetConsoleMode(input, &console_mode) != 0 ? wait_for_console(input, interrupted) : !interrupt_noted();
    default:
      return !interrupt_noted();  // a file always has input or its end
  }
}

void wake_input_wait() noexcept {
  if (const HANDLE event = interrupt_arrived(); event != nullptr) {
    SetEvent(event);
  }
}

void write_to_standard_error(const char* text, std::size_t length) noexcept {
  static_cast<void>(_write(2, text, static_cast<unsigned int>(length)));
}

}  // namespace tovanel::uvc_stereo::cli::interrupts

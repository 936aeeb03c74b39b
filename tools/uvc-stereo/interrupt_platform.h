#pragma once

#include <cstddef>

#if defined(_WIN32)
#include <windows.h>
#endif

// The platform's half of InterruptDeferral: how interrupts reach the tool on this system.
// Each function is defined once per platform (interrupt_platform_posix.cpp and _win.cpp).
namespace tovanel::uvc_stereo::cli::interrupts {

// Records one interrupt (defined with InterruptDeferral): safe to call from a signal
// handler and from another thread.
void note_interrupt() noexcept;
// True once an interrupt has been recorded since the current command began holding them.
[[nodiscard]] bool interrupt_noted() noexcept;

using SignalHandler = void (*)(int);

// The signals routed to note_interrupt on this platform and how many there are.
[[nodiscard]] const int* interrupt_signals(int& count) noexcept;

// Routes `signal` to note_interrupt and returns what was in force before, for
// restore_signal. A hangup that was ignored (nohup) stays ignored, and SIG_IGN is returned.
[[nodiscard]] SignalHandler route_signal(int signal) noexcept;
void restore_signal(int signal, SignalHandler previous) noexcept;

// While watching, the console's control events (Windows) are recorded as interrupts; a
// console closed, a logoff or a shutdown, which Windows does not let a program outlive,
// is held until stop_console_events() says the command has finished. No-ops elsewhere.
void start_console_events() noexcept;
void stop_console_events() noexcept;

// Waits until `descriptor` has input (or its end, or an error) to read, or an interrupt is
// noted, whichever comes first; true when there is something to read. An interrupt that
// arrives just before the wait ends it as surely as one during it, on any thread (Windows
// delivers the console's events on a thread of their own).
[[nodiscard]] bool wait_for_input(int descriptor) noexcept;
// Ends a wait_for_input in progress because an interrupt was just noted (called by
// note_interrupt, so safe wherever it is): on Windows the wait watches an event this sets;
// elsewhere the signal itself ends the wait, and this does nothing.
void wake_input_wait() noexcept;

// Writes `length` bytes of `text` to standard error with one system call, as a signal
// handler may.
void write_to_standard_error(const char* text, std::size_t length) noexcept;

#if defined(_WIN32)
// The console control handler itself, for the tests to deliver events that a console
// would (Wine cannot close a console or log a user off).
BOOL WINAPI handle_console_event(DWORD event);
#endif

}  // namespace tovanel::uvc_stereo::cli::interrupts

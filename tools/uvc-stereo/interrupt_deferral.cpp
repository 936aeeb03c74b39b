#include "uvc-stereo/interrupt_deferral.h"

#include <csignal>

#include <signal.h>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace tovanel::uvc_stereo::cli {
namespace {

volatile std::sig_atomic_t g_interrupted = 0;
volatile std::sig_atomic_t g_writing_flash = 0;

constexpr char kFinishing[] =
    "\nuvc-stereo: interrupted while the flash is being written; finishing the write and its verification first\n";

extern "C" void on_interrupt(int) {
  g_interrupted = 1;
  if (g_writing_flash != 0) {
    // Only an async-signal-safe write may run here.
#if defined(_WIN32)
    static_cast<void>(_write(2, kFinishing, sizeof(kFinishing) - 1));
#else
    static_cast<void>(::write(2, kFinishing, sizeof(kFinishing) - 1));
#endif
  }
}

}  // namespace

InterruptDeferral::Handler InterruptDeferral::install(int signal) {
#if defined(_WIN32)
  return std::signal(signal, on_interrupt);
#else
  // Without SA_RESTART: a read of standard input that waits on a terminal returns at once,
  // so Ctrl-C still ends a run that is waiting for the user's typing.
  struct sigaction action {};
  action.sa_handler = on_interrupt;
  sigemptyset(&action.sa_mask);
  struct sigaction previous {};
  if (::sigaction(signal, &action, &previous) != 0) {
    return SIG_ERR;
  }
  return previous.sa_handler;
#endif
}

InterruptDeferral::InterruptDeferral() {
  g_interrupted = 0;
  g_writing_flash = 0;
  previous_interrupt_ = install(SIGINT);
  previous_terminate_ = install(SIGTERM);
}

InterruptDeferral::~InterruptDeferral() {
  g_writing_flash = 0;
  std::signal(SIGINT, previous_interrupt_ == SIG_ERR ? SIG_DFL : previous_interrupt_);
  std::signal(SIGTERM, previous_terminate_ == SIG_ERR ? SIG_DFL : previous_terminate_);
}

bool InterruptDeferral::interrupted() const noexcept { return g_interrupted != 0; }

void InterruptDeferral::flash_write_begins() noexcept { g_writing_flash = 1; }

}  // namespace tovanel::uvc_stereo::cli

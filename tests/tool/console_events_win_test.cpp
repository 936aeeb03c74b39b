#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tool/interrupt_test_support.h"
#include "tool/tool_test_support.h"
#include "uvc-stereo/interrupt_deferral.h"
#include "uvc-stereo/interrupt_platform.h"

// The console's control events reach the tool as interrupts: Ctrl-C and Ctrl-Break are held
// during the flash write and end an IMU stream cleanly; a console closed (or a logoff, or a
// shutdown) is held until the command has finished. The events are delivered to the handler
// as the console would, on a thread of their own: Wine cannot close a console or log a user
// off, and a Ctrl-C generated for the whole console would reach the test runner as well.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

using cli::interrupts::handle_console_event;

const std::string kNewJson = R"({"name":"changed","baseline_mm":60.5})";
const std::string kFinished =
    "uvc-stereo: interrupted; the write to camera 0 (0c45:6368, serial TVS2-00417) has finished: written and "
    "verified; restore with: uvc-stereo config set saved.json --serial TVS2-00417";

// Delivers `event` on a thread of its own, as Windows does, and keeps what became of it.
class ConsoleEvent {
 public:
  explicit ConsoleEvent(DWORD event, const sim::SimulatedRig& rig)
      : thread_([this, event, &rig] {
          answer_ = handle_console_event(event);
          calls_when_answered_ = rig.calls().size();
          answered_ = true;
        }) {}
  ~ConsoleEvent() { join(); }
  ConsoleEvent(const ConsoleEvent&) = delete;
  ConsoleEvent& operator=(const ConsoleEvent&) = delete;

  void join() {
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  [[nodiscard]] bool answered() const { return answered_; }
  [[nodiscard]] BOOL answer() const { return answer_; }
  [[nodiscard]] std::size_t calls_when_answered() const { return calls_when_answered_; }

 private:
  std::atomic<bool> answered_{false};
  BOOL answer_ = FALSE;
  std::size_t calls_when_answered_ = 0;
  std::thread thread_;
};

void wait_until_noted() {
  while (!cli::interrupts::interrupt_noted()) {
    std::this_thread::yield();
  }
}

class ConsoleEvents : public ScenarioTest {
 protected:
  // Runs config set with `event` delivered as the camera's flash is first erased; the hook
  // lets the write go on once the handler has recorded the interrupt.
  ToolRun run_with_event_at_erase(DWORD event) {
    rig_.on_call("SonixCam_SectorEraseSF", [&, event](const sim::VendorCall&) {
      if (!event_) {
        event_ = std::make_unique<ConsoleEvent>(event, rig_);
        wait_until_noted();
      }
    });
    const std::string input = scratch_.write("new.json", kNewJson);
    ::testing::internal::CaptureStderr();
    ToolRun run = run_tool({"config", "set", input, "--index", "0", "--backup", "saved.json"});
    handler_said_ = ::testing::internal::GetCapturedStderr();
    rig_.clear_call_hooks();
    return run;
  }

  // What every held event ends in: "finishing" said, the write finished and verified, exit 130;
  // then the old record is restored, with the command the tool printed, for the next event.
  void expect_finished_then_restore(const ToolRun& run) {
    EXPECT_EQ(run.status, 130) << run.err;
    EXPECT_EQ(handler_said_, kFinishingLine);
    EXPECT_EQ(lines_of(run.err).back(), kFinished);
    EXPECT_EQ(stored_configuration(), kNewJson);
    const ToolRun undo = run_tool({"config", "set", "saved.json", "--serial", "TVS2-00417", "--no-backup"});
    ASSERT_EQ(undo.status, 0) << undo.err;
  }

  const ScratchDirectory scratch_;
  const WorkingDirectory inside_{scratch_.path()};
  std::unique_ptr<ConsoleEvent> event_;
  std::string handler_said_;
};

TEST_F(ConsoleEvents, CtrlCAndCtrlBreakAreHeldUntilTheWriteIsVerified) {
  for (const DWORD event : {DWORD{CTRL_C_EVENT}, DWORD{CTRL_BREAK_EVENT}}) {
    event_.reset();
    std::remove("saved.json");
    const ToolRun run = run_with_event_at_erase(event);
    event_->join();
    EXPECT_EQ(event_->answer(), TRUE) << "the event was passed on to a handler that ends the process";
    ASSERT_NO_FATAL_FAILURE(expect_finished_then_restore(run));
  }
}

TEST_F(ConsoleEvents, AClosedConsoleLogoffOrShutdownWaitsForTheCommandToFinish) {
  for (const DWORD event : {DWORD{CTRL_CLOSE_EVENT}, DWORD{CTRL_LOGOFF_EVENT}, DWORD{CTRL_SHUTDOWN_EVENT}}) {
    event_.reset();
    std::remove("saved.json");
    rig_.clear_calls();
    const ToolRun run = run_with_event_at_erase(event);
    event_->join();
    // Windows ends the process when the handler returns: it returned only after the last vendor call.
    EXPECT_EQ(event_->calls_when_answered(), rig_.calls().size());
    ASSERT_NO_FATAL_FAILURE(expect_finished_then_restore(run));
  }
}

TEST(ConsoleEventHandler, AClosedConsoleIsHeldWhileACommandRuns) {
  std::atomic<bool> answered{false};
  std::thread closing;
  {
    const cli::InterruptDeferral interrupts;
    closing = std::thread([&] {
      static_cast<void>(handle_console_event(CTRL_CLOSE_EVENT));
      answered = true;
    });
    wait_until_noted();
    EXPECT_TRUE(interrupts.interrupted());
    // However long the command still takes, the handler does not return before it ends.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(answered) << "the handler let Windows end the process during the command";
  }
  closing.join();
  EXPECT_TRUE(answered);
}

TEST(ConsoleEventHandler, OtherEventsArePassedOn) {
  const cli::InterruptDeferral interrupts;
  EXPECT_EQ(handle_console_event(1234), FALSE);
  EXPECT_FALSE(interrupts.interrupted());
}

class ConsoleEventsImu : public InterruptedImuTest {};

TEST_F(ConsoleEventsImu, CtrlCEndsTheStreamWithItsRowsCompleteAndThePlotWritten) {
  const ScratchDirectory scratch;
  const auto [run, reads, answered, plot] = stream_interrupted_at_read(
      5, [] { EXPECT_EQ(handle_console_event(CTRL_C_EVENT), TRUE); }, scratch);
  EXPECT_EQ(run.status, 0) << run.err;
  // The stream ends with the sample the interrupted read delivered, or the next read with a new
  // one: every sample the camera answered is a row, and no read came after it.
  EXPECT_GE(reads, 5);
  EXPECT_LE(answered, 5u) << "reads faster than the IMU answer some samples twice";
  EXPECT_EQ(lines_of(run.out).size(), answered + 1) << "a header and the samples read: " << run.out;
  EXPECT_NE(run.err.find("read " + std::to_string(answered) + " samples in "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("plot written to " + plot + "\n"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

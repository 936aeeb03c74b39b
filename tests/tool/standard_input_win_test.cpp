#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <windows.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <functional>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc-stereo/interrupt_platform.h"
#include "uvc-stereo/standard_input.h"

// `config set -` on Windows reads standard input as the real program does, straight from its
// descriptor: a Ctrl-C, which the console delivers on a thread of its own, ends the wait for a
// pipe that sends nothing, at once and however it is timed; input that comes is read whole.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

const std::string kInterrupted = "uvc-stereo: interrupted while reading standard input; nothing was written\n";

// An anonymous pipe, as a shell makes for `producer | uvc-stereo config set -`: the tool reads
// its descriptor, the test holds its writing end.
class Pipe {
 public:
  Pipe() {
    HANDLE read_end = nullptr;
    EXPECT_TRUE(CreatePipe(&read_end, &writer_, nullptr, 0));
    reader_ = _open_osfhandle(reinterpret_cast<std::intptr_t>(read_end), _O_RDONLY | _O_BINARY);
    EXPECT_GE(reader_, 0);
  }
  ~Pipe() {
    close_writer();
    if (reader_ >= 0) {
      _close(reader_);
    }
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  [[nodiscard]] int reader() const { return reader_; }
  [[nodiscard]] bool write(const std::string& text) const {
    DWORD written = 0;
    return WriteFile(writer_, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0 &&
           written == text.size();
  }
  void close_writer() {
    if (writer_ != nullptr) {
      CloseHandle(writer_);
      writer_ = nullptr;
    }
  }

 private:
  int reader_ = -1;
  HANDLE writer_ = nullptr;
};

// Standard input on which something happens on a thread of its own as the command starts
// waiting for input: after it has begun holding interrupts, before anything is read.
class EventDuringTheWait : public cli::DescriptorInput {
 public:
  EventDuringTheWait(int descriptor, std::function<void()> event)
      : cli::DescriptorInput(descriptor), event_(std::move(event)) {}
  ~EventDuringTheWait() override {
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  EventDuringTheWait(const EventDuringTheWait&) = delete;
  EventDuringTheWait& operator=(const EventDuringTheWait&) = delete;

 protected:
  int_type underflow() override {
    if (!thread_.joinable()) {
      thread_ = std::thread([this] {
        // Late enough that the wait has most likely begun; an event before it must end the run as well.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        event_();
      });
    }
    return cli::DescriptorInput::underflow();
  }

 private:
  std::function<void()> event_;
  std::thread thread_;
};

// Runs `config set` with `arguments` reading standard input from `input`; a run still waiting
// after half a minute is reported and let go by closing `pipe`'s writing end.
ToolRun config_set_from(std::streambuf& input, const std::vector<std::string>& arguments, Pipe& pipe) {
  std::future<ToolRun> running = std::async(std::launch::async, [&input, &arguments] {
    std::istream in(&input);
    std::ostringstream out;
    std::ostringstream err;
    cli::Console console{in, out, err, false};
    ToolRun run;
    run.status = cli::run_cli(arguments, console);
    run.out = out.str();
    run.err = err.str();
    return run;
  });
  if (running.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
    pipe.close_writer();
    ADD_FAILURE() << "config set went on waiting for standard input";
  }
  return running.get();
}

class StandardInput : public ScenarioTest {};

TEST_F(StandardInput, ACtrlCWhileWaitingForAPipeThatSendsNothingEndsTheRun) {
  for (const DWORD event : {static_cast<DWORD>(CTRL_C_EVENT), static_cast<DWORD>(CTRL_BREAK_EVENT)}) {
    Pipe pipe;  // its writer stays open and sends nothing, as a producer that hangs
    EventDuringTheWait input(pipe.reader(), [event] { cli::interrupts::handle_console_event(event); });
    const ToolRun run = config_set_from(input, {"config", "set", "--index", "0", "-"}, pipe);
    EXPECT_EQ(run.status, 130) << "event " << event << ": " << run.err;
    EXPECT_EQ(run.err, kInterrupted) << "event " << event;
  }
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was contacted after an interrupt";
}

TEST_F(StandardInput, ACtrlCAfterPartOfTheInputCameStillEndsTheRun) {
  Pipe pipe;
  ASSERT_TRUE(pipe.write(R"({"name":"half)"));
  EventDuringTheWait input(pipe.reader(), [] { cli::interrupts::handle_console_event(CTRL_C_EVENT); });
  const ToolRun run = config_set_from(input, {"config", "set", "--index", "0", "-"}, pipe);
  EXPECT_EQ(run.status, 130) << run.err;
  EXPECT_EQ(run.err, kInterrupted);
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(StandardInput, AnInterruptRaisedJustBeforeTheWaitEndsTheRun) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Pipe pipe;
    struct RaiseFirst : cli::DescriptorInput {
      RaiseFirst(int descriptor, int raised) : cli::DescriptorInput(descriptor), raised_signal(raised) {}
      int_type underflow() override {
        if (raised_signal != 0) {
          std::raise(raised_signal);
          raised_signal = 0;
        }
        return cli::DescriptorInput::underflow();
      }
      int raised_signal;
    } input(pipe.reader(), signal);
    const ToolRun run = config_set_from(input, {"config", "set", "--index", "0", "-"}, pipe);
    EXPECT_EQ(run.status, 130) << "signal " << signal << ": " << run.err;
    EXPECT_EQ(run.err, kInterrupted) << "signal " << signal;
  }
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(StandardInput, InputThatComesWhileTheCommandWaitsIsReadWhole) {
  Pipe pipe;
  const std::string json = R"({"name":"from a slow producer"})";
  EventDuringTheWait input(pipe.reader(), [&pipe, &json] {
    EXPECT_TRUE(pipe.write(json));
    pipe.close_writer();
  });
  const ToolRun run = config_set_from(input, {"config", "set", "--index", "0", "--no-backup", "-"}, pipe);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, json + "\n");
}

TEST_F(StandardInput, InputFromAPipeIsReadWhole) {
  Pipe pipe;
  const std::string json = "{\r\n  \"name\": \"from a pipe\"\r\n}";
  ASSERT_TRUE(pipe.write(json));
  pipe.close_writer();
  cli::DescriptorInput input(pipe.reader());
  const ToolRun run = config_set_from(input, {"config", "set", "--index", "0", "--no-backup", "-"}, pipe);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, R"({"name":"from a pipe"})"
                                                             "\n");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

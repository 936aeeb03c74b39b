#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <future>
#include <sstream>
#include <string>

#include "tool/tool_test_support.h"
#include "uvc-stereo/standard_input.h"

// `config set -` reads standard input as the real program does, straight from a descriptor: an
// interrupt ends the wait for input however it is timed, and the input read is bounded.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

// Standard input on which `signal` arrives at the last moment before the wait for input: after
// the command has begun holding interrupts, before anything is read.
class SignalJustBeforeTheWait : public cli::DescriptorInput {
 public:
  SignalJustBeforeTheWait(int descriptor, int signal) : cli::DescriptorInput(descriptor), signal_(signal) {}

 protected:
  int_type underflow() override {
    if (!raised_) {
      raised_ = true;
      std::raise(signal_);
    }
    return cli::DescriptorInput::underflow();
  }

 private:
  int signal_;
  bool raised_ = false;
};

struct Pipe {
  Pipe() { EXPECT_EQ(::pipe(ends), 0); }
  ~Pipe() {
    close_writer();
    ::close(ends[0]);
  }
  void close_writer() {
    if (ends[1] >= 0) {
      ::close(ends[1]);
      ends[1] = -1;
    }
  }
  int ends[2] = {-1, -1};
};

class StandardInput : public ScenarioTest {};

TEST_F(StandardInput, AnInterruptJustBeforeTheWaitForInputEndsTheRun) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    Pipe pipe;  // its writer stays open and sends nothing, as a terminal nobody types on
    std::future<ToolRun> running = std::async(std::launch::async, [&pipe, signal] {
      SignalJustBeforeTheWait input(pipe.ends[0], signal);
      std::istream in(&input);
      std::ostringstream out;
      std::ostringstream err;
      cli::Console console{in, out, err, false};
      ToolRun run;
      run.status = cli::run_cli({"config", "set", "--index", "0", "-"}, console);
      run.err = err.str();
      return run;
    });
    if (running.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
      pipe.close_writer();  // lets the hung run end, so that the failure is reported
      ADD_FAILURE() << "signal " << signal << " was lost: config set went on waiting for standard input";
    }
    const ToolRun run = running.get();
    EXPECT_EQ(run.status, 130) << run.err;
    EXPECT_EQ(run.err, "uvc-stereo: interrupted while reading standard input; nothing was written\n");
  }
  EXPECT_TRUE(rig_.calls().empty()) << "the camera was contacted after an interrupt";
}

TEST_F(StandardInput, InputFromADescriptorIsReadWhole) {
  Pipe pipe;
  const std::string json = R"({"name":"from a pipe"})";
  ASSERT_EQ(::write(pipe.ends[1], json.data(), json.size()), static_cast<ssize_t>(json.size()));
  pipe.close_writer();
  cli::DescriptorInput input(pipe.ends[0]);
  std::istream in(&input);
  std::ostringstream out;
  std::ostringstream err;
  cli::Console console{in, out, err, false};
  ASSERT_EQ(cli::run_cli({"config", "set", "--index", "0", "--no-backup", "-"}, console), 0) << err.str();
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, json + "\n");
}

TEST_F(StandardInput, AFailedReadIsAFileErrorAndNotAShortConfiguration) {
  cli::DescriptorInput input(-1);  // no such descriptor: every read fails
  std::istream in(&input);
  std::ostringstream out;
  std::ostringstream err;
  cli::Console console{in, out, err, false};
  EXPECT_EQ(cli::run_cli({"config", "set", "--index", "0", "-"}, console), 3);
  EXPECT_EQ(err.str(), "uvc-stereo: FileError: cannot read standard input\n");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(StandardInput, AnEndlessFileStopsAtTheLargestRecordACameraCanHold) {
  const ToolRun run = run_tool({"config", "set", "/dev/zero", "--index", "0", "--dry-run"});
  EXPECT_EQ(run.status, 20);
  EXPECT_EQ(run.err,
            "uvc-stereo: InvalidLength: /dev/zero holds more than 16777216 bytes, more than the largest configuration "
            "record a camera can hold; nothing was written\n");
  EXPECT_TRUE(rig_.calls().empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

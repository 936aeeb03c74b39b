#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// Ctrl-C or SIGTERM that arrives before the camera is touched aborts config set with nothing
// written, says so, and exits 130.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

// Standard input that delivers `signal` to the process while the configuration is read.
class InterruptingInput : public std::streambuf {
 public:
  InterruptingInput(std::string text, int signal) : text_(std::move(text)), signal_(signal) {}

 protected:
  int_type underflow() override {
    if (!raised_) {
      raised_ = true;
      std::raise(signal_);
      setg(text_.data(), text_.data(), text_.data() + text_.size());
      return traits_type::to_int_type(text_[0]);
    }
    return gptr() < egptr() ? traits_type::to_int_type(*gptr()) : traits_type::eof();
  }

 private:
  std::string text_;
  int signal_;
  bool raised_ = false;
};

class ConfigSetInterrupt : public ScenarioTest {};

TEST_F(ConfigSetInterrupt, AnInterruptBeforeTheCameraIsTouchedWritesNothing) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const ScratchDirectory scratch;
    const WorkingDirectory inside(scratch.path());
    const std::vector<std::uint8_t> before = user_space(kReportingCamera);
    InterruptingInput input(R"({"name":"changed"})", signal);
    std::istream in(&input);
    std::ostringstream out;
    std::ostringstream err;
    cli::Console console{in, out, err, false};
    const int status = cli::run_cli({"config", "set", "--index", "0", "-"}, console);
    EXPECT_EQ(status, 130) << err.str();
    EXPECT_EQ(err.str(), "uvc-stereo: interrupted while reading standard input; nothing was written\n");
    EXPECT_TRUE(rig_.calls().empty()) << "the camera was contacted after an interrupt";
    EXPECT_EQ(user_space(kReportingCamera), before);
    EXPECT_EQ(calls_named("SonixCam_WriteToSF"), 0u);
    EXPECT_EQ(calls_named("SonixCam_SectorEraseSF"), 0u);
  }
}

TEST_F(ConfigSetInterrupt, TheHandlersAreRestoredAfterTheCommand) {
  const auto mine = [](int) {};
  const auto previous = std::signal(SIGINT, mine);
  const ToolRun run = run_tool({"config", "set", "--index", "1", "--dry-run", "-"}, R"({"a":1})");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(std::signal(SIGINT, previous), static_cast<void (*)(int)>(mine));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

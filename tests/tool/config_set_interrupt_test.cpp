#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <optional>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "tool/interrupt_test_support.h"
#include "tool/tool_test_support.h"

// Ctrl-C or SIGTERM that arrives before the camera is touched aborts config set with nothing
// written, says so, and exits 130. Once the flash is being erased and written it is held
// until the write and its verification are done; then the outcome and the way back are said.
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

const std::string kNewJson = R"({"name":"changed","baseline_mm":60.5})";

class ConfigSetInterruptDuringWrite : public ScenarioTest {
 protected:
  // Runs config set with `signal` delivered from inside the first `call` of the run, the very
  // moment the camera's flash is unlocked, erased or programmed; what the handler wrote itself
  // (to the process's standard error, as only that is safe in a handler) lands in `handler_said_`.
  ToolRun run_interrupted_at(const std::string& call, int signal, const std::vector<std::string>& args,
                             const std::string& input = "") {
    bool raised = false;
    rig_.on_call(call, [&](const sim::VendorCall&) {
      if (!raised) {
        raised = true;
        calls_before_signal_ = rig_.calls().size();
        std::raise(signal);
      }
    });
    ::testing::internal::CaptureStderr();
    ToolRun run = run_tool(args, input);
    handler_said_ = ::testing::internal::GetCapturedStderr();
    rig_.clear_call_hooks();
    EXPECT_TRUE(raised) << call << " was never called";
    return run;
  }

  // The vendor calls made after the signal was delivered.
  [[nodiscard]] std::vector<std::string> calls_after_signal() const {
    const std::vector<std::string> names = rig_.call_names();
    return {names.begin() + static_cast<std::ptrdiff_t>(std::min(calls_before_signal_, names.size())), names.end()};
  }

  std::string handler_said_;
  std::size_t calls_before_signal_ = 0;
  const std::string original_ = cli::scenario_cameras()[0].stored_json;
  const ScratchDirectory scratch_;
};

TEST_F(ConfigSetInterruptDuringWrite, TheWriteFinishesIsVerifiedAndTheRestoreCommandWorks) {
  std::vector<std::pair<std::string, int>> moments = {{"SonixCam_SectorEraseSF", SIGINT},
                                                      {"SonixCam_WriteToSF", SIGTERM}};
#if !defined(_WIN32)
  // The terminal closed under the write.
  moments.emplace_back("SonixCam_SectorEraseSF", SIGHUP);
#endif
  for (const auto& [call, signal] : moments) {
    SCOPED_TRACE(call);
    const WorkingDirectory inside(scratch_.path());
    const std::string input = scratch_.write("new-" + std::to_string(signal) + ".json", kNewJson);
    const ToolRun run = run_interrupted_at(call, signal, {"config", "set", input, "--index", "0"});
    EXPECT_EQ(run.status, 130) << run.err;
    EXPECT_EQ(handler_said_, kFinishingLine);
    // The write went on after the signal, and was read back to verify it.
    const std::vector<std::string> after = calls_after_signal();
    const auto last_program = std::find(after.rbegin(), after.rend(), "SonixCam_WriteToSF");
    ASSERT_NE(last_program, after.rend()) << ::testing::PrintToString(after);
    EXPECT_NE(std::find(after.rbegin(), last_program, "SonixCam_CstmReadFromSF"), last_program)
        << "nothing was read back after the last program: " << ::testing::PrintToString(after);
    EXPECT_EQ(stored_configuration(), kNewJson);

    const std::string finished =
        "uvc-stereo: interrupted; the write to camera 0 (0c45:6368, serial TVS2-00417) has finished: written and "
        "verified; restore with: ";
    const std::string last = lines_of(run.err).back();
    ASSERT_EQ(last.rfind(finished, 0), 0u) << run.err;
    const std::string restore = last.substr(finished.size());
    std::vector<std::string> words = shell_words(restore);
    ASSERT_GE(words.size(), 4u) << restore;
    ASSERT_EQ(words.front(), "uvc-stereo") << restore;
    words.erase(words.begin());
    const ToolRun undo = run_tool(words);
    ASSERT_EQ(undo.status, 0) << restore << "\n" << undo.err;
    EXPECT_EQ(stored_configuration(), original_);
  }
}

TEST_F(ConfigSetInterruptDuringWrite, TheRestoreCommandNamesABackupWithSpacesAndADash) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun run =
      run_interrupted_at("SonixCam_SectorEraseSF", SIGINT,
                         {"config", "set", input, "--serial", "TVS2-00417", "--backup", "-my backup's.json"});
  EXPECT_EQ(run.status, 130) << run.err;
  EXPECT_EQ(handler_said_, kFinishingLine);
  EXPECT_EQ(stored_configuration(), kNewJson);
  const std::string hint = "restore with: ";
  const std::string last = lines_of(run.err).back();
  ASSERT_NE(last.find(hint), std::string::npos) << run.err;
  std::vector<std::string> words = shell_words(last.substr(last.find(hint) + hint.size()));
  EXPECT_EQ(words, (std::vector<std::string>{"uvc-stereo", "config", "set", "--serial", "TVS2-00417", "--",
                                             "-my backup's.json"}));
  words.erase(words.begin());
  const ToolRun undo = run_tool(words);
  ASSERT_EQ(undo.status, 0) << undo.err;
  EXPECT_EQ(stored_configuration(), original_);
}

TEST_F(ConfigSetInterruptDuringWrite, AFailedWriteIsReportedWithTheBackup) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  rig_.cut_power_during_write(kReportingCamera, 3);
  const ToolRun run = run_interrupted_at("SonixCam_SectorEraseSF", SIGTERM,
                                         {"config", "set", input, "--index", "0", "--backup", "saved.json"});
  EXPECT_EQ(run.status, 130) << run.err;
  EXPECT_EQ(handler_said_, kFinishingLine);
  const std::string last = lines_of(run.err).back();
  EXPECT_EQ(
      last.rfind("uvc-stereo: interrupted; the write to camera 0 (0c45:6368, serial TVS2-00417) has finished: ", 0), 0u)
      << run.err;
  EXPECT_EQ(last.find("written and verified"), std::string::npos) << last;
  EXPECT_NE(last.find("; restore with: uvc-stereo config set saved.json --serial TVS2-00417"), std::string::npos)
      << last;
  EXPECT_EQ(scratch_.read(scratch_.file("saved.json")), original_ + "\n");
}

TEST_F(ConfigSetInterruptDuringWrite, WithTheBackupOnStandardOutputTheRestoreReadsStandardInput) {
  const WorkingDirectory inside(scratch_.path());
  const std::string input = scratch_.write("new.json", kNewJson);
  const ToolRun run =
      run_interrupted_at("SonixCam_WriteToSF", SIGINT, {"config", "set", input, "--index", "0", "--backup", "-"});
  EXPECT_EQ(run.status, 130) << run.err;
  EXPECT_EQ(handler_said_, kFinishingLine);
  EXPECT_EQ(run.out, original_ + "\n");
  EXPECT_EQ(stored_configuration(), kNewJson);
  EXPECT_EQ(lines_of(run.err).back(),
            "uvc-stereo: interrupted; the write to camera 0 (0c45:6368, serial TVS2-00417) has finished: written and "
            "verified; restore by giving the saved standard output to: uvc-stereo config set --serial TVS2-00417 -");
  const ToolRun undo = run_tool({"config", "set", "--serial", "TVS2-00417", "-"}, run.out);
  ASSERT_EQ(undo.status, 0) << undo.err;
  EXPECT_EQ(stored_configuration(), original_);
}

TEST_F(ConfigSetInterruptDuringWrite, AnInterruptWhileTheCurrentRecordIsReadShowsAndSavesNothing) {
  for (const bool dry_run : {false, true}) {
    SCOPED_TRACE(dry_run ? "dry run" : "write");
    rig_.clear_calls();
    const WorkingDirectory inside(scratch_.path());
    const std::vector<std::uint8_t> before = user_space(kReportingCamera);
    const std::string input = scratch_.write("new.json", kNewJson);
    std::vector<std::string> args = {"config", "set", input, "--index", "0"};
    if (dry_run) {
      args.push_back("--dry-run");
    }
    const ToolRun run = run_interrupted_at("SonixCam_CstmReadFromSF", SIGTERM, args);
    EXPECT_EQ(run.status, 130) << run.err;
    EXPECT_EQ(handler_said_, "") << "the handler spoke before the flash was touched";
    EXPECT_EQ(run.out, "") << "changes were listed after the interrupt";
    EXPECT_EQ(lines_of(run.err).back(),
              "uvc-stereo: interrupted before the camera was written; nothing was written to camera 0 (0c45:6368, "
              "serial TVS2-00417)");
    EXPECT_EQ(scratch_.names(), std::vector<std::string>{"new.json"}) << "a backup was saved after the interrupt";
    EXPECT_EQ(user_space(kReportingCamera), before);
    EXPECT_EQ(calls_named("SonixCam_SectorEraseSF"), 0u);
    EXPECT_EQ(calls_named("SonixCam_WriteToSF"), 0u);
  }
}

// Standard output that delivers `signal` to the process while the backup is being saved to it.
class InterruptingOutput : public std::stringbuf {
 public:
  explicit InterruptingOutput(int signal) : signal_(signal) {}

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    raise_once();
    return std::stringbuf::xsputn(text, count);
  }
  int_type overflow(int_type c) override {
    raise_once();
    return std::stringbuf::overflow(c);
  }

 private:
  void raise_once() {
    if (!raised_) {
      raised_ = true;
      std::raise(signal_);
    }
  }
  int signal_;
  bool raised_ = false;
};

TEST_F(ConfigSetInterruptDuringWrite, AnInterruptWhileTheBackupIsSavedAbortsBeforeTheErase) {
  for (const int signal : {SIGINT, SIGTERM}) {
    rig_.clear_calls();
    const std::vector<std::uint8_t> before = user_space(kReportingCamera);
    const std::string input = scratch_.write("new.json", kNewJson);
    std::istringstream in;
    InterruptingOutput saved(signal);
    std::ostream out(&saved);
    std::ostringstream err;
    cli::Console console{in, out, err, false};
    ::testing::internal::CaptureStderr();
    const int status = cli::run_cli({"config", "set", input, "--index", "0", "--backup", "-"}, console);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "") << "the handler spoke before the flash was touched";
    EXPECT_EQ(status, 130) << err.str();
    EXPECT_EQ(saved.str(), original_ + "\n") << "the backup was cut short";
    EXPECT_EQ(lines_of(err.str()).back(),
              "uvc-stereo: interrupted before the camera was written; nothing was written to camera 0 (0c45:6368, "
              "serial TVS2-00417)");
    EXPECT_EQ(user_space(kReportingCamera), before);
    EXPECT_EQ(calls_named("SonixCam_SectorEraseSF"), 0u);
    EXPECT_EQ(calls_named("SonixCam_WriteToSF"), 0u);
    EXPECT_EQ(calls_named("SonixCam_SetWriteProtectedSF"), 0u);
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

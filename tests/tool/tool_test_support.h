#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "uvc-stereo/commands.h"
#include "uvc-stereo/console.h"
#include "uvc-stereo/file_io.h"
#include "uvc-stereo/simulated_scenario.h"
#include "uvc_stereo/simulated_rig.h"

// Shared pieces of the tool's tests: running the tool in-process with captured output, the
// simulated scenario on a rig the test can inspect, and scratch directories.
namespace tovanel::uvc_stereo::tool_testing {

// What one run of the tool printed and returned.
struct ToolRun {
  int status = -1;
  std::string out;
  std::string err;
};

// Runs the tool with its standard output going to `out`, which keeps what it is given; `out` of
// the result stays empty.
inline ToolRun run_tool_on(std::ostream& out, const std::vector<std::string>& args, const std::string& input = "",
                           bool err_is_terminal = false) {
  std::istringstream in(input);
  std::ostringstream err;
  cli::Console console{in, out, err, err_is_terminal};
  ToolRun run;
  run.status = cli::run_cli(args, console);
  run.err = err.str();
  return run;
}

inline ToolRun run_tool(const std::vector<std::string>& args, const std::string& input = "",
                        bool err_is_terminal = false) {
  std::ostringstream out;
  ToolRun run = run_tool_on(out, args, input, err_is_terminal);
  run.out = out.str();
  return run;
}

inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

inline std::size_t count_of(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

// The words a POSIX shell makes of a pasted command line: spaces split, '...' quotes.
inline std::vector<std::string> shell_words(const std::string& line) {
  std::vector<std::string> words;
  std::optional<std::string> word;
  bool quoted = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const char c = line[at];
    if (quoted) {
      if (c == '\'') {
        quoted = false;
      } else {
        *word += c;
      }
    } else if (c == '\'') {
      quoted = true;
      word = word.value_or("");
    } else if (c == '\\' && at + 1 < line.size()) {
      word = word.value_or("") + line[++at];
    } else if (c == ' ') {
      if (word) {
        words.push_back(*word);
      }
      word.reset();
    } else {
      word = word.value_or("") + c;
    }
  }
  if (word) {
    words.push_back(*word);
  }
  return words;
}

// A directory of its own under the system's temporary directory, removed with its contents.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    static std::atomic<int> next{0};
    path_ = std::filesystem::temp_directory_path() /
            ("uvc-stereo-tool-test-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
             std::to_string(next++) + "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }
  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

  // Writes `content` to `name` and returns its path.
  std::string write(const std::string& name, const std::string& content) const {
    std::string error;
    EXPECT_TRUE(cli::write_file(file(name), content, error)) << error;
    return file(name);
  }
  [[nodiscard]] std::string read(const std::string& path) const {
    std::string content;
    std::string error;
    EXPECT_TRUE(cli::read_file(path, content, error)) << error;
    return content;
  }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      found.push_back(entry.path().filename().string());
    }
    return found;
  }

 private:
  std::filesystem::path path_;
};

// Runs the rest of a scope in another working directory.
class WorkingDirectory {
 public:
  explicit WorkingDirectory(const std::filesystem::path& path) : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~WorkingDirectory() { std::filesystem::current_path(previous_); }
  WorkingDirectory(const WorkingDirectory&) = delete;
  WorkingDirectory& operator=(const WorkingDirectory&) = delete;

 private:
  std::filesystem::path previous_;
};

// The --simulate scenario on a rig the test holds, so it can look at the flash and the
// vendor calls. Its rules must hold at the end of every test.
class ScenarioTest : public ::testing::Test {
 protected:
  static constexpr int kReportingCamera = 0;
  static constexpr int kLegacyCamera = 1;

  void SetUp() override {
    const Status populated = cli::populate_simulated_scenario(rig_);
    ASSERT_TRUE(populated.ok()) << populated.message();
    rig_.clear_calls();
  }
  void TearDown() override {
    EXPECT_TRUE(rig_.violations().empty()) << ::testing::PrintToString(rig_.violations());
    EXPECT_EQ(rig_.open_sessions(), 0);
  }

  // The whole flash user space of a scenario camera.
  [[nodiscard]] std::vector<std::uint8_t> user_space(int camera) const {
    const cli::ScenarioCamera scenario = cli::scenario_cameras().at(static_cast<std::size_t>(camera));
    return rig_.flash(camera, scenario.user_space_address, scenario.user_space_size);
  }

  [[nodiscard]] std::size_t calls_named(const std::string& name) const {
    std::size_t count = 0;
    for (const std::string& call : rig_.call_names()) {
      count += call == name ? 1 : 0;
    }
    return count;
  }

  sim::SimulatedRig rig_;
};

// The scenario with its IMUs in the rig's virtual time: which samples the reads meet, and when
// each was taken, never depend on how busy the machine is.
class VirtualTimeScenarioTest : public ScenarioTest {
 protected:
  void SetUp() override {
    ScenarioTest::SetUp();
    rig_.use_virtual_time();
  }
};

}  // namespace tovanel::uvc_stereo::tool_testing

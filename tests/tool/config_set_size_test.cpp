#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"

// A configuration that cannot fit the camera's flash user space is refused by the dry run as
// by the real run, before any diff, backup or flash access, with the limit and the size named.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

constexpr std::size_t kHeaderSize = 16;

// A minified document of exactly `size` bytes.
std::string json_of_size(std::size_t size) { return "{\"a\":\"" + std::string(size - 8, 'x') + "\"}"; }

class ConfigSetSize : public ScenarioTest {
 protected:
  [[nodiscard]] bool flash_was_changed() const {
    return calls_named("SonixCam_WriteToSF") != 0 || calls_named("SonixCam_SectorEraseSF") != 0;
  }
  [[nodiscard]] std::uint32_t limit(int camera) const {
    return cli::scenario_cameras().at(static_cast<std::size_t>(camera)).user_space_size;
  }
  [[nodiscard]] std::string refusal(int camera, std::size_t json_size) const {
    const std::string described = camera == kReportingCamera ? "camera 0 (0c45:6368, serial TVS2-00417)"
                                                             : "camera 1 (0c45:6366, serial TVS1-01288)";
    return "uvc-stereo: InvalidLength: the configuration record would take " + std::to_string(kHeaderSize + json_size) +
           " bytes (16-byte header and " + std::to_string(json_size) + " bytes of minified JSON), but " + described +
           " holds at most " + std::to_string(limit(camera)) + " bytes in its flash user space; nothing was written\n";
  }

  const ScratchDirectory scratch_;
};

TEST_F(ConfigSetSize, TheDryRunRefusesARecordTooBigForTheUserSpace) {
  const std::string file = scratch_.write("big.json", json_of_size(40 * 1024));
  const ToolRun run = run_tool({"config", "set", "--dry-run", "--index", "0", file});
  EXPECT_EQ(run.status, 20);
  EXPECT_EQ(run.err, refusal(kReportingCamera, 40 * 1024));
  EXPECT_EQ(run.out, "") << "a diff was shown for a configuration that cannot be written";
  EXPECT_FALSE(flash_was_changed());
}

TEST_F(ConfigSetSize, TheRealRunRefusesBeforeAnyDiffOrBackup) {
  const WorkingDirectory inside(scratch_.path());
  const std::vector<std::uint8_t> before = user_space(kReportingCamera);
  const std::string file = scratch_.write("big.json", json_of_size(40 * 1024));
  const ToolRun run = run_tool({"config", "set", "--index", "0", file});
  EXPECT_EQ(run.status, 20);
  EXPECT_EQ(run.err, refusal(kReportingCamera, 40 * 1024));
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{"big.json"}) << "a stray backup was left";
  EXPECT_EQ(user_space(kReportingCamera), before);
  EXPECT_FALSE(flash_was_changed());
  EXPECT_EQ(calls_named("SonixCam_CstmReadFromSF"), 0u) << "the configuration was read for a refused write";
}

TEST_F(ConfigSetSize, TheSmallUserSpaceLeavesNoStrayBackup) {
  const WorkingDirectory inside(scratch_.path());
  const std::string file = scratch_.write("big.json", json_of_size(5000));
  const ToolRun run = run_tool({"config", "set", "--index", "1", file});
  EXPECT_EQ(run.status, 20);
  EXPECT_EQ(run.err, refusal(kLegacyCamera, 5000));
  EXPECT_EQ(scratch_.names(), std::vector<std::string>{"big.json"});
  EXPECT_FALSE(flash_was_changed());
}

TEST_F(ConfigSetSize, TheSizeThatCountsIsTheMinifiedOne) {
  // Indentation does not take flash space: a file much larger than the user space whose
  // minified form fits is accepted.
  const std::string minified = json_of_size(3000);
  const std::string padded = std::string(8000, ' ') + minified + std::string(8000, '\n');
  const ToolRun run = run_tool({"config", "set", "--index", "1", "--no-backup", "-"}, padded);
  EXPECT_EQ(run.status, 0) << run.err;
}

TEST_F(ConfigSetSize, ARecordThatFillsTheUserSpaceExactlyFits) {
  const std::size_t largest = limit(kLegacyCamera) - kHeaderSize;
  const ToolRun fits = run_tool({"config", "set", "--index", "1", "--no-backup", "-"}, json_of_size(largest));
  EXPECT_EQ(fits.status, 0) << fits.err;
  const ToolRun read = run_tool({"config", "get", "--index", "1"});
  EXPECT_EQ(read.out, json_of_size(largest) + "\n");

  const ToolRun one_more = run_tool({"config", "set", "--index", "1", "--dry-run", "-"}, json_of_size(largest + 1));
  EXPECT_EQ(one_more.status, 20);
  EXPECT_EQ(one_more.err, refusal(kLegacyCamera, largest + 1));
}

TEST_F(ConfigSetSize, AHugeFileIsRefusedWithoutPrintingIt) {
  const std::string file = scratch_.write("huge.json", json_of_size(4 * 1024 * 1024));
  const ToolRun run = run_tool({"config", "set", "--index", "0", "--no-backup", file});
  EXPECT_EQ(run.status, 20);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(count_of(run.err, "\n"), 1u);
  EXPECT_FALSE(flash_was_changed());
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

namespace tovanel::uvc_stereo::tool_testing {
namespace {

constexpr std::size_t kLargestInput = std::size_t{1} << 24;

// An input that never ends, as `yes |` gives one.
class EndlessInput : public std::streambuf {
 protected:
  int_type underflow() override {
    setg(line_, line_, line_ + 2);
    return traits_type::to_int_type(line_[0]);
  }

 private:
  char line_[2] = {'y', '\n'};
};

class ConfigSetInputSize : public ScenarioTest {};

TEST_F(ConfigSetInputSize, EndlessStandardInputStopsAtTheLargestRecordACameraCanHold) {
  EndlessInput endless;
  std::istream in(&endless);
  std::ostringstream out;
  std::ostringstream err;
  cli::Console console{in, out, err, false};
  EXPECT_EQ(cli::run_cli({"config", "set", "--index", "0", "-"}, console), 20);
  EXPECT_EQ(err.str(),
            "uvc-stereo: InvalidLength: standard input holds more than 16777216 bytes, more than the largest "
            "configuration record a camera can hold; nothing was written\n");
  EXPECT_TRUE(rig_.calls().empty());
}

TEST_F(ConfigSetInputSize, AnInputOfExactlyTheLargestSizeIsReadWholeAndOneByteMoreIsNot) {
  const std::string document = "{\"a\":1}";
  const std::string padded = document + std::string(kLargestInput - document.size(), ' ');
  const ToolRun fits = run_tool({"config", "set", "--index", "0", "--dry-run", "-"}, padded);
  EXPECT_EQ(fits.status, 0) << fits.err;
  const ToolRun over = run_tool({"config", "set", "--index", "0", "--dry-run", "-"}, padded + " ");
  EXPECT_EQ(over.status, 20) << over.err;
  EXPECT_NE(over.err.find("standard input holds more than 16777216 bytes"), std::string::npos) << over.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

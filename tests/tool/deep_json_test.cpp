#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "tool/tool_test_support.h"
#include "uvc-stereo/json_diff.h"
#include "uvc-stereo/json_text.h"

// Any nesting depth is handled without crashing and in time and memory linear in the text:
// beyond the shown depth the changes are not listed, in one line, and the work goes on.
namespace tovanel::uvc_stereo::tool_testing {
namespace {

std::string nested_arrays(std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); }

TEST(DeepJson, DepthIsMeasuredWithoutCountingBracketsInStrings) {
  EXPECT_EQ(cli::json_depth("1"), 0u);
  EXPECT_EQ(cli::json_depth("{\"a\":[1,{\"b\":[]}]}"), 4u);
  EXPECT_EQ(cli::json_depth("[\"[[[{{{\",\"\\\"[[\"]"), 1u);
  EXPECT_EQ(cli::json_depth(nested_arrays(100000)), 100000u);
}

TEST(DeepJson, ADiffOfAHundredThousandLevelsIsNotListed) {
  const std::string deep = nested_arrays(100000);
  const cli::JsonDiff diff = cli::diff_json("{\"a\":1}", deep);
  EXPECT_TRUE(diff.too_deep);
  EXPECT_TRUE(diff.lines.empty());
  EXPECT_FALSE(diff.empty());
  EXPECT_EQ(diff.summary(), "changes not listed (nested deeper than 512 levels)");
  EXPECT_TRUE(cli::diff_json(deep, "{\"a\":1}").too_deep);
  EXPECT_TRUE(cli::flatten_json(deep).empty());
}

TEST(DeepJson, TheShownDepthItselfIsStillListed) {
  const cli::JsonDiff diff = cli::diff_json("", nested_arrays(cli::kMaxShownDepth));
  EXPECT_FALSE(diff.too_deep);
  ASSERT_EQ(diff.lines.size(), 1u);
  EXPECT_EQ(diff.lines[0].rfind("+ /0/0/0/", 0), 0u);
  EXPECT_TRUE(cli::diff_json("", nested_arrays(cli::kMaxShownDepth + 1)).too_deep);
}

TEST(DeepJson, PrettyPrintingStaysLinearInTheInput) {
  const std::string deep = nested_arrays(100000);
  const std::string pretty = cli::pretty_print_json(deep);
  // Each bracket gets at most one line indented to the shown depth.
  EXPECT_LE(pretty.size(), deep.size() * (2 * cli::kMaxShownDepth + 2));
  EXPECT_EQ(cli::json_depth(pretty), 100000u);
}

TEST(DeepJson, EveryLevelUpToTheShownDepthIsListedWithItsPath) {
  // [0,[1,[2,...]]]: one leaf on every level, each path one step longer than the last.
  std::string document;
  for (std::size_t level = 0; level < cli::kMaxShownDepth; ++level) {
    document += "[" + std::to_string(level) + ",";
  }
  document += "null" + std::string(cli::kMaxShownDepth, ']');
  const std::vector<cli::JsonLeaf> leaves = cli::flatten_json(document);
  ASSERT_EQ(leaves.size(), cli::kMaxShownDepth + 1);
  std::string path;
  for (std::size_t level = 0; level < cli::kMaxShownDepth; ++level) {
    EXPECT_EQ(leaves[level].path, path + "/0");
    EXPECT_EQ(leaves[level].value, std::to_string(level));
    path += "/1";
  }
  EXPECT_EQ(leaves.back().path, path);
  EXPECT_EQ(leaves.back().value, "null");
  EXPECT_TRUE(cli::diff_json(document, document).empty());
}

class DeepJsonCommand : public ScenarioTest {};

TEST_F(DeepJsonCommand, TheDryRunOfADeepDocumentSaysSoInOneLineAndGoesOn) {
  // 32,000 bytes nested 16,000 deep: it fits the 32 KiB camera.
  const ToolRun run = run_tool({"config", "set", "--index", "0", "--dry-run", "-"}, nested_arrays(16000));
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err,
            "the changes are not listed: a configuration nests deeper than 512 levels\n"
            "dry run: changes not listed (nested deeper than 512 levels); nothing was written to camera 0 "
            "(0c45:6368, serial TVS2-00417)\n");
}

TEST_F(DeepJsonCommand, ADeepDocumentIsWrittenAndReadBack) {
  const ToolRun run = run_tool({"config", "set", "--index", "0", "--no-backup", "-"}, nested_arrays(16000));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run_tool({"config", "get", "--index", "0"}).out, nested_arrays(16000) + "\n");
  const ToolRun pretty = run_tool({"config", "get", "--index", "0", "--pretty"});
  EXPECT_EQ(pretty.status, 0) << pretty.err;
  // Then it is the record being replaced: the next dry run cannot list against it either.
  const ToolRun back = run_tool({"config", "set", "--index", "0", "--dry-run", "-"}, "{\"a\":1}");
  EXPECT_EQ(back.status, 0) << back.err;
  EXPECT_NE(back.err.find("the changes are not listed"), std::string::npos) << back.err;
}

TEST_F(DeepJsonCommand, AHundredThousandLevelsAreRefusedForSizeNotByACrash) {
  const ToolRun run = run_tool({"config", "set", "--index", "0", "--dry-run", "-"}, nested_arrays(100000));
  EXPECT_EQ(run.status, 20) << run.err;
  EXPECT_NE(run.err.find("holds at most 32768 bytes"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace tovanel::uvc_stereo::tool_testing

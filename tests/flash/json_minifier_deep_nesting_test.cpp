#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "flash/small_stack_thread.h"
#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo {
namespace {

// Both depths are far beyond what a scanner recursing once per level could survive on a 1 MiB stack; the smaller
// one keeps the cases that need no ten million levels quick.
constexpr std::size_t kTenMillion = 10'000'000;
constexpr std::size_t kDeepNesting = 1'000'000;

// One minification done on the small-stack thread; the test's own thread checks what it found.
struct MinifyRun {
  std::string_view input;
  bool finished = false;
  bool ok = false;
  ErrorCode code = ErrorCode::Ok;
  std::string message;
  std::string output;
};

void minify_in_run(void* context) noexcept {
  auto& run = *static_cast<MinifyRun*>(context);
  try {
    Result<std::string> result = minify_and_validate_json(run.input);
    run.ok = result.ok();
    run.code = result.status().code();
    run.message = result.status().message();
    if (run.ok) {
      run.output = std::move(result).value();
    }
    run.finished = true;
  } catch (...) {
    run.finished = false;
  }
}

MinifyRun minify_on_small_stack(std::string_view input) {
  MinifyRun run;
  run.input = input;
  EXPECT_TRUE(test_support::run_on_small_stack(test_support::kSmallThreadStackBytes, &minify_in_run, &run));
  return run;
}

std::string repeated(std::string_view unit, std::size_t count) {
  std::string text;
  text.reserve(unit.size() * count);
  for (std::size_t i = 0; i < count; ++i) {
    text.append(unit);
  }
  return text;
}

TEST(JsonMinifierDeepNesting, ReportsTenMillionUnclosedBracketsAtTheEndOfText) {
  const std::string input(kTenMillion, '[');
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  EXPECT_FALSE(run.ok);
  EXPECT_EQ(run.code, ErrorCode::InvalidJson);
  EXPECT_EQ(run.message, "invalid JSON value at offset 10000000");
}

TEST(JsonMinifierDeepNesting, AcceptsTenMillionClosedBracketsUnchanged) {
  const std::string input = std::string(kTenMillion, '[') + std::string(kTenMillion, ']');
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  ASSERT_TRUE(run.ok) << run.message;
  EXPECT_TRUE(run.output == input) << "output differs from input (sizes " << run.output.size() << " and "
                                   << input.size() << ")";
}

TEST(JsonMinifierDeepNesting, ReportsOneMissingCloserAtTheEndOfText) {
  const std::string input = std::string(kDeepNesting, '[') + std::string(kDeepNesting - 1, ']');
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.message, "invalid JSON value at offset 1999999");
}

TEST(JsonMinifierDeepNesting, ReportsOneExtraCloserAsTrailingCharacters) {
  const std::string input = std::string(kDeepNesting, '[') + std::string(kDeepNesting + 1, ']');
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.message, "unexpected trailing characters at offset 2000000");
}

TEST(JsonMinifierDeepNesting, ReportsAStrayByteAtTheBottomOfDeepNesting) {
  const std::string input = std::string(kDeepNesting, '[') + "x" + std::string(kDeepNesting, ']');
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.message, "invalid JSON value at offset 1000000");
}

TEST(JsonMinifierDeepNesting, MinifiesDeeplyNestedObjects) {
  const std::string input = repeated("{ \"a\" : ", kDeepNesting) + "1" + repeated(" }", kDeepNesting);
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  ASSERT_TRUE(run.ok) << run.message;
  EXPECT_TRUE(run.output == repeated("{\"a\":", kDeepNesting) + "1" + std::string(kDeepNesting, '}'));
}

TEST(JsonMinifierDeepNesting, ReportsUnclosedDeepObjectsAtTheEndOfText) {
  const std::string input = repeated("{\"a\":", kDeepNesting);
  const MinifyRun run = minify_on_small_stack(input);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.message, "invalid JSON value at offset 5000000");
}

TEST(JsonMinifierDeepNesting, ClosesEachLevelWithItsOwnKindOfBracket) {
  const std::string opened = repeated("[{\"a\":", kDeepNesting);
  const std::string closed = opened + "0" + repeated("}]", kDeepNesting);
  const MinifyRun good = minify_on_small_stack(closed);
  ASSERT_TRUE(good.finished);
  ASSERT_TRUE(good.ok) << good.message;
  EXPECT_TRUE(good.output == closed);

  // Swapping the innermost pair of closers leaves an object closed by a bracket.
  const std::string swapped = opened + "0]}" + repeated("}]", kDeepNesting - 1);
  const MinifyRun bad = minify_on_small_stack(swapped);
  ASSERT_TRUE(bad.finished);
  EXPECT_EQ(bad.message, "invalid JSON value at offset 6000001");
}

}  // namespace
}  // namespace tovanel::uvc_stereo

#include "uvc-stereo/json_diff.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tovanel::uvc_stereo::cli {
namespace {

using Lines = std::vector<std::string>;

TEST(JsonDiff, IdenticalDocumentsHaveNoChange) {
  const JsonDiff diff = diff_json(R"({"a":1,"b":[1,2]})", R"({"a":1,"b":[1,2]})");
  EXPECT_TRUE(diff.empty());
  EXPECT_TRUE(diff.lines.empty());
  EXPECT_EQ(diff.summary(), "no change");
}

TEST(JsonDiff, ListsChangedAddedAndRemovedValuesByPath) {
  const JsonDiff diff = diff_json(R"({"name":"a","exposure":{"mode":"auto","max_us":8000}})",
                                  R"({"name":"a","exposure":{"mode":"manual","time_us":4000}})");
  EXPECT_EQ(diff.lines, (Lines{"~ /exposure/mode: \"auto\" -> \"manual\"", "+ /exposure/time_us: 4000",
                               "- /exposure/max_us: 8000"}));
  EXPECT_EQ(diff.changed, 1u);
  EXPECT_EQ(diff.added, 1u);
  EXPECT_EQ(diff.removed, 1u);
  EXPECT_EQ(diff.summary(), "1 changed, 1 added, 1 removed");
}

TEST(JsonDiff, ANumberWrittenDifferentlyIsShownAsTheSameValue) {
  const JsonDiff diff =
      diff_json(R"({"fps":60.0,"gain":1e2,"zero":-0,"bias":0.10})", R"({"fps":60,"gain":100,"zero":0.0,"bias":0.1})");
  const std::string same = " (the same value; only its text differs)";
  EXPECT_EQ(diff.lines, (Lines{"~ /fps: 60.0 -> 60" + same, "~ /gain: 1e2 -> 100" + same, "~ /zero: -0 -> 0.0" + same,
                               "~ /bias: 0.10 -> 0.1" + same}));
  EXPECT_EQ(diff.changed, 4u);
}

TEST(JsonDiff, NumbersOfDifferentValueOrTextThatIsNoNumberAreOrdinaryChanges) {
  const JsonDiff diff = diff_json(R"({"fps":60,"big":9007199254740993,"name":"60","exp":1e2})",
                                  R"({"fps":60.5,"big":9007199254740992,"name":"60.0","exp":1e3})");
  EXPECT_EQ(diff.lines, (Lines{"~ /fps: 60 -> 60.5", "~ /big: 9007199254740993 -> 9007199254740992",
                               "~ /name: \"60\" -> \"60.0\"", "~ /exp: 1e2 -> 1e3"}));
}

TEST(JsonDiff, RemovedValuesAppearWhereTheyStood) {
  const JsonDiff diff = diff_json(R"({"a":1,"b":2,"c":3})", R"({"a":1,"c":4})");
  EXPECT_EQ(diff.lines, (Lines{"- /b: 2", "~ /c: 3 -> 4"}));
}

TEST(JsonDiff, ArraysAreComparedElementByElement) {
  const JsonDiff diff = diff_json(R"({"k":[1,2,3]})", R"({"k":[1,5]})");
  EXPECT_EQ(diff.lines, (Lines{"~ /k/1: 2 -> 5", "- /k/2: 3"}));
}

TEST(JsonDiff, NothingStoredYetMakesEveryValueAnAddition) {
  const JsonDiff diff = diff_json("", R"({"a":{"b":true},"c":null})");
  EXPECT_EQ(diff.lines, (Lines{"+ /a/b: true", "+ /c: null"}));
  EXPECT_EQ(diff.added, 2u);
}

TEST(JsonDiff, AnEmptyContainerIsAValueOfItsOwn) {
  const JsonDiff diff = diff_json(R"({"a":{}})", R"({"a":{"x":1}})");
  EXPECT_EQ(diff.lines, (Lines{"+ /a/x: 1", "- /a: {}"}));
}

TEST(JsonDiff, AScalarDocumentIsTheWholeDocument) {
  const JsonDiff diff = diff_json("42", "43");
  EXPECT_EQ(diff.lines, (Lines{"~ (whole document): 42 -> 43"}));
}

TEST(JsonDiff, RepeatedKeysAreMatchedInOrder) {
  const JsonDiff diff = diff_json(R"({"a":1,"a":2})", R"({"a":1,"a":3})");
  EXPECT_EQ(diff.lines, (Lines{"~ /a: 2 -> 3"}));
}

TEST(JsonDiff, StringValuesKeepTheirEscapesAndSeparators) {
  const JsonDiff diff = diff_json(R"({"s":"a,b}"})", R"({"s":"a\"]"})");
  EXPECT_EQ(diff.lines, (Lines{R"(~ /s: "a,b}" -> "a\"]")"}));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli

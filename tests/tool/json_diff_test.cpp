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

TEST(JsonDiff, IntegersBeyondAnyMachineWordAreComparedDigitByDigit) {
  // A double (or a 64-bit integer) holds neither value; both would read as the same number.
  const JsonDiff diff =
      diff_json(R"({"serial":123456789012345678901234567890,"id":1.23456789012345678901234567890e29})",
                R"({"serial":123456789012345678901234567891,"id":123456789012345678901234567890})");
  EXPECT_EQ(diff.lines, (Lines{"~ /serial: 123456789012345678901234567890 -> 123456789012345678901234567891",
                               "~ /id: 1.23456789012345678901234567890e29 -> 123456789012345678901234567890"
                               " (the same value; only its text differs)"}));
}

TEST(JsonDiff, LongDecimalsAreComparedToTheirLastDigit) {
  const JsonDiff diff =
      diff_json(R"({"k":0.10000000000000000001,"t":-1.5000000000000000000000})", R"({"k":0.1,"t":-15e-1})");
  EXPECT_EQ(diff.lines, (Lines{"~ /k: 0.10000000000000000001 -> 0.1",
                               "~ /t: -1.5000000000000000000000 -> -15e-1 (the same value; only its text differs)"}));
}

TEST(JsonDiff, ExponentsTooLongToCompareAreNeverCalledTheSameValue) {
  const JsonDiff diff = diff_json(R"({"a":1e99999999999999999999,"b":1e-0000000000000000000002})",
                                  R"({"a":1e99999999999999999998,"b":0.01})");
  EXPECT_EQ(diff.lines, (Lines{"~ /a: 1e99999999999999999999 -> 1e99999999999999999998",
                               "~ /b: 1e-0000000000000000000002 -> 0.01 (the same value; only its text differs)"}));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli

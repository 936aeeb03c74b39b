#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "flash/json_random_documents.h"
#include "support/printable_text.h"
#include "support/reference_json_minifier.h"
#include "uvc_stereo/json.h"

namespace tovanel::uvc_stereo {
namespace {

using json_test::RandomJson;
using test_support::printable;
using test_support::ReferenceJsonMinifier;

constexpr std::uint32_t kSeed = 20240611;
constexpr int kDocuments = 10000;
constexpr int kMutantsPerDocument = 4;

// The reference's verdict as the SDK words its own: accepted with the minified text, or refused with the message.
struct ReferenceOutcome {
  bool ok = false;
  std::string output;
  std::string message;
};

ReferenceOutcome reference_outcome(std::string_view text) {
  const ReferenceJsonMinifier::Answer answer = ReferenceJsonMinifier::minify(text);
  ReferenceOutcome outcome;
  switch (answer.outcome) {
    case ReferenceJsonMinifier::Outcome::Minified:
      outcome.ok = true;
      outcome.output = answer.output;
      break;
    case ReferenceJsonMinifier::Outcome::Empty:
      outcome.message = "json text is empty";
      break;
    case ReferenceJsonMinifier::Outcome::InvalidValue:
      outcome.message = "invalid JSON value at offset " + std::to_string(answer.offset);
      break;
    case ReferenceJsonMinifier::Outcome::TrailingCharacters:
      outcome.message = "unexpected trailing characters at offset " + std::to_string(answer.offset);
      break;
    case ReferenceJsonMinifier::Outcome::TooDeep:
      outcome.message = "nested deeper than the reference follows";
      break;
  }
  return outcome;
}

::testing::AssertionResult agrees_with_reference(std::string_view text) {
  // An exactly sized copy, with no terminator behind it, lets a memory checker catch any read past the end.
  const std::unique_ptr<char[]> exact(new char[text.size() + (text.empty() ? 1 : 0)]);
  std::copy(text.begin(), text.end(), exact.get());
  const std::string_view input(exact.get(), text.size());
  const ReferenceOutcome expected = reference_outcome(input);
  const Result<std::string> actual = minify_and_validate_json(input);
  if (actual.ok() != expected.ok) {
    return ::testing::AssertionFailure() << "acceptance differs on \"" << printable(input) << "\": reference says \""
                                         << (expected.ok ? "ok" : expected.message) << "\", minifier says \""
                                         << (actual.ok() ? "ok" : actual.status().message()) << "\"";
  }
  if (expected.ok && actual.value() != expected.output) {
    return ::testing::AssertionFailure() << "output differs on \"" << printable(input) << "\": \""
                                         << printable(actual.value()) << "\" instead of \""
                                         << printable(expected.output) << "\"";
  }
  if (!expected.ok &&
      (actual.status().code() != ErrorCode::InvalidJson || actual.status().message() != expected.message)) {
    return ::testing::AssertionFailure() << "failure differs on \"" << printable(input) << "\": \""
                                         << actual.status().message() << "\" instead of \"" << expected.message << "\"";
  }
  return ::testing::AssertionSuccess();
}

// The oracle is only worth comparing against if it gets the hand-checked answers right itself.
TEST(JsonReferenceMinifier, GivesTheHandCheckedAnswers) {
  const struct {
    std::string_view input;
    bool ok;
    std::string_view text;
  } cases[] = {
      {" {\"a\" : [1, 2.5e+3, true, null]} ", true, "{\"a\":[1,2.5e+3,true,null]}"},
      {"", false, "json text is empty"},
      {"   ", false, "invalid JSON value at offset 3"},
      {"[1,]", false, "invalid JSON value at offset 3"},
      {"01", false, "unexpected trailing characters at offset 1"},
      {"nul1", false, "invalid JSON value at offset 3"},
      {R"("\ud800\u0041")", false, "invalid JSON value at offset 9"},
      {R"("\udc00")", false, "invalid JSON value at offset 7"},
      {R"("\ud83d\ude00")", true, R"("\ud83d\ude00")"},
      {"{\"a\":1,}", false, "invalid JSON value at offset 7"},
  };
  for (const auto& c : cases) {
    const ReferenceOutcome outcome = reference_outcome(c.input);
    EXPECT_EQ(outcome.ok, c.ok) << c.input;
    EXPECT_EQ(c.ok ? outcome.output : outcome.message, c.text) << c.input;
  }
}

TEST(JsonMinifierDifferential, AgreesWithTheReferenceOnGeneratedDocuments) {
  RandomJson random(kSeed);
  for (int i = 0; i < kDocuments; ++i) {
    const std::string document = random.document();
    ASSERT_TRUE(agrees_with_reference(document)) << "document " << i;
    ASSERT_TRUE(reference_outcome(document).ok) << "generator produced an invalid document " << printable(document);
  }
}

TEST(JsonMinifierDifferential, AgreesWithTheReferenceOnMutatedDocuments) {
  RandomJson random(kSeed + 1);
  int accepted = 0;
  int refused = 0;
  std::set<std::string> failure_kinds;
  for (int i = 0; i < kDocuments; ++i) {
    const std::string document = random.document();
    for (int m = 0; m < kMutantsPerDocument; ++m) {
      const std::string mutant = random.mutate(document);
      ASSERT_TRUE(agrees_with_reference(mutant)) << "document " << i << ", mutant " << m;
      const ReferenceOutcome outcome = reference_outcome(mutant);
      if (outcome.ok) {
        ++accepted;
      } else {
        ++refused;
        failure_kinds.insert(outcome.message.substr(0, outcome.message.find(" at offset")));
      }
    }
  }
  // The comparison only means something if the mutants exercise both verdicts and every kind of failure.
  const int total = kDocuments * kMutantsPerDocument;
  EXPECT_GT(accepted, total / 20);
  EXPECT_GT(refused, total / 2);
  EXPECT_EQ(failure_kinds,
            (std::set<std::string>{"invalid JSON value", "unexpected trailing characters", "json text is empty"}));
}

TEST(JsonMinifierDifferential, AgreesWithTheReferenceOnEveryPrefixOfADocument) {
  RandomJson random(kSeed + 2);
  for (int i = 0; i < 50; ++i) {
    const std::string document = random.document();
    for (std::size_t length = 0; length <= document.size(); ++length) {
      ASSERT_TRUE(agrees_with_reference(std::string_view(document).substr(0, length)));
    }
  }
}

TEST(JsonMinifierProperties, RemovesExactlyTheWhitespaceOutsideStrings) {
  RandomJson random(kSeed + 3);
  for (int i = 0; i < kDocuments; ++i) {
    const std::string document = random.document();
    const Result<std::string> result = minify_and_validate_json(document);
    ASSERT_TRUE(result.ok()) << result.status().message() << " on " << printable(document);
    ASSERT_EQ(result.value(), json_test::strip_whitespace_outside_strings(document)) << printable(document);
  }
}

TEST(JsonMinifierProperties, NeverProducesMoreBytesThanItReads) {
  RandomJson random(kSeed + 4);
  int checked = 0;
  for (int i = 0; i < kDocuments; ++i) {
    const std::string document = random.document();
    const std::string mutant = random.mutate(document);
    for (const std::string* input : {&document, &mutant}) {
      const Result<std::string> result = minify_and_validate_json(*input);
      if (result.ok()) {
        ASSERT_LE(result.value().size(), input->size()) << printable(*input);
        ++checked;
      }
    }
  }
  EXPECT_GE(checked, kDocuments);
}

TEST(JsonMinifierProperties, GivesTheSameTextWhenMinifyingItsOwnOutput) {
  RandomJson random(kSeed + 5);
  for (int i = 0; i < kDocuments; ++i) {
    const std::string document = random.document();
    const Result<std::string> once = minify_and_validate_json(document);
    ASSERT_TRUE(once.ok()) << once.status().message() << " on " << printable(document);
    const Result<std::string> twice = minify_and_validate_json(once.value());
    ASSERT_TRUE(twice.ok()) << twice.status().message() << " on " << printable(once.value());
    ASSERT_EQ(twice.value(), once.value());
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo

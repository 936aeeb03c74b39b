#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/cpu_features.h"
#include "flash/json_minifier_variants.h"
#include "flash/json_random_documents.h"
#include "support/printable_text.h"

namespace tovanel::uvc_stereo {
namespace {

using detail::JsonMinifierVariant;
using json_test::RandomJson;

constexpr std::uint32_t kSeed = 20260611;

std::string printable(std::string_view text) { return test_support::printable(text, 400); }

// The text in a buffer of exactly its size, so that a read past its end is a read past an allocation.
class ExactCopy {
 public:
  explicit ExactCopy(std::string_view text) : bytes_(new char[text.empty() ? 1 : text.size()]), size_(text.size()) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  [[nodiscard]] std::string_view view() const { return std::string_view(bytes_.get(), size_); }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

class JsonMinifierVariantTest : public ::testing::TestWithParam<const JsonMinifierVariant*> {
 protected:
  void SetUp() override {
    if (!variant().supported(detail::cpu_features())) {
      GTEST_SKIP() << variant().name << " needs instructions this processor lacks";
    }
  }

  [[nodiscard]] const JsonMinifierVariant& variant() const { return *GetParam(); }

  // The variant's public form gives exactly what the scalar reference gives: verdict, code, message and bytes.
  [[nodiscard]] ::testing::AssertionResult agrees(std::string_view text) const {
    const ExactCopy copy(text);
    const Result<std::string> expected = detail::minify_and_validate_json_scalar(copy.view());
    const Result<std::string> actual = detail::minify_and_validate_json_with(variant(), copy.view());
    if (actual.ok() != expected.ok() || actual.status().code() != expected.status().code() ||
        actual.status().message() != expected.status().message()) {
      return ::testing::AssertionFailure()
             << "on \"" << printable(text) << "\": scalar says \""
             << (expected.ok() ? "ok" : expected.status().message()) << "\", " << variant().name << " says \""
             << (actual.ok() ? "ok" : actual.status().message()) << "\"";
    }
    if (expected.ok() && actual.value() != expected.value()) {
      return ::testing::AssertionFailure()
             << "output differs on \"" << printable(text) << "\": \"" << printable(actual.value()) << "\" instead of \""
             << printable(expected.value()) << "\"";
    }
    return ::testing::AssertionSuccess();
  }

  // The fast path alone: it may only vouch for what the scalar scanner accepts, and then with the same bytes.
  // Returns whether it vouched.
  [[nodiscard]] ::testing::AssertionResult vouches(std::string_view text) const {
    const ExactCopy copy(text);
    std::string out;
    const bool vouched = variant().fast_path(copy.view().data(), copy.view().size(), out);
    if (!vouched) {
      return ::testing::AssertionFailure() << variant().name << " did not vouch for \"" << printable(text) << "\"";
    }
    const Result<std::string> expected = detail::minify_and_validate_json_scalar(copy.view());
    if (!expected.ok()) {
      return ::testing::AssertionFailure() << variant().name << " vouched for \"" << printable(text)
                                           << "\", which the scalar scanner refuses: " << expected.status().message();
    }
    if (out != expected.value()) {
      return ::testing::AssertionFailure()
             << variant().name << " wrote \"" << printable(out) << "\" for \"" << printable(text) << "\" instead of \""
             << printable(expected.value()) << "\"";
    }
    return ::testing::AssertionSuccess();
  }
};

// Documents of a few kilobytes: random values in a top-level array, so that tokens fall on every block boundary.
std::string long_document(RandomJson& random, int values) {
  std::string text = "[";
  for (int i = 0; i < values; ++i) {
    if (i > 0) {
      text += random.below(2) == 0 ? "," : " ,\n  ";
    }
    text += random.document(5);
  }
  text += "]";
  return text;
}

TEST_P(JsonMinifierVariantTest, VouchesForEveryGeneratedDocumentWithTheScalarOutput) {
  RandomJson random(kSeed);
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(vouches(random.document(6))) << "document " << i;
  }
  for (int i = 0; i < 300; ++i) {
    ASSERT_TRUE(vouches(long_document(random, 1 + random.below(60)))) << "long document " << i;
  }
}

TEST_P(JsonMinifierVariantTest, AgreesWithTheScalarScannerOnMutatedDocuments) {
  RandomJson random(kSeed + 1);
  int refused = 0;
  for (int i = 0; i < 5000; ++i) {
    const std::string document = i % 10 == 0 ? long_document(random, 1 + random.below(20)) : random.document(6);
    for (int m = 0; m < 4; ++m) {
      const std::string mutant = random.mutate(document);
      ASSERT_TRUE(agrees(mutant)) << "document " << i << ", mutant " << m;
      refused += detail::minify_and_validate_json_scalar(mutant).ok() ? 0 : 1;
    }
  }
  EXPECT_GT(refused, 5000);
}

TEST_P(JsonMinifierVariantTest, NeverVouchesForATextTheScalarScannerRefuses) {
  RandomJson random(kSeed + 2);
  int checked = 0;
  for (int i = 0; i < 5000; ++i) {
    const std::string mutant = random.mutate(i % 10 == 0 ? long_document(random, 8) : random.document(6));
    const ExactCopy copy(mutant);
    if (detail::minify_and_validate_json_scalar(copy.view()).ok() || mutant.empty()) {
      continue;
    }
    std::string out;
    ASSERT_FALSE(variant().fast_path(copy.view().data(), copy.view().size(), out)) << printable(mutant);
    ++checked;
  }
  EXPECT_GT(checked, 2500);
}

TEST_P(JsonMinifierVariantTest, AgreesOnEveryPrefixOfLongDocuments) {
  RandomJson random(kSeed + 3);
  for (int i = 0; i < 8; ++i) {
    const std::string document = long_document(random, 12);
    for (std::size_t length = 0; length <= document.size(); ++length) {
      ASSERT_TRUE(agrees(std::string_view(document).substr(0, length)));
    }
  }
}

// Runs of one kind of byte, long enough to span several 16, 32 and 64-byte groups, starting at every offset of a
// block, inside the places the grammar allows them and the places it does not.
TEST_P(JsonMinifierVariantTest, AgreesOnLongRunsAtEveryOffsetOfABlock) {
  const std::string runs[] = {std::string(150, ' '), std::string(150, '\n'), std::string(97, '7'),
                              std::string(130, 'a'), std::string(70, '\t'),  "\r\n\t " + std::string(80, ' ')};
  for (std::size_t offset = 0; offset < 64; ++offset) {
    const std::string pad(offset, ' ');
    for (const std::string& run : runs) {
      const std::string cases[] = {
          pad + "\"" + run + "\"",
          pad + "[" + run + "1" + run + "," + run + "2" + run + "]",
          pad + "{\"k" + run + "\":" + run + "\"" + run + "\"" + run + "}",
          pad + "1" + run,
          pad + "-" + run,
          pad + "[1" + run.substr(0, 3) + "]" + run,
          pad + "\"" + run,
          pad + run,
          pad + "12345678901234567890" + run + "x",
      };
      for (const std::string& text : cases) {
        ASSERT_TRUE(agrees(text)) << "offset " << offset;
      }
    }
    const std::string digits(130, '9');
    for (const std::string& text :
         {pad + digits, pad + "-" + digits + "." + digits + "e+" + digits, pad + "[" + digits + "," + digits + "]",
          pad + "0" + digits, pad + digits + "." + "e5", pad + "\"" + digits + "\\" + "\"" + digits + "\""}) {
      ASSERT_TRUE(agrees(text)) << "offset " << offset;
    }
  }
}

// Backslash runs of every length up to past two blocks, ending on every offset, before a quote, a letter or the
// end: whether the quote closes the string depends on the run's parity across block boundaries.
TEST_P(JsonMinifierVariantTest, AgreesOnBackslashRunsOfEveryLengthAcrossBlockBoundaries) {
  for (std::size_t offset = 0; offset < 64; ++offset) {
    const std::string pad(offset, 'x');
    for (std::size_t run = 1; run <= 140; ++run) {
      const std::string slashes(run, '\\');
      for (const std::string& text :
           {"\"" + pad + slashes + "\"", "\"" + pad + slashes + "\"\"", "[\"" + pad + slashes + "\",1]",
            "\"" + pad + slashes + "n\"", "\"" + pad + slashes + "u00e9\"", "\"" + pad + slashes,
            "{\"" + pad + slashes + "\":" + "\"" + slashes + "\"}", pad.substr(0, 1) + slashes}) {
        ASSERT_TRUE(agrees(text)) << "offset " << offset << ", run " << run;
      }
    }
  }
}

TEST_P(JsonMinifierVariantTest, AgreesOnEscapesAndSurrogatesAtEveryOffset) {
  const std::string escapes[] = {"\\ud83d\\ude00", "\\uD83D\\uDE00",     "\\ud800", "\\udc00",       "\\ud800\\u0041",
                                 "\\ud800\\\\",    "\\ud800\\ud800",     "\\u12",   "\\u12g4",       "\\x",
                                 "\\\"",           "\\/\\b\\f\\n\\r\\t", "\\u0000", "\\ud83d\\ude0", "\\ud83d\\"};
  for (std::size_t offset = 0; offset < 70; ++offset) {
    const std::string pad(offset, 'y');
    for (const std::string& escape : escapes) {
      for (const std::string& text : {"\"" + pad + escape + "\"", "\"" + pad + escape, "[\"" + pad + escape + "\"]",
                                      "{\"" + pad + escape + "\":0}"}) {
        ASSERT_TRUE(agrees(text)) << "offset " << offset;
      }
    }
  }
}

// Every byte value in and out of strings, including the control bytes that share a nibble with ',' and ':'.
TEST_P(JsonMinifierVariantTest, AgreesOnEveryByteValueInsideAndOutsideStrings) {
  for (int value = 0; value < 256; ++value) {
    const char c = static_cast<char>(value);
    for (std::size_t offset : {std::size_t{0}, std::size_t{13}, std::size_t{31}, std::size_t{62}, std::size_t{63}}) {
      const std::string pad(offset, ' ');
      for (const std::string& text :
           {pad + "\"" + c + "\"", pad + "[" + c + "]", pad + "[1" + c + "2]", pad + "{\"a\"" + c + ":1}", pad + c,
            pad + "[true" + c + "]", pad + "\"\\" + c + "\"", pad + "[1," + c + "]"}) {
        ASSERT_TRUE(agrees(text)) << "byte " << value << ", offset " << offset;
      }
    }
  }
}

// Configuration text people write in other languages: long strings of CJK and accented characters, emoji,
// escapes, quoted words and Windows paths, in documents spanning many blocks.
TEST_P(JsonMinifierVariantTest, VouchesForEscapeAndUtf8HeavyDocumentsWithTheScalarOutput) {
  RandomJson random(kSeed + 4, json_test::StringStyle::Prose);
  for (int i = 0; i < 2000; ++i) {
    ASSERT_TRUE(vouches(random.document(5))) << "document " << i;
  }
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(vouches(long_document(random, 1 + random.below(40)))) << "long document " << i;
  }
}

TEST_P(JsonMinifierVariantTest, AgreesWithTheScalarScannerOnMutatedEscapeAndUtf8HeavyDocuments) {
  RandomJson random(kSeed + 5, json_test::StringStyle::Prose);
  int refused = 0;
  for (int i = 0; i < 3000; ++i) {
    const std::string document = i % 10 == 0 ? long_document(random, 1 + random.below(20)) : random.document(5);
    for (int m = 0; m < 4; ++m) {
      const std::string mutant = random.mutate(document);
      ASSERT_TRUE(agrees(mutant)) << "document " << i << ", mutant " << m;
      refused += detail::minify_and_validate_json_scalar(mutant).ok() ? 0 : 1;
    }
  }
  EXPECT_GT(refused, 3000);
}

// Each multi-byte character, escape, bad escape and control byte placed so that it starts on every byte of a run
// crossing a 16, 32 and 64-byte boundary, with long runs of multi-byte text before and after it.
TEST_P(JsonMinifierVariantTest, AgreesOnCharactersAndEscapesStraddlingEveryBlockBoundary) {
  const std::string pieces[] = {"\xc3\xa9",
                                "\xe4\xb8\xad",
                                "\xf0\x9f\x98\x80",
                                "\\u00e9",
                                "\\ud83d\\ude00",
                                "\\\"",
                                "\\\\",
                                "\\n",
                                "\\/",
                                "\\x",
                                "\\u12g4",
                                "\\ud800\\u0041",
                                "\\udc00",
                                "\\",
                                "\x01",
                                "\t",
                                "\x1f",
                                "\x7f",
                                "\xff",
                                "\x80",
                                "\xe4\xb8",
                                "\\\\\\\"\\\\\\\\"};
  const std::string cjk = "\xe9\x85\x8d\xe7\xbd\xae\xe6\x96\x87\xe4\xbb\xb6";  // four three-byte characters
  for (std::size_t offset = 0; offset < 72; ++offset) {
    const std::string pad = offset % 2 == 0 ? std::string(offset, 'a') : std::string(offset - 1, 'b') + " ";
    for (const std::string& piece : pieces) {
      for (const std::string& text : {
               "\"" + pad + piece + "\"",
               "[\"" + pad + piece + cjk + cjk + "\",\"" + cjk + "\"]",
               "{\"" + pad + piece + "\":\"" + cjk + piece + cjk + "\"}",
               "\"" + cjk + pad + piece + cjk + cjk + cjk + cjk + cjk + cjk + "\"",
               "\"" + pad + piece,
               pad.substr(0, offset / 3) + piece + "1",
           }) {
        ASSERT_TRUE(agrees(text)) << "offset " << offset << ", piece \"" << printable(piece) << "\"";
      }
    }
  }
}

// Strings that fill whole blocks with text and nothing to check, then end, escape or break at every offset of the
// block after: the end of such a run, a backslash on a block's last byte and a control byte on a block's first
// byte must all be seen.
TEST_P(JsonMinifierVariantTest, AgreesOnStringsSpanningWholeBlocks) {
  std::string prose;
  while (prose.size() < 300) {
    prose += "\xe5\xb7\xa6\xe7\x9b\xb8\xe6\x9c\xba Caf\xc3\xa9 \xf0\x9f\x93\xb7 ";
  }
  const std::string endings[] = {"\"", "\\n\"",     "\\\"\"",    "\\x\"", "\x01\"", "\\",
                                 "",   "\\u00e9\"", "\\ud83d\"", "\"]",   "\",1]",  "\" x"};
  for (std::size_t start = 0; start < 64; ++start) {
    for (std::size_t length = 64; length < 200; length += 7) {
      for (const std::string& ending : endings) {
        const std::string body = std::string(start, ' ') + "[\"" + prose.substr(0, length);
        ASSERT_TRUE(agrees(body + ending)) << "start " << start << ", length " << length;
        ASSERT_TRUE(agrees(body + ending + "]")) << "start " << start << ", length " << length;
      }
    }
  }
  // A backslash on the last byte of a block escapes the first byte of the next one, which holds nothing else to
  // check; a bad escape there is refused and a good one accepted by the fast path itself. The byte after that
  // block is no longer escaped, so an 'n' there must not stand in for the bad escape.
  for (std::size_t block_end = 64; block_end <= 192; block_end += 64) {
    for (const char escaped : {'n', 'x', '"', 'u', '\\', '\x01', '/'}) {
      const bool good = escaped != 'x' && escaped != '\x01';
      for (const auto& [open, close] :
           {std::pair<std::string, std::string>{"\"", "\""}, {"[\"", "\"]"}, {"{\"k\": \"", "\"}"}, {"{\"", "\":0}"}}) {
        std::string text = open + std::string(block_end - 1 - open.size(), 'a') + "\\" + escaped +
                           (escaped == 'u' ? "00e9" : "") + std::string(63, 'c') + "n" + std::string(40, 'd') + close;
        ASSERT_EQ(text[block_end - 1], '\\');
        ASSERT_EQ(detail::minify_and_validate_json_scalar(text).ok(), good) << printable(text);
        ASSERT_TRUE(agrees(text)) << "escape " << escaped << " after " << block_end;
        if (good) {
          ASSERT_TRUE(vouches(text)) << "escape " << escaped << " after " << block_end;
        }
      }
    }
  }
}

// Numbers and literals, well-formed or not, after long stretches of prose and after long lists of numbers, at
// every shift against the blocks: each must be judged wherever it starts, also where it runs into the next block.
TEST_P(JsonMinifierVariantTest, AgreesOnNumbersAndLiteralsAfterLongProseAndAfterLongNumberLists) {
  std::string prose_member;
  for (int i = 0; i < 4; ++i) {
    prose_member +=
        "\"note\":\"\xe8\xbf\x99\xe6\x98\xaf\xe4\xb8\x80\xe4\xb8\xaa\xe7\x9b\xb8\xe6\x9c\xba\xe7\x9a\x84"
        "\xe8\xaf\xb4\xe6\x98\x8e\xe6\x96\x87\xe5\xad\x97\xef\xbc\x8c\xe5\xbe\x88\xe9\x95\xbf\xe3\x80\x82 "
        "\\\"\xe5\xb9\xbf\xe8\xa7\x92\\\" \\u00e9\\ud83d\\ude00\",";
  }
  std::string number_member;
  for (int i = 0; i < 12; ++i) {
    number_member += "\"v\":[1.5,-2e+3,0,true,null,false,12345],";
  }
  const std::string atoms[] = {"0",    "-0.5e-7", "01",  "1.",  "1.e5", "-",     "--1",   "1e",   "1e+", "tru",
                               "true", "truex",   "nul", "nan", "fals", "false", "1.5.2", "1e5e", ".5",  "+1"};
  for (int prose = 0; prose <= 12; prose += 3) {
    for (int numbers = 0; numbers <= 8; numbers += 4) {
      for (std::size_t shift = 0; shift < 64; shift += 5) {
        std::string head = "{" + std::string(shift, ' ');
        for (int i = 0; i < prose; ++i) head += prose_member;
        for (int i = 0; i < numbers; ++i) head += number_member;
        for (const std::string& atom : atoms) {
          ASSERT_TRUE(agrees(head + "\"x\":" + atom + "}")) << "prose " << prose << ", numbers " << numbers;
          ASSERT_TRUE(agrees(head + "\"x\":[" + atom + "," + atom + "]," + prose_member + "\"y\":1}"))
              << "prose " << prose << ", numbers " << numbers;
        }
      }
    }
  }
}

// Documents of thousands of tokens, with few tokens per block or a token on every byte of a block: a grammar error
// thousands of tokens in is refused with the scalar scanner's offset, at every position around it.
TEST_P(JsonMinifierVariantTest, AgreesOnGrammarErrorsThousandsOfTokensIntoADocument) {
  struct Shape {
    const char* value;   // one element of the top-level array, with its comma
    std::size_t tokens;  // how many tokens it holds
  };
  const Shape shapes[] = {{"1,", 2}, {"[],", 3}, {"{\"k\":[]},", 6}, {"\"\xe4\xb8\xad\xe6\x96\x87\",", 2}};
  const std::string breaks[] = {":", "]", "}", ",,", "1", "\"\"", "[", "x"};
  for (const Shape& shape : shapes) {
    std::string text = "[";
    while (text.size() < 3 * 4096 * std::string_view(shape.value).size() / shape.tokens) {
      text += shape.value;
    }
    text += "0]";
    ASSERT_TRUE(vouches(text)) << shape.value;
    const std::size_t element = std::string_view(shape.value).size();
    for (std::size_t token = 4096; token <= 2 * 4096; token += 4096) {
      // The element holding that token, and a few on each side.
      const std::size_t middle = 1 + (token / shape.tokens) * element;
      for (std::size_t at = middle - 3 * element; at <= middle + 3 * element; ++at) {
        for (const std::string& wrong : breaks) {
          std::string broken = text;
          broken.insert(at, wrong);
          ASSERT_TRUE(agrees(broken)) << shape.value << " with " << wrong << " at " << at;
        }
      }
    }
  }
}

// Hundreds of numbers that run into the next block, each read where it starts: a bad one among them is refused
// with the scalar scanner's offset wherever it falls.
TEST_P(JsonMinifierVariantTest, AgreesOnBadNumbersAmongHundredsRunningIntoTheNextBlock) {
  const std::string good = "1" + std::string(60, '0') + ".5e-7";
  const std::string bad[] = {"0" + std::string(65, '1'), "1." + std::string(64, '2') + ".",
                             "-" + std::string(64, '3') + "e", std::string(62, '4') + "ex",
                             "tru" + std::string(62, 'e')};
  for (const std::string& separator : {std::string(","), std::string(", ")}) {
    for (std::size_t wrong = 240; wrong < 780; wrong += wrong < 280 || (wrong >= 500 && wrong < 530) ? 1 : 50) {
      for (const std::string& number : bad) {
        std::string text = "[";
        for (std::size_t i = 0; i < 800; ++i) {
          text += (i == wrong ? number : good) + separator;
        }
        text += "0]";
        ASSERT_TRUE(agrees(text)) << "bad number " << number << " at " << wrong;
      }
    }
    std::string text = "[";
    for (std::size_t i = 0; i < 800; ++i) {
      text += good + separator;
    }
    ASSERT_TRUE(vouches(text + "0]"));
  }
}

// Bytes above 0x7F pass through strings unchanged, whether or not they spell UTF-8: overlong forms, surrogates,
// code points above U+10FFFF, stray continuation bytes and sequences cut short, also where the text ends. Every form
// keeps them, at every offset of a block and across block boundaries, and refuses them outside strings at the
// same offset as the scalar scanner.
TEST_P(JsonMinifierVariantTest, PassesMalformedUtf8ThroughStringsUnchangedAtEveryOffset) {
  const std::string malformed[] = {"\xc0\xaf",
                                   "\xe0\x80\xaf",
                                   "\xf0\x80\x80\xaf",
                                   "\xed\xa0\x80",
                                   "\xed\xbf\xbf",
                                   "\xf4\x90\x80\x80",
                                   "\xf7\xbf\xbf\xbf",
                                   "\xf8\x88\x80\x80\x80",
                                   "\x80",
                                   "\xbf\xbf",
                                   "\xc3",
                                   "\xe4\xb8",
                                   "\xf0\x9f\x98",
                                   "\xfe\xff",
                                   "\xed\xa0\x80\xed\xb0\x80"};
  for (std::size_t offset = 0; offset < 140; ++offset) {
    const std::string pad(offset, 'a');
    for (const std::string& bytes : malformed) {
      for (const std::string& text : {"\"" + pad + bytes + "\"", "[\"" + pad + bytes + "\",\"" + bytes + "\"]",
                                      "{\"" + pad + bytes + "\":\"" + bytes + pad + "\"}"}) {
        ASSERT_TRUE(vouches(text)) << "offset " << offset;
        ASSERT_EQ(detail::minify_and_validate_json_with(variant(), text).value(), text) << "offset " << offset;
      }
      // Cut short where the document ends, inside its string or right after it.
      ASSERT_TRUE(agrees("\"" + pad + bytes)) << "offset " << offset;
      ASSERT_TRUE(agrees(pad + "\"" + bytes + "\"")) << "offset " << offset;
      // Outside a string such a byte is no token at all.
      ASSERT_TRUE(agrees(pad + "[1," + bytes + "]")) << "offset " << offset;
      ASSERT_TRUE(agrees(pad + bytes)) << "offset " << offset;
    }
  }
}

// Documents of many blocks, as large configurations are: the output is the scalar one, and
// an error planted anywhere in them is refused with the scalar scanner's offset.
TEST_P(JsonMinifierVariantTest, AgreesOnLargeEscapeAndUtf8HeavyDocumentsAndTheirMutants) {
  RandomJson random(kSeed + 6, json_test::StringStyle::Prose);
  for (int i = 0; i < 3; ++i) {
    const std::string document = long_document(random, 1500);
    ASSERT_GT(document.size(), std::size_t{64} << 10);
    ASSERT_TRUE(vouches(document)) << "document " << i;
    for (int m = 0; m < 40; ++m) {
      ASSERT_TRUE(agrees(random.mutate(document))) << "document " << i << ", mutant " << m;
    }
  }
}

// Beyond the depth the fast path tracks, the scalar scanner takes over with the same result.
TEST_P(JsonMinifierVariantTest, AgreesOnNestingDeeperThanTheFastPathTracks) {
  for (const std::size_t depth : {std::size_t{1023}, std::size_t{1024}, std::size_t{1025}, std::size_t{5000}}) {
    const std::string arrays = std::string(depth, '[') + std::string(depth, ']');
    std::string objects;
    for (std::size_t i = 0; i < depth; ++i) objects += "{\"k\": ";
    objects += "1";
    objects += std::string(depth, '}');
    for (const std::string& text : {arrays, objects, arrays.substr(0, arrays.size() - 1), objects + " x"}) {
      ASSERT_TRUE(agrees(text)) << "depth " << depth;
    }
  }
  EXPECT_TRUE(vouches(std::string(1000, '[') + std::string(1000, ']')));
}

TEST_P(JsonMinifierVariantTest, AgreesOnTheFuzzCorpus) {
  const std::filesystem::path root = UVC_STEREO_SOURCE_DIR;
  int files = 0;
  for (const char* folder : {"fuzz/corpus/json_minifier", "fuzz/regressions/json_minifier"}) {
    const std::filesystem::path directory = root / folder;
    if (!std::filesystem::is_directory(directory)) {
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
      ASSERT_TRUE(agrees(text)) << entry.path();
      ++files;
    }
  }
  EXPECT_GT(files, 0) << "no fuzz corpus at " << root;
}

// Long texts are worked in pieces of a few tens of kilobytes; whatever straddles the 64 KiB mark (an escape, a
// surrogate pair, a backslash run, a character, a number, a bad byte, a grammar error) is judged as anywhere else.
TEST_P(JsonMinifierVariantTest, AgreesOnWhatStraddlesTheSixtyFourKibibyteMark) {
  constexpr std::size_t kMark = std::size_t{64} << 10;
  const std::string in_strings[] = {
      "\\n",  "\\ud83d\\ude00",       "\\ud800", "\\udc00x",       "\\u12", "\\x", "\\\\\\\"", "\\\\\\\\", "\\\\\\",
      "\x01", "\xe4\xb8\xad\xc3\xa9", "\"",      "\\u00e9\\\"\\\\"};
  const std::string values[] = {"123456789", "-0.25e+17", "01", "1.", "-", "true", "tru", "nulls", "falsey", "\"x\""};
  for (std::size_t shift = 0; shift <= 20; ++shift) {
    const std::size_t at = kMark - shift;  // where the piece starts
    for (const std::string& piece : in_strings) {
      const std::string filler(at - 2, 'a');
      for (const std::string& text : {"[\"" + filler + piece + "\"]", "[\"" + filler + piece + "\",1]",
                                      "[\"" + filler + piece, "{\"" + filler + piece + "\":0}"}) {
        ASSERT_TRUE(agrees(text)) << "shift " << shift << ", piece \"" << printable(piece) << "\"";
      }
    }
    for (const std::string& value : values) {
      const std::string filler(at - 1, ' ');
      for (const std::string& text : {"[" + filler + value + "]", "[" + filler + value + " ]",
                                      "[" + filler + value + ",2]", "[" + filler + value + "x]"}) {
        ASSERT_TRUE(agrees(text)) << "shift " << shift << ", value " << value;
      }
    }
    const std::string blanks(at - 1, '\n');
    for (const std::string& text :
         {"[" + blanks + ",1]", "{" + blanks + "}", "{" + blanks + "1:2}", "[1" + blanks + "2]", "[" + blanks + "]]"}) {
      ASSERT_TRUE(agrees(text)) << "shift " << shift;
    }
  }
  // Valid text across the mark is vouched for, with the scalar output.
  const std::string prose = "\xe4\xb8\xad\xe6\x96\x87 \\\"q\\\" \\\\ \\u00e9\\ud83d\\ude00 ";
  std::string document = "{\"notes\": [";
  while (document.size() < 2 * kMark) {
    document += "\"" + prose + prose + "\", 12.5e-3 ,\n  true, ";
  }
  document += "null]}";
  ASSERT_TRUE(vouches(document));
}

// A text dense with tokens ("[0,0,0,...") fills the list of token positions after a few kilobytes, long before
// the piece it works on ends; a number, an error or a long value where it fills is judged as anywhere else.
TEST_P(JsonMinifierVariantTest, AgreesWhereTheTokenListFillsUp) {
  std::string dense = "[";
  for (int i = 0; i < 2600; ++i) {
    dense += i == 0 ? "0" : ",0";
  }
  dense += "]";
  ASSERT_TRUE(vouches(dense));
  for (std::size_t position = 3964; position < 4230; position += 2) {
    // `position` is even: a comma of the list, and a "0" follows it.
    const std::size_t zero = position + 1;
    for (const std::string_view value : {"123456789012345", "-1.5e+300", "true", "\"s\"", "[]", "{}"}) {
      const std::string text = dense.substr(0, zero) + std::string(value) + dense.substr(zero + 1);
      ASSERT_TRUE(vouches(text)) << "position " << zero << ", value " << value;
    }
    for (const std::string_view bad : {"x", "]", ":", "\"", "01", "-", "1.", ",", "}"}) {
      ASSERT_TRUE(agrees(dense.substr(0, zero) + std::string(bad) + dense.substr(zero + 1)))
          << "position " << zero << ", " << bad;
      ASSERT_TRUE(agrees(dense.substr(0, position) + std::string(bad) + dense.substr(position + 1)))
          << "position " << position << ", " << bad;
    }
  }
}

// Every token in every place the grammar can be: after each kind of opening (a document's start, "[", "{", a key,
// a colon, a value in an object or an array, a finished document), each kind of token, then a few endings. Each
// place is also put where the list of token positions fills up, after 4096 tokens of a list of zeros, with the list
// ending right after the opening and a byte or two before or after that (a place a top-level value, within the
// list, closes: one element more), so that a form that stops and resumes its
// grammar there does so in every state, before every kind of token. A well-formed text must be vouched for, so that
// a form refusing too much shows as well.
TEST_P(JsonMinifierVariantTest, AgreesOnEveryTokenInEveryStateOfTheGrammar) {
  const auto judged_alike = [this](const std::string& text) {
    return detail::minify_and_validate_json_scalar(text).ok() ? vouches(text) : agrees(text);
  };
  const std::string_view openings[] = {"",         "[",  "{",   "{\"a\"", "{\"a\":",   "{\"a\":1,",
                                       "{\"a\":1", "[1", "[1,", "[[]",    "{\"a\":{}", "1 "};
  const std::string_view tokens[] = {"{", "[", "]", "}", ",", ":", "\"s\"", "1", "-0.5", "true", "x", "nul"};
  const std::string_view endings[] = {"", ":2}", ",3]", "]}", "\"b\":4}"};
  // "[0,0,...,0," with `place` starting at byte `at`: every byte before it starts a token.
  const auto in_zeros = [](const std::string& place, std::size_t at) {
    std::string text = (at % 2 == 0) ? "[ " : "[";
    text.resize(at, '0');
    for (std::size_t i = at % 2 == 0 ? 3 : 2; i < at; i += 2) {
      text[i] = ',';
    }
    return text + place + "]";
  };
  for (const std::string_view opening : openings) {
    for (const std::string_view token : tokens) {
      for (const std::string_view ending : endings) {
        const std::string place = std::string(opening) + std::string(token) + std::string(ending);
        ASSERT_TRUE(judged_alike(place)) << place;
        // Among the zeros: every place without an ending, and those an ending makes well-formed.
        if (!ending.empty() && !detail::minify_and_validate_json_scalar(place).ok()) {
          continue;
        }
        for (std::size_t end_of_opening = 4094; end_of_opening <= 4098; ++end_of_opening) {
          const std::string text = in_zeros(place, end_of_opening - opening.size());
          ASSERT_TRUE(judged_alike(text)) << place << " with its opening ending at " << end_of_opening;
        }
      }
    }
  }
}

// A form may choose how to work from a document's first kilobytes; what comes after them must not change its
// verdict, output or error offset.
TEST_P(JsonMinifierVariantTest, AgreesWhereEscapesAndOtherLanguagesFirstAppearAfterAPlainAsciiStart) {
  const std::string in_strings[] = {"\\n", "\\u00e9", "\\ud83d\\ude00", "\\x", "\x01", "\xe4\xb8\xad", "\xff"};
  const std::string outside[] = {"\xc3\xa9", "\\", "x", "1."};
  for (const std::size_t at : {std::size_t{4030}, std::size_t{4095}, std::size_t{4096}, std::size_t{4097},
                               std::size_t{4160}, std::size_t{9000}}) {
    const std::string filler(at - 2, 'a');
    for (const std::string& piece : in_strings) {
      const std::string text = "{\"" + filler + piece + "\": [1, 2.5, true]}";
      ASSERT_TRUE(agrees(text)) << "at " << at << ", piece \"" << printable(piece) << "\"";
      ASSERT_TRUE(agrees("{\n  \"" + filler + "\": \"" + piece + "\"\n}")) << "at " << at;
    }
    for (const std::string& piece : outside) {
      ASSERT_TRUE(agrees("[\"" + filler + "\", " + piece + "]")) << "at " << at << ", " << printable(piece);
    }
  }
}

std::vector<const JsonMinifierVariant*> vectorised_variants() {
  std::vector<const JsonMinifierVariant*> variants;
  const detail::JsonMinifierVariantList list = detail::json_minifier_variants();
  for (const JsonMinifierVariant* v = list.begin; v != list.end; ++v) {
    if (v->fast_path != nullptr) {
      variants.push_back(v);
    }
  }
  return variants;
}

INSTANTIATE_TEST_SUITE_P(EveryVariant, JsonMinifierVariantTest, ::testing::ValuesIn(vectorised_variants()),
                         [](const ::testing::TestParamInfo<const JsonMinifierVariant*>& info) {
                           return std::string(info.param->name);
                         });

// On a processor without any vector unit this suite has nothing to instantiate; that is fine.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(JsonMinifierVariantTest);

TEST(JsonMinifierVariantChoice, StartsWithTheScalarReferenceAndUsesTheLastSupportedVariant) {
  const detail::JsonMinifierVariantList list = detail::json_minifier_variants();
  ASSERT_NE(list.begin, list.end);
  EXPECT_EQ(std::string(list.begin->name), "scalar");
  EXPECT_EQ(list.begin->fast_path, nullptr);
  const JsonMinifierVariant* expected = nullptr;
  for (const JsonMinifierVariant* v = list.begin; v != list.end; ++v) {
    if (v->supported(detail::cpu_features())) {
      expected = v;
    }
  }
  EXPECT_EQ(&detail::active_json_minifier_variant(), expected);
}

}  // namespace
}  // namespace tovanel::uvc_stereo

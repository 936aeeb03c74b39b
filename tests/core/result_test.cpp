#include "uvc_stereo/result.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "uvc_stereo/flash.h"

namespace tovanel::uvc_stereo {
namespace {

TEST(Status, DefaultIsOkWithEmptyMessage) {
  const Status status;
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(status.code(), ErrorCode::Ok);
  EXPECT_TRUE(status.message().empty());
}

TEST(Status, OkCodeWithTextStaysOkAndKeepsText) {
  const Status status(ErrorCode::Ok, "note");
  EXPECT_TRUE(status.ok());
  EXPECT_EQ(status.message(), "note");
}

TEST(Status, MoveAssignmentTakesCodeAndMessageAndEmptiesSource) {
  Status a;
  Status b(ErrorCode::ReadFailed, "a long enough message to live on the heap, not in SSO");
  a = std::move(b);
  EXPECT_EQ(a.code(), ErrorCode::ReadFailed);
  EXPECT_EQ(a.message(), "a long enough message to live on the heap, not in SSO");
  EXPECT_TRUE(b.message().empty());            // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(b.code(), ErrorCode::ReadFailed);  // NOLINT(bugprone-use-after-move)
}

TEST(Status, MoveConstructionKeepsSourceCodeAndEmptiesItsMessage) {
  Status b(ErrorCode::BadMagic, "short");
  const Status a(std::move(b));
  EXPECT_EQ(a.message(), "short");
  EXPECT_TRUE(b.message().empty());          // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(b.code(), ErrorCode::BadMagic);  // NOLINT(bugprone-use-after-move)
}

TEST(Status, CopyKeepsBoth) {
  const Status b(ErrorCode::WriteFailed, "x");
  const Status a = b;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(a.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(b.message(), "x");
}

TEST(Result, FromFailingStatusHasNoValueAndThrowsBadOptionalAccess) {
  const Result<FlashBlob> result(Status(ErrorCode::ChecksumMismatch, "crc32 mismatch"));
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(static_cast<int>(result.status().code()), 11);
  EXPECT_EQ(result.status().message(), "crc32 mismatch");
  try {
    (void)result.value();
    FAIL() << "value() must throw";
  } catch (const std::bad_optional_access& e) {
    EXPECT_STREQ(e.what(), "Bad optional access");
  }
}

TEST(Result, FromValueIsOkWithEmptyStatusMessage) {
  Result<std::string> result(std::string("hello"));
  EXPECT_TRUE(result.ok());
  EXPECT_TRUE(result.status().ok());
  EXPECT_TRUE(result.status().message().empty());
  EXPECT_EQ(result.value(), "hello");
  const std::string moved = std::move(result).value();
  EXPECT_EQ(moved, "hello");
}

TEST(Result, FromConstValueCopies) {
  const std::vector<int> values{1, 2, 3};
  const Result<std::vector<int>> result(values);
  ASSERT_TRUE(result.ok());
  EXPECT_EQ(result.value(), values);
}

TEST(Result, FromConstStatusCopiesIt) {
  const Status status(ErrorCode::NotSupported, "no");
  const Result<int> result(status);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.status().message(), "no");
  EXPECT_EQ(status.message(), "no");
}

TEST(ErrorCodeNames, TableAndEnumStayInStep) {
  const char* expected[] = {
      "Ok",          "InvalidArgument", "PlatformError",      "DeviceUnavailable", "ReadFailed",    "WriteFailed",
      "EraseFailed", "BadMagic",        "UnsupportedVersion", "InvalidHeader",     "InvalidLength", "ChecksumMismatch",
      "InvalidJson", "InternalError",   "NotSupported"};
  for (int i = 0; i <= static_cast<int>(kLastErrorCode); ++i) {
    EXPECT_EQ(error_code_name(static_cast<ErrorCode>(i)), expected[i]) << i;
  }
  EXPECT_EQ(error_code_name(static_cast<ErrorCode>(15)), "Unknown");
  EXPECT_EQ(error_code_name(static_cast<ErrorCode>(-1)), "Unknown");
}

}  // namespace
}  // namespace tovanel::uvc_stereo

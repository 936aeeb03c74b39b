#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "uvc_stereo/export.h"

namespace tovanel::uvc_stereo {

/// Every outcome the SDK reports. The numeric values are part of the interface.
enum class ErrorCode : std::int32_t {
  Ok = 0,                  ///< success
  InvalidArgument = 1,     ///< bad argument or bad content that is not a framing problem
  PlatformError = 2,       ///< an operating-system or vendor-library call failed while enumerating or reading
  DeviceUnavailable = 3,   ///< no device to talk to, or it would not start
  ReadFailed = 4,          ///< a read from the device failed
  WriteFailed = 5,         ///< a write to the device failed or did not verify
  EraseFailed = 6,         ///< a flash sector erase failed
  BadMagic = 7,            ///< a record or report does not start with its magic
  UnsupportedVersion = 8,  ///< a report version this SDK does not understand
  InvalidHeader = 9,       ///< a record header is malformed
  InvalidLength = 10,      ///< a declared length does not fit
  ChecksumMismatch = 11,   ///< a CRC does not match
  InvalidJson = 12,        ///< the JSON text is not one well-formed value
  InternalError = 13,      ///< an exception was caught at an operation boundary
  NotSupported = 14,       ///< the device lacks what was asked for
};

/// The highest code the SDK produces.
inline constexpr ErrorCode kLastErrorCode = ErrorCode::NotSupported;

/// The enumerator's own name ("Ok", "InvalidArgument", ...); "Unknown" outside 0..14.
[[nodiscard]] UVC_STEREO_API std::string_view error_code_name(ErrorCode code) noexcept;

/// An ErrorCode and a message. Success is a default Status: code Ok, no text.
class [[nodiscard]] Status {
 public:
  /// Success: code Ok, no message.
  Status() = default;
  /// A status with this code and message.
  Status(ErrorCode code, std::string message) : code_(code), message_(std::move(message)) {}

  /// Copies code and message.
  Status(const Status&) = default;
  /// Copies code and message.
  Status& operator=(const Status&) = default;
  /// A moved-from Status keeps its code and loses its text.
  Status(Status&& other) noexcept : code_(other.code_), message_(std::move(other.message_)) { other.message_.clear(); }
  /// Takes the other's code and text; the other keeps its code and loses its text.
  Status& operator=(Status&& other) noexcept {
    if (this != &other) {
      code_ = other.code_;
      message_ = std::move(other.message_);
      other.message_.clear();
    }
    return *this;
  }
  ~Status() = default;

  /// Whether the code is Ok.
  [[nodiscard]] bool ok() const noexcept { return code_ == ErrorCode::Ok; }
  /// The error code.
  [[nodiscard]] ErrorCode code() const noexcept { return code_; }
  /// The message; empty on success.
  [[nodiscard]] const std::string& message() const noexcept { return message_; }

 private:
  ErrorCode code_ = ErrorCode::Ok;
  std::string message_;
};

namespace detail {

/// The standard bad-optional-access exception, with the same text on every platform.
class BadResultAccess : public std::bad_optional_access {
 public:
  /// "Bad optional access".
  [[nodiscard]] const char* what() const noexcept override { return "Bad optional access"; }
};

}  // namespace detail

/// A Status, and a value of T exactly when the operation succeeded.
template <typename T>
class [[nodiscard]] Result {
 public:
  /// A success holding `value`.
  Result(T&& value) : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
  /// A success holding a copy of `value`.
  Result(const T& value) : value_(value) {}  // NOLINT(google-explicit-constructor)
  /// A failure with `status` (which must not be Ok).
  Result(Status&& status) : status_(std::move(status)) {}  // NOLINT(google-explicit-constructor)
  /// A failure with a copy of `status` (which must not be Ok).
  Result(const Status& status) : status_(status) {}  // NOLINT(google-explicit-constructor)

  /// Whether a value is held.
  [[nodiscard]] bool ok() const noexcept { return value_.has_value(); }
  /// The status: Ok with a value, the failure without.
  [[nodiscard]] const Status& status() const noexcept { return status_; }

  /// The held value; throws std::bad_optional_access ("Bad optional access") when there is none.
  [[nodiscard]] T& value() & { return checked(); }
  /// The held value; throws as value() does.
  [[nodiscard]] const T& value() const& { return const_cast<Result*>(this)->checked(); }
  /// Moves the held value out; throws as value() does.
  [[nodiscard]] T&& value() && { return std::move(checked()); }

 private:
  T& checked() {
    if (!value_.has_value()) {
      throw detail::BadResultAccess();
    }
    return *value_;
  }

  Status status_;
  std::optional<T> value_;
};

}  // namespace tovanel::uvc_stereo

#pragma once

// What every function of the C interface does at its edge: remember the calling thread's
// last failure, refuse null and too-small arguments with a clear message, and turn any
// exception into InternalError so that none ever reaches a C caller.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "core/guard.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/uvc_stereo_c.h"

namespace tovanel::uvc_stereo::c_api {

// Keeps `status` as the calling thread's last failure and returns its code; success is
// returned as it is and leaves the last failure alone.
uvc_stereo_error_t fail(const Status& status) noexcept;

// Runs `body` (returning a Status), and reports what it returns or throws. Nothing escapes to
// the C caller but a thread's forced unwind (pthread_exit in a hook), which must reach the
// thread's start.
template <typename Body>
uvc_stereo_error_t guarded(const char* function, Body&& body) {
  return detail::catch_failures(
      [&] {
        const Status status = body();
        return status.ok() ? UVC_STEREO_OK : fail(status);
      },
      [function](const std::exception* failure) {
        return fail(failure != nullptr
                        ? Status(ErrorCode::InternalError, failure->what())
                        : Status(ErrorCode::InternalError, std::string("unknown exception in ") + function));
      });
}

// What `body` reports: the Status it returns, or success when it returns nothing (a body that cannot fail).
template <typename Body>
[[nodiscard]] Status status_of(Body&& body) {
  if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
    body();
    return Status();
  } else {
    return body();
  }
}

// The one shape of every C function: runs `checks` (the first failed argument check, or success) and, when they
// pass, `body` (returning a Status, or nothing when it cannot fail), all under guarded().
template <typename Checks, typename Body>
uvc_stereo_error_t checked_call(const char* function, Checks&& checks, Body&& body) {
  return guarded(function, [&]() -> Status {
    const Status checked = checks();
    return checked.ok() ? status_of(body) : checked;
  });
}

// A required argument that is missing is refused with "<function>: <name> is null".
[[nodiscard]] Status require_given(bool given, const char* function, const char* name);
// Null pointers are refused that way.
[[nodiscard]] Status require(const void* pointer, const char* function, const char* name);
// As require, for a function the caller hands in (a hook), which no object pointer can hold.
template <typename Return, typename... Parameters>
[[nodiscard]] Status require(Return (*pointer)(Parameters...), const char* function, const char* name) {
  return require_given(pointer != nullptr, function, name);
}

// The size of each struct's first released layout. Later versions only append fields, so a
// program built against an earlier header passes a smaller struct_size, which must keep
// working: the fields after its layout are neither read nor written (see covers()).
template <typename Struct>
struct FirstReleasedSize {
  static constexpr std::size_t value = sizeof(Struct);
};
template <>
struct FirstReleasedSize<uvc_stereo_open_options_t> {
  static constexpr std::size_t value = offsetof(uvc_stereo_open_options_t, busy_wait_ms);
};
template <>
struct FirstReleasedSize<uvc_stereo_flash_config_t> {
  static constexpr std::size_t value = offsetof(uvc_stereo_flash_config_t, busy_wait_ms);
};
template <>
struct FirstReleasedSize<uvc_stereo_rig_camera_t> {
  static constexpr std::size_t value = offsetof(uvc_stereo_rig_camera_t, node_access);
};

// Whether the caller's struct reaches past the member that ends `end` bytes into it.
template <typename Struct>
[[nodiscard]] bool covers(const Struct& value, std::size_t end) noexcept {
  return value.struct_size >= end;
}

// A struct the caller passes in or out must be null-free and at least as large as the
// first released layout of its type.
template <typename Struct>
[[nodiscard]] Status require_struct(const Struct* value, const char* function, const char* name,
                                    const char* type_name) {
  Status present = require(value, function, name);
  if (!present.ok()) {
    return present;
  }
  if (value->struct_size < FirstReleasedSize<Struct>::value) {
    return Status(ErrorCode::InvalidArgument, std::string(function) + ": " + name + "->struct_size is " +
                                                  std::to_string(value->struct_size) + ", smaller than sizeof(" +
                                                  type_name + ") " + std::to_string(FirstReleasedSize<Struct>::value));
  }
  return Status();
}

// As require_struct, for an optional struct: null passes.
template <typename Struct>
[[nodiscard]] Status allow_struct(const Struct* value, const char* function, const char* name, const char* type_name) {
  return value == nullptr ? Status() : require_struct(value, function, name, type_name);
}

// As require, for a pointer to `count` items that may be null when `count` is 0.
[[nodiscard]] inline Status require_items(const void* pointer, std::size_t count, const char* function,
                                          const char* name) {
  return count == 0 ? Status() : require(pointer, function, name);
}

// The first of the checks that failed, else success.
[[nodiscard]] inline Status first_failure(Status only) { return only; }
template <typename... Rest>
[[nodiscard]] Status first_failure(Status first, Rest... rest) {
  if (!first.ok()) {
    return first;
  }
  return first_failure(std::move(rest)...);
}

// Refuses an index past the end: "<function>: index N is out of range (M <what>)".
[[nodiscard]] Status require_index(std::size_t index, std::size_t count, const char* function, const char* what);

// Copies `text` and a terminating NUL into the caller's buffer when it fits; reports the
// size it needs in *required_size (when not null) either way.
[[nodiscard]] Status copy_text(const std::string& text, char* buffer, std::size_t buffer_size,
                               std::size_t* required_size, const char* function);

// The C-string view of an optional input string: null reads as "".
[[nodiscard]] inline const char* or_empty(const char* text) noexcept { return text == nullptr ? "" : text; }

// Hands the caller a new handle made from what an operation answered (to free with the handle's own function), or
// the operation's failure, leaving *out as it was.
template <typename Handle, typename Value>
[[nodiscard]] Status hand_out(Result<Value>&& answered, Handle** out) {
  if (!answered.ok()) {
    return answered.status();
  }
  *out = std::make_unique<Handle>(std::move(answered).value()).release();
  return Status();
}

// Fills a caller's struct that is the only argument (the *_defaults functions): `fill(*value)` once it is checked.
template <typename Struct, typename Fill>
uvc_stereo_error_t write_struct(const char* function, Struct* value, const char* name, const char* type_name,
                                Fill&& fill) {
  return checked_call(
      function, [&] { return require_struct(value, function, name, type_name); }, [&] { fill(*value); });
}

// Answers how many items a snapshot handle holds: `size(*handle)` into *count once both are known not to be null.
template <typename Handle, typename Size>
uvc_stereo_error_t count_into(const char* function, const Handle* handle, const char* handle_name, std::size_t* count,
                              Size&& size) {
  return checked_call(
      function,
      [&] { return first_failure(require(handle, function, handle_name), require(count, function, "count")); },
      [&] { *count = size(*handle); });
}

// Hands out item `index` of a snapshot handle: once the handle is not null, `check_out()` (the caller's output
// argument) passes and the index is within `items(*handle)` (named `what` in the refusal), `give(item)` writes it.
template <typename Handle, typename CheckOut, typename Items, typename Give>
uvc_stereo_error_t item_into(const char* function, const Handle* handle, const char* handle_name, CheckOut&& check_out,
                             std::size_t index, const char* what, Items&& items, Give&& give) {
  return checked_call(
      function,
      [&] {
        const Status checked = first_failure(require(handle, function, handle_name), check_out());
        return checked.ok() ? require_index(index, items(*handle).size(), function, what) : checked;
      },
      [&] { give(items(*handle)[index]); });
}

}  // namespace tovanel::uvc_stereo::c_api

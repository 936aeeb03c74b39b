#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "bridge/sonix_camera.h"

namespace tovanel::uvc_stereo::detail::bridge {

// The UTF-8 text of one wide-string field of the library's device record: up to its NUL,
// or the whole field when the library filled it to the end without one.
[[nodiscard]] std::string device_record_text(const SonixLib::scWideChar* field, std::size_t capacity);

template <std::size_t N>
[[nodiscard]] std::string device_record_text(const SonixLib::scWideChar (&field)[N]) {
  return device_record_text(field, N);
}

// Whether a wide-string field of the library's device record holds exactly the UTF-8 `text`. Compares code unit by
// code unit while the text is ASCII, so that naming a camera on every IMU read builds no string.
[[nodiscard]] bool device_record_text_equals(const SonixLib::scWideChar* field, std::size_t capacity,
                                             std::string_view text);

template <std::size_t N>
[[nodiscard]] bool device_record_text_equals(const SonixLib::scWideChar (&field)[N], std::string_view text) {
  return device_record_text_equals(field, N, text);
}

// How many code units of a field come before its NUL, at most `capacity`; 0 for a null field.
[[nodiscard]] std::size_t device_record_text_length(const SonixLib::scWideChar* field, std::size_t capacity) noexcept;

// Writes UTF-8 `text` into a wide-string field of the library's device record, as the library
// fills its own records: as much as fits before the terminating NUL, never splitting a
// surrogate pair, and zeros in the rest of the field.
void fill_device_record_text(std::string_view text, SonixLib::scWideChar* field, std::size_t capacity);

template <std::size_t N>
void fill_device_record_text(std::string_view text, SonixLib::scWideChar (&field)[N]) {
  fill_device_record_text(text, field, N);
}

}  // namespace tovanel::uvc_stereo::detail::bridge

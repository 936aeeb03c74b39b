#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

namespace uvc_stereo_fuzz {

// Reads parameters off the front of a fuzz input; once the bytes run out every read yields zero, so any input,
// however short, still picks a complete set of parameters.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  std::uint8_t take_u8() { return position_ < size_ ? data_[position_++] : 0; }

  std::uint16_t take_u16() {
    const auto low = take_u8();
    return static_cast<std::uint16_t>(low | (take_u8() << 8));
  }

  std::uint32_t take_u32() {
    const std::uint32_t low = take_u16();
    return low | (static_cast<std::uint32_t>(take_u16()) << 16);
  }

  std::uint64_t take_u64() {
    const std::uint64_t low = take_u32();
    return low | (static_cast<std::uint64_t>(take_u32()) << 32);
  }

  // Any bit pattern, NaNs, infinities and subnormals included.
  double take_double() {
    const std::uint64_t bits = take_u64();
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

  // Everything not read yet.
  std::vector<std::uint8_t> take_rest() {
    std::vector<std::uint8_t> rest(data_ + position_, data_ + size_);
    position_ = size_;
    return rest;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t position_ = 0;
};

// An exactly sized heap copy of the input: a read one byte past the text lands outside the allocation, where
// AddressSanitizer sees it, instead of in the slack of a larger buffer.
class ExactText {
 public:
  // An empty text gets a zero-sized allocation, which AddressSanitizer treats as having no readable byte.
  ExactText(const void* data, std::size_t size) : bytes_(new char[size]), size_(size) {
    if (size != 0) {
      std::memcpy(bytes_.get(), data, size);
    }
  }
  explicit ExactText(std::string_view text) : ExactText(text.data(), text.size()) {}

  [[nodiscard]] std::string_view view() const { return {bytes_.get(), size_}; }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_;
};

}  // namespace uvc_stereo_fuzz

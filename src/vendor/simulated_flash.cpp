#include "vendor/simulated_flash.h"

#include <algorithm>

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr std::uint8_t kErased = 0xFF;
// A chip without a stated sector size erases in the common 4 KiB sectors.
constexpr std::uint32_t kDefaultSectorSize = 4096;

}  // namespace

SimulatedFlash::SimulatedFlash(std::uint32_t size, std::uint32_t sector_size)
    : size_(size), sector_size_(sector_size == 0 ? kDefaultSectorSize : sector_size) {}

bool SimulatedFlash::contains(std::uint64_t address, std::uint64_t length) const noexcept {
  return address <= size_ && length <= size_ - address;
}

std::uint32_t SimulatedFlash::sector_start(std::uint32_t address) const noexcept {
  return address - address % sector_size_;
}

std::uint8_t SimulatedFlash::stored(std::uint32_t address) const {
  const auto page = pages_.find(address / kPageSize);
  return page == pages_.end() ? kErased : page->second[address % kPageSize];
}

std::uint8_t& SimulatedFlash::cell(std::uint32_t address) {
  auto& page = pages_[address / kPageSize];
  if (page.empty()) {
    page.assign(kPageSize, kErased);
  }
  return page[address % kPageSize];
}

void SimulatedFlash::read(std::uint32_t address, std::uint8_t* out, std::uint32_t length) const {
  for (std::uint32_t i = 0; i < length; ++i) {
    out[i] = stored(address + i);
  }
  for (auto it = stuck_zero_bits_.lower_bound(address); it != stuck_zero_bits_.end() && it->first - address < length;
       ++it) {
    out[it->first - address] &= static_cast<std::uint8_t>(~it->second);
  }
}

void SimulatedFlash::program(std::uint32_t address, const std::uint8_t* data, std::uint32_t length) {
  for (std::uint32_t i = 0; i < length; ++i) {
    // Writing 0xFF over an erased page changes nothing, so it need not allocate one.
    if (data[i] != kErased) {
      cell(address + i) &= data[i];
    }
  }
}

void SimulatedFlash::erase(std::uint32_t address, std::uint32_t length) {
  std::uint32_t done = 0;
  while (done < length) {
    const std::uint32_t at = address + done;
    const std::uint32_t page_offset = at % kPageSize;
    const std::uint32_t span = std::min(kPageSize - page_offset, length - done);
    auto page = pages_.find(at / kPageSize);
    if (page != pages_.end()) {
      if (span == kPageSize) {
        pages_.erase(page);
      } else {
        std::fill_n(page->second.begin() + page_offset, span, kErased);
      }
    }
    done += span;
  }
}

void SimulatedFlash::overwrite(std::uint32_t address, const std::uint8_t* data, std::uint32_t length) {
  for (std::uint32_t i = 0; i < length; ++i) {
    cell(address + i) = data[i];
  }
}

void SimulatedFlash::add_stuck_zero_bits(std::uint32_t address, std::uint8_t mask) {
  stuck_zero_bits_[address] |= mask;
}

}  // namespace tovanel::uvc_stereo::sim

#include "sim/flash.h"

#include <algorithm>
#include <utility>
#include <vector>

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

void SimulatedFlash::keep_in(std::unique_ptr<FlashImageFile> image) {
  image_ = std::move(image);
  pages_.clear();
}

std::uint8_t* SimulatedFlash::page(std::uint32_t page_number) {
  std::vector<std::uint8_t>& bytes = pages_[page_number];
  if (bytes.empty()) {
    bytes.assign(kPageSize, kErased);
  }
  return bytes.data();
}

void SimulatedFlash::read(std::uint32_t address, std::uint8_t* out, std::uint32_t length) const {
  if (image_) {
    image_->read(address, out, length);
  } else {
    read_pages(address, out, length);
  }
  for (auto it = stuck_zero_bits_.lower_bound(address); it != stuck_zero_bits_.end() && it->first - address < length;
       ++it) {
    out[it->first - address] &= static_cast<std::uint8_t>(~it->second);
  }
}

void SimulatedFlash::read_pages(std::uint32_t address, std::uint8_t* out, std::uint32_t length) const {
  for_each_page_span(address, length,
                     [&](std::uint32_t page_number, std::uint32_t offset, std::uint32_t span, std::uint32_t done) {
                       const auto page = pages_.find(page_number);
                       if (page == pages_.end()) {
                         std::fill_n(out + done, span, kErased);
                       } else {
                         std::copy_n(page->second.begin() + offset, span, out + done);
                       }
                     });
}

void SimulatedFlash::program(std::uint32_t address, const std::uint8_t* data, std::uint32_t length) {
  if (image_) {
    std::vector<std::uint8_t> cells(length);
    image_->read(address, cells.data(), length);
    for (std::uint32_t i = 0; i < length; ++i) {
      cells[i] &= data[i];
    }
    image_->write(address, cells.data(), length);
    return;
  }
  for_each_page_span(address, length,
                     [&](std::uint32_t page_number, std::uint32_t offset, std::uint32_t span, std::uint32_t done) {
                       const std::uint8_t* source = data + done;
                       // Writing 0xFF over an erased page changes nothing, so it need not allocate one.
                       if (pages_.count(page_number) == 0 &&
                           std::all_of(source, source + span, [](std::uint8_t b) { return b == kErased; })) {
                         return;
                       }
                       std::uint8_t* cells = page(page_number) + offset;
                       for (std::uint32_t i = 0; i < span; ++i) {
                         cells[i] &= source[i];
                       }
                     });
}

void SimulatedFlash::erase(std::uint32_t address, std::uint32_t length) {
  if (image_) {
    const std::vector<std::uint8_t> erased(length, kErased);
    image_->write(address, erased.data(), length);
    return;
  }
  for_each_page_span(address, length,
                     [&](std::uint32_t page_number, std::uint32_t offset, std::uint32_t span, std::uint32_t /*done*/) {
                       const auto found = pages_.find(page_number);
                       if (found == pages_.end()) {
                         return;
                       }
                       if (span == kPageSize) {
                         pages_.erase(found);
                       } else {
                         std::fill_n(found->second.begin() + offset, span, kErased);
                       }
                     });
}

void SimulatedFlash::overwrite(std::uint32_t address, const std::uint8_t* data, std::uint32_t length) {
  if (image_) {
    image_->write(address, data, length);
    return;
  }
  for_each_page_span(address, length,
                     [&](std::uint32_t page_number, std::uint32_t offset, std::uint32_t span, std::uint32_t done) {
                       std::copy_n(data + done, span, page(page_number) + offset);
                     });
}

void SimulatedFlash::add_stuck_zero_bits(std::uint32_t address, std::uint8_t mask) {
  stuck_zero_bits_[address] |= mask;
}

}  // namespace tovanel::uvc_stereo::sim

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "sim/flash_image_file.h"

namespace tovanel::uvc_stereo::sim {

// A NOR flash chip: every cell starts erased (0xFF), programming can only clear bits,
// and only an erase sets them again. Storage is allocated on first program, so a rig
// with many large chips costs nothing until they are written; a chip kept in an image
// file instead (keep_in) is read and programmed in that file, operation by operation.
class SimulatedFlash {
 public:
  SimulatedFlash(std::uint32_t size, std::uint32_t sector_size);

  // From now on the cells live in `image`, which several programs may share; what is
  // in memory is dropped. Worn cells stay this program's own.
  void keep_in(std::unique_ptr<FlashImageFile> image);

  [[nodiscard]] std::uint32_t size() const noexcept { return size_; }
  [[nodiscard]] std::uint32_t sector_size() const noexcept { return sector_size_; }
  // True when [address, address + length) lies on the chip.
  [[nodiscard]] bool contains(std::uint64_t address, std::uint64_t length) const noexcept;
  // Start of the erase sector holding `address`.
  [[nodiscard]] std::uint32_t sector_start(std::uint32_t address) const noexcept;

  // What the chip returns, worn cells included. The range must be on the chip.
  void read(std::uint32_t address, std::uint8_t* out, std::uint32_t length) const;
  // Programs bytes: each cell keeps only the bits set in both old and new value.
  void program(std::uint32_t address, const std::uint8_t* data, std::uint32_t length);
  // Returns [address, address + length) to 0xFF.
  void erase(std::uint32_t address, std::uint32_t length);
  // Sets cells to exactly these values, as a factory programmer would.
  void overwrite(std::uint32_t address, const std::uint8_t* data, std::uint32_t length);
  // Bits of `mask` at `address` read 0 from now on, whatever is stored there.
  void add_stuck_zero_bits(std::uint32_t address, std::uint8_t mask);

 private:
  static constexpr std::uint32_t kPageSize = 4096;

  // What the pages in memory hold, erased where none is allocated.
  void read_pages(std::uint32_t address, std::uint8_t* out, std::uint32_t length) const;
  // The bytes of one page, allocated erased on first use.
  std::uint8_t* page(std::uint32_t page_number);

  // Calls fn(page number, offset in page, span, bytes done before) for each page piece of a range.
  template <typename Fn>
  static void for_each_page_span(std::uint32_t address, std::uint32_t length, Fn&& fn) {
    std::uint32_t done = 0;
    while (done < length) {
      const std::uint32_t at = address + done;
      const std::uint32_t offset = at % kPageSize;
      const std::uint32_t span = length - done < kPageSize - offset ? length - done : kPageSize - offset;
      fn(at / kPageSize, offset, span, done);
      done += span;
    }
  }

  std::uint32_t size_;
  std::uint32_t sector_size_;
  std::map<std::uint32_t, std::vector<std::uint8_t>> pages_;  ///< page number -> page bytes; absent pages are erased
  std::map<std::uint32_t, std::uint8_t> stuck_zero_bits_;
  std::unique_ptr<FlashImageFile> image_;  ///< where the cells live, when kept in a file
};

}  // namespace tovanel::uvc_stereo::sim

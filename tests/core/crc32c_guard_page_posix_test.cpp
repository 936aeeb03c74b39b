#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo {
namespace {

// A page the process may not read: any access through a pointer into it faults.
class UnreadablePage {
 public:
  UnreadablePage() : size_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    address_ = ::mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  }
  ~UnreadablePage() {
    if (address_ != MAP_FAILED) {
      ::munmap(address_, size_);
    }
  }
  UnreadablePage(const UnreadablePage&) = delete;
  UnreadablePage& operator=(const UnreadablePage&) = delete;

  [[nodiscard]] bool mapped() const { return address_ != MAP_FAILED; }
  [[nodiscard]] const std::uint8_t* bytes() const { return static_cast<const std::uint8_t*>(address_); }

 private:
  std::size_t size_;
  void* address_ = MAP_FAILED;
};

TEST(Crc32c, WithLengthZeroNeverReadsItsPointer) {
  const UnreadablePage page;
  ASSERT_TRUE(page.mapped());
  EXPECT_EQ(detail::crc32c(page.bytes(), 0), 0u);
}

// Guards the guard: reading the page really does fault, so the test above proves something.
TEST(Crc32cDeathTest, ReadingTheUnreadablePageFaults) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const UnreadablePage page;
  ASSERT_TRUE(page.mapped());
  EXPECT_DEATH((void)detail::crc32c(page.bytes(), 1), "");
}

}  // namespace
}  // namespace tovanel::uvc_stereo

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/cpu_features.h"
#include "core/crc32_kernel_reference.h"
#include "core/crc32_kernels.h"

namespace tovanel::uvc_stereo {
namespace {

// One readable page between two unreadable ones: a kernel that reads a byte before its data or after its end
// faults.
class FencedPage {
 public:
  FencedPage() : page_(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))) {
    base_ = ::mmap(nullptr, 3 * page_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base_ != MAP_FAILED && ::mprotect(static_cast<char*>(base_) + page_, page_, PROT_READ | PROT_WRITE) != 0) {
      ::munmap(base_, 3 * page_);
      base_ = MAP_FAILED;
    }
  }
  ~FencedPage() {
    if (base_ != MAP_FAILED) {
      ::munmap(base_, 3 * page_);
    }
  }
  FencedPage(const FencedPage&) = delete;
  FencedPage& operator=(const FencedPage&) = delete;

  [[nodiscard]] bool mapped() const { return base_ != MAP_FAILED; }
  [[nodiscard]] std::size_t size() const { return page_; }
  [[nodiscard]] std::uint8_t* begin() const { return static_cast<std::uint8_t*>(base_) + page_; }
  [[nodiscard]] std::uint8_t* end() const { return begin() + page_; }

 private:
  std::size_t page_;
  void* base_ = MAP_FAILED;
};

// The page's bytes, the same for every kernel, and the bitwise checksums of every prefix and every suffix of them,
// worked out once per polynomial.
struct PageExpectations {
  std::vector<std::uint8_t> bytes;
  std::vector<std::uint32_t> prefixes;  // [length]
  std::vector<std::uint32_t> suffixes;  // [length]: the last `length` bytes
};

const PageExpectations& expectations(detail::CrcPolynomial polynomial, std::size_t page_size) {
  static std::map<detail::CrcPolynomial, PageExpectations> cache;
  PageExpectations& e = cache[polynomial];
  if (e.bytes.size() != page_size) {
    std::mt19937 generator(9u);
    e.bytes.resize(page_size);
    for (std::uint8_t& byte : e.bytes) {
      byte = static_cast<std::uint8_t>(generator());
    }
    e.prefixes = crc_test::prefix_checksums(polynomial, e.bytes.data(), page_size);
    e.suffixes.assign(page_size + 1, 0);
    for (std::size_t length = 1; length <= page_size; ++length) {
      e.suffixes[length] = crc_test::prefix_checksums(polynomial, e.bytes.data() + page_size - length, length)[length];
    }
  }
  return e;
}

class CrcKernelBounds : public ::testing::TestWithParam<const detail::CrcKernelInfo*> {};

TEST_P(CrcKernelBounds, ReadsNothingOutsideItsBytesAtEitherEdgeOfThePage) {
  const detail::CrcKernelInfo& kernel = *GetParam();
  if (!kernel.supported(detail::cpu_features())) {
    GTEST_SKIP() << crc_test::kernel_name(kernel) << " needs instructions this processor lacks";
  }
  const FencedPage page;
  ASSERT_TRUE(page.mapped());
  const PageExpectations& expected = expectations(kernel.polynomial, page.size());
  std::memcpy(page.begin(), expected.bytes.data(), page.size());
  for (std::size_t length = 0; length <= page.size(); ++length) {
    // Data that ends at the last readable byte, then data that starts at the first one.
    ASSERT_EQ(kernel.run(0, page.end() - length, length), expected.suffixes[length])
        << "length " << length << " at the end";
    ASSERT_EQ(kernel.run(0, page.begin(), length), expected.prefixes[length]) << "length " << length << " at the start";
  }
}

INSTANTIATE_TEST_SUITE_P(EveryKernel, CrcKernelBounds, ::testing::ValuesIn(crc_test::all_kernels()),
                         [](const ::testing::TestParamInfo<const detail::CrcKernelInfo*>& info) {
                           std::string name = crc_test::kernel_name(*info.param);
                           for (char& c : name) {
                             if (c == '.') c = '_';
                           }
                           return name;
                         });

}  // namespace
}  // namespace tovanel::uvc_stereo

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "core/cpu_features.h"
#include "core/crc32_kernels.h"
#include "core/crc32c_inline.h"
#include "uvc_stereo/checksum.h"

namespace tovanel::uvc_stereo {
namespace detail {
namespace {

bool any_processor(const CpuFeatures&) noexcept { return true; }

#if UVC_STEREO_X86_64
bool has_sse42(const CpuFeatures& cpu) noexcept { return cpu.sse42; }
bool has_pclmul(const CpuFeatures& cpu) noexcept { return cpu.pclmul && cpu.sse42; }
bool has_vpclmul(const CpuFeatures& cpu) noexcept {
  return has_pclmul(cpu) && cpu.avx512f && cpu.avx512bw && cpu.avx512vl && cpu.vpclmulqdq;
}
#endif

constexpr CrcKernelInfo kKernels[] = {
    {"portable", CrcPolynomial::Ieee, crc32_ieee_portable, any_processor},
    {"portable", CrcPolynomial::Castagnoli, crc32c_portable, any_processor},
#if UVC_STEREO_X86_64
    {"sse4.2", CrcPolynomial::Castagnoli, crc32c_sse42, has_sse42},
    {"pclmul", CrcPolynomial::Ieee, crc32_ieee_pclmul, has_pclmul},
    {"pclmul", CrcPolynomial::Castagnoli, crc32c_pclmul, has_pclmul},
    {"vpclmul", CrcPolynomial::Ieee, crc32_ieee_vpclmul, has_vpclmul},
    {"vpclmul", CrcPolynomial::Castagnoli, crc32c_vpclmul, has_vpclmul},
#endif
};

const CrcKernelInfo& choose(CrcPolynomial polynomial) noexcept {
  const CrcKernelInfo* chosen = nullptr;
  for (const CrcKernelInfo& kernel : kKernels) {
    if (kernel.polynomial == polynomial && kernel.supported(cpu_features())) {
      chosen = &kernel;
    }
  }
  return *chosen;  // the portable kernel always qualifies
}

// Chosen while the library loads. A call that comes earlier, from another library's static initialiser, finds
// null and chooses for itself; either way the same kernel runs.
std::atomic<CrcKernel> g_ieee{choose(CrcPolynomial::Ieee).run};
std::atomic<CrcKernel> g_castagnoli{choose(CrcPolynomial::Castagnoli).run};

CrcKernel kernel_for(std::atomic<CrcKernel>& slot, CrcPolynomial polynomial) noexcept {
  CrcKernel kernel = slot.load(std::memory_order_relaxed);
  if (kernel == nullptr) {
    kernel = choose(polynomial).run;
    slot.store(kernel, std::memory_order_relaxed);
  }
  return kernel;
}

}  // namespace

#if UVC_STEREO_HAS_CRC32C_INLINE
const bool g_crc32c_instruction = cpu_features().sse42;
#endif

CrcKernelList crc_kernels() noexcept { return CrcKernelList{std::begin(kKernels), std::end(kKernels)}; }

const CrcKernelInfo& active_crc_kernel(CrcPolynomial polynomial) noexcept { return choose(polynomial); }

std::uint32_t crc32c_by_kernel(const std::uint8_t* data, std::size_t length) noexcept {
  return kernel_for(g_castagnoli, CrcPolynomial::Castagnoli)(0, data, length);
}

std::uint32_t crc32c(const std::uint8_t* data, std::size_t length) noexcept { return crc32c_short(data, length); }

}  // namespace detail

std::uint32_t crc32_ieee(const std::vector<std::uint8_t>& data) noexcept {
  if (data.empty()) {
    return 0;
  }
  return detail::kernel_for(detail::g_ieee, detail::CrcPolynomial::Ieee)(0, data.data(), data.size());
}

}  // namespace tovanel::uvc_stereo

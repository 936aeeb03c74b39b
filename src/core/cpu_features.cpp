#include "core/cpu_features.h"

#include <cstdint>

#if UVC_STEREO_X86_64 && defined(_MSC_VER) && !defined(__clang__)
#include <immintrin.h>
#include <intrin.h>
#elif UVC_STEREO_X86_64
#include <cpuid.h>
#endif

namespace tovanel::uvc_stereo::detail {
namespace {

#if UVC_STEREO_X86_64

struct CpuidLeaf {
  std::uint32_t eax = 0;
  std::uint32_t ebx = 0;
  std::uint32_t ecx = 0;
  std::uint32_t edx = 0;
};

CpuidLeaf cpuid(std::uint32_t leaf, std::uint32_t subleaf) noexcept {
  CpuidLeaf out;
#if defined(_MSC_VER) && !defined(__clang__)
  int regs[4] = {};
  __cpuidex(regs, static_cast<int>(leaf), static_cast<int>(subleaf));
  out.eax = static_cast<std::uint32_t>(regs[0]);
  out.ebx = static_cast<std::uint32_t>(regs[1]);
  out.ecx = static_cast<std::uint32_t>(regs[2]);
  out.edx = static_cast<std::uint32_t>(regs[3]);
#else
  __cpuid_count(leaf, subleaf, out.eax, out.ebx, out.ecx, out.edx);
#endif
  return out;
}

// Which register states the operating system saves; only meaningful once OSXSAVE is set.
std::uint64_t enabled_register_states() noexcept {
#if defined(_MSC_VER) && !defined(__clang__)
  return _xgetbv(0);
#else
  // Spelled as an instruction so that this file needs no XSAVE code-generation flag.
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (static_cast<std::uint64_t>(high) << 32) | low;
#endif
}

constexpr bool bit(std::uint32_t value, int index) noexcept { return ((value >> index) & 1u) != 0; }

CpuFeatures detect() noexcept {
  CpuFeatures f;
  const std::uint32_t max_leaf = cpuid(0, 0).eax;
  if (max_leaf < 1) {
    return f;
  }
  const CpuidLeaf leaf1 = cpuid(1, 0);
  f.sse42 = bit(leaf1.ecx, 20);
  f.pclmul = bit(leaf1.ecx, 1);
  f.popcnt = bit(leaf1.ecx, 23);

  const bool osxsave = bit(leaf1.ecx, 27);
  const std::uint64_t states = osxsave ? enabled_register_states() : 0;
  // XMM and YMM state for AVX; additionally the mask registers and all 32 full ZMM registers for AVX-512.
  const bool os_avx = (states & 0x6u) == 0x6u;
  const bool os_avx512 = os_avx && (states & 0xE0u) == 0xE0u;
  const bool avx = bit(leaf1.ecx, 28) && os_avx;

  if (max_leaf >= 7) {
    const CpuidLeaf leaf7 = cpuid(7, 0);
    f.bmi1 = bit(leaf7.ebx, 3);
    f.bmi2 = bit(leaf7.ebx, 8);
    f.avx2 = avx && bit(leaf7.ebx, 5);
    f.avx512f = os_avx512 && bit(leaf7.ebx, 16);
    f.avx512bw = f.avx512f && bit(leaf7.ebx, 30);
    f.avx512vl = f.avx512f && bit(leaf7.ebx, 31);
    f.avx512vbmi2 = f.avx512f && bit(leaf7.ecx, 6);
    f.vpclmulqdq = avx && bit(leaf7.ecx, 10);
  }
  return f;
}

#else

CpuFeatures detect() noexcept { return CpuFeatures{}; }

#endif

}  // namespace

const CpuFeatures& cpu_features() noexcept {
  static const CpuFeatures features = detect();
  return features;
}

}  // namespace tovanel::uvc_stereo::detail

#pragma once

// The instruction-set extensions the fast checksum and JSON kernels may use, read once from the processor (and,
// for the wide vector registers, from the operating system, which must save them on a task switch).
#if defined(__x86_64__) || defined(_M_X64)
#define UVC_STEREO_X86_64 1
#else
#define UVC_STEREO_X86_64 0
#endif

namespace tovanel::uvc_stereo::detail {

struct CpuFeatures {
  bool sse42 = false;
  bool pclmul = false;
  bool popcnt = false;
  bool avx2 = false;
  bool bmi1 = false;
  bool bmi2 = false;
  bool avx512f = false;
  bool avx512bw = false;
  bool avx512vl = false;
  bool avx512vbmi2 = false;
  bool vpclmulqdq = false;
};

// What this processor and operating system support; all false on other architectures.
[[nodiscard]] const CpuFeatures& cpu_features() noexcept;

}  // namespace tovanel::uvc_stereo::detail

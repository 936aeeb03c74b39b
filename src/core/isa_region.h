#pragma once

// Brackets a region of functions that the compiler may build with extra instruction-set extensions; the rest of
// the file, and every header included before the region, stays at the baseline. Code in a region runs only after
// cpu_features() has said the processor has those extensions.
#define UVC_STEREO_ISA_PRAGMA(text) _Pragma(#text)

#if defined(__clang__)
#define UVC_STEREO_ISA_BEGIN(isa) \
  UVC_STEREO_ISA_PRAGMA(clang attribute push(__attribute__((target(isa))), apply_to = function))
#define UVC_STEREO_ISA_END() UVC_STEREO_ISA_PRAGMA(clang attribute pop)
#elif defined(__GNUC__)
#define UVC_STEREO_ISA_BEGIN(isa) UVC_STEREO_ISA_PRAGMA(GCC push_options) UVC_STEREO_ISA_PRAGMA(GCC target(isa))
#define UVC_STEREO_ISA_END() UVC_STEREO_ISA_PRAGMA(GCC pop_options)
#else
// Compilers whose intrinsics need no code-generation flags.
#define UVC_STEREO_ISA_BEGIN(isa)
#define UVC_STEREO_ISA_END()
#endif

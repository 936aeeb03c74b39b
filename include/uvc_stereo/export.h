#pragma once

// One export macro for the whole SDK: only what carries it leaves the shared
// library; everything else is built with hidden visibility.
#if defined(_WIN32) || defined(__CYGWIN__)
#if defined(TOVANEL_UVC_STEREO_STATIC)
#define UVC_STEREO_API
#elif defined(TOVANEL_UVC_STEREO_BUILDING)
#define UVC_STEREO_API __declspec(dllexport)
#else
#define UVC_STEREO_API __declspec(dllimport)
#endif
#else
#define UVC_STEREO_API __attribute__((visibility("default")))
#endif

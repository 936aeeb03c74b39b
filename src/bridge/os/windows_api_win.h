#pragma once

// <windows.h> as the SDK's Windows code includes it: without the min/max macros that break
// the standard library, and without the parts of the API it never uses.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

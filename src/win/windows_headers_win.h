#pragma once

// The Windows headers as the capture listings need them: without the min/max macros that
// break the standard library, and with COM, OLE automation, DirectShow and Media Foundation.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
// <windows.h> comes first: the others need its types.
// clang-format off
#include <windows.h>
#include <objbase.h>
#include <oleauto.h>
#include <strmif.h>
#include <uuids.h>
#include <mfapi.h>
#include <mfidl.h>
#include <mfobjects.h>
// clang-format on

#pragma once

// The Windows headers as the capture listings need them: <windows.h> as the SDK includes it,
// and with it COM, OLE automation, DirectShow and Media Foundation.
// <windows.h> comes first: the others need its types.
// clang-format off
#include "bridge/os/windows_api_win.h"
#include <objbase.h>
#include <oleauto.h>
#include <strmif.h>
#include <uuids.h>
#include <mfapi.h>
#include <mfidl.h>
#include <mfobjects.h>
// clang-format on

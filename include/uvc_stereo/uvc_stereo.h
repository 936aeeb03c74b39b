#pragma once

// The whole public interface of the Tovanel UVC stereo camera SDK.
#include "uvc_stereo/backend.h"
#include "uvc_stereo/camera_access.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/checksum.h"
#include "uvc_stereo/device.h"
#include "uvc_stereo/diagnostics.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/imu.h"
#include "uvc_stereo/imu_stream.h"
#include "uvc_stereo/json.h"
#include "uvc_stereo/models.h"
#include "uvc_stereo/platform_info.h"
#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"
#include "uvc_stereo/vendor_lock.h"

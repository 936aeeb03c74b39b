#pragma once

#include <cstddef>

#include "imu/model_table.h"
#include "support/call_views.h"
#include "support/locked_session.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"

// The enumeration and resolution tests' names for the test support's cameras, sessions and call views.
namespace tovanel::uvc_stereo::enumeration_testing {

using test_support::calls_named;
using test_support::names_of;
using test_support::supported_camera;
using test_support::usb_path;
using OpenSession = test_support::LockedSession;
using VendorRigTest = test_support::RigTest;

inline const detail::SupportedModel& model(std::size_t index) { return detail::supported_models().at(index); }

}  // namespace tovanel::uvc_stereo::enumeration_testing

#pragma once

#include "support/call_views.h"
#include "support/rig_cameras.h"
#include "support/rig_checks.h"

// The capability-probe and IMU-reader tests' names for the test support's cameras, records and call views.
namespace tovanel::uvc_stereo::xu_testing {

using test_support::calls_named;
using test_support::info_of;
using test_support::names_of;
using test_support::supported_camera;
using XuRigTest = test_support::RigTest;

}  // namespace tovanel::uvc_stereo::xu_testing

#pragma once

#include "bridge/sonix_camera.h"
#include "uvc_stereo/camera_access.h"

// The simulated rig's answer to each vendor operation, each of the shape of the operation it
// answers (see bridge/sonix_camera.h for the arguments); backend.cpp puts them in the backend
// table.
namespace tovanel::uvc_stereo::sim {

// Session and enumeration.
decltype(SonixCam_Init) sim_init;
decltype(SonixCam_UnInit) sim_uninit;
decltype(SonixCam_EnumCameras) sim_enum_cameras;
decltype(SonixCam_GetErrorCode) sim_get_error_code;

// Descriptors, the extension unit and the firmware text.
decltype(SonixCam_GetDevDescriptor) sim_get_dev_descriptor;
decltype(SonixCam_SetNodeID) sim_set_node_id;
decltype(SonixCam_XuRead) sim_xu_read;
decltype(SonixCam_GetVersion) sim_get_version;

// The serial flash.
decltype(SonixCam_GetSerialFlashType) sim_get_serial_flash_type;
decltype(SonixCam_CstmReadFromSF) sim_read_flash;
decltype(SonixCam_WriteToSF) sim_write_flash;
decltype(SonixCam_SectorEraseSF) sim_sector_erase;
decltype(SonixCam_SetWriteProtectedSF) sim_set_write_protected;
decltype(SonixCam_SetStatusRegBitWP) sim_set_status_reg_bit_wp;

// Not a vendor operation: the video nodes the kernel would show for the rig's plugged cameras.
[[nodiscard]] KernelVideoListing sim_node_listing();

}  // namespace tovanel::uvc_stereo::sim

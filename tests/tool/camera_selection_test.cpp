#include "uvc-stereo/camera_selection.h"

#include <gtest/gtest.h>

namespace tovanel::uvc_stereo::cli {
namespace {

SelectedCamera camera(const std::string& serial, std::size_t index) {
  SelectedCamera selected;
  selected.info.vendor_id = 0x0C45;
  selected.info.product_id = 0x6366;
  selected.info.serial_number = serial;
  selected.index = index;
  selected.count = index + 1;
  selected.serial_unique = !serial.empty();
  return selected;
}

TEST(CameraSelection, DescribesACameraByIndexIdsAndSerial) {
  EXPECT_EQ(describe_camera(camera("SN-1", 2)), "camera 2 (0c45:6366, serial SN-1)");
  EXPECT_EQ(describe_camera(camera("", 0)), "camera 0 (0c45:6366)");
}

TEST(CameraSelection, LabelsAndReselectsBySerialWhenThereIsOne) {
  EXPECT_EQ(camera_label(camera("SN-1", 2)), "SN-1");
  EXPECT_EQ(reselect_options(camera("SN-1", 2)), "--serial SN-1");
  EXPECT_EQ(camera_label(camera("", 3)), "index3");
  EXPECT_EQ(reselect_options(camera("", 3)), "--index 3");
  EXPECT_EQ(reselect_options(camera("A B", 0)), "--serial 'A B'");
}

TEST(QuotedForShell, QuotesOnlyWhatAShellWouldSplitOrExpand) {
  EXPECT_EQ(quoted_for_shell("uvc-stereo-backup-SN_1-20240305T060708Z.json"),
            "uvc-stereo-backup-SN_1-20240305T060708Z.json");
  EXPECT_EQ(quoted_for_shell("dir/file.json"), "dir/file.json");
  EXPECT_EQ(quoted_for_shell("my file.json"), "'my file.json'");
  EXPECT_EQ(quoted_for_shell("it's"), "'it'\\''s'");
  EXPECT_EQ(quoted_for_shell("$HOME"), "'$HOME'");
  EXPECT_EQ(quoted_for_shell(""), "''");
}

TEST(UsbIdText, IsLowerCaseHexadecimal) {
  EXPECT_EQ(vid_pid_text(0x0C45, 0x636A), "0c45:636a");
  EXPECT_EQ(vidpid_key(0x0C45, 0x636A), "0c45636a");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli

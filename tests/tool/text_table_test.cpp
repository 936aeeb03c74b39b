#include "uvc-stereo/text_table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tovanel::uvc_stereo::cli {
namespace {

TEST(TextTable, PadsColumnsToTheirWidestCellButNotTheLast) {
  TextTable table;
  table.add_row({"INDEX", "SERIAL", "PATH"});
  table.add_row({"0", "TVS2-00417", "\\\\?\\usb#a"});
  std::ostringstream out;
  table.render(out, "  ");
  EXPECT_EQ(out.str(),
            "  INDEX  SERIAL      PATH\n"
            "  0      TVS2-00417  \\\\?\\usb#a\n");
}

}  // namespace
}  // namespace tovanel::uvc_stereo::cli

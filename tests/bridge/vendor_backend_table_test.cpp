#include <gtest/gtest.h>

#include <string>

#include "bridge/vendor_backend.h"
#include "sim/backend.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

bool init_stand_in() { return true; }

TEST(VendorBackendTable, UnavailableBackendFillsEveryEntry) {
  EXPECT_TRUE(complete_vendor_backend(unavailable_vendor_backend()));
  EXPECT_EQ(std::string(unavailable_vendor_backend().name), "unavailable");
}

TEST(VendorBackendTable, SimulatedBackendFillsEveryEntry) {
  EXPECT_TRUE(complete_vendor_backend(sim::simulated_vendor_backend()));
  EXPECT_EQ(std::string(sim::simulated_vendor_backend().name), "simulated");
}

TEST(VendorBackendTable, PlatformBackendFillsEveryEntry) {
  EXPECT_TRUE(complete_vendor_backend(platform_vendor_backend()));
}

TEST(VendorBackendTable, DefaultTableIsIncomplete) { EXPECT_FALSE(complete_vendor_backend(VendorBackend{})); }

TEST(VendorBackendTable, TableMissingOneEntryIsIncomplete) {
  VendorBackend table = unavailable_vendor_backend();
  ASSERT_TRUE(complete_vendor_backend(table));
  table.set_status_reg_bit_wp = nullptr;
  EXPECT_FALSE(complete_vendor_backend(table));
  table = unavailable_vendor_backend();
  table.name = nullptr;
  EXPECT_FALSE(complete_vendor_backend(table));
  table = unavailable_vendor_backend();
  table.init = init_stand_in;
  EXPECT_TRUE(complete_vendor_backend(table));
}

}  // namespace
}  // namespace tovanel::uvc_stereo::detail::bridge

#include <gtest/gtest.h>

#include <cstdio>

#include "sweeps/fault_sweep.h"

// Tells, at the end of the program, how many sweep cases ran in all, so that a sweep that shrank shows.
namespace tovanel::uvc_stereo::sweeps {
namespace {

class SweepReport : public ::testing::Environment {
 public:
  void TearDown() override { std::printf("[ sweeps   ] %zu cases ran in all\n", cases_run().load()); }
};

[[maybe_unused]] ::testing::Environment* const kSweepReport = ::testing::AddGlobalTestEnvironment(new SweepReport);

}  // namespace
}  // namespace tovanel::uvc_stereo::sweeps

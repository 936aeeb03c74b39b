#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bridge/os/debug_output.h"
#include "support/rig_cameras.h"
#include "uvc_stereo/diagnostics.h"
#include "uvc_stereo/flash.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/simulated_rig.h"

namespace tovanel::uvc_stereo {
namespace {

// Collects what a registered callback receives, from any thread.
struct Received {
  std::mutex mutex;
  std::vector<std::string> texts;

  static void collect(const char* text, void* context) {
    auto* self = static_cast<Received*>(context);
    const std::lock_guard<std::mutex> guard(self->mutex);
    self->texts.emplace_back(text);
  }
  std::vector<std::string> seen() {
    const std::lock_guard<std::mutex> guard(mutex);
    return texts;
  }
};

// Registers for the test's duration, so that no later test receives anything.
class DiagnosticCallback : public ::testing::Test {
 protected:
  void SetUp() override { set_diagnostic_callback(&Received::collect, &received_); }
  void TearDown() override { set_diagnostic_callback(nullptr, nullptr); }

  Received received_;
};

TEST_F(DiagnosticCallback, AFailedFlashReadArrivesAsItsTextThenALineBreak) {
  sim::SimulatedRig rig;
  rig.add_camera(test_support::supported_camera(0, "SN-DIAG"));
  rig.add_fault({"SonixCam_CstmReadFromSF", 1, 1, 8, false});

  const Status status = probe_flash_transport(FlashConfig{});

  ASSERT_EQ(status.code(), ErrorCode::ReadFailed);
  EXPECT_EQ(received_.seen(), (std::vector<std::string>{status.message(), "\n"}));
}

TEST_F(DiagnosticCallback, AWrittenRecordThatReadsBackWrongArrivesAsItsMismatch) {
  sim::SimulatedRig rig;
  const int camera = rig.add_camera(test_support::supported_camera(0, "SN-DIAG"));
  // The record's first payload byte is '{' (0x7B); a cell stuck at zero in bit 0 reads it as 0x7A.
  rig.set_stuck_zero_bits(camera, 0x51000 + 16, 0x01);
  FlashBlob blob;
  blob.payload = {'{', '}'};

  const Status status = write_blob_to_device(FlashConfig{}, blob);

  ASSERT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(received_.seen(),
            (std::vector<std::string>{
                "verify_after_write failed: readback mismatch at offset 0x10 (expected=0x7B, actual=0x7A)", "\n"}));
}

TEST_F(DiagnosticCallback, ASuccessfulOperationWritesNothing) {
  sim::SimulatedRig rig;
  rig.add_camera(test_support::supported_camera(0, "SN-DIAG"));

  ASSERT_TRUE(probe_flash_transport(FlashConfig{}).ok());

  EXPECT_TRUE(received_.seen().empty());
}

TEST_F(DiagnosticCallback, ReceivesItsOwnContext) {
  Received other;
  set_diagnostic_callback(&Received::collect, &other);

  detail::bridge::output_debug_string("one text");

  EXPECT_EQ(other.seen(), std::vector<std::string>{"one text"});
  EXPECT_TRUE(received_.seen().empty()) << "a registration replaces the one before";
}

TEST_F(DiagnosticCallback, NullRemovesTheRegistration) {
  set_diagnostic_callback(nullptr, nullptr);

  detail::bridge::output_debug_line("unheard");

  EXPECT_TRUE(received_.seen().empty());
}

TEST_F(DiagnosticCallback, ALineIsItsTextThenASeparateLineBreak) {
  detail::bridge::output_debug_line("a line");

  EXPECT_EQ(received_.seen(), (std::vector<std::string>{"a line", "\n"}));
}

TEST_F(DiagnosticCallback, TextsFromManyThreadsAllArriveWhileRegistrationsChange) {
  constexpr int kThreads = 4;
  constexpr int kTexts = 200;
  std::atomic<bool> done{false};
  Received bystander;
  // Another registration comes and goes; every text reaches one of the two callbacks, whole.
  std::thread flipper([&] {
    while (!done.load()) {
      set_diagnostic_callback(&Received::collect, &bystander);
      set_diagnostic_callback(&Received::collect, &received_);
    }
  });
  std::vector<std::thread> writers;
  for (int t = 0; t < kThreads; ++t) {
    writers.emplace_back([] {
      for (int i = 0; i < kTexts; ++i) {
        detail::bridge::output_debug_string("from a writer");
      }
    });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  done = true;
  flipper.join();

  const std::vector<std::string> mine = received_.seen();
  const std::vector<std::string> theirs = bystander.seen();
  EXPECT_EQ(mine.size() + theirs.size(), static_cast<std::size_t>(kThreads * kTexts));
  for (const std::vector<std::string>* texts : {&mine, &theirs}) {
    for (const std::string& text : *texts) {
      ASSERT_EQ(text, "from a writer");
    }
  }
}

}  // namespace
}  // namespace tovanel::uvc_stereo

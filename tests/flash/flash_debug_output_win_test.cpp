#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "bridge/os/debug_output.h"
#include "bridge/os/windows_api_win.h"
#include "flash_rig_support.h"
#include "uvc_stereo/flash.h"

// The flash failure texts as a debugger sees them: OutputDebugStringA announces each text
// to a debugger by raising DBG_PRINTEXCEPTION_C with the text's length and address, which
// a vectored exception handler of the process sees first. The handler only looks; the
// system then goes on as it would without it.
namespace tovanel::uvc_stereo {
namespace {

using test_support::bytes_of;
using test_support::make_record;

class DebuggerOutput {
 public:
  DebuggerOutput() {
    const std::lock_guard<std::mutex> guard(mutex());
    texts().clear();
    handler_ = AddVectoredExceptionHandler(1, &DebuggerOutput::observe);
  }
  ~DebuggerOutput() { RemoveVectoredExceptionHandler(handler_); }
  DebuggerOutput(const DebuggerOutput&) = delete;
  DebuggerOutput& operator=(const DebuggerOutput&) = delete;

  [[nodiscard]] bool installed() const { return handler_ != nullptr; }

  [[nodiscard]] std::vector<std::string> seen() const {
    const std::lock_guard<std::mutex> guard(mutex());
    return texts();
  }

 private:
  static LONG CALLBACK observe(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode == DBG_PRINTEXCEPTION_C && record.NumberParameters >= 2) {
      // The length counts the terminating NUL.
      const auto length = static_cast<std::size_t>(record.ExceptionInformation[0]);
      const auto* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
      const std::lock_guard<std::mutex> guard(mutex());
      texts().emplace_back(text, length > 0 ? length - 1 : 0);
    }
    return EXCEPTION_CONTINUE_SEARCH;
  }
  static std::mutex& mutex() {
    static std::mutex instance;
    return instance;
  }
  static std::vector<std::string>& texts() {
    static std::vector<std::string> instance;
    return instance;
  }

  PVOID handler_ = nullptr;
};

TEST(DebuggerOutput, ATextReachesOutputDebugStringA) {
  const DebuggerOutput debugger;
  ASSERT_TRUE(debugger.installed());

  detail::bridge::output_debug_string("a text for the debugger");

  EXPECT_EQ(debugger.seen(), (std::vector<std::string>{"a text for the debugger"}));
}

using FlashDebugOutput = test_support::FlashRigTest;

TEST_F(FlashDebugOutput, AFailedReadIsToldToTheDebuggerFollowedByALineBreak) {
  rig_.add_fault({"SonixCam_CstmReadFromSF", 1, 1, 8, false});
  const DebuggerOutput debugger;

  const Status status = probe_flash_transport(config_);

  EXPECT_EQ(status.code(), ErrorCode::ReadFailed);
  EXPECT_EQ(debugger.seen(), (std::vector<std::string>{status.message(), "\n"}));
  EXPECT_EQ(status.message(),
            "SonixCam_CstmReadFromSF failed: vendor_code=ecSyncTransTimeOut(8) (address=0x00051000, length=1)");
}

TEST_F(FlashDebugOutput, AFailedEraseIsToldToTheDebuggerFollowedByALineBreak) {
  rig_.add_fault({"SonixCam_SectorEraseSF", 1, 1, 10, false});
  const DebuggerOutput debugger;
  FlashBlob blob;
  blob.payload = bytes_of("{\"a\":1}");

  const Status status = write_blob_to_device(config_, blob);

  EXPECT_EQ(status.code(), ErrorCode::EraseFailed);
  EXPECT_EQ(debugger.seen(), (std::vector<std::string>{status.message(), "\n"}));
  EXPECT_EQ(status.message(),
            "SonixCam_SectorEraseSF failed: vendor_code=ecSectorEraseFail(10) (address=0x00051000, length=4096)");
}

TEST_F(FlashDebugOutput, AFailedWriteIsToldToTheDebuggerFollowedByALineBreak) {
  rig_.add_fault({"SonixCam_WriteToSF", 1, 1, 12, false});
  const DebuggerOutput debugger;
  FlashBlob blob;
  blob.payload = bytes_of("{\"a\":1}");

  const Status status = write_blob_to_device(config_, blob);

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(debugger.seen(), (std::vector<std::string>{status.message(), "\n"}));
  EXPECT_EQ(status.message(),
            "SonixCam_WriteToSF failed: vendor_code=ecWriteFlashFail(12) (address=0x00051000, length=" +
                std::to_string(make_record(blob.payload).size()) + ")");
}

TEST_F(FlashDebugOutput, AReadBackMismatchIsToldToTheDebuggerFollowedByALineBreak) {
  // The first payload byte is '{' (0x7B); a cell stuck at zero in bit 0 reads it as 0x7A.
  rig_.set_stuck_zero_bits(camera_, 0x51000 + 16, 0x01);
  const DebuggerOutput debugger;
  FlashBlob blob;
  blob.payload = bytes_of("{\"a\":1}");

  const Status status = write_blob_to_device(config_, blob);

  EXPECT_EQ(status.code(), ErrorCode::WriteFailed);
  EXPECT_EQ(status.message(),
            "verify_after_write failed: readback mismatch at offset 0x10 (expected=0x7B, actual=0x7A)");
  EXPECT_EQ(debugger.seen(), (std::vector<std::string>{status.message(), "\n"}));
}

TEST_F(FlashDebugOutput, ASuccessfulWriteTellsTheDebuggerNothing) {
  const DebuggerOutput debugger;
  FlashBlob blob;
  blob.payload = bytes_of("{\"a\":1}");

  const Status status = write_blob_to_device(config_, blob);

  ASSERT_TRUE(status.ok()) << status.message();
  EXPECT_TRUE(debugger.seen().empty());
}

}  // namespace
}  // namespace tovanel::uvc_stereo

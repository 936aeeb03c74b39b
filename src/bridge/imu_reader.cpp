#include "bridge/imu_reader.h"

#include <chrono>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <utility>
#include <vector>

#include "bridge/camera_session.h"
#include "bridge/device_selector.h"
#include "bridge/os/host_time.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_session.h"
#include "bridge/vendor_status.h"
#include "core/guard.h"
#include "imu/imu_payload.h"
#include "uvc_stereo/flash_config.h"
#include "uvc_stereo/vendor_lock.h"

namespace tovanel::uvc_stereo::detail {
namespace {

// A reader that talks to the camera through the vendor library. It keeps the library session that
// open_imu_platform started, which ends with it, and a read buffer sized once for the transport.
class VendorImuReader final : public ImuReader::Impl {
 public:
  VendorImuReader(const SonixLib::scDevice_t& handle, const ImuTransportConfig& transport)
      : handle_(handle), transport_(transport), buffer_(transport.xu_length, 0) {}

  // Takes over the session and the camera hold once nothing can fail any more.
  void keep(bridge::LibrarySession session, bridge::CameraLock camera) noexcept {
    session_ = std::move(session);
    camera_ = std::move(camera);
  }

  [[nodiscard]] Result<ReadImuResult> read() override {
    bridge::BracketedImuRead read;
    Status status = read_bracketed(read);
    if (!status.ok()) {
      return status;
    }
    return read.sample;
  }

  [[nodiscard]] Status read_bracketed(bridge::BracketedImuRead& out) override {
    win_detail::SonixGlobalLock lock;
    const std::uint64_t t0 = bridge::host_now_ns();
    out.started_ns = t0;
    out.finished_ns = t0;
    std::memset(buffer_.data(), 0, buffer_.size());
    if (!SonixCam_XuRead(&handle_, buffer_.data(), transport_.xu_length, transport_.xu_selector, transport_.xu_unit)) {
      return win_detail::make_vendor_status(ErrorCode::PlatformError, "SonixCam_XuRead", &handle_);
    }
    const std::uint64_t t1 = bridge::host_now_ns();
    out.finished_ns = t1;
    Result<ReadImuResult> sample = decode_imu_payload(buffer_.data(), buffer_.size());
    lock.unlock();
    if (!sample.ok()) {
      return sample.status();
    }
    out.sample = sample.value();
    // The device samples somewhere inside the transfer; its middle is the best host-side estimate of one read alone.
    out.sample.host_timestamp_ns = t1 >= t0 ? t0 + (t1 - t0) / 2 : t0;
    return Status();
  }

 private:
  SonixLib::scDevice_t handle_;
  ImuTransportConfig transport_;
  std::vector<std::uint8_t> buffer_;
  bridge::CameraLock camera_;  ///< released after the session below has ended
  bridge::LibrarySession session_;
};

// Opens `reader` on the camera `device` names, in a session the reader keeps; a failure closes the session.
Status open_reader_in_session(const DeviceInfo& device, const ImuTransportConfig& transport,
                              std::chrono::milliseconds busy_wait, std::unique_ptr<ImuReader::Impl>& opened) {
  bridge::CameraSession camera;
  Status ready = camera.open_and_hold(bridge::make_device_selector_config(device), bridge::CameraUse::Imu, busy_wait);
  if (ready.ok()) {
    ready = camera.select_extension_unit(transport.xu_unit);
  }
  if (!ready.ok()) {
    return ready;
  }
  auto reader = std::make_unique<VendorImuReader>(camera.device(), transport);
  // From here the reader owns the library session and ends it when destroyed.
  reader->keep(camera.keep_library_session(), camera.keep_camera_hold());
  opened = std::move(reader);
  return Status();
}

}  // namespace

ImuReader::Impl::~Impl() = default;

ImuReader::ImuReader(std::unique_ptr<Impl> impl) noexcept : impl_(std::move(impl)) {}
ImuReader::ImuReader(ImuReader&& other) noexcept = default;
ImuReader& ImuReader::operator=(ImuReader&& other) noexcept = default;
ImuReader::~ImuReader() = default;

Result<ReadImuResult> ImuReader::read() {
  if (!impl_) {
    return Status(ErrorCode::InvalidArgument, "IMU reader is closed or moved-from");
  }
  return impl_->read();
}

Status ImuReader::read_bracketed(bridge::BracketedImuRead& out) {
  if (!impl_) {
    return Status(ErrorCode::InvalidArgument, "IMU reader is closed or moved-from");
  }
  return impl_->read_bracketed(out);
}

Result<ImuReader> open_imu_platform(const DeviceInfo& device, const ImuTransportConfig& transport,
                                    std::chrono::milliseconds busy_wait) {
  if (device.serial_number.empty() && device.device_path.empty() && (device.vendor_id == 0 || device.product_id == 0)) {
    return Status(ErrorCode::InvalidArgument, "selected device has no Windows device_path, serial_number, or vid/pid");
  }
  if (transport.xu_unit == 0 || transport.xu_selector == 0 || transport.xu_length < kImuPayloadSize) {
    return Status(ErrorCode::InvalidArgument, "invalid IMU transport configuration");
  }

  return guard_operation("unknown exception during Windows IMU open", [&]() -> Result<ImuReader> {
    std::unique_ptr<ImuReader::Impl> opened;
    Status status = open_reader_in_session(device, transport, busy_wait, opened);
    if (!status.ok()) {
      return status;
    }
    return ImuReader(std::move(opened));
  });
}

}  // namespace tovanel::uvc_stereo::detail

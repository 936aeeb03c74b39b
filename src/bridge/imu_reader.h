#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

#include "uvc_stereo/records.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::detail::bridge {

// One IMU read with the host times around it: the sample was the camera's newest at some moment between the two.
struct BracketedImuRead {
  ReadImuResult sample;           ///< the decoded sample; host_timestamp_ns is the midpoint of the read
  std::uint64_t started_ns = 0;   ///< host clock just before the read was issued
  std::uint64_t finished_ns = 0;  ///< host clock just after it returned
};

}  // namespace tovanel::uvc_stereo::detail::bridge

namespace tovanel::uvc_stereo::detail {

class ImuReader;

// Opens the IMU of `device`: selects the camera afresh, holds it shared with the IMU readers of other Devices and
// programs (waiting up to `busy_wait` for a flash access that holds it, then DeviceUnavailable "camera is busy:
// ..."), points the extension unit at `transport.xu_unit` and keeps the vendor session and the hold for as long as
// the returned reader lives. Reading takes no further hold, so a sample costs no system call for it.
[[nodiscard]] Result<ImuReader> open_imu_platform(const DeviceInfo& device, const ImuTransportConfig& transport,
                                                  std::chrono::milliseconds busy_wait = std::chrono::seconds(5));

// An open IMU: one camera held in a vendor session of its own, read one sample per call. Movable, not
// copyable; a moved-from reader holds nothing and refuses to read. Destroying it ends the session.
class ImuReader {
 public:
  // The platform's reader behind the handle.
  class Impl {
   public:
    Impl() = default;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;
    virtual ~Impl();
    // One sample, stamped with host time.
    [[nodiscard]] virtual Result<ReadImuResult> read() = 0;
    // One sample with the host times taken around the transfer; `read` fills `out` on success and on a failure
    // reported by the camera's status byte alike (the times are then those of the failed read).
    [[nodiscard]] virtual Status read_bracketed(bridge::BracketedImuRead& out) = 0;
  };

  ImuReader(ImuReader&& other) noexcept;
  ImuReader& operator=(ImuReader&& other) noexcept;
  ImuReader(const ImuReader&) = delete;
  ImuReader& operator=(const ImuReader&) = delete;
  ~ImuReader();

  // One sample; allocates nothing on success.
  [[nodiscard]] Result<ReadImuResult> read();
  // One sample with the host times around its read; allocates nothing on success.
  [[nodiscard]] Status read_bracketed(bridge::BracketedImuRead& out);

 private:
  explicit ImuReader(std::unique_ptr<Impl> impl) noexcept;
  friend Result<ImuReader> open_imu_platform(const DeviceInfo& device, const ImuTransportConfig& transport,
                                             std::chrono::milliseconds busy_wait);

  std::unique_ptr<Impl> impl_;
};

}  // namespace tovanel::uvc_stereo::detail

#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/call_views.h"
#include "uvc_stereo/simulated_rig.h"
#include "uvc_stereo/vendor_lock.h"

// Reads the rig's call log in pieces while the stress threads run, so that a long run does not keep every call in
// memory. A piece is taken and the log cleared under the vendor lock: no vendor call can be recorded in between, and
// an open library session (an IMU reader's) simply carries over from one piece to the next.
namespace tovanel::uvc_stereo::stress {

class CallAudit {
 public:
  explicit CallAudit(sim::SimulatedRig& rig) : rig_(rig) {}

  void take_piece() {
    std::vector<sim::VendorCall> piece;
    {
      const win_detail::SonixGlobalLock lock;
      piece = rig_.calls();
      rig_.clear_calls();
    }
    for (const sim::VendorCall& call : piece) {
      inits_ += call.name == "SonixCam_Init" ? 1 : 0;
      uninits_ += call.name == "SonixCam_UnInit" ? 1 : 0;
    }
    balance_ += test_support::session_balance(piece);
    for (std::string& name : test_support::calls_without_lock(piece)) {
      if (without_lock_.size() < 10) {
        without_lock_.push_back(std::move(name));
      }
    }
    calls_ += piece.size();
  }

  [[nodiscard]] std::uint64_t calls() const noexcept { return calls_; }
  [[nodiscard]] std::uint64_t inits() const noexcept { return inits_; }
  [[nodiscard]] std::uint64_t uninits() const noexcept { return uninits_; }
  // Sessions opened and not closed over all pieces.
  [[nodiscard]] long balance() const noexcept { return balance_; }
  // The first few calls made without the vendor lock.
  [[nodiscard]] const std::vector<std::string>& without_lock() const noexcept { return without_lock_; }

 private:
  sim::SimulatedRig& rig_;
  std::uint64_t calls_ = 0;
  std::uint64_t inits_ = 0;
  std::uint64_t uninits_ = 0;
  long balance_ = 0;
  std::vector<std::string> without_lock_;
};

}  // namespace tovanel::uvc_stereo::stress

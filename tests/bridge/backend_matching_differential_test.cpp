#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bridge/ascii_case.h"
#include "bridge/backend_matching.h"
#include "uvc_stereo/backend.h"
#include "uvc_stereo/records.h"
#include "win/backend_candidate.h"
#include "win/device_path.h"

// The matching of capture candidates to cameras against a plain walk of the four passes, over many random lists
// drawn from a small vocabulary so that paths, identities, serial numbers and names collide often: whatever the
// matching does to go faster, it must take exactly the same candidates.
namespace tovanel::uvc_stereo::win_detail {
namespace {

struct Key {
  std::string path;
  WindowsUsbIdentity identity;
  std::uint16_t vid = 0;
  std::uint16_t pid = 0;
  std::string serial_lower;
  std::string name_lower;
};

bool has_ids(const Key& k) { return k.vid != 0 && k.pid != 0; }
bool same_ids(const Key& d, const Key& c) { return has_ids(d) && has_ids(c) && d.vid == c.vid && d.pid == c.pid; }
bool has_part(const Key& k) { return !k.identity.serial.empty() || !k.identity.mi.empty() || !k.identity.col.empty(); }

bool pass_test(int pass, const Key& d, const Key& c) {
  switch (pass) {
    case 0:
      return !d.path.empty() && d.path == c.path;
    case 1: {
      if (!has_part(d) || !has_part(c) || !same_ids(d, c)) return false;
      bool part = false;
      if (!d.identity.mi.empty() && !c.identity.mi.empty()) {
        if (d.identity.mi != c.identity.mi) return false;
        part = true;
      }
      if (!d.identity.col.empty() && !c.identity.col.empty()) {
        if (d.identity.col != c.identity.col) return false;
        part = true;
      }
      bool serial = false;
      if (!d.identity.serial.empty() && !c.identity.serial.empty()) {
        if (d.identity.serial != c.identity.serial) return false;
        serial = true;
      }
      return serial || part;
    }
    case 2:
      return same_ids(d, c) && !d.serial_lower.empty() && !c.identity.serial.empty() &&
             d.serial_lower == c.identity.serial;
    default:
      return same_ids(d, c) && !d.name_lower.empty() && d.name_lower == c.name_lower;
  }
}

void walk_every_candidate(std::vector<DeviceInfo>& devices, const std::vector<WinOpenCvCameraCandidate>& candidates) {
  if (devices.empty() || candidates.empty()) return;
  std::vector<Key> device_keys;
  for (const DeviceInfo& d : devices) {
    Key k;
    k.path = normalize_windows_device_path(d.device_path);
    k.identity = parse_windows_usb_identity(k.path);
    k.vid = d.vendor_id != 0 ? d.vendor_id : k.identity.vid;
    k.pid = d.product_id != 0 ? d.product_id : k.identity.pid;
    k.serial_lower = detail::bridge::ascii_lower(d.serial_number);
    k.name_lower = detail::bridge::ascii_lower(d.friendly_name);
    device_keys.push_back(k);
  }
  std::vector<Key> candidate_keys;
  for (const WinOpenCvCameraCandidate& c : candidates) {
    Key k;
    k.path = c.normalized_path;
    k.identity = c.identity;
    k.vid = c.identity.vid;
    k.pid = c.identity.pid;
    k.name_lower = detail::bridge::ascii_lower(c.friendly_name);
    candidate_keys.push_back(k);
  }
  std::vector<bool> used(candidates.size(), false);
  std::vector<bool> matched(devices.size(), false);
  for (int pass = 0; pass < 4; ++pass) {
    for (std::size_t d = 0; d < devices.size(); ++d) {
      if (matched[d]) continue;
      std::size_t chosen = 0;
      int satisfying = 0;
      for (std::size_t c = 0; c < candidates.size(); ++c) {
        if (!used[c] && pass_test(pass, device_keys[d], candidate_keys[c])) {
          chosen = c;
          ++satisfying;
        }
      }
      if (satisfying == 1) {
        devices[d].backend_indices[candidates[chosen].backend] = candidates[chosen].index;
        used[chosen] = true;
        matched[d] = true;
      }
    }
  }
}

class Vocabulary {
 public:
  explicit Vocabulary(std::uint32_t seed) : random_(seed) {}

  std::string path() {
    static const char* const kShapes[] = {
        "\\\\?\\usb#vid_%s&pid_%s&mi_%s#%s#{65e8773d-8f56-11d0-a3b9-00a0c9223196}\\global",
        "\\\\?\\USB#VID_%s&PID_%s&MI_%s#%s#{E5323777-F976-4F5B-9B55-B94699C46E44}\\GLOBAL",
        "\\\\?\\usb#vid_%s&pid_%s#%s%s#{65e8773d-8f56-11d0-a3b9-00a0c9223196}",
        "\\\\?\\hid#vid_%s&pid_%s&col%s#%s#{4d1e55b2-f16f-11cf-88cb-001111000030}",
        "\\\\?\\root#camera#%s%s%s%s",
        "",
    };
    static const char* const kVids[] = {"0c45", "0C45", "046d", "0000"};
    static const char* const kPids[] = {"6366", "636a", "0825"};
    static const char* const kParts[] = {"00", "01", "02"};
    static const char* const kSerials[] = {"sn001", "SN001", "7&2f3a0001&0&0000", "7&2f3a0002&0&0000", "sn002"};
    char text[256];
    const char* shape = kShapes[pick(6)];
    std::snprintf(text, sizeof(text), shape, kVids[pick(4)], kPids[pick(3)], kParts[pick(3)], kSerials[pick(5)]);
    return text;
  }

  std::string name() {
    static const char* const kNames[] = {"Tovanel Stereo Camera", "TOVANEL STEREO CAMERA", "Integrated Webcam", ""};
    return kNames[pick(4)];
  }

  std::string serial() {
    static const char* const kSerials[] = {"SN001", "sn002", "7&2F3A0001&0&0000", ""};
    return kSerials[pick(4)];
  }

  std::uint16_t id(std::uint16_t value) { return pick(3) == 0 ? 0 : value; }

  std::size_t pick(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(random_); }

 private:
  std::mt19937 random_;
};

TEST(BackendMatchingDifferential, TakesTheSameCandidatesAsAWalkOverEveryCandidate) {
  Vocabulary words(6202);
  int matched = 0;
  int unmatched = 0;
  for (int trial = 0; trial < 3000; ++trial) {
    std::vector<DeviceInfo> devices(words.pick(8));
    for (DeviceInfo& d : devices) {
      d.device_path = words.path();
      d.friendly_name = words.name();
      d.serial_number = words.serial();
      d.vendor_id = words.id(0x0C45);
      d.product_id = words.id(0x6366);
    }
    std::vector<WinOpenCvCameraCandidate> candidates;
    const std::size_t count = words.pick(10);
    for (std::size_t i = 0; i < count; ++i) {
      const OpenCvBackend backend = words.pick(2) == 0 ? OpenCvBackend::Dshow : OpenCvBackend::Msmf;
      candidates.push_back(make_backend_candidate(backend, static_cast<int>(i), words.name(), words.path()));
    }
    std::vector<DeviceInfo> expected = devices;
    walk_every_candidate(expected, candidates);
    std::vector<DeviceInfo*> pointers;
    for (DeviceInfo& d : devices) pointers.push_back(&d);
    detail::bridge::match_backend_candidates(pointers, candidates);
    for (std::size_t d = 0; d < devices.size(); ++d) {
      ASSERT_EQ(devices[d].backend_indices, expected[d].backend_indices) << "trial " << trial << ", device " << d;
      (expected[d].backend_indices.empty() ? unmatched : matched) += 1;
    }
  }
  // The comparison only means something if both outcomes are common.
  EXPECT_GT(matched, 1000);
  EXPECT_GT(unmatched, 1000);
}

}  // namespace
}  // namespace tovanel::uvc_stereo::win_detail

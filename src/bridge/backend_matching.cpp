#include "bridge/backend_matching.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bridge/ascii_case.h"
#include "win/device_path.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// What a camera or a listed device is compared by.
struct MatchKey {
  std::string normalized_path;
  win_detail::WindowsUsbIdentity identity;
  std::uint16_t match_vid = 0;
  std::uint16_t match_pid = 0;
  std::string serial_lower;
  std::string name_lower;
};

MatchKey device_key(const DeviceInfo& device) {
  MatchKey key;
  key.normalized_path = win_detail::normalize_windows_device_path(device.device_path);
  key.identity = win_detail::parse_windows_usb_identity(key.normalized_path);
  // The descriptor's ids are the better source; the path only stands in when they are unknown.
  key.match_vid = device.vendor_id != 0 ? device.vendor_id : key.identity.vid;
  key.match_pid = device.product_id != 0 ? device.product_id : key.identity.pid;
  key.serial_lower = ascii_lower(device.serial_number);
  key.name_lower = ascii_lower(device.friendly_name);
  return key;
}

MatchKey candidate_key(const win_detail::WinOpenCvCameraCandidate& candidate) {
  MatchKey key;
  key.normalized_path = candidate.normalized_path;
  key.identity = candidate.identity;
  key.match_vid = candidate.identity.vid;
  key.match_pid = candidate.identity.pid;
  key.name_lower = ascii_lower(candidate.friendly_name);
  return key;
}

bool has_ids(const MatchKey& key) { return key.match_vid != 0 && key.match_pid != 0; }

bool same_ids(const MatchKey& device, const MatchKey& candidate) {
  return has_ids(device) && has_ids(candidate) && device.match_vid == candidate.match_vid &&
         device.match_pid == candidate.match_pid;
}

bool has_instance_part(const MatchKey& key) {
  return !key.identity.serial.empty() || !key.identity.mi.empty() || !key.identity.col.empty();
}

bool path_matches(const MatchKey& device, const MatchKey& candidate) {
  return !device.normalized_path.empty() && device.normalized_path == candidate.normalized_path;
}

// A shared serial is proof on its own; otherwise an agreeing interface or collection number
// is. Any part present on both sides must agree.
bool identity_matches(const MatchKey& device, const MatchKey& candidate) {
  if (!has_instance_part(device) || !has_instance_part(candidate) || !same_ids(device, candidate)) {
    return false;
  }
  const win_detail::WindowsUsbIdentity& d = device.identity;
  const win_detail::WindowsUsbIdentity& c = candidate.identity;
  bool part_compared = false;
  if (!d.mi.empty() && !c.mi.empty()) {
    if (d.mi != c.mi) {
      return false;
    }
    part_compared = true;
  }
  if (!d.col.empty() && !c.col.empty()) {
    if (d.col != c.col) {
      return false;
    }
    part_compared = true;
  }
  bool serial_compared = false;
  if (!d.serial.empty() && !c.serial.empty()) {
    if (d.serial != c.serial) {
      return false;
    }
    serial_compared = true;
  }
  return serial_compared || part_compared;
}

bool serial_matches(const MatchKey& device, const MatchKey& candidate) {
  return same_ids(device, candidate) && !device.serial_lower.empty() && !candidate.identity.serial.empty() &&
         device.serial_lower == candidate.identity.serial;
}

bool name_matches(const MatchKey& device, const MatchKey& candidate) {
  return same_ids(device, candidate) && !device.name_lower.empty() && device.name_lower == candidate.name_lower;
}

using PassTest = bool (*)(const MatchKey& device, const MatchKey& candidate);

constexpr std::size_t kNoCandidate = static_cast<std::size_t>(-1);

std::uint32_t ids_of(const MatchKey& key) { return (static_cast<std::uint32_t>(key.match_vid) << 16) | key.match_pid; }

// The only candidates that can pass a test for a device, in list order: the path pass needs the same non-empty
// canonical path, and the three later passes all need the same vendor and product ids. Looking them up instead of
// walking the whole list for every camera keeps a scan of many cameras linear when their identities differ.
class CandidateIndex {
 public:
  explicit CandidateIndex(const std::vector<MatchKey>& candidates) {
    for (std::size_t c = 0; c < candidates.size(); ++c) {
      if (!candidates[c].normalized_path.empty()) {
        by_path_[candidates[c].normalized_path].push_back(c);
      }
      if (has_ids(candidates[c])) {
        by_ids_[ids_of(candidates[c])].push_back(c);
      }
    }
  }

  [[nodiscard]] const std::vector<std::size_t>* with_path_of(const MatchKey& device) const {
    if (device.normalized_path.empty()) {
      return nullptr;
    }
    const auto found = by_path_.find(device.normalized_path);
    return found == by_path_.end() ? nullptr : &found->second;
  }

  [[nodiscard]] const std::vector<std::size_t>* with_ids_of(const MatchKey& device) const {
    if (!has_ids(device)) {
      return nullptr;
    }
    const auto found = by_ids_.find(ids_of(device));
    return found == by_ids_.end() ? nullptr : &found->second;
  }

 private:
  std::unordered_map<std::string_view, std::vector<std::size_t>> by_path_;
  std::unordered_map<std::uint32_t, std::vector<std::size_t>> by_ids_;
};

}  // namespace

void match_backend_candidates(const std::vector<DeviceInfo*>& devices,
                              const std::vector<win_detail::WinOpenCvCameraCandidate>& candidates) {
  if (devices.empty() || candidates.empty()) {
    return;
  }

  std::vector<MatchKey> device_keys;
  device_keys.reserve(devices.size());
  for (const DeviceInfo* device : devices) {
    device_keys.push_back(device_key(*device));
  }
  std::vector<MatchKey> candidate_keys;
  candidate_keys.reserve(candidates.size());
  for (const win_detail::WinOpenCvCameraCandidate& candidate : candidates) {
    candidate_keys.push_back(candidate_key(candidate));
  }

  std::vector<bool> candidate_used(candidates.size(), false);
  std::vector<bool> device_matched(devices.size(), false);
  const CandidateIndex index(candidate_keys);

  constexpr PassTest kPasses[] = {path_matches, identity_matches, serial_matches, name_matches};
  for (const PassTest pass : kPasses) {
    for (std::size_t d = 0; d < devices.size(); ++d) {
      if (device_matched[d]) {
        continue;
      }
      const std::vector<std::size_t>* pool =
          pass == path_matches ? index.with_path_of(device_keys[d]) : index.with_ids_of(device_keys[d]);
      if (pool == nullptr) {
        continue;
      }
      std::size_t chosen = kNoCandidate;
      std::size_t satisfying = 0;
      for (std::size_t i = 0; i < pool->size() && satisfying < 2; ++i) {
        const std::size_t c = (*pool)[i];
        if (!candidate_used[c] && pass(device_keys[d], candidate_keys[c])) {
          chosen = c;
          ++satisfying;
        }
      }
      // Two equally good candidates say nothing about which one is this camera.
      if (satisfying != 1) {
        continue;
      }
      devices[d]->backend_indices[candidates[chosen].backend] = candidates[chosen].index;
      candidate_used[chosen] = true;
      device_matched[d] = true;
    }
  }
}

}  // namespace tovanel::uvc_stereo::detail::bridge

#include "bridge/platform_table.h"

#include <atomic>
#include <mutex>
#include <new>

#include "flash/json_minifier_variants.h"

namespace tovanel::uvc_stereo::detail::bridge {
namespace {

// The entries in force, each readable on its own without a lock: a vendor call or a
// minify reads one entry on every call.
struct InstalledEntries {
  std::atomic<const VendorBackend*> vendor_backend{nullptr};
  std::atomic<const CaptureListingSource*> capture_listing{nullptr};
  std::atomic<const win_detail::CaptureSystemCalls*> windows_system_calls{nullptr};
  std::atomic<const PauseHook*> pause{nullptr};
  std::atomic<const JsonMinifierVariant*> json_minifier{nullptr};
  std::atomic<const LinuxKernel*> linux_kernel{nullptr};
  std::atomic<const HostClock*> host_clock{nullptr};
  std::atomic<const CameraLockPlace*> camera_locks{nullptr};
};

struct LayerStack {
  std::mutex mutex;
  PlatformLayer* newest = nullptr;
  InstalledEntries installed;
};

// Constructed in place on first use and never destroyed, so a layer removed by a static
// destructor at exit still finds it.
LayerStack& stack() noexcept {
  alignas(LayerStack) static unsigned char storage[sizeof(LayerStack)];
  static LayerStack* const instance = new (storage) LayerStack();
  return *instance;
}

// The newest layer's non-null entry, else null (the platform's own).
template <typename Entry>
const Entry* newest_entry(const PlatformLayer* layer, const Entry* PlatformTable::*member) noexcept {
  for (; layer != nullptr; layer = layer->older) {
    if (const Entry* entry = layer->entries.*member; entry != nullptr) {
      return entry;
    }
  }
  return nullptr;
}

void publish(LayerStack& s) noexcept {
  InstalledEntries& out = s.installed;
  out.vendor_backend.store(newest_entry(s.newest, &PlatformTable::vendor_backend), std::memory_order_release);
  out.capture_listing.store(newest_entry(s.newest, &PlatformTable::capture_listing), std::memory_order_release);
  out.windows_system_calls.store(newest_entry(s.newest, &PlatformTable::windows_system_calls),
                                 std::memory_order_release);
  out.pause.store(newest_entry(s.newest, &PlatformTable::pause), std::memory_order_release);
  out.json_minifier.store(newest_entry(s.newest, &PlatformTable::json_minifier), std::memory_order_release);
  out.linux_kernel.store(newest_entry(s.newest, &PlatformTable::linux_kernel), std::memory_order_release);
  out.host_clock.store(newest_entry(s.newest, &PlatformTable::host_clock), std::memory_order_release);
  out.camera_locks.store(newest_entry(s.newest, &PlatformTable::camera_locks), std::memory_order_release);
  // The minifier lives below this table and keeps its own copy of the entry.
  choose_json_minifier_variant(out.json_minifier.load(std::memory_order_relaxed));
}

}  // namespace

PlatformTable installed_platform() noexcept {
  const InstalledEntries& in = stack().installed;
  PlatformTable table;
  table.vendor_backend = in.vendor_backend.load(std::memory_order_acquire);
  table.capture_listing = in.capture_listing.load(std::memory_order_acquire);
  table.windows_system_calls = in.windows_system_calls.load(std::memory_order_acquire);
  table.pause = in.pause.load(std::memory_order_acquire);
  table.json_minifier = in.json_minifier.load(std::memory_order_acquire);
  table.linux_kernel = in.linux_kernel.load(std::memory_order_acquire);
  table.host_clock = in.host_clock.load(std::memory_order_acquire);
  table.camera_locks = in.camera_locks.load(std::memory_order_acquire);
  return table;
}

void push_platform_layer(PlatformLayer& layer) noexcept {
  LayerStack& s = stack();
  const std::lock_guard<std::mutex> guard(s.mutex);
  layer.older = s.newest;
  layer.newer = nullptr;
  if (s.newest != nullptr) {
    s.newest->newer = &layer;
  }
  s.newest = &layer;
  publish(s);
}

void remove_platform_layer(PlatformLayer& layer) noexcept {
  LayerStack& s = stack();
  const std::lock_guard<std::mutex> guard(s.mutex);
  if (layer.newer != nullptr) {
    layer.newer->older = layer.older;
  } else if (s.newest == &layer) {
    s.newest = layer.older;
  } else {
    return;  // not in the stack
  }
  if (layer.older != nullptr) {
    layer.older->newer = layer.newer;
  }
  layer.older = nullptr;
  layer.newer = nullptr;
  publish(s);
}

}  // namespace tovanel::uvc_stereo::detail::bridge

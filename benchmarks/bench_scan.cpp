// The SDK's own cost of a scan: N cameras listed by the bridge's instant library, which answers every call at once,
// and N capture devices listed by each of the two capture backends, so what is measured is the enumeration, the
// descriptor decoding, the filtering and the four matching passes per backend. The stand-in's own work (copying
// the device records and the candidate lists it hands over) is measured alone as ScanStandInOnly.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "bridge/os/capture_listing.h"
#include "bridge/platform.h"
#include "imu/model_table.h"
#include "support/stand_in_library.h"
#include "uvc_stereo/device.h"
#include "win/backend_candidate.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace bridge = tovanel::uvc_stereo::detail::bridge;
namespace win = tovanel::uvc_stereo::win_detail;

// What the capture listings answer: prepared once per camera count.
struct Listings {
  std::vector<win::WinOpenCvCameraCandidate> dshow;
  std::vector<win::WinOpenCvCameraCandidate> msmf;
};

Listings g_listings;

std::string camera_path(const sdk::detail::SupportedModel& model, int camera, const char* interface_class) {
  char path[200];
  std::snprintf(path, sizeof(path), "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&%08x&0&0000#%s\\global",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id),
                0x2f3a0000u + static_cast<unsigned>(camera), interface_class);
  return path;
}

constexpr const char* kVideoClass = "{65e8773d-8f56-11d0-a3b9-00a0c9223196}";
constexpr const char* kCaptureClass = "{e5323777-f976-4f5b-9b55-b94699c46e44}";

const sdk::detail::SupportedModel& model_of(int camera) {
  const auto& models = sdk::detail::supported_models();
  return models[static_cast<std::size_t>(camera) % models.size()];
}

std::vector<bridge::StandInCamera> cameras_of(int cameras) {
  std::vector<bridge::StandInCamera> listed;
  for (int i = 0; i < cameras; ++i) {
    bridge::StandInCamera camera;
    camera.vendor_id = model_of(i).vendor_id;
    camera.product_id = model_of(i).product_id;
    camera.device_path = camera_path(model_of(i), i, kVideoClass);
    camera.device_name = "Tovanel Stereo Camera";
    camera.serial_number = "SN-" + std::to_string(100000 + i);
    camera.other_strings = "TVN";
    listed.push_back(std::move(camera));
  }
  return listed;
}

// The backends list the same cameras in other orders, under their own spellings of the paths.
void build_listings(int cameras) {
  g_listings = Listings{};
  for (int i = 0; i < cameras; ++i) {
    const int dshow_camera = cameras - 1 - i;
    const int msmf_camera = (i * 7 + 3) % cameras;
    g_listings.dshow.push_back(
        win::make_backend_candidate(sdk::OpenCvBackend::Dshow, i, "Tovanel Stereo Camera",
                                    camera_path(model_of(dshow_camera), dshow_camera, kVideoClass)));
    g_listings.msmf.push_back(
        win::make_backend_candidate(sdk::OpenCvBackend::Msmf, i, "Tovanel Stereo Camera",
                                    camera_path(model_of(msmf_camera), msmf_camera, kCaptureClass)));
  }
}

sdk::Result<std::vector<win::WinOpenCvCameraCandidate>> list(sdk::OpenCvBackend backend) {
  return backend == sdk::OpenCvBackend::Dshow ? g_listings.dshow : g_listings.msmf;
}

const bridge::CaptureListingSource kInstantListing = {list};

// The bridge's instant library listing the cameras, and the instant capture listings, while it lives.
class InstantScene {
 public:
  explicit InstantScene(int cameras) : cameras_(cameras_of(cameras)), listings_(listings_for(cameras)) {}
  InstantScene(const InstantScene&) = delete;
  InstantScene& operator=(const InstantScene&) = delete;

  [[nodiscard]] int enumerate_alone() { return cameras_.enumerate_alone(); }

 private:
  // Prepares the listings the stand-in answers from, then names it.
  static bridge::PlatformTable listings_for(int cameras) {
    build_listings(cameras);
    bridge::PlatformTable table;
    table.capture_listing = &kInstantListing;
    return table;
  }

  bridge::InstantCameras cameras_;
  const bridge::PlatformOverride listings_;
};

void ScanDevices(benchmark::State& state) {
  const int cameras = static_cast<int>(state.range(0));
  const InstantScene scene(cameras);
  // Every camera must be found and matched under both backends, or the scan did less than it should.
  const sdk::Result<std::vector<sdk::DeviceInfo>> check = sdk::scan_devices();
  if (!check.ok() || check.value().size() != static_cast<std::size_t>(cameras)) {
    state.SkipWithError("the scan did not list every camera");
    return;
  }
  for (const sdk::DeviceInfo& info : check.value()) {
    if (info.backend_indices.size() != 2) {
      state.SkipWithError("a camera was not matched under both backends");
      return;
    }
  }
  for (auto _ : state) {
    sdk::Result<std::vector<sdk::DeviceInfo>> devices = sdk::scan_devices();
    benchmark::DoNotOptimize(devices);
  }
  state.SetComplexityN(cameras);
}
BENCHMARK(ScanDevices)->RangeMultiplier(2)->Range(1, 64)->Complexity()->Unit(benchmark::kMicrosecond);

// What the stand-ins themselves cost per scan: one enumeration copy and the two candidate lists.
void ScanStandInOnly(benchmark::State& state) {
  const int cameras = static_cast<int>(state.range(0));
  InstantScene scene(cameras);
  for (auto _ : state) {
    benchmark::DoNotOptimize(scene.enumerate_alone());
    auto dshow = list(sdk::OpenCvBackend::Dshow);
    auto msmf = list(sdk::OpenCvBackend::Msmf);
    benchmark::DoNotOptimize(dshow);
    benchmark::DoNotOptimize(msmf);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(ScanStandInOnly)->Arg(64)->Unit(benchmark::kMicrosecond);

}  // namespace

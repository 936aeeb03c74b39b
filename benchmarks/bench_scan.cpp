// The SDK's own cost of a scan: N cameras listed by a stand-in vendor library that answers every call at once, and
// N capture devices listed by each of the two capture backends, so what is measured is the enumeration, the
// descriptor decoding, the filtering and the four matching passes per backend. The stand-in's own work (copying
// the device records and the candidate lists it hands over) is measured alone as ScanStandInOnly.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "imu/model_table.h"
#include "uvc_stereo/device.h"
#include "bridge/platform.h"
#include "bridge/sonix_camera.h"
#include "bridge/vendor_backend.h"
#include "win/backend_candidate.h"
#include "win/capture_listing.h"

namespace {

namespace sdk = tovanel::uvc_stereo;
namespace vendor = tovanel::uvc_stereo::vendor;
namespace win = tovanel::uvc_stereo::win_detail;

// What the stand-in library and listings answer: prepared once per camera count.
struct Scene {
  std::vector<SonixLib::scDevice_t> records;
  std::vector<std::uint16_t> vendor_ids;
  std::vector<std::uint16_t> product_ids;
  std::vector<std::string> serials;
  std::vector<win::WinOpenCvCameraCandidate> dshow;
  std::vector<win::WinOpenCvCameraCandidate> msmf;
};

Scene g_scene;

void set_wide(SonixLib::scWideChar* field, std::size_t capacity, const std::string& text) {
  std::size_t i = 0;
  for (; i + 1 < capacity && i < text.size(); ++i) {
    field[i] = static_cast<SonixLib::scWideChar>(static_cast<unsigned char>(text[i]));
  }
  field[i] = 0;
}

std::string camera_path(const sdk::detail::SupportedModel& model, int camera, const char* interface_class) {
  char path[200];
  std::snprintf(path, sizeof(path), "\\\\?\\usb#vid_%04x&pid_%04x&mi_00#7&%08x&0&0000#%s\\global",
                static_cast<unsigned>(model.vendor_id), static_cast<unsigned>(model.product_id),
                0x2f3a0000u + static_cast<unsigned>(camera), interface_class);
  return path;
}

void build_scene(int cameras) {
  constexpr const char* kVideoClass = "{65e8773d-8f56-11d0-a3b9-00a0c9223196}";
  constexpr const char* kCaptureClass = "{e5323777-f976-4f5b-9b55-b94699c46e44}";
  g_scene = Scene{};
  const auto& models = sdk::detail::supported_models();
  for (int i = 0; i < cameras; ++i) {
    const sdk::detail::SupportedModel& model = models[static_cast<std::size_t>(i) % models.size()];
    SonixLib::scDevice_t record{};
    set_wide(record.devicePath, SonixLib::kDevicePathChars, camera_path(model, i, kVideoClass));
    set_wide(record.deviceName, SonixLib::kDeviceNameChars, "Tovanel Stereo Camera");
    // The stand-in finds its camera again from the record, as the real library does from its handle.
    std::memcpy(record.reserved, &i, sizeof(i));
    g_scene.records.push_back(record);
    g_scene.vendor_ids.push_back(model.vendor_id);
    g_scene.product_ids.push_back(model.product_id);
    g_scene.serials.push_back("SN-" + std::to_string(100000 + i));
  }
  // The backends list the same cameras in other orders, under their own spellings of the paths.
  for (int i = 0; i < cameras; ++i) {
    const int dshow_camera = cameras - 1 - i;
    const int msmf_camera = (i * 7 + 3) % cameras;
    const auto& models = sdk::detail::supported_models();
    g_scene.dshow.push_back(win::make_backend_candidate(
        sdk::OpenCvBackend::Dshow, i, "Tovanel Stereo Camera",
        camera_path(models[static_cast<std::size_t>(dshow_camera) % models.size()], dshow_camera, kVideoClass)));
    g_scene.msmf.push_back(win::make_backend_candidate(
        sdk::OpenCvBackend::Msmf, i, "Tovanel Stereo Camera",
        camera_path(models[static_cast<std::size_t>(msmf_camera) % models.size()], msmf_camera, kCaptureClass)));
  }
}

int camera_of(const SonixLib::scDevice_t* record) {
  int camera = 0;
  std::memcpy(&camera, record->reserved, sizeof(camera));
  return camera;
}

bool yes() { return true; }

bool enum_cameras(std::int32_t* count, SonixLib::scDevice_t* devices, std::int32_t max_count) {
  const auto n = static_cast<std::int32_t>(g_scene.records.size());
  *count = n;
  std::memcpy(devices, g_scene.records.data(),
              sizeof(SonixLib::scDevice_t) * static_cast<std::size_t>(n < max_count ? n : max_count));
  return true;
}

bool get_error_code(SonixLib::scDevice_t*, SonixLib::scErrorCode_t* code) {
  *code = SonixLib::ecUnknow;
  return true;
}

bool get_dev_descriptor(SonixLib::scDevice_t* device, std::uint8_t type, std::uint8_t* buffer, std::uint32_t length,
                        std::int32_t, std::int32_t) {
  const auto camera = static_cast<std::size_t>(camera_of(device));
  std::memset(buffer, 0, length);
  if (type == 0) {
    if (length < 4) return false;
    buffer[0] = static_cast<std::uint8_t>(g_scene.vendor_ids[camera] >> 8);
    buffer[1] = static_cast<std::uint8_t>(g_scene.vendor_ids[camera] & 0xFF);
    buffer[2] = static_cast<std::uint8_t>(g_scene.product_ids[camera] >> 8);
    buffer[3] = static_cast<std::uint8_t>(g_scene.product_ids[camera] & 0xFF);
    return true;
  }
  const std::string text = type == 2 ? "Tovanel Stereo Camera" : type == 4 ? g_scene.serials[camera] : "TVN";
  std::memcpy(buffer, text.data(), text.size() < length ? text.size() : length);
  return true;
}

template <class... Args>
bool refuse(Args...) {
  return false;
}

const vendor::VendorBackend kInstantBackend = {
    "instant stand-in",
    yes,
    yes,
    enum_cameras,
    get_error_code,
    get_dev_descriptor,
    refuse<SonixLib::scDevice_t*, std::uint8_t, const std::uint8_t*>,
    refuse<SonixLib::scDevice_t*, std::uint8_t*, std::uint8_t, std::uint8_t, std::uint8_t>,
    refuse<SonixLib::scDevice_t*, char*, std::uint32_t, std::int32_t>,
    refuse<SonixLib::scDevice_t*, SonixLib::SERIAL_FLASH_TYPE*>,
    refuse<SonixLib::scDevice_t*, std::uint32_t, std::uint8_t*, std::uint32_t>,
    refuse<SonixLib::scDevice_t*, std::uint32_t, const std::uint8_t*, std::uint32_t>,
    refuse<SonixLib::scDevice_t*, std::uint32_t, std::uint8_t>,
    refuse<SonixLib::scDevice_t*, std::uint8_t, std::uint8_t>,
    refuse<SonixLib::scDevice_t*, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t>,
};

sdk::Result<std::vector<win::WinOpenCvCameraCandidate>> list(sdk::OpenCvBackend backend) {
  return backend == sdk::OpenCvBackend::Dshow ? g_scene.dshow : g_scene.msmf;
}

const win::CaptureListingSource kInstantListing = {list};

class InstantScene {
 public:
  explicit InstantScene(int cameras) : in_force_(stand_ins_for(cameras)) {}
  InstantScene(const InstantScene&) = delete;
  InstantScene& operator=(const InstantScene&) = delete;

 private:
  // Prepares the scene the stand-ins answer from, then names them.
  static sdk::detail::PlatformTable stand_ins_for(int cameras) {
    build_scene(cameras);
    sdk::detail::PlatformTable table;
    table.vendor_backend = &kInstantBackend;
    table.capture_listing = &kInstantListing;
    return table;
  }

  const vendor::PlatformOverride in_force_;
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
  const InstantScene scene(cameras);
  std::vector<SonixLib::scDevice_t> records(64);
  for (auto _ : state) {
    std::int32_t count = 0;
    benchmark::DoNotOptimize(enum_cameras(&count, records.data(), 64));
    auto dshow = list(sdk::OpenCvBackend::Dshow);
    auto msmf = list(sdk::OpenCvBackend::Msmf);
    benchmark::DoNotOptimize(dshow);
    benchmark::DoNotOptimize(msmf);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(ScanStandInOnly)->Arg(64)->Unit(benchmark::kMicrosecond);

}  // namespace

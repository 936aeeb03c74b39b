#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "uvc_stereo/backend.h"
#include "uvc_stereo/capability.h"
#include "uvc_stereo/export.h"
#include "uvc_stereo/result.h"

namespace tovanel::uvc_stereo::sim {

/// How a camera answers the vid/pid descriptor request: big-endian gives the bytes
/// vid-high, vid-low, pid-high, pid-low; little-endian swaps each pair.
enum class DescriptorByteOrder : std::uint8_t { BigEndian, LittleEndian };

/// What the camera's IMU is doing.
enum class ImuMotion : std::uint8_t {
  AtRest,  ///< gravity on +z, small sensor noise, no rotation
  Moving,  ///< slow swaying: the acceleration direction and angular rates change smoothly
};

/// How a simulated IMU lives in time, as a real one does: it takes samples at its own
/// rate on its own oscillator, whatever the reads do, and an extension-unit read answers
/// with the newest sample taken before the request reached the camera (the same sample
/// again when polled faster than the rate, counters skipped when slower). Each read takes
/// a transfer time with jitter and rare stalls, drawn from `seed` so that runs repeat.
struct SimulatedImuTiming {
  double rate_hz = 200.0;                  ///< samples per second on the camera's own oscillator
  double clock_error_ppm = 0.0;            ///< how much faster (positive) that oscillator runs than the host's clock
  std::uint64_t latency_min_ns = 200000;   ///< shortest transfer of a read (request out and answer back)
  std::uint64_t latency_max_ns = 2000000;  ///< longest transfer outside stalls; drawn evenly in between
  double stall_probability = 0.0;          ///< share of reads that stall on top of their transfer
  std::uint64_t stall_min_ns = 5000000;    ///< shortest stall
  std::uint64_t stall_max_ns = 20000000;   ///< longest stall; drawn evenly in between
  std::vector<double> restart_after_s;     ///< seconds after the camera was plugged at which it restarts (counter to 0)
  std::uint32_t seed = 1;                  ///< seed of the transfer times and stalls
};

/// One simulated IMU: a 20-bit sample counter that wraps, a die temperature, and an
/// accelerometer and gyroscope in the default scales (2048 counts per g, 16.4 counts
/// per degree per second, 128 counts per degree Celsius around 25 degrees).
struct SimulatedImu {
  ImuMotion motion = ImuMotion::AtRest;  ///< what the IMU is doing
  std::uint32_t first_counter = 0;       ///< counter of the first sample (wraps at 2^20)
  std::uint32_t counter_step = 1;  ///< counter increment per read without timing; larger values model missed samples
  double temperature_c = 31.5;     ///< die temperature
  std::uint32_t seed = 1;          ///< noise seed, so runs are repeatable
  /// When set, the IMU samples in time from the moment the camera is plugged in. When
  /// absent, every read answers at once with a new sample (counter advanced by counter_step).
  std::optional<SimulatedImuTiming> timing;
};

/// The truth about one sample a timed IMU answered a read with: when the camera took it.
struct SimulatedImuSampleTruth {
  std::uint32_t counter = 0;        ///< the 20-bit counter it carried
  std::uint32_t segment = 0;        ///< restarts of the camera before it was taken
  std::uint64_t sample_number = 0;  ///< samples taken since the camera (re)started, before this one
  std::uint64_t taken_ns = 0;       ///< when it was taken, on the host clock the SDK stamps samples with
};

/// Whether this account may open the camera's video node, as the Linux kernel decides. A
/// camera whose node is refused is listed by a scan (its descriptors need no node) and
/// opens without its capability report, but every call that needs the node (the extension
/// unit, the firmware version, the flash) fails with "ecGetKsControlFail", and
/// find_camera_access_problems() names its nodes with the fix, as on Linux.
enum class SimulatedNodeAccess : std::uint8_t {
  Allowed,           ///< the node opens
  PermissionDenied,  ///< the node belongs to a group this account is not in (EACCES)
  Busy,              ///< another program holds the node (EBUSY)
};

/// One camera on the rig.
struct SimulatedCamera {
  std::uint16_t vendor_id = 0x0C45;   ///< USB vendor id (a supported model by default)
  std::uint16_t product_id = 0x6366;  ///< USB product id
  DescriptorByteOrder descriptor_order =
      DescriptorByteOrder::BigEndian;  ///< how the vid/pid descriptor request is answered
  std::string device_path;  ///< as the vendor library reports it (UTF-8 here, UTF-16 in the library's record)
  std::string device_name;  ///< the library's device name
  /// USB string descriptors 2 (product), 3 and 4 (serial number); absent ones fail to read.
  std::optional<std::string> product_string;
  std::optional<std::string> descriptor_3;   ///< string descriptor 3; absent fails to read
  std::optional<std::string> serial_number;  ///< string descriptor 4, the serial number; absent fails to read
  std::string firmware_version = "V1.0.0";   ///< what SonixCam_GetVersion answers
  std::int32_t flash_type = 1;               ///< 0 is the library's "unknown flash"
  std::uint32_t flash_size = 0x100000;       ///< the whole chip; every address below it exists
  std::uint32_t flash_sector_size = 4096;    ///< erase granularity of the chip
  /// The region the SDK may erase and write; anything else touched is a violation.
  std::uint32_t user_space_address = 0x51000;
  std::uint32_t user_space_size = 0x10000;  ///< bytes in the user space
  /// The camera's capability report as a record: when engaged, the extension unit answers
  /// it encoded as a camera sends it (CRC-32C included) and `capability_report` is not used.
  std::optional<CapabilityReport> capability;
  /// The 64 bytes the capability extension unit answers when `capability` is absent: all
  /// zero for a camera without capability reporting, or any malformed report.
  std::array<std::uint8_t, 64> capability_report{};
  /// Where the IMU answers (unit id, control selector, minimum read length).
  std::uint8_t imu_unit = 4;
  std::uint8_t imu_selector = 10;  ///< control selector of the IMU control
  std::uint8_t imu_length = 17;    ///< bytes the IMU read needs, at least 17
  SimulatedImu imu;                ///< what the IMU does
  /// Whether this account may open the camera's video nodes ("/dev/video<2 * rig index>"
  /// for capture, the next number for metadata).
  SimulatedNodeAccess node_access = SimulatedNodeAccess::Allowed;
};

/// One device a capture backend lists.
struct SimulatedCaptureDevice {
  std::string friendly_name;  ///< the name the backend lists
  std::string device_path;    ///< the device path the backend lists, matched against the cameras'
};

/// One vendor call as the rig saw it.
struct VendorCall {
  std::string name;                ///< "SonixCam_Init", "SonixCam_CstmReadFromSF", ...
  std::vector<std::int64_t> args;  ///< the integer arguments, in order (addresses, lengths, constants)
  int camera = -1;                 ///< the camera the device record named; -1 for none or unknown
  bool succeeded = false;          ///< whether the call reported success
  bool lock_held = false;          ///< the calling thread held the vendor lock
  int open_sessions = 0;           ///< sessions open when the call was made (before Init/UnInit took effect)
};

/// Makes any vendor call fail. Calls are counted per name from the moment the fault is added.
struct VendorFault {
  std::string call;                     ///< e.g. "SonixCam_XuRead"; "*" counts every call
  std::uint32_t nth = 1;                ///< the first use that fails (1 = the next one)
  std::uint32_t times = 1;              ///< how many consecutive uses fail; 0 = every use from then on
  std::int32_t vendor_code = 0;         ///< what SonixCam_GetErrorCode reports afterwards
  bool error_code_query_fails = false;  ///< SonixCam_GetErrorCode then returns false (but still writes the code)
  /// The failing call first does its work and writes its out-values as a successful one
  /// would (the count and records of SonixCam_EnumCameras, the bytes of a read, the flash
  /// type), as the real library may; only its answer is false.
  bool still_answers = false;
  /// With still_answers: the count a failing SonixCam_EnumCameras reports, in place of the
  /// cameras it sees (it fills no more records than it sees).
  std::optional<std::int32_t> reported_count = std::nullopt;
};

/// A simulated camera rig: stands in for the camera vendor library and for the capture
/// backends' device listings, so applications and tests run the whole SDK without
/// hardware. Cameras behave like the real ones: NOR flash (erase sets 0xFF, programming
/// only clears bits, writes fail while write-protected), vid/pid descriptors in either
/// byte order, a capability extension unit and an IMU sample stream.
///
/// Constructing a rig installs it as the vendor backend of the process; destroying it
/// restores what was in force before it (an older rig still alive, else the platform
/// backend). The newest living rig is the active one. All members are thread-safe.
class UVC_STEREO_API SimulatedRig {
 public:
  SimulatedRig();
  ~SimulatedRig();

  /// A rig whose cameras live in `directory` (made, without cameras, when it does not
  /// exist yet): each camera's identity, plugged state and flash contents are files
  /// there, so what one program writes the next one reads, and programs given the same
  /// directory share the cameras while they run, with the same interlock as real
  /// cameras (its locks are in the directory's "locks" folder). Flash contents are
  /// shared as they change; identity and plugged state as each program finds them when
  /// it opens the directory. Write protection, faults, hooks, worn cells and the call log
  /// are each program's own; a program killed at any moment leaves the flash as a power
  /// cut would and every other file whole. PlatformError when the directory or a file in
  /// it cannot be made or read, InvalidArgument when a camera file is malformed.
  [[nodiscard]] static Result<std::unique_ptr<SimulatedRig>> keep_in_directory(const std::string& directory);
  /// The directory the cameras are kept in; empty for a rig in memory.
  [[nodiscard]] std::string directory() const;
  SimulatedRig(const SimulatedRig&) = delete;
  SimulatedRig& operator=(const SimulatedRig&) = delete;

  /// Plugs a camera in; returns its rig index (0, 1, ...). Its flash starts erased (0xFF).
  /// In a rig kept in a directory the camera's files are made there (set a directory's
  /// cameras up from one program at a time).
  int add_camera(const SimulatedCamera& camera);
  /// How many cameras were added, plugged or not.
  [[nodiscard]] std::size_t camera_count() const;
  /// Unplugged cameras vanish from enumeration and every call on them fails with
  /// "ecDeviceDisconnect"; plugging back restores them (write protection comes back on).
  void unplug(int camera);
  /// Plugs an unplugged camera back in.
  void plug(int camera);

  /// The library itself cannot start (as on a machine without the camera driver).
  void set_library_present(bool present);
  /// When true (the default) SonixCam_Init fails with "ecNotFindDevice" while no camera is plugged.
  void set_init_fails_without_cameras(bool fails);

  /// Flash contents and state.
  [[nodiscard]] std::vector<std::uint8_t> flash(int camera, std::uint32_t address, std::uint32_t length) const;
  /// Sets flash bytes directly, as a factory programmer would (no erase needed, no rule applies).
  void set_flash(int camera, std::uint32_t address, const std::vector<std::uint8_t>& bytes);
  /// Whether the camera's flash is write-protected now.
  [[nodiscard]] bool write_protected(int camera) const;
  /// The next flash write programs only its first `bytes` bytes, then fails ("ecWriteFlashFail").
  void cut_power_during_write(int camera, std::uint32_t bytes);
  /// The next sector erase sets only its first `bytes` bytes to 0xFF, then fails ("ecSectorEraseFail").
  void cut_power_during_erase(int camera, std::uint32_t bytes);
  /// A worn cell: the bits of `mask` at `address` read 0 whatever is erased or written.
  void set_stuck_zero_bits(int camera, std::uint32_t address, std::uint8_t mask);

  /// The camera's capability answer and firmware text can change while plugged.
  void set_capability_report(int camera, const std::array<std::uint8_t, 64>& report);
  /// The capability report as a record, encoded as a camera sends it.
  void set_capability_report(int camera, const CapabilityReport& report);
  /// The firmware version text the camera reports from now on.
  void set_firmware_version(int camera, const std::string& version);
  /// Whether this account may open the camera's video nodes from now on (as after joining
  /// the node's group, or another program letting go of it).
  void set_node_access(int camera, SimulatedNodeAccess access);
  /// The next IMU reads answer with these status bytes (0xF1 init failure, 0xF2 read failure), in order.
  void queue_imu_status(int camera, std::uint8_t status_byte);
  /// The counter the next IMU sample will carry (for a timed IMU: the newest sample's, now).
  [[nodiscard]] std::uint32_t next_imu_counter(int camera) const;
  /// From now on the camera's IMU samples in time with `timing`, its counter starting afresh
  /// at its first_counter, as if the camera had just been plugged in.
  void set_imu_timing(int camera, const SimulatedImuTiming& timing);
  /// A timed IMU restarts now: its counter goes back to 0 and its samples start afresh.
  void restart_imu(int camera);
  /// Each distinct sample the camera's timed IMU answered reads with since the last call,
  /// in the order answered (a sample answered to several reads in a row appears once);
  /// handing them over forgets them, so hours of IMU need not be held at once.
  [[nodiscard]] std::vector<SimulatedImuSampleTruth> take_imu_truth(int camera);

  /// Virtual time: from this call on, the host clock the SDK reads (IMU timestamps, the
  /// IMU stream's pacing) is the rig's own, starting at `start_ns`. Only reads (by their
  /// transfer times), waits and pauses (which pass at once) and advance_time move it, so
  /// hours of IMU stream in seconds, deterministically. Timed IMUs already plugged start
  /// sampling afresh at `start_ns`. Without it the rig lives in real time: reads take
  /// their transfer times for real.
  void use_virtual_time(std::uint64_t start_ns = 1000000000);
  /// Whether the rig lives in virtual time.
  [[nodiscard]] bool virtual_time() const;
  /// The host clock the rig lives by: the virtual one, else the platform's monotonic clock.
  [[nodiscard]] std::uint64_t now_ns() const;
  /// Moves virtual time forward (nothing in real time).
  void advance_time(std::uint64_t ns);

  /// Capture-backend listings that scans match against (Msmf and Dshow only).
  void set_capture_devices(OpenCvBackend backend, const std::vector<SimulatedCaptureDevice>& devices);
  /// The listing of `backend` fails (the scan then reports no index for it).
  void set_capture_listing_fails(OpenCvBackend backend, bool fails);

  /// Fault injection.
  void add_fault(const VendorFault& fault);
  /// Removes every fault not yet used up.
  void clear_faults();

  /// Something to happen at the very moment a vendor call begins, such as a camera
  /// unplugged or a signal delivered just as its flash is erased: `hook` runs on the
  /// calling thread each time `call` ("*": every call) begins, before the call does its
  /// work or meets a fault; it is given the call as recorded so far (name, arguments,
  /// camera). The rig's own members may be used from the hook; vendor calls (through the
  /// SDK) and creating or destroying a rig may not, as the call in progress still holds
  /// the vendor backend. A hook that throws is a broken rule, listed in violations(). A
  /// vendor call made from a hook (directly or through the SDK) is refused rather than
  /// left to wait for ever: it fails with "ecLibInitFail" (which SonixCam_GetErrorCode
  /// then reports on that thread, leaving the code of the call in progress alone), so an
  /// SDK operation started there fails with "SonixCam_Init failed:
  /// vendor_code=ecLibInitFail(2)"; each such call is listed in violations() as
  /// "<call> called from a hook on <call in progress>: a hook may use the rig, not the SDK
  /// or the vendor library".
  void on_call(const std::string& call, std::function<void(const VendorCall&)> hook);
  /// Removes every hook, and returns only once no hook of this rig is running on any
  /// thread: whatever the hooks use may be destroyed as soon as it returns. Hooks that a
  /// call had matched but not yet run when the clear began do not run. Called from a hook,
  /// it waits for the hooks running on other threads (not for its own run, nor for
  /// another hook that is clearing too), and the hooks after it in its run do not run.
  void clear_call_hooks();

  /// What the rig saw.
  [[nodiscard]] std::vector<VendorCall> calls() const;
  /// The names of the calls seen, in order.
  [[nodiscard]] std::vector<std::string> call_names() const;
  /// Forgets the calls seen so far.
  void clear_calls();
  /// Broken rules: calls outside a session or without the vendor lock, UnInit without
  /// Init, erases or writes outside a camera's user space. Empty when all was well.
  [[nodiscard]] std::vector<std::string> violations() const;
  /// Sessions opened by SonixCam_Init and not yet closed.
  [[nodiscard]] int open_sessions() const;

  struct State;

 private:
  explicit SimulatedRig(std::unique_ptr<State> state);
  /// Makes this rig the active one, with its cameras' lock place.
  void install();

  std::unique_ptr<State> state_;
};

}  // namespace tovanel::uvc_stereo::sim

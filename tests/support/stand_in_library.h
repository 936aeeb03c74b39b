#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bridge/platform.h"

// Stand-ins for the vendor library that answer at once from memory, so that what is measured around them is the
// SDK's own work: the lock, the session, the decoding, the matching. They speak the bridge's terms only, so the
// code that measures never sees a type of the vendor's interface. One stand-in of each kind at a time.
namespace tovanel::uvc_stereo::detail::bridge {

// A camera as the instant library lists it.
struct StandInCamera {
  std::uint16_t vendor_id = 0;
  std::uint16_t product_id = 0;
  std::string device_path;    ///< the record's path, ASCII
  std::string device_name;    ///< the record's name and the product string, ASCII
  std::string serial_number;  ///< the serial-number string
  std::string other_strings;  ///< every other string descriptor
};

// While it lives, the vendor library in force is one that knows `cameras` and answers every call at once: a
// session always starts, enumeration copies prepared records, descriptors are copied from memory (the ids in
// big-endian order) and every other operation fails.
class InstantCameras {
 public:
  explicit InstantCameras(const std::vector<StandInCamera>& cameras);
  ~InstantCameras();
  InstantCameras(const InstantCameras&) = delete;
  InstantCameras& operator=(const InstantCameras&) = delete;

  // The stand-in's own part of one enumeration, alone: its records copied into a list of the library's size.
  // Returns how many cameras it reported.
  [[nodiscard]] int enumerate_alone();

 private:
  const PlatformOverride in_force_;
};

// While it lives, extension-unit reads answer at once with `bytes` (cut to the length asked for); every other
// operation still goes to the backend that was in force when it was made. With `count_imu_samples`, the 20-bit IMU
// sample counter in bytes 14 to 16 advances by one after every read, as a camera read slower than its IMU would.
class InstantExtensionUnit {
 public:
  explicit InstantExtensionUnit(const std::vector<std::uint8_t>& bytes, bool count_imu_samples = false);
  ~InstantExtensionUnit();
  InstantExtensionUnit(const InstantExtensionUnit&) = delete;
  InstantExtensionUnit& operator=(const InstantExtensionUnit&) = delete;

  // One extension-unit read through the SDK's dispatch to the backend in force, on a record of no camera (the
  // stand-in does not look at it): the floor under every IMU read. The caller holds the vendor lock.
  [[nodiscard]] static bool read_through_dispatch(std::uint8_t* buffer, std::uint8_t length, std::uint8_t selector,
                                                  std::uint8_t unit_id);

 private:
  const PlatformOverride in_force_;
};

}  // namespace tovanel::uvc_stereo::detail::bridge

#include "sim/camera_file.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "core/format.h"

namespace tovanel::uvc_stereo::sim {
namespace {

constexpr char kFirstLine[] = "tovanel-uvc-stereo simulated camera 1";

// Line breaks and '%' are written as %XX, so every value stays on its line.
std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    if (c == '%' || c == '\n' || c == '\r') {
      out += detail::format_fixed<4>("%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    } else {
      out += c;
    }
  }
  return out;
}

std::optional<std::string> unescaped(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) {
      return std::nullopt;
    }
    const std::string hex = text.substr(i + 1, 2);
    char* end = nullptr;
    const long value = std::strtol(hex.c_str(), &end, 16);
    if (end != hex.c_str() + 2) {
      return std::nullopt;
    }
    out += static_cast<char>(value);
    i += 2;
  }
  return out;
}

std::string hex_bytes(const std::array<std::uint8_t, 64>& bytes) {
  std::string out;
  for (const std::uint8_t b : bytes) {
    out += detail::format_fixed<3>("%02x", static_cast<unsigned>(b));
  }
  return out;
}

class Fields {
 public:
  Fields(std::map<std::string, std::string> values, std::string path)
      : values_(std::move(values)), path_(std::move(path)) {}

  [[nodiscard]] const Status& failure() const noexcept { return failure_; }

  std::optional<std::string> optional_text(const std::string& name) {
    const auto found = values_.find(name);
    if (found == values_.end()) {
      return std::nullopt;
    }
    std::optional<std::string> text = unescaped(found->second);
    if (!text) {
      fail(name + " is not escaped text");
    }
    return text;
  }

  std::string text(const std::string& name) {
    std::optional<std::string> value = optional_text(name);
    if (!value && failure_.ok()) {
      fail(name + " is missing");
    }
    return value.value_or("");
  }

  template <typename Integer>
  Integer integer(const std::string& name) {
    const std::string value = text(name);
    if (!failure_.ok()) {
      return 0;
    }
    errno = 0;
    char* end = nullptr;
    const long long parsed = std::strtoll(value.c_str(), &end, 10);
    if (value.empty() || end != value.c_str() + value.size() || errno != 0 ||
        parsed < static_cast<long long>(std::numeric_limits<Integer>::min()) ||
        parsed > static_cast<long long>(std::numeric_limits<Integer>::max())) {
      fail(name + " is not a number in range: " + value);
      return 0;
    }
    return static_cast<Integer>(parsed);
  }

  double real(const std::string& name) {
    const std::string value = text(name);
    char* end = nullptr;
    const double parsed = std::strtod(value.c_str(), &end);
    if (failure_.ok() && (value.empty() || end != value.c_str() + value.size())) {
      fail(name + " is not a number: " + value);
    }
    return parsed;
  }

  std::array<std::uint8_t, 64> bytes(const std::string& name) {
    std::array<std::uint8_t, 64> out{};
    const std::string value = text(name);
    if (!failure_.ok()) {
      return out;
    }
    if (value.size() != out.size() * 2) {
      fail(name + " is not 64 bytes in hexadecimal");
      return out;
    }
    for (std::size_t i = 0; i < out.size(); ++i) {
      const std::string pair = value.substr(i * 2, 2);
      char* end = nullptr;
      const long b = std::strtol(pair.c_str(), &end, 16);
      if (end != pair.c_str() + 2) {
        fail(name + " is not 64 bytes in hexadecimal");
        return out;
      }
      out[i] = static_cast<std::uint8_t>(b);
    }
    return out;
  }

  void fail(const std::string& why) {
    if (failure_.ok()) {
      failure_ = Status(ErrorCode::InvalidArgument, path_ + ": " + why);
    }
  }

 private:
  std::map<std::string, std::string> values_;
  std::string path_;
  Status failure_;
};

// The node access by name, so that a person editing a camera file reads and writes words.
constexpr std::pair<SimulatedNodeAccess, const char*> kNodeAccessNames[] = {
    {SimulatedNodeAccess::Allowed, "allowed"},
    {SimulatedNodeAccess::PermissionDenied, "permission_denied"},
    {SimulatedNodeAccess::Busy, "busy"},
};

const char* node_access_name(SimulatedNodeAccess access) {
  for (const auto& [value, name] : kNodeAccessNames) {
    if (value == access) {
      return name;
    }
  }
  return "allowed";
}

// Files written before cameras had a node access name none: their nodes open.
SimulatedNodeAccess node_access_of(Fields& fields) {
  const std::optional<std::string> text = fields.optional_text("node_access");
  if (!text) {
    return SimulatedNodeAccess::Allowed;
  }
  for (const auto& [value, name] : kNodeAccessNames) {
    if (*text == name) {
      return value;
    }
  }
  fields.fail("node_access is none of allowed, permission_denied, busy: " + *text);
  return SimulatedNodeAccess::Allowed;
}

}  // namespace

std::string camera_file_text(const StoredCamera& stored) {
  const SimulatedCamera& c = stored.camera;
  std::ostringstream out;
  out.precision(17);
  out << kFirstLine << '\n';
  out << "plugged=" << (stored.plugged ? 1 : 0) << '\n';
  out << "vendor_id=" << c.vendor_id << '\n';
  out << "product_id=" << c.product_id << '\n';
  out << "descriptor_order=" << static_cast<int>(c.descriptor_order) << '\n';
  out << "device_path=" << escaped(c.device_path) << '\n';
  out << "device_name=" << escaped(c.device_name) << '\n';
  if (c.product_string) {
    out << "product_string=" << escaped(*c.product_string) << '\n';
  }
  if (c.descriptor_3) {
    out << "descriptor_3=" << escaped(*c.descriptor_3) << '\n';
  }
  if (c.serial_number) {
    out << "serial_number=" << escaped(*c.serial_number) << '\n';
  }
  out << "firmware_version=" << escaped(c.firmware_version) << '\n';
  out << "flash_type=" << c.flash_type << '\n';
  out << "flash_size=" << c.flash_size << '\n';
  out << "flash_sector_size=" << c.flash_sector_size << '\n';
  out << "user_space_address=" << c.user_space_address << '\n';
  out << "user_space_size=" << c.user_space_size << '\n';
  out << "capability_report=" << hex_bytes(c.capability_report) << '\n';
  out << "imu_unit=" << static_cast<int>(c.imu_unit) << '\n';
  out << "imu_selector=" << static_cast<int>(c.imu_selector) << '\n';
  out << "imu_length=" << static_cast<int>(c.imu_length) << '\n';
  out << "imu_motion=" << static_cast<int>(c.imu.motion) << '\n';
  out << "imu_first_counter=" << c.imu.first_counter << '\n';
  out << "imu_counter_step=" << c.imu.counter_step << '\n';
  out << "imu_temperature_c=" << c.imu.temperature_c << '\n';
  out << "imu_seed=" << c.imu.seed << '\n';
  out << "node_access=" << node_access_name(c.node_access) << '\n';
  return out.str();
}

Result<StoredCamera> parse_camera_file(const std::string& text, const std::string& path) {
  std::istringstream lines(text);
  std::string line;
  if (!std::getline(lines, line) || line != kFirstLine) {
    return Status(ErrorCode::InvalidArgument, path + ": not a simulated camera file");
  }
  std::map<std::string, std::string> values;
  while (std::getline(lines, line)) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
      std::string why = path;
      why += ": line without '=': ";
      why += line;
      return Status(ErrorCode::InvalidArgument, std::move(why));
    }
    values[line.substr(0, equals)] = line.substr(equals + 1);
  }
  Fields fields(std::move(values), path);
  StoredCamera stored;
  SimulatedCamera& c = stored.camera;
  stored.plugged = fields.integer<int>("plugged") != 0;
  c.vendor_id = fields.integer<std::uint16_t>("vendor_id");
  c.product_id = fields.integer<std::uint16_t>("product_id");
  const int order = fields.integer<int>("descriptor_order");
  if (order != 0 && order != 1) {
    fields.fail("descriptor_order is neither 0 nor 1");
  }
  c.descriptor_order = static_cast<DescriptorByteOrder>(order);
  c.device_path = fields.text("device_path");
  c.device_name = fields.text("device_name");
  c.product_string = fields.optional_text("product_string");
  c.descriptor_3 = fields.optional_text("descriptor_3");
  c.serial_number = fields.optional_text("serial_number");
  c.firmware_version = fields.text("firmware_version");
  c.flash_type = fields.integer<std::int32_t>("flash_type");
  c.flash_size = fields.integer<std::uint32_t>("flash_size");
  c.flash_sector_size = fields.integer<std::uint32_t>("flash_sector_size");
  c.user_space_address = fields.integer<std::uint32_t>("user_space_address");
  c.user_space_size = fields.integer<std::uint32_t>("user_space_size");
  c.capability_report = fields.bytes("capability_report");
  c.imu_unit = fields.integer<std::uint8_t>("imu_unit");
  c.imu_selector = fields.integer<std::uint8_t>("imu_selector");
  c.imu_length = fields.integer<std::uint8_t>("imu_length");
  const int motion = fields.integer<int>("imu_motion");
  if (motion != 0 && motion != 1) {
    fields.fail("imu_motion is neither 0 nor 1");
  }
  c.imu.motion = static_cast<ImuMotion>(motion);
  c.imu.first_counter = fields.integer<std::uint32_t>("imu_first_counter");
  c.imu.counter_step = fields.integer<std::uint32_t>("imu_counter_step");
  c.imu.temperature_c = fields.real("imu_temperature_c");
  c.imu.seed = fields.integer<std::uint32_t>("imu_seed");
  c.node_access = node_access_of(fields);
  if (!fields.failure().ok()) {
    return fields.failure();
  }
  return stored;
}

}  // namespace tovanel::uvc_stereo::sim

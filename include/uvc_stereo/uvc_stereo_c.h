/*
 * The C interface of the Tovanel UVC stereo camera SDK.
 *
 * Valid C99 (and later) and valid C++. It needs only the freestanding headers and is
 * exported, with undecorated names, from the same shared library as the C++ interface,
 * so that any compiler (MSVC, clang, GCC) and any language with a C foreign-function
 * interface can use the SDK. Everything here is a thin layer over the C++ interface:
 * the same operations, the same error codes and word for word the same messages.
 *
 * Conventions that hold for every function below:
 *
 * - Results. Every function that can fail returns a uvc_stereo_error_t: UVC_STEREO_OK (0)
 *   on success, else one of the UVC_STEREO_ERROR_* codes (the numbers of the C++
 *   ErrorCode). On failure the message of the failure is kept for the calling thread
 *   and read with uvc_stereo_last_error_message(). A successful call leaves the last
 *   failure as it was (as errno does); uvc_stereo_clear_last_error() forgets it.
 *   Out-values are written only on success unless a function says otherwise.
 *
 * - Bad arguments. A null handle, a null pointer where one is required, or a struct whose
 *   struct_size is smaller than the first released version of that struct is
 *   UVC_STEREO_ERROR_INVALID_ARGUMENT with a message naming the argument; never a crash.
 *   No C++ exception ever leaves a function of this interface: one caught at the
 *   boundary is UVC_STEREO_ERROR_INTERNAL_ERROR with its text.
 *
 * - Structs. Every struct begins with `uint32_t struct_size`. The caller sets it to
 *   sizeof the struct it has, before passing the struct in or out (structs that come out
 *   of the SDK by pointer, owned by a handle, have it set by the SDK). Later versions of
 *   the SDK only append fields, and read or write only the bytes struct_size covers, so
 *   a program built against this header keeps working with later libraries.
 *   Structs with defaults other than all-zero have a uvc_stereo_*_defaults() function;
 *   set struct_size, call it, then change what you need.
 *
 * - Strings are NUL-terminated. The texts the SDK makes itself (messages, names, versions,
 *   the texts of scanned devices, converted from the system's wide characters) are
 *   UTF-8. The JSON texts are bytes: the SDK checks their JSON structure, not their
 *   encoding, and accepts any byte from 0x80 to 0xFF inside a string, so the JSON
 *   configuration read from a camera is exactly the bytes the record holds (minified), not
 *   validated as UTF-8, and writing it back as read leaves every byte as it was. A
 *   `const char*` that comes out of the SDK is
 *   owned by the handle it came from and stays valid until that handle is freed (static
 *   strings, such as error names, stay valid forever). Texts of unbounded length (the
 *   JSON configuration, a minified JSON text) are copied into a caller's buffer: the
 *   function reports the size the text needs, terminating NUL included, in
 *   *required_size; when the buffer is too small (or null with size 0) it copies nothing
 *   and fails with UVC_STEREO_ERROR_INVALID_ARGUMENT, having still set *required_size.
 *
 * - Threads. Different handles may be used from different threads at once; every camera
 *   operation is serialised process-wide by the SDK. On one device handle, threads that
 *   race fail cleanly, never crash:
 *   - The functions that use the camera or change the device (read_json, write_json,
 *     open_imu, read_imu, read_imu_samples, close_imu) run one at a time per handle: one
 *     that begins while another is in progress on the same handle fails at once with
 *     InvalidArgument "<function>: another call on this device is using the camera".
 *   - The functions that only read what opening fixed (device_info, capability_info,
 *     flash_config, imu_transport, transport_flags, has_flash_transport,
 *     has_imu_transport, imu_conversion_options, convert_imu) may run beside any call.
 *   - uvc_stereo_device_close may be called while other threads are inside calls on the
 *     handle (a reader thread, closed from the main thread on Ctrl-C): calls that begin
 *     after the close has begun fail with InvalidArgument "<function>: device is closed",
 *     a read_imu_samples in progress stops before its next sample with that failure (its
 *     *samples_read tells how many it read), and close waits for every call in progress to
 *     return before it frees the handle. A call that begins after close has returned uses
 *     freed memory, as with free(): the caller must stop its threads from starting new
 *     calls on a handle it closes, and close each handle once.
 *   These checks are one atomic operation per call and allocate nothing.
 *   The rig handle is thread-safe.
 */
#ifndef UVC_STEREO_UVC_STEREO_C_H
#define UVC_STEREO_UVC_STEREO_C_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

/* The export macro: only declarations that carry it leave the shared library. */
#if defined(_WIN32) || defined(__CYGWIN__)
#if defined(TOVANEL_UVC_STEREO_STATIC)
#define UVC_STEREO_C_API
#elif defined(TOVANEL_UVC_STEREO_BUILDING)
#define UVC_STEREO_C_API __declspec(dllexport)
#else
#define UVC_STEREO_C_API __declspec(dllimport)
#endif
#define UVC_STEREO_CALL __cdecl
#elif defined(TOVANEL_UVC_STEREO_BUILDING)
#define UVC_STEREO_C_API __attribute__((visibility("default")))
#define UVC_STEREO_CALL
#else
/* A program using the library sees plain declarations, which binding generators (cffi,
   ctypesgen, bindgen) read as they stand; only building the library needs the attribute. */
#define UVC_STEREO_C_API
#define UVC_STEREO_CALL
#endif

/* The version of the SDK this header belongs to (UVC_STEREO_VERSION_MAJOR, _MINOR, _PATCH,
   _STRING); uvc_stereo_version() gives the library's. */
#include "uvc_stereo/version.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------ */
/* Errors                                                                               */
/* ------------------------------------------------------------------------------------ */

/** An outcome: UVC_STEREO_OK or one of the codes below (the C++ ErrorCode numbers). */
typedef int32_t uvc_stereo_error_t;

enum {
  UVC_STEREO_OK = 0,
  UVC_STEREO_ERROR_INVALID_ARGUMENT = 1,    /**< bad argument, or bad content that is not a framing problem */
  UVC_STEREO_ERROR_PLATFORM_ERROR = 2,      /**< an operating-system or vendor-library call failed */
  UVC_STEREO_ERROR_DEVICE_UNAVAILABLE = 3,  /**< no device to talk to, or it would not start */
  UVC_STEREO_ERROR_READ_FAILED = 4,         /**< a read from the device failed */
  UVC_STEREO_ERROR_WRITE_FAILED = 5,        /**< a write to the device failed or did not verify */
  UVC_STEREO_ERROR_ERASE_FAILED = 6,        /**< a flash sector erase failed */
  UVC_STEREO_ERROR_BAD_MAGIC = 7,           /**< a record or report does not start with its magic */
  UVC_STEREO_ERROR_UNSUPPORTED_VERSION = 8, /**< a report version this SDK does not understand */
  UVC_STEREO_ERROR_INVALID_HEADER = 9,      /**< a record header is malformed */
  UVC_STEREO_ERROR_INVALID_LENGTH = 10,     /**< a declared length does not fit */
  UVC_STEREO_ERROR_CHECKSUM_MISMATCH = 11,  /**< a CRC does not match */
  UVC_STEREO_ERROR_INVALID_JSON = 12,       /**< the JSON text is not one well-formed value */
  UVC_STEREO_ERROR_INTERNAL_ERROR = 13,     /**< an exception was caught at an operation boundary */
  UVC_STEREO_ERROR_NOT_SUPPORTED = 14       /**< the device lacks what was asked for */
};

/** The code's name as the C++ interface spells it ("Ok", "InvalidArgument", ...);
 * "Unknown" for any other number. Static; never null. */
UVC_STEREO_C_API const char* UVC_STEREO_CALL uvc_stereo_error_name(uvc_stereo_error_t code);

/** The code of the last failure on the calling thread; UVC_STEREO_OK when none (or cleared). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_last_error_code(void);

/** The message of the last failure on the calling thread, word for word the C++ Status
 * message; "" when none. Valid until the next failing call on this thread or
 * uvc_stereo_clear_last_error(). Never null. */
UVC_STEREO_C_API const char* UVC_STEREO_CALL uvc_stereo_last_error_message(void);

/** Forgets the last failure of the calling thread. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_clear_last_error(void);

/* ------------------------------------------------------------------------------------ */
/* Library                                                                              */
/* ------------------------------------------------------------------------------------ */

/** The library's version, "MAJOR.MINOR.PATCH". Static; never null. */
UVC_STEREO_C_API const char* UVC_STEREO_CALL uvc_stereo_version(void);

/** CRC-32 (IEEE 802.3, reflected 0xEDB88320) of `length` bytes at `data` into *crc; 0 for
 * length 0, when `data` may be null. Null `data` with a non-zero length, or null `crc`,
 * is InvalidArgument. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_crc32_ieee(const void* data, size_t length,
                                                                          uint32_t* crc);

/** Checks that the `json_length` bytes at `json` are exactly one well-formed JSON value and
 * copies it, every whitespace byte outside strings removed and NUL-terminated, into
 * `out` (`out_size` bytes). *required_size receives the minified length + 1. The result
 * is never longer than the input, so json_length + 1 bytes always suffice. Failures are
 * InvalidJson with the C++ messages ("json text is empty", "invalid JSON value at offset
 * N", "unexpected trailing characters at offset N"). `json` may be null only when
 * json_length is 0. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_minify_and_validate_json(const char* json,
                                                                                        size_t json_length, char* out,
                                                                                        size_t out_size,
                                                                                        size_t* required_size);

/** The USB identity of one supported camera model. */
typedef struct uvc_stereo_camera_model_t {
  uint16_t vendor_id;  /**< USB vendor id */
  uint16_t product_id; /**< USB product id */
} uvc_stereo_camera_model_t;

/** The camera models this SDK supports, in the order scans check them: exactly the cameras
 * that scans list and opening accepts. Copies them into models[0..capacity) and their
 * number into *count; when capacity is smaller than the number (models may then be null
 * with capacity 0) nothing is copied, *count is still set and the result is
 * InvalidArgument. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_supported_camera_models(uvc_stereo_camera_model_t* models, size_t capacity, size_t* count);

/* ------------------------------------------------------------------------------------ */
/* Capture backends                                                                     */
/* ------------------------------------------------------------------------------------ */

/** Capture backends, numbered as OpenCV's capture-API constants of the same names, so a
 * value can be passed straight to cv::VideoCapture. */
enum {
  UVC_STEREO_BACKEND_V4L2 = 200,
  UVC_STEREO_BACKEND_DSHOW = 700,
  UVC_STEREO_BACKEND_MSMF = 1400,
  UVC_STEREO_BACKEND_GSTREAMER = 1800
};

/** "CAP_V4L2", "CAP_DSHOW", "CAP_MSMF", "CAP_GSTREAMER"; "CAP_UNKNOWN" for anything else.
 * Static; never null. */
UVC_STEREO_C_API const char* UVC_STEREO_CALL uvc_stereo_opencv_backend_name(int32_t backend);

/* ------------------------------------------------------------------------------------ */
/* Records                                                                              */
/* ------------------------------------------------------------------------------------ */

/** One capture index: the backend that sees the camera and the index it gives it. */
typedef struct uvc_stereo_backend_index_t {
  int32_t backend; /**< UVC_STEREO_BACKEND_* */
  int32_t index;   /**< the capture index that backend gives the camera */
} uvc_stereo_backend_index_t;

/* The most capture indices a device info carries (one per backend). */
#define UVC_STEREO_MAX_BACKEND_INDICES 8

/** One camera as a scan found it. Out of the SDK, its strings are owned by the list or
 * device handle it came from. Into the SDK (uvc_stereo_open_device_info), a null string
 * reads as "". */
typedef struct uvc_stereo_device_info_t {
  uint32_t struct_size;         /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint16_t vendor_id;           /**< USB vendor id; 0 = unknown */
  uint16_t product_id;          /**< USB product id; 0 = unknown */
  bool aux_flag_a;              /**< carried unchanged into the device's flash configuration */
  bool aux_flag_b;              /**< carried unchanged into the device's flash configuration */
  const char* serial_number;    /**< string descriptor 4; a selector */
  const char* descriptor_text;  /**< string descriptor 3; informational */
  const char* friendly_name;    /**< display name */
  const char* extra_text;       /**< informational; a scan leaves it empty */
  const char* device_path;      /**< Windows device path; a selector */
  uint32_t backend_index_count; /**< how many of backend_indices are set */
  /** Capture index per backend that sees the camera, in increasing backend order. */
  uvc_stereo_backend_index_t backend_indices[UVC_STEREO_MAX_BACKEND_INDICES];
} uvc_stereo_device_info_t;

/** Narrows a scan. All zero (struct_size aside) passes every supported camera. */
typedef struct uvc_stereo_scan_filter_t {
  uint32_t struct_size;       /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  bool has_vendor_id;         /**< when false, vendor_id is not looked at */
  uint16_t vendor_id;         /**< only cameras with this vendor id, when has_vendor_id */
  bool has_product_id;        /**< when false, product_id is not looked at */
  uint16_t product_id;        /**< only cameras with this product id, when has_product_id */
  bool require_serial_number; /**< only cameras whose serial number can be read and is not empty */
} uvc_stereo_scan_filter_t;

/* Bits of uvc_stereo_open_options_t.required_capabilities and of a device's transport flags. */
#define UVC_STEREO_TRANSPORT_FLASH 0x01u
#define UVC_STEREO_TRANSPORT_IMU 0x02u
#define UVC_STEREO_TRANSPORT_FLASH_JSON 0x04u

/** How to open a camera. All zero (struct_size aside) is the default. */
typedef struct uvc_stereo_open_options_t {
  uint32_t struct_size; /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  /** What opening must prove: UVC_STEREO_TRANSPORT_FLASH and/or UVC_STEREO_TRANSPORT_FLASH_JSON;
   * UVC_STEREO_TRANSPORT_IMU is accepted and proven only when the IMU is opened.
   * Above 7 is refused. */
  uint32_t required_capabilities;
  /** How long the device's flash accesses and IMU opening wait, in milliseconds, while
   * another device or program holds the camera, before they fail with
   * UVC_STEREO_ERROR_DEVICE_UNAVAILABLE "camera is busy: ..."; 0 is the default, 5000. */
  uint32_t busy_wait_ms;
} uvc_stereo_open_options_t;

/* Capability bits with a meaning for this SDK. */
#define UVC_STEREO_CAPABILITY_FLASH_USER_SPACE 0x02u
#define UVC_STEREO_CAPABILITY_IMU 0x04u
#define UVC_STEREO_CAPABILITY_KNOWN_BITS 0x1Fu

/** The IMU block of a capability report: where to read a sample and how to scale it. */
typedef struct uvc_stereo_reported_imu_t {
  char model[9];                /**< printable ASCII, 0 to 8 characters, NUL-terminated */
  uint8_t xu_unit;              /**< unit id of the IMU extension unit */
  uint8_t xu_selector;          /**< control selector of the IMU extension unit */
  uint8_t xu_length;            /**< bytes per IMU read, at least 17 */
  uint8_t decimal_exponent;     /**< 1, 2 or 3 */
  double temperature_offset_c;  /**< degrees Celsius added after scaling */
  double temperature_lsb_per_c; /**< raw counts per degree Celsius */
  double accel_lsb_per_g;       /**< raw counts per g */
  double gyro_lsb_per_dps;      /**< raw counts per degree per second */
} uvc_stereo_reported_imu_t;

/** A validated 64-byte capability report, as a record. */
typedef struct uvc_stereo_capability_report_t {
  uint32_t struct_size;            /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint8_t major_version;           /**< report format major version (1) */
  uint8_t minor_version;           /**< report format minor version */
  uint64_t capability_bits;        /**< what the camera declares (UVC_STEREO_CAPABILITY_* bits) */
  bool has_flash_user_space;       /**< true exactly when bit 1 is set */
  uint32_t flash_user_space_start; /**< flash address of the user space, when has_flash_user_space */
  uint32_t flash_user_space_size;  /**< bytes in the user space, when has_flash_user_space */
  bool has_imu;                    /**< true exactly when bit 2 is set */
  uvc_stereo_reported_imu_t imu;   /**< the IMU block, when has_imu */
} uvc_stereo_capability_report_t;

/** Fills a report with the C++ defaults (version 1.0, no bits, no blocks, the default IMU
 * scales in `imu`). Set struct_size first. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_capability_report_defaults(uvc_stereo_capability_report_t* report);

/** Where a device's capabilities come from. */
enum {
  UVC_STEREO_CAPABILITY_SOURCE_NONE = 0,     /**< nothing determined */
  UVC_STEREO_CAPABILITY_SOURCE_REPORTED = 1, /**< the device gave a valid capability report */
  UVC_STEREO_CAPABILITY_SOURCE_FALLBACK = 2  /**< no valid report; fixed defaults are in force */
};

/** What a device knows of its camera's capability report. Pointers owned by the device. */
typedef struct uvc_stereo_capability_info_t {
  uint32_t struct_size; /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  int32_t source;       /**< UVC_STEREO_CAPABILITY_SOURCE_* */
  const uvc_stereo_capability_report_t* report; /**< the report when source is REPORTED, else null */
  const char* message;                          /**< why defaults are in force, with FALLBACK; else "" */
} uvc_stereo_capability_info_t;

/** Which camera a flash operation addresses, and where and how its configuration record
 * lies in the camera's serial flash. Strings owned by the device. */
typedef struct uvc_stereo_flash_config_t {
  uint32_t struct_size;        /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  const char* vidpid;          /**< "%04x%04x", vendor first; "" = any */
  bool auto_select;            /**< select the first device when no other selector is set */
  uint16_t vendor_id;          /**< narrows the enumeration; 0 = any */
  uint16_t product_id;         /**< narrows the enumeration; 0 = any */
  bool aux_flag_a;             /**< carried from the device info */
  bool aux_flag_b;             /**< carried from the device info */
  const char* serial_number;   /**< preferred serial number; "" = not set */
  const char* device_path;     /**< preferred device path; wins over serial_number */
  uint32_t user_space_address; /**< first byte of the user space and of the record */
  uint32_t erase_sector_size;  /**< erase granularity */
  uint32_t magic;              /**< record magic, read little-endian */
  uint32_t user_space_size;    /**< user-space size, also the largest record */
  uint16_t min_header_size;    /**< header size written; smallest accepted */
  uint16_t max_header_size;    /**< largest accepted header size */
  bool verify_crc;             /**< the payload CRC is checked when parsing */
  bool verify_after_write;     /**< the record is read back after writing */
  uint32_t busy_wait_ms;       /**< how long a flash access waits for a camera held elsewhere */
} uvc_stereo_flash_config_t;

/** Where IMU samples are read: extension unit, control selector, bytes per read. */
typedef struct uvc_stereo_imu_transport_t {
  uint32_t struct_size; /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint8_t xu_unit;      /**< unit id of the IMU extension unit */
  uint8_t xu_selector;  /**< control selector of the IMU control */
  uint8_t xu_length;    /**< bytes per read, at least 17 */
} uvc_stereo_imu_transport_t;

/** Scale factors from raw IMU counts to physical units. */
typedef struct uvc_stereo_imu_conversion_options_t {
  uint32_t struct_size;         /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  double temperature_offset_c;  /**< degrees Celsius added after scaling */
  double temperature_lsb_per_c; /**< must not be zero */
  double accel_lsb_per_g;       /**< zero turns the accelerometer output off */
  double gyro_lsb_per_dps;      /**< zero turns the gyroscope output off */
} uvc_stereo_imu_conversion_options_t;

/** Fills options with the defaults (25 degrees Celsius offset, 128 counts per degree
 * Celsius, 2048 counts per g, 16.4 counts per degree per second). Set struct_size first. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_imu_conversion_options_defaults(uvc_stereo_imu_conversion_options_t* options);

/** One raw IMU sample. */
typedef struct uvc_stereo_imu_sample_t {
  uint32_t struct_size;       /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint32_t sample_counter;    /**< the device's 20-bit counter */
  uint64_t host_timestamp_ns; /**< host time at the middle of the read */
  int16_t temperature_raw;    /**< die temperature in raw counts */
  int16_t accel_raw[3];       /**< x, y, z */
  int16_t gyro_raw[3];        /**< x, y, z */
} uvc_stereo_imu_sample_t;

/** One IMU sample in physical units. */
typedef struct uvc_stereo_imu_converted_t {
  uint32_t struct_size;       /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint64_t host_timestamp_ns; /**< the raw sample's host_timestamp_ns, unchanged */
  double temperature_c;       /**< die temperature in degrees Celsius */
  double accel_g[3];          /**< x, y, z in g */
  double gyro_dps[3];         /**< x, y, z in degrees per second */
} uvc_stereo_imu_converted_t;

/** Converts a raw sample with the given options. A zero accelerometer or gyroscope scale
 * yields zeros; a zero temperature scale fails as in C++. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_convert_imu(const uvc_stereo_imu_sample_t* raw, const uvc_stereo_imu_conversion_options_t* options,
                       uvc_stereo_imu_converted_t* converted);

/* ------------------------------------------------------------------------------------ */
/* Scanning                                                                             */
/* ------------------------------------------------------------------------------------ */

/** The cameras one scan found, in enumeration order. */
typedef struct uvc_stereo_device_list_t uvc_stereo_device_list_t;

/** Lists the supported cameras attached now. `filter` may be null (every supported
 * camera). On success *list is a new list, freed with uvc_stereo_device_list_free. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_scan_devices(const uvc_stereo_scan_filter_t* filter,
                                                                            uvc_stereo_device_list_t** list);

/** How many cameras the list holds. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_list_count(const uvc_stereo_device_list_t* list,
                                                                                 size_t* count);

/** The camera at `index` (InvalidArgument when index >= count). Strings owned by the list. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_list_get(const uvc_stereo_device_list_t* list,
                                                                               size_t index,
                                                                               uvc_stereo_device_info_t* info);

/** Frees a list and its strings; null is harmless. Devices opened from it stay open. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_device_list_free(uvc_stereo_device_list_t* list);

/* ------------------------------------------------------------------------------------ */
/* Cameras this account cannot open                                                      */
/* ------------------------------------------------------------------------------------ */

/** A video node of a supported camera that this account cannot open, and what fixes it
 * (Linux). Out of the SDK, its strings are owned by the list it came from. */
typedef struct uvc_stereo_camera_access_problem_t {
  uint32_t struct_size;    /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  int32_t system_error;    /**< the system's error number from opening the node (EACCES, ENOENT, EBUSY, ...) */
  const char* device_path; /**< the camera's device path, as a scan lists it */
  const char* node;        /**< the node that cannot be opened ("/dev/video0") */
  const char* reason;      /**< the system's text for system_error ("Permission denied") */
  const char* fix;         /**< what makes the node usable, as one line for a person */
} uvc_stereo_camera_access_problem_t;

/** The nodes one look found that this account cannot open, in node order. */
typedef struct uvc_stereo_camera_access_list_t uvc_stereo_camera_access_list_t;

/** Opens each video node of every supported camera the kernel lists (and closes it at
 * once) and lists those this account cannot open, with the system's reason and the fix.
 * Empty on Windows. While a simulated rig serves the cameras, on any platform, its plugged
 * cameras whose node_access is not UVC_STEREO_NODE_ACCESS_ALLOWED are listed instead, with
 * the reasons and fixes Linux gives. On success *list is a new list, freed with
 * uvc_stereo_camera_access_list_free. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_find_camera_access_problems(uvc_stereo_camera_access_list_t** list);

/** How many problems the list holds. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_camera_access_list_count(const uvc_stereo_camera_access_list_t* list, size_t* count);

/** The problem at `index` (InvalidArgument when index >= count). Strings owned by the list. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_camera_access_list_get(
    const uvc_stereo_camera_access_list_t* list, size_t index, uvc_stereo_camera_access_problem_t* problem);

/** Frees a list and its strings; null is harmless. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_camera_access_list_free(uvc_stereo_camera_access_list_t* list);

/* ------------------------------------------------------------------------------------ */
/* Devices                                                                              */
/* ------------------------------------------------------------------------------------ */

/** An opened camera. */
typedef struct uvc_stereo_device_t uvc_stereo_device_t;

/** Opens the camera at `index` of a scan's list: checks it, probes its capability report
 * and proves what `options` require (null = defaults). On success *device is a new handle,
 * closed with uvc_stereo_device_close. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_open_device(const uvc_stereo_device_list_t* list,
                                                                           size_t index,
                                                                           const uvc_stereo_open_options_t* options,
                                                                           uvc_stereo_device_t** device);

/** As uvc_stereo_open_device, from a device info the caller filled (for example only a
 * serial number or device path as selector, with vendor and product id). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_open_device_info(
    const uvc_stereo_device_info_t* info, const uvc_stereo_open_options_t* options, uvc_stereo_device_t** device);

/** Closes the device (and its IMU reader, which ends its camera session) and frees the
 * handle and its strings; null is harmless. Calls in progress on other threads are waited
 * for (see Threads above); calls that begin meanwhile fail with "device is closed". From a
 * rig hook run by a call on this same device, which could never be waited for, it closes
 * nothing and leaves InvalidArgument "uvc_stereo_device_close: called from inside a call
 * on this device (a rig hook); the device stays open" as the thread's last failure. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_device_close(uvc_stereo_device_t* device);

/** The scanned record the device was opened from. Strings owned by the device. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_info(const uvc_stereo_device_t* device,
                                                                           uvc_stereo_device_info_t* info);

/** What the capability probe found. Pointers owned by the device. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_device_capability_info(const uvc_stereo_device_t* device, uvc_stereo_capability_info_t* info);

/** The flash configuration derived for this camera. Strings owned by the device. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_flash_config(const uvc_stereo_device_t* device,
                                                                                   uvc_stereo_flash_config_t* config);

/** Where IMU samples are read. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_device_imu_transport(const uvc_stereo_device_t* device, uvc_stereo_imu_transport_t* transport);

/** Transports proven or opened: UVC_STEREO_TRANSPORT_* bits. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_transport_flags(const uvc_stereo_device_t* device,
                                                                                      uint32_t* flags);
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_device_has_flash_transport(const uvc_stereo_device_t* device, bool* has);
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_device_has_imu_transport(const uvc_stereo_device_t* device, bool* has);

/** Reads the JSON configuration record, minified and validated, into `buffer`
 * (`buffer_size` bytes, NUL-terminated) and its format version into *format_version
 * (may be null). *required_size receives the text's length + 1, also when the buffer is
 * too small (then nothing is copied and the result is InvalidArgument; the record is read
 * again on the next call). The text never needs more than flash_config.user_space_size + 1
 * bytes. It is the record's bytes as stored, not checked to be UTF-8 (see Strings above):
 * passed back to uvc_stereo_device_write_json, it writes the same bytes again. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_read_json(uvc_stereo_device_t* device,
                                                                                char* buffer, size_t buffer_size,
                                                                                size_t* required_size,
                                                                                uint16_t* format_version);

/** Validates, minifies and writes the `json_length` bytes at `json` as the configuration
 * record (format version 0). Invalid JSON is InvalidJson with the offset, and touches
 * nothing. Bytes inside strings are stored as given, whatever their encoding. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_write_json(uvc_stereo_device_t* device,
                                                                                 const char* json, size_t json_length);

/** Opens the IMU reader (a no-op when one is open). Flash JSON access is refused until
 * uvc_stereo_device_close_imu. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_open_imu(uvc_stereo_device_t* device);

/** Reads one raw sample into *sample. Allocates nothing. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_read_imu(uvc_stereo_device_t* device,
                                                                               uvc_stereo_imu_sample_t* sample);

/** Reads up to `count` raw samples into samples[0..count), one after another; each
 * element's struct_size must be set. Stops at the first failure and returns it;
 * *samples_read receives how many were read, also on failure. Allocates nothing. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_read_imu_samples(uvc_stereo_device_t* device,
                                                                                       uvc_stereo_imu_sample_t* samples,
                                                                                       size_t count,
                                                                                       size_t* samples_read);

/** Closes the IMU reader, if any. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_close_imu(uvc_stereo_device_t* device);

/** The conversion factors in force for this camera (its report's, else the defaults). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_imu_conversion_options(
    const uvc_stereo_device_t* device, uvc_stereo_imu_conversion_options_t* options);

/** Converts a raw sample with this camera's conversion factors. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_device_convert_imu(
    const uvc_stereo_device_t* device, const uvc_stereo_imu_sample_t* raw, uvc_stereo_imu_converted_t* converted);

/** Converts raw[0..count) into converted[0..count) with this camera's conversion factors,
 * as uvc_stereo_device_convert_imu does one sample; each element's struct_size must be
 * set. Stops at the first failure and returns it; *samples_converted receives how many
 * were converted, also on failure. Allocates nothing. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_device_convert_imu_samples(const uvc_stereo_device_t* device, const uvc_stereo_imu_sample_t* raw,
                                      size_t count, uvc_stereo_imu_converted_t* converted, size_t* samples_converted);

/* ------------------------------------------------------------------------------------ */
/* The simulated camera rig                                                             */
/* ------------------------------------------------------------------------------------ */

/** A simulated camera rig: stands in for the camera vendor library and the capture
 * backends' listings, so that programs run the whole SDK without hardware. Cameras
 * behave like the real ones (NOR flash, vid/pid descriptors in either byte order, a
 * capability extension unit, an IMU sample stream). While a rig exists it is the camera
 * backend of the process; destroying it restores the platform's. One rig is in force at
 * a time (the newest). Every rig function is thread-safe. A camera index that the rig
 * does not have is InvalidArgument. */
typedef struct uvc_stereo_rig_t uvc_stereo_rig_t;

/** How a camera answers the vid/pid descriptor request. */
enum {
  UVC_STEREO_DESCRIPTOR_BIG_ENDIAN = 0,   /**< vid-high, vid-low, pid-high, pid-low */
  UVC_STEREO_DESCRIPTOR_LITTLE_ENDIAN = 1 /**< each pair swapped */
};

/** What a simulated IMU is doing. */
enum {
  UVC_STEREO_IMU_AT_REST = 0, /**< gravity on +z, small sensor noise, no rotation */
  UVC_STEREO_IMU_MOVING = 1   /**< slow swaying */
};

/** Whether this account may open a simulated camera's video nodes, as the Linux kernel
 * decides. A refused camera is still listed, but every call through its node fails
 * ("ecGetKsControlFail") and uvc_stereo_find_camera_access_problems names its nodes. */
enum {
  UVC_STEREO_NODE_ACCESS_ALLOWED = 0,           /**< the node opens */
  UVC_STEREO_NODE_ACCESS_PERMISSION_DENIED = 1, /**< a group this account is not in owns it (EACCES) */
  UVC_STEREO_NODE_ACCESS_BUSY = 2               /**< another program holds it (EBUSY) */
};

/** One camera to add to a rig. Fill it with uvc_stereo_rig_camera_defaults first. The
 * strings are copied when the camera is added. For the optional strings (product_string,
 * descriptor_3, serial_number) null means the descriptor is absent (reading it fails);
 * for the others null reads as "". */
typedef struct uvc_stereo_rig_camera_t {
  uint32_t struct_size;         /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint16_t vendor_id;           /**< USB vendor id */
  uint16_t product_id;          /**< USB product id */
  int32_t descriptor_order;     /**< UVC_STEREO_DESCRIPTOR_* */
  const char* device_path;      /**< as the vendor library reports it */
  const char* device_name;      /**< the library's device name */
  const char* product_string;   /**< string descriptor 2; null = absent */
  const char* descriptor_3;     /**< string descriptor 3; null = absent */
  const char* serial_number;    /**< string descriptor 4; null = absent */
  const char* firmware_version; /**< e.g. "V1.0.0" */
  int32_t flash_type;           /**< 0 is the library's "unknown flash" */
  uint32_t flash_size;          /**< the whole chip */
  uint32_t flash_sector_size;   /**< erase granularity of the chip */
  uint32_t user_space_address;  /**< the region the SDK may erase and write */
  uint32_t user_space_size;     /**< bytes in the user space */
  /** The camera's capability report as a record (copied; encoded as a camera sends it),
   * or null: then the extension unit answers the 64 bytes of capability_report (all
   * zero for a camera without capability reporting, or any malformed report). */
  const uvc_stereo_capability_report_t* capability;
  uint8_t capability_report[64]; /**< what the capability extension unit answers when capability is null */
  uint8_t imu_unit;              /**< where the IMU answers */
  uint8_t imu_selector;          /**< control selector of the IMU control */
  uint8_t imu_length;            /**< bytes the IMU read needs, at least 17 */
  int32_t imu_motion;            /**< UVC_STEREO_IMU_* */
  uint32_t imu_first_counter;    /**< counter of the first sample (wraps at 2^20) */
  uint32_t imu_counter_step;     /**< counter increment per read; larger values model missed samples */
  double imu_temperature_c;      /**< die temperature */
  uint32_t imu_seed;             /**< noise seed, so runs are repeatable */
  /** UVC_STEREO_NODE_ACCESS_*; a struct_size that ends before it reads as ALLOWED. */
  int32_t node_access;
} uvc_stereo_rig_camera_t;

/** Fills a camera with the C++ defaults (a supported model, 1 MiB flash, user space
 * 0x51000 + 0x10000, firmware "V1.0.0", no descriptors, no capability report, IMU at rest).
 * Its strings are static. Set struct_size first. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_camera_defaults(uvc_stereo_rig_camera_t* camera);

/** Creates a rig with no camera and installs it as the camera backend of the process. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_create(uvc_stereo_rig_t** rig);

/** Uninstalls and frees the rig; null is harmless. Close devices opened on it first. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_rig_destroy(uvc_stereo_rig_t* rig);

/** Plugs a camera in; *index receives its rig index (0, 1, ...; may be null). Its flash
 * starts erased (0xFF). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_add_camera(uvc_stereo_rig_t* rig,
                                                                              const uvc_stereo_rig_camera_t* camera,
                                                                              int32_t* index);

/** How many cameras were added. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_camera_count(const uvc_stereo_rig_t* rig,
                                                                                size_t* count);

/** An unplugged camera vanishes from scans and every call on it fails ("ecDeviceDisconnect");
 * plugging it back restores it (write protection comes back on). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_unplug(uvc_stereo_rig_t* rig, int32_t camera);
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_plug(uvc_stereo_rig_t* rig, int32_t camera);

/** Whether the vendor library can start (false: as on a machine without the camera driver). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_library_present(uvc_stereo_rig_t* rig,
                                                                                       bool present);

/** When true (the default) starting a session fails ("ecNotFindDevice") while no camera is plugged. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_init_fails_without_cameras(uvc_stereo_rig_t* rig,
                                                                                                  bool fails);

/** Copies the camera's flash [address, address + length) into `buffer` (`buffer_size`
 * bytes, at least `length`); *copied (may be null) receives the bytes copied, fewer than
 * `length` where the range runs off the chip. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_flash(const uvc_stereo_rig_t* rig, int32_t camera,
                                                                         uint32_t address, uint32_t length,
                                                                         uint8_t* buffer, size_t buffer_size,
                                                                         size_t* copied);

/** Overwrites the camera's flash at `address` with `length` bytes, as a programmer would
 * (no erase rules, no write protection); bytes off the chip are dropped. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_flash(uvc_stereo_rig_t* rig, int32_t camera,
                                                                             uint32_t address, const uint8_t* bytes,
                                                                             size_t length);

/** Whether the camera's flash is write-protected now. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_write_protected(const uvc_stereo_rig_t* rig,
                                                                                   int32_t camera, bool* is_protected);

/** The next flash write programs only its first `bytes` bytes, then fails ("ecWriteFlashFail"). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_cut_power_during_write(uvc_stereo_rig_t* rig,
                                                                                          int32_t camera,
                                                                                          uint32_t bytes);

/** The next sector erase sets only its first `bytes` bytes to 0xFF, then fails ("ecSectorEraseFail"). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_cut_power_during_erase(uvc_stereo_rig_t* rig,
                                                                                          int32_t camera,
                                                                                          uint32_t bytes);

/** A worn cell: the bits of `mask` at `address` read 0 whatever is erased or written. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_stuck_zero_bits(uvc_stereo_rig_t* rig,
                                                                                       int32_t camera, uint32_t address,
                                                                                       uint8_t mask);

/** The camera's capability answer from now on: a record (encoded as a camera sends it)... */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capability_report(
    uvc_stereo_rig_t* rig, int32_t camera, const uvc_stereo_capability_report_t* report);

/** ...or any 64 raw bytes (all zero: no capability reporting). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capability_bytes(uvc_stereo_rig_t* rig,
                                                                                        int32_t camera,
                                                                                        const uint8_t report[64]);

/** The camera's firmware version text from now on. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_firmware_version(uvc_stereo_rig_t* rig,
                                                                                        int32_t camera,
                                                                                        const char* version);

/** Whether this account may open the camera's video nodes from now on:
 * UVC_STEREO_NODE_ACCESS_*; any other value is refused. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_node_access(uvc_stereo_rig_t* rig,
                                                                                   int32_t camera, int32_t access);

/** The next IMU reads answer with these status bytes (0xF1 init failure, 0xF2 read failure), in order. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_queue_imu_status(uvc_stereo_rig_t* rig,
                                                                                    int32_t camera,
                                                                                    uint8_t status_byte);

/** The counter the camera's next IMU sample will carry. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_next_imu_counter(const uvc_stereo_rig_t* rig,
                                                                                    int32_t camera, uint32_t* counter);

/** One device a capture backend lists. Strings copied. */
typedef struct uvc_stereo_rig_capture_device_t {
  uint32_t struct_size;      /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  const char* friendly_name; /**< null reads as "" */
  const char* device_path;   /**< null reads as "" */
} uvc_stereo_rig_capture_device_t;

/** The listing of a capture backend (UVC_STEREO_BACKEND_MSMF or _DSHOW) that scans match
 * cameras against: `count` devices at `devices` (may be null when count is 0). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capture_devices(
    uvc_stereo_rig_t* rig, int32_t backend, const uvc_stereo_rig_capture_device_t* devices, size_t count);

/** The listing of `backend` fails (a scan then reports no index for it). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_set_capture_listing_fails(uvc_stereo_rig_t* rig,
                                                                                             int32_t backend,
                                                                                             bool fails);

/** Makes a vendor call fail: `call` names it ("SonixCam_XuRead"; "*" counts every call);
 * uses are counted from now, the `nth` (1 = the next one) and the `times - 1` after it
 * fail (times 0: every use from then on); the library then reports `vendor_code`, and
 * with error_code_query_fails asking for the code fails too (though it is still given). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_add_fault(uvc_stereo_rig_t* rig, const char* call,
                                                                             uint32_t nth, uint32_t times,
                                                                             int32_t vendor_code,
                                                                             bool error_code_query_fails);

/** Removes every fault. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_faults(uvc_stereo_rig_t* rig);

/** One vendor call as the rig saw it. Pointers owned by the call log it came from. */
typedef struct uvc_stereo_rig_call_t {
  uint32_t struct_size;  /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  const char* name;      /**< "SonixCam_Init", "SonixCam_CstmReadFromSF", ... */
  const int64_t* args;   /**< the integer arguments, in order (addresses, lengths, constants) */
  size_t arg_count;      /**< how many of args are set */
  int32_t camera;        /**< the camera the device record named; -1 for none or unknown */
  bool succeeded;        /**< whether the call reported success */
  bool lock_held;        /**< the calling thread held the vendor lock */
  int32_t open_sessions; /**< sessions open when the call was made */
} uvc_stereo_rig_call_t;

/** A snapshot of the rig's call log. */
typedef struct uvc_stereo_rig_call_log_t uvc_stereo_rig_call_log_t;

/** Takes a snapshot of every vendor call seen so far; freed with uvc_stereo_rig_call_log_free. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_calls(const uvc_stereo_rig_t* rig,
                                                                         uvc_stereo_rig_call_log_t** log);
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_call_log_count(const uvc_stereo_rig_call_log_t* log,
                                                                                  size_t* count);
/** The call at `index` (InvalidArgument when index >= count). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_call_log_get(const uvc_stereo_rig_call_log_t* log,
                                                                                size_t index,
                                                                                uvc_stereo_rig_call_t* call);
/** Null is harmless. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_rig_call_log_free(uvc_stereo_rig_call_log_t* log);

/** Forgets the calls seen so far. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_calls(uvc_stereo_rig_t* rig);

/** Something to happen at the very moment a vendor call begins, such as a camera unplugged
 * or the power cut just as its flash is erased. The hook runs on the thread that makes
 * the call, each time the call begins, before it does its work or meets a fault. `call`
 * describes it as recorded so far (name, arguments, camera; succeeded is false, as it has
 * not run); it and every pointer in it are valid only while the hook runs. `context` is
 * what was given to uvc_stereo_rig_on_call. The hook may use the rig's functions (unplug
 * a camera, cut the power, set flash, add a fault or a hook, clear the hooks), but not the
 * SDK's scan and device functions, nor create or destroy a rig: the call in progress still
 * holds the camera backend. A camera operation started from a hook anyway is refused, not
 * left to wait for ever: on the device handle whose call runs the hook it fails with
 * "<function>: another call on this device is using the camera"; elsewhere its vendor
 * calls fail with ecLibInitFail (an open or a JSON access then fails with
 * "SonixCam_Init failed: vendor_code=ecLibInitFail(2)"), and each such vendor call is a
 * broken rule, listed in uvc_stereo_rig_violations as "<call name> called from a hook on
 * <call name>: a hook may use the rig, not the SDK or the vendor library". The hook
 * returns 0 when all went well; any other value is a broken rule, listed in
 * uvc_stereo_rig_violations as "a hook on <call name> threw", and the call goes on. */
typedef int32_t(UVC_STEREO_CALL* uvc_stereo_rig_call_hook_t)(const uvc_stereo_rig_call_t* call, void* context);

/** Runs `hook` with `context` (may be null) each time the vendor call named `call` begins
 * ("SonixCam_SectorEraseSF"; "*" every call); the hooks a call matches run in the order
 * they were added. The name is copied; whatever `context` points to must stay valid until
 * uvc_stereo_rig_clear_call_hooks has returned or the rig is destroyed. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_on_call(uvc_stereo_rig_t* rig, const char* call,
                                                                           uvc_stereo_rig_call_hook_t hook,
                                                                           void* context);

/** Removes every hook and returns only once no hook of this rig is running on any thread,
 * so the contexts of the hooks may be freed as soon as it returns. Hooks that a call had
 * matched but not yet run when the clear began do not run; calls that begin after it run
 * none. Called from a hook, it waits for the hooks running on other threads (not for its
 * own call's, nor for another hook that is clearing too), and the hooks after it in its
 * own call do not run. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_clear_call_hooks(uvc_stereo_rig_t* rig);

/** A list of texts. */
typedef struct uvc_stereo_string_list_t uvc_stereo_string_list_t;

/** Broken rules seen so far (calls outside a session or without the vendor lock, closing
 * without opening, erases or writes outside a camera's user space): a new list, empty
 * when all was well, freed with uvc_stereo_string_list_free. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_violations(const uvc_stereo_rig_t* rig,
                                                                              uvc_stereo_string_list_t** violations);
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_string_list_count(const uvc_stereo_string_list_t* list,
                                                                                 size_t* count);
/** The text at `index` (InvalidArgument when index >= count), owned by the list. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_string_list_get(const uvc_stereo_string_list_t* list,
                                                                               size_t index, const char** text);
/** Null is harmless. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_string_list_free(uvc_stereo_string_list_t* list);

/** Sessions opened and not yet closed. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_open_sessions(const uvc_stereo_rig_t* rig,
                                                                                 int32_t* sessions);

/* ------------------------------------------------------------------------------------ */
/* IMU streams                                                                          */
/* ------------------------------------------------------------------------------------ */

/** A stream of IMU samples over an open device, pulled by the caller (the library starts
 * no thread): every sample the camera took is delivered at most once, in the order taken,
 * the ones no read saw are counted, and each carries the time it was taken on the host's
 * monotonic clock (CLOCK_MONOTONIC on Linux, the performance counter on Windows: the
 * clocks V4L2 and Media Foundation stamp video frames with). Nothing is allocated per
 * sample. The device must outlive the stream and keep its IMU open. Use one stream from
 * one thread at a time. */
typedef struct uvc_stereo_imu_stream_t uvc_stereo_imu_stream_t;

/** How a stream reads. */
typedef struct uvc_stereo_imu_stream_options_t {
  uint32_t struct_size;        /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  double nominal_rate_hz;      /**< the IMU's rate by its own clock, for the clock error; 0: the usual rate nearest */
  double reads_per_sample;     /**< reads per sample period the stream paces itself to, at least 1 (default 3) */
  double max_reads_per_second; /**< the caller's limit on reads per second; 0 for none */
} uvc_stereo_imu_stream_options_t;

/** Fills `options` with the defaults (0, 3, 0). Set struct_size first. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_imu_stream_options_defaults(uvc_stereo_imu_stream_options_t* options);

/** One sample as a stream delivers it. */
typedef struct uvc_stereo_imu_stream_sample_t {
  uint32_t struct_size;              /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint32_t counter;                  /**< the raw 20-bit counter */
  uint64_t sample_index;             /**< continuous across wraps; grows by 1 + missed_before, restarts included */
  uint32_t segment;                  /**< restarts of the camera seen before this sample */
  bool restarted;                    /**< the first sample after a restart */
  uint64_t missed_before;            /**< samples taken just before this one that no read saw */
  uint64_t host_time_ns;             /**< when it was taken, host monotonic clock; strictly increasing */
  uint64_t host_time_uncertainty_ns; /**< the reads bound that time to host_time_ns plus or minus this (all ones: not
                                        yet, for the first sample) */
  uint64_t read_time_ns;             /**< the middle of the read that delivered it */
  uvc_stereo_imu_sample_t raw;       /**< as uvc_stereo_device_read_imu gives it (stamped read_time_ns) */
  uvc_stereo_imu_converted_t converted; /**< in physical units, stamped host_time_ns */
} uvc_stereo_imu_stream_sample_t;

/** What a stream has done so far. */
typedef struct uvc_stereo_imu_stream_statistics_t {
  uint32_t struct_size;            /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint64_t samples_delivered;      /**< samples handed to the caller */
  uint64_t duplicate_reads;        /**< reads that answered the sample already delivered */
  uint64_t samples_missed;         /**< sum of missed_before */
  uint64_t restarts;               /**< times the camera restarted (its counter went back) */
  uint64_t reads;                  /**< failed ones included */
  uint64_t failed_reads;           /**< reads that failed */
  double rate_hz;                  /**< by the host's clock; 0 until two samples were seen */
  double nominal_rate_hz;          /**< what the clock error is measured against */
  double clock_error_ppm;          /**< how much faster (positive) the camera's clock runs than the host's */
  uint64_t read_latency_min_ns;    /**< the fastest read, in nanoseconds */
  uint64_t read_latency_median_ns; /**< within about 3% */
  uint64_t read_latency_p99_ns;    /**< within about 3% */
  uint64_t read_latency_max_ns;    /**< the slowest read, in nanoseconds */
} uvc_stereo_imu_stream_statistics_t;

/** Opens a stream over `device`'s IMU, opening the IMU when it is not open. `options` may
 * be null for the defaults. The new stream is freed with uvc_stereo_imu_stream_free. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_imu_stream_open(
    uvc_stereo_device_t* device, const uvc_stereo_imu_stream_options_t* options, uvc_stereo_imu_stream_t** stream);

/** Reads up to `count` new samples into the caller's array, waiting at most `timeout_ns`
 * nanoseconds: returns once `count` were read, when the next paced read would begin after
 * the deadline (UVC_STEREO_OK with fewer samples), or when a read fails. samples[0]'s
 * struct_size must be set and is taken as the size of every element (the array's stride),
 * so a program built against a newer header still works. *samples_read is set in every
 * case: the samples before a failure are valid. After a failure the stream stays open and
 * the next read continues the same timeline. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_imu_stream_read(uvc_stereo_imu_stream_t* stream,
                                                                               uvc_stereo_imu_stream_sample_t* samples,
                                                                               size_t count, uint64_t timeout_ns,
                                                                               size_t* samples_read);

/** The stream's counts, rate, clock error and read latencies. Set struct_size first. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_imu_stream_statistics(const uvc_stereo_imu_stream_t* stream, uvc_stereo_imu_stream_statistics_t* statistics);

/** Null is harmless. Leaves the device's IMU open. */
UVC_STEREO_C_API void UVC_STEREO_CALL uvc_stereo_imu_stream_free(uvc_stereo_imu_stream_t* stream);

/** How a simulated IMU lives in time: it samples at its own rate on its own oscillator, a
 * read answers the newest sample taken before the request reached the camera, and each
 * read takes a transfer time with jitter and stalls drawn from `seed`. */
typedef struct uvc_stereo_rig_imu_timing_t {
  uint32_t struct_size;     /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  double rate_hz;           /**< samples per second on the camera's oscillator (default 200) */
  double clock_error_ppm;   /**< how much faster (positive) it runs than the host's clock */
  uint64_t latency_min_ns;  /**< shortest transfer of a read (default 0.2 ms) */
  uint64_t latency_max_ns;  /**< longest transfer outside stalls (default 2 ms) */
  double stall_probability; /**< share of reads that stall (default 0) */
  uint64_t stall_min_ns;    /**< default 5 ms */
  uint64_t stall_max_ns;    /**< default 20 ms */
  uint32_t seed;            /**< seed of the latency jitter and stalls, so runs are repeatable */
} uvc_stereo_rig_imu_timing_t;

/** Fills `timing` with the defaults. Set struct_size first. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_rig_imu_timing_defaults(uvc_stereo_rig_imu_timing_t* timing);

/** From now on the camera's IMU samples in time, its counter starting afresh at its first
 * counter, as if just plugged in. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL
uvc_stereo_rig_set_imu_timing(uvc_stereo_rig_t* rig, int32_t camera, const uvc_stereo_rig_imu_timing_t* timing);

/** The camera's timed IMU restarts now: its counter goes back to 0. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_restart_imu(uvc_stereo_rig_t* rig, int32_t camera);

/** Virtual time from now on: the host clock the SDK stamps and paces IMU reads by is the
 * rig's own, starting at `start_ns`; only reads (by their transfer), waits and pauses (at
 * once) and uvc_stereo_rig_advance_time move it, so hours of IMU stream in seconds. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_use_virtual_time(uvc_stereo_rig_t* rig,
                                                                                    uint64_t start_ns);
/** The host clock the rig lives by (virtual, else the platform's monotonic clock). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_now_ns(const uvc_stereo_rig_t* rig,
                                                                          uint64_t* now_ns);
/** Moves virtual time forward (nothing in real time). */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_advance_time(uvc_stereo_rig_t* rig, uint64_t ns);

/** The truth about one sample a timed IMU answered a read with. */
typedef struct uvc_stereo_rig_imu_truth_t {
  uint32_t struct_size;   /**< sizeof the struct: set by the caller (by the SDK in structs a handle owns) */
  uint32_t counter;       /**< the 20-bit counter it carried */
  uint32_t segment;       /**< restarts before it */
  uint64_t sample_number; /**< samples since the camera (re)started, before it */
  uint64_t taken_ns;      /**< when it was taken, on the host clock */
} uvc_stereo_rig_imu_truth_t;

/** Moves up to `capacity` of the oldest samples the camera's timed IMU answered reads with
 * (each distinct one once, in order) into `truth` (every element's struct_size set) and
 * sets *count; the rest wait for the next call. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_take_imu_truth(uvc_stereo_rig_t* rig, int32_t camera,
                                                                                  uvc_stereo_rig_imu_truth_t* truth,
                                                                                  size_t capacity, size_t* count);
/** Creates a rig whose cameras live in `directory` (UTF-8; made, without cameras, when it
 * does not exist yet) and installs it as uvc_stereo_rig_create does. Each camera's
 * identity, plugged state and flash contents are files there: what one program writes the
 * next one reads, and programs given the same directory share its cameras while they run,
 * with the same camera interlock as real cameras (its locks are in the directory's "locks"
 * folder). Flash contents are shared as they change, identity and plugged state as each
 * program finds them when it creates its rig; write protection, faults, hooks and the call
 * log are each program's own. A program killed at any moment leaves the flash as a power
 * cut would and every other file whole. PLATFORM_ERROR when the directory or a file in it
 * cannot be made or read, INVALID_ARGUMENT when a camera file there is malformed. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_create_in_directory(const char* directory,
                                                                                       uvc_stereo_rig_t** rig);

/** The directory the rig's cameras are kept in, "" for a rig in memory: copied with its NUL
 * when it fits `buffer_size`; *required_size (may be null) receives the size needed. */
UVC_STEREO_C_API uvc_stereo_error_t UVC_STEREO_CALL uvc_stereo_rig_directory(const uvc_stereo_rig_t* rig, char* buffer,
                                                                             size_t buffer_size, size_t* required_size);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* UVC_STEREO_UVC_STEREO_C_H */

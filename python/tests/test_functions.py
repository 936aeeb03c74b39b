"""The free functions: version, CRC-32, the JSON minifier, IMU conversion, the model table."""

import importlib.metadata
import re

import pytest

import tovanel_uvc_stereo as uvc


def test_the_package_and_the_library_have_one_version():
    assert re.fullmatch(r"\d+\.\d+\.\d+", uvc.library_version())
    assert uvc.__version__ == uvc.library_version()
    try:
        installed = importlib.metadata.version("tovanel_uvc_stereo")
    except importlib.metadata.PackageNotFoundError:
        return  # run from the source tree: there is no installed distribution to compare
    assert installed == uvc.library_version()


def test_crc32_ieee_of_the_check_string_and_of_nothing():
    assert uvc.crc32_ieee(b"123456789") == 0xCBF43926
    assert uvc.crc32_ieee(b"") == 0
    assert uvc.crc32_ieee(bytearray(b"123456789")) == 0xCBF43926
    assert uvc.crc32_ieee(memoryview(b"xx123456789")[2:]) == 0xCBF43926
    assert uvc.crc32_ieee(bytearray()) == 0


def test_crc32_ieee_agrees_with_zlib_on_a_large_buffer():
    import zlib

    data = bytes(range(256)) * 4099
    assert uvc.crc32_ieee(data) == zlib.crc32(data)
    assert uvc.crc32_ieee(bytearray(data)) == zlib.crc32(data)


def test_minify_keeps_strings_and_drops_whitespace():
    assert uvc.minify_and_validate_json(' { "a b" : [ 1 , 2.5e3 , "x y" ] ,\n "c" : null } ') == '{"a b":[1,2.5e3,"x y"],"c":null}'
    assert uvc.minify_and_validate_json(b"[ true ]") == "[true]"
    assert uvc.minify_and_validate_json('"h\u00e9 \\u00e9"') == '"h\u00e9 \\u00e9"'


def test_convert_imu_with_the_default_factors():
    raw = uvc.ReadImuResult(
        host_timestamp_ns=123, sample_counter=9, temperature_raw=0, accel_raw=(2048, -1024, 0), gyro_raw=(164, 0, -82)
    )
    converted = uvc.convert_imu(raw, uvc.ImuConversionOptions())
    assert converted == uvc.ConvertedImuResult(
        host_timestamp_ns=123, temperature_c=25.0, accel_g=(1.0, -0.5, 0.0), gyro_dps=(10.0, 0.0, -5.0)
    )


def test_a_zero_accelerometer_scale_gives_zeros_and_converts_the_rest():
    raw = uvc.ReadImuResult(temperature_raw=128, accel_raw=(100, 200, 300), gyro_raw=(164, 164, 164))
    converted = uvc.convert_imu(raw, uvc.ImuConversionOptions(accel_lsb_per_g=0.0))
    assert converted.accel_g == (0.0, 0.0, 0.0)
    assert converted.gyro_dps == pytest.approx((10.0, 10.0, 10.0))
    assert converted.temperature_c == 26.0


def test_values_that_do_not_fit_their_c_fields_are_refused_before_the_call():
    with pytest.raises(ValueError, match="does not fit the SDK's raw sample"):
        uvc.convert_imu(uvc.ReadImuResult(accel_raw=(40000, 0, 0)), uvc.ImuConversionOptions())
    with pytest.raises(ValueError, match="does not fit the SDK's raw sample"):
        uvc.convert_imu(uvc.ReadImuResult(gyro_raw=(1, 2)), uvc.ImuConversionOptions())
    with pytest.raises(ValueError, match="does not fit the SDK's raw sample"):
        uvc.convert_imu(uvc.ReadImuResult(sample_counter=-1), uvc.ImuConversionOptions())
    with pytest.raises(ValueError, match="does not fit the SDK's raw sample"):
        uvc.convert_imu(uvc.ReadImuResult(temperature_raw=1.5), uvc.ImuConversionOptions())
    with pytest.raises(TypeError):
        uvc.convert_imu("raw", uvc.ImuConversionOptions())


def test_the_supported_models_are_the_five_of_vendor_0c45():
    models = uvc.supported_camera_models()
    assert len(models) == 5
    assert {model.vendor_id for model in models} == {0x0C45}
    assert models[0] == uvc.CameraModelId(vendor_id=0x0C45, product_id=0x6366)


def test_backend_names():
    assert uvc.opencv_backend_name(uvc.OpenCvBackend.Dshow) == "CAP_DSHOW"
    assert uvc.opencv_backend_name(uvc.OpenCvBackend.Msmf) == "CAP_MSMF"
    assert uvc.opencv_backend_name(uvc.OpenCvBackend.V4l2) == "CAP_V4L2"
    assert uvc.opencv_backend_name(uvc.OpenCvBackend.Gstreamer) == "CAP_GSTREAMER"
    assert uvc.opencv_backend_name(1) == "CAP_UNKNOWN"


def test_the_records_have_the_sdk_defaults():
    config = uvc.FlashConfig()
    assert (config.user_space_address, config.user_space_size, config.erase_sector_size) == (0x51000, 0x10000, 4096)
    assert config.magic.to_bytes(4, "little") == b"TOVA"
    assert config.auto_select and config.verify_crc and config.verify_after_write
    assert uvc.ImuConversionOptions() == uvc.ImuConversionOptions(25.0, 128.0, 2048.0, 16.4)
    assert uvc.ImuTransportConfig() == uvc.ImuTransportConfig(4, 10, 17)
    assert uvc.DeviceCapabilityInfo().source is uvc.CapabilitySource.None_

"""Text leaves the SDK and goes back byte for byte, and arguments the SDK cannot take are
refused with the right Python exception before any of them reaches it."""

import pytest

import tovanel_uvc_stereo as uvc

from helpers import camera_path, supported_camera


def test_json_strings_holding_every_byte_above_0x7f_go_back_byte_for_byte(device, camera_rig):
    # Each byte value alone in a string of its own, "caf\xe9" among them, and one run of all of them.
    strings = [b'"caf' + bytes([byte]) + b'"' for byte in range(0x80, 0x100)]
    strings.append(b'"' + bytes(range(0x80, 0x100)) + b'"')
    stored = b"[" + b",".join(strings) + b"]"
    device.write_json(stored)
    text = device.read_json().json
    assert text.encode("utf-8", "surrogateescape") == stored

    # The read-modify-write of a user who changed nothing: the same bytes go back.
    camera_rig.clear_calls()
    device.write_json(text)
    assert "SonixCam_WriteToSF" in camera_rig.call_names()
    config = device.flash_config
    record = camera_rig.flash(0, config.user_space_address, config.min_header_size + len(stored))
    assert record[config.min_header_size :] == stored
    assert device.read_json().json == text


def test_a_latin_1_byte_reads_as_its_escape_not_a_replacement_character(device):
    device.write_json(b'{"name":"caf\xe9"}')
    text = device.read_json().json
    assert text == '{"name":"caf\udce9"}'
    assert "\ufffd" not in text


def test_valid_utf_8_still_reads_as_its_characters(device):
    device.write_json('{"name":"café 温度"}')
    assert device.read_json().json == '{"name":"café 温度"}'


def test_the_minifier_keeps_bytes_that_are_not_utf_8(rig):
    minified = uvc.minify_and_validate_json(b'{ "a" : "\xff\xc3" }')
    assert minified == '{"a":"\udcff\udcc3"}'
    assert uvc.minify_and_validate_json(minified) == minified


@pytest.mark.parametrize("not_text", [5, 1.5, None, ["[]"], {"a": 1}])
def test_write_json_refuses_what_is_not_text_with_a_type_error(device, camera_rig, not_text):
    camera_rig.clear_calls()
    with pytest.raises(TypeError, match=r"^write_json\(\) takes the JSON text as a str or bytes, not "):
        device.write_json(not_text)
    assert camera_rig.call_names() == []


def test_the_minifier_refuses_what_is_not_text_with_a_type_error():
    with pytest.raises(TypeError, match=r"^minify_and_validate_json\(\) takes the JSON text as a str or bytes, not int$"):
        uvc.minify_and_validate_json(5)


def test_write_json_takes_bytes_like_objects(device):
    device.write_json(bytearray(b"[1]"))
    assert device.read_json().json == "[1]"
    device.write_json(memoryview(b"[2]"))
    assert device.read_json().json == "[2]"


def test_a_lone_surrogate_without_a_byte_behind_it_is_a_clear_value_error(device, camera_rig):
    camera_rig.clear_calls()
    with pytest.raises(ValueError) as caught:
        device.write_json('{"a":"\ud800"}')
    assert str(caught.value) == "write_json() text holds the lone surrogate U+D800 at index 6, which has no UTF-8 form"
    assert not isinstance(caught.value, UnicodeError)
    assert camera_rig.call_names() == []


def test_a_lone_surrogate_in_a_selector_is_a_clear_value_error(camera_rig):
    info = uvc.DeviceInfo(vendor_id=0x0C45, product_id=0x6366, serial_number="SN-\udfff")
    with pytest.raises(ValueError, match=r"^serial_number holds the lone surrogate U\+DFFF at index 3, which has no UTF-8 form$"):
        uvc.open_device(info)


def test_a_nul_inside_a_selector_is_refused_instead_of_opening_another_camera(rig):
    rig.add_camera(**supported_camera(serial_number="SN-1", device_path=camera_path(instance="00000001")))
    rig.add_camera(**supported_camera(serial_number="SN-2", device_path=camera_path(instance="00000002")))
    rig.clear_calls()
    info = uvc.DeviceInfo(vendor_id=0x0C45, product_id=0x6366, serial_number="SN-1\x00-OTHER")
    with pytest.raises(ValueError) as caught:
        uvc.open_device(info)
    assert str(caught.value) == "serial_number holds a NUL character at index 4; the SDK's strings end at their first NUL"
    assert rig.call_names() == []


@pytest.mark.parametrize("field", ["serial_number", "device_path", "descriptor_text", "friendly_name", "extra_text"])
def test_every_selector_string_refuses_a_nul(camera_rig, field):
    info = uvc.DeviceInfo(vendor_id=0x0C45, product_id=0x6366, **{field: "x\x00y"})
    with pytest.raises(ValueError, match=rf"^{field} holds a NUL character at index 1;"):
        uvc.open_device(info)


def test_the_rig_refuses_a_nul_inside_a_camera_string(rig):
    with pytest.raises(ValueError, match=r"^serial_number holds a NUL character at index 4;"):
        rig.add_camera(**supported_camera(serial_number="SN-1\x00-OTHER"))
    assert rig.camera_count() == 0


def test_a_scanned_name_with_bytes_that_are_not_utf_8_reopens_its_camera(rig):
    rig.add_camera(**supported_camera(serial_number="SN-\udce9"))
    (info,) = uvc.scan_devices()
    assert info.serial_number == "SN-\udce9"
    selector = uvc.DeviceInfo(vendor_id=info.vendor_id, product_id=info.product_id, serial_number=info.serial_number)
    with uvc.open_device(selector) as device:
        assert device.info.serial_number == "SN-\udce9"

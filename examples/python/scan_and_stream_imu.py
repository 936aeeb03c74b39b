#!/usr/bin/env python3
"""Scans for cameras, prints each with its capture indices, reads the first camera's JSON
configuration and streams IMU samples: each with its index, the host time it was taken and its
values in physical units, then the stream's statistics.

    python3 scan_and_stream_imu.py [--simulate] [--count N]

With --simulate it runs against one simulated camera, so it works without a camera or the
vendor library.
"""

import argparse
import contextlib
import sys

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import sim

SIMULATED_PATH = (
    r"\\?\usb#vid_0c45&pid_6366&mi_00#7&1a2b3c4d&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\global"
)


def simulated_rig() -> sim.SimulatedRig:
    """A rig with one camera whose IMU sways, listed by Media Foundation as capture index 0."""
    rig = sim.SimulatedRig()
    model = uvc.supported_camera_models()[0]
    rig.add_camera(
        vendor_id=model.vendor_id,
        product_id=model.product_id,
        device_path=SIMULATED_PATH,
        device_name="Tovanel Stereo Camera",
        product_string="Tovanel Stereo Camera",
        serial_number="EXAMPLE-0001",
        imu=sim.SimulatedImu(motion=sim.ImuMotion.Moving),
    )
    # The IMU samples in time at 200 Hz, as a real one does.
    rig.set_imu_timing(0, sim.SimulatedImuTiming(rate_hz=200.0))
    rig.set_capture_devices(uvc.OpenCvBackend.Msmf, [("Tovanel Stereo Camera", SIMULATED_PATH)])
    return rig


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--simulate", action="store_true", help="use a simulated camera")
    parser.add_argument("--count", type=int, default=10, help="IMU samples to stream (default 10)")
    arguments = parser.parse_args()

    with contextlib.ExitStack() as stack:
        if arguments.simulate:
            # While the rig is open every SDK call talks to it instead of real hardware.
            stack.enter_context(simulated_rig())
        try:
            cameras = uvc.scan_devices()
        except uvc.UvcStereoError as error:
            print(f"scan failed: {error}", file=sys.stderr)
            return 1
        for info in cameras:
            indices = " ".join(f"{name}={index}" for name, index in info.backend_indices.items()) or "none"
            print(f"{info.vendor_id:04x}:{info.product_id:04x}  serial {info.serial_number or '-'}  "
                  f"{info.friendly_name}  capture indices: {indices}")
        if not cameras:
            print("no camera found (try --simulate)")
            return 0

        with uvc.open_device(cameras[0]) as device:
            if arguments.simulate:
                # A simulated camera starts with its flash erased: give it a configuration to read.
                device.write_json('{"baseline_mm": 60.0, "sensor": {"width": 1280, "height": 720}}')
            capability = device.capability_info
            print(f"capabilities: {capability.source.name} {capability.message}".rstrip())
            try:
                configuration = device.read_json()
                print(f"configuration (format {configuration.format_version}): {configuration.json}")
            except uvc.UvcStereoError as error:
                # A camera fresh from the factory has no record yet.
                print(f"no configuration: {error}")

            # While the IMU is open the configuration cannot be read or written; the stream opens it.
            with device.open_imu_stream() as stream:
                try:
                    samples = stream.read(arguments.count)
                except uvc.UvcStereoError as error:
                    # The samples read before the failure come with it.
                    samples = error.samples
                    print(f"IMU stream failed: {error}", file=sys.stderr)
                if isinstance(samples, list):  # numpy is not installed: ImuStreamSample records
                    rows = [(s.sample_index, s.missed_before, s.host_time_ns, s.converted.temperature_c,
                             s.converted.accel_g, s.converted.gyro_dps) for s in samples]
                else:  # a numpy structured array
                    rows = zip(samples["sample_index"], samples["missed_before"], samples["host_time_ns"],
                               samples["temperature_c"], samples["accel_g"], samples["gyro_dps"])
                for index, missed, host_time, temperature, accel, gyro in rows:
                    gap = f"  ({missed} missed before)" if missed else ""
                    print(f"#{index} at {host_time / 1e9:.6f} s  {temperature:6.2f} C  "
                          f"accel {accel[0]:+.3f} {accel[1]:+.3f} {accel[2]:+.3f} g  "
                          f"gyro {gyro[0]:+8.2f} {gyro[1]:+8.2f} {gyro[2]:+8.2f} deg/s{gap}")
                statistics = stream.statistics()
            device.close_imu()
            print(f"{statistics.samples_delivered} samples, {statistics.samples_missed} missed, "
                  f"{statistics.restarts} restarts, {statistics.rate_hz:.1f} Hz, "
                  f"clock error {statistics.clock_error_ppm:+.0f} ppm, "
                  f"read latency median {statistics.read_latency_median_ns / 1e3:.0f} us")
            if len(samples) < arguments.count:
                return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

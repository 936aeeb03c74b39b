#!/usr/bin/env python3
"""What Python's Device.read_imu_samples(1000) and ImuStream.read(1000) cost per sample against
the simulated rig, beside the same reads and conversions, and the same stream, through the C++
interface.

    python3 bench_read_imu.py [--quick] [--cpp-program PATH]

--cpp-program names the built cpp_read_imu program (cpp_read_imu.cpp beside this file), whose
figure is the floor: the SDK's own work and the rig's for one sample. The Python overhead per
sample is the difference, and the ratio to the floor is what compares across days (this
machine's speed drifts). Each figure is the best of many rounds of 1000 samples. The goal for
read_imu_samples(1000) and ImuStream.read(1000) is at most 0.1 us a sample over the C++ loop.
"""

import argparse
import subprocess
import sys
import time

import tovanel_uvc_stereo as uvc
from tovanel_uvc_stereo import _numpy, sim

SAMPLES = 1000
GOAL_OVERHEAD_US = 0.1
PATH = r"\\?\usb#vid_0c45&pid_6366&mi_00#7&1a2b3c4d&0&0000#{e5323777-f976-4f5b-9b55-b94699c46e44}\global"


def best_ns_per_sample(read, rounds: int) -> float:
    best = float("inf")
    for _ in range(rounds):
        start = time.perf_counter_ns()
        samples = read(SAMPLES)
        elapsed = time.perf_counter_ns() - start
        if len(samples) != SAMPLES:
            raise SystemExit(f"read {len(samples)} samples, not {SAMPLES}")
        best = min(best, elapsed / SAMPLES)
    return best


CPP_FIGURES = ("cpp_read_imu_ns_per_sample", "cpp_imu_stream_ns_per_sample")


def cpp_ns_per_sample(program: str, quick: bool) -> dict:
    """{figure name: ns per sample} as the C++ program prints them."""
    output = subprocess.run(
        [program] + (["--quick"] if quick else []), check=True, capture_output=True, text=True
    ).stdout
    figures = {}
    for line in output.splitlines():
        name, value = line.split()[:2]
        figures[name] = float(value)
    if set(figures) != set(CPP_FIGURES):
        raise SystemExit(f"unexpected output from {program}: {output!r}")
    return figures


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--quick", action="store_true", help="two rounds: proves the benchmark runs")
    parser.add_argument("--cpp-program", help="the built cpp_read_imu program, for the C++ figure")
    arguments = parser.parse_args()
    rounds = 2 if arguments.quick else 60

    # The C++ floor is taken before and after the Python figures, and the better kept, so that
    # both sides see the machine as it was while the script ran.
    floors = []
    if arguments.cpp_program:
        floors.append(cpp_ns_per_sample(arguments.cpp_program, arguments.quick))
    figures = {}
    stream_figures = {}
    with sim.SimulatedRig() as rig:
        model = uvc.supported_camera_models()[0]
        rig.add_camera(
            vendor_id=model.vendor_id,
            product_id=model.product_id,
            device_path=PATH,
            device_name="Tovanel Stereo Camera",
            serial_number="BENCH-0001",
            imu=sim.SimulatedImu(motion=sim.ImuMotion.Moving),
        )
        (info,) = uvc.scan_devices()
        with uvc.open_device(info) as device:
            device.open_imu()
            device.read_imu_samples(SAMPLES)  # buffers made, caches warm
            if _numpy.numpy_module() is not None:
                figures["Python read_imu_samples(1000), numpy array"] = best_ns_per_sample(
                    device.read_imu_samples, rounds
                )
            real_numpy_module = _numpy.numpy_module
            _numpy.numpy_module = lambda: None
            try:
                figures["Python read_imu_samples(1000), list (no numpy)"] = best_ns_per_sample(
                    device.read_imu_samples, rounds
                )
            finally:
                _numpy.numpy_module = real_numpy_module
            figures["Python read_imu() + convert_imu() per sample"] = best_ns_per_sample(
                lambda n: [device.convert_imu(device.read_imu()) for _ in range(n)], rounds
            )
            device.close_imu()

            # The stream, on an IMU sampling at 200 Hz in the rig's virtual time, as the C++ loop.
            rig.set_imu_timing(0, sim.SimulatedImuTiming())
            rig.use_virtual_time()
            with device.open_imu_stream() as stream:
                stream.read(SAMPLES)  # the timeline warmed up
                if _numpy.numpy_module() is not None:
                    stream_figures["Python ImuStream.read(1000), numpy array"] = best_ns_per_sample(stream.read, rounds)
                _numpy.numpy_module = lambda: None
                try:
                    stream_figures["Python ImuStream.read(1000), list (no numpy)"] = best_ns_per_sample(
                        stream.read, rounds
                    )
                finally:
                    _numpy.numpy_module = real_numpy_module

    if arguments.cpp_program:
        floors.append(cpp_ns_per_sample(arguments.cpp_program, arguments.quick))
    floor = min(f[CPP_FIGURES[0]] for f in floors) if floors else None
    stream_floor = min(f[CPP_FIGURES[1]] for f in floors) if floors else None

    print(f"{'per sample, against the simulated rig':52} {'ns':>8} {'over C++':>12} {'ratio':>7}")
    report("C++ Device::read_imu + convert_imu", floor, figures)
    report("C++ ImuStream::pull of 1000 (200 Hz, virtual time)", stream_floor, stream_figures)
    verdict("read_imu_samples(1000)", figures.get("Python read_imu_samples(1000), numpy array"), floor)
    verdict("ImuStream.read(1000)", stream_figures.get("Python ImuStream.read(1000), numpy array"), stream_floor)
    return 0


def report(floor_name: str, floor, figures: dict) -> None:
    if floor is not None:
        print(f"{floor_name:52} {floor:8.0f}")
    for name, value in figures.items():
        over = f"{(value - floor) / 1000:9.3f} us" if floor is not None else ""
        ratio = f"{value / floor:7.2f}" if floor is not None else ""
        print(f"{name:52} {value:8.0f} {over:>12} {ratio:>7}")


def verdict(name: str, batch, floor) -> None:
    if floor is not None and batch is not None:
        met = "met" if (batch - floor) / 1000 <= GOAL_OVERHEAD_US else "NOT met"
        print(f"goal: {name} at most {GOAL_OVERHEAD_US} us a sample over C++: {met}")


if __name__ == "__main__":
    sys.exit(main())

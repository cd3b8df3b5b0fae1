#!/usr/bin/env python3
"""Decodes a text log with a simple Python script: struct from the standard library, one list per channel.

Prints the duration in seconds. Decodes the six recorded frames; has no repair, tracks or differences.
"""
import struct
import sys
import time

FRAMES = {
    0x01: (16, ">BBiiH"),
    0x02: (65, ">HBHHHhIIhBBBBBBBBHHHhBBBBBBBHhBhhHHHH"),
    0x03: (48, ">hhHHBBiiiiihhhhhhH"),
    0x04: (77, ">hhhiii26HBB"),
    0x05: (33, ">BBiiihhhHhhbB"),
    0x41: (34, ">hhBBhhhhhhiiHH"),
}


def decode(path):
    plans = {code: (gate, struct.Struct(layout)) for code, (gate, layout) in FRAMES.items()}
    channels = {code: [[] for _ in plan.unpack(bytes(plan.size))] for code, (_, plan) in plans.items()}
    with open(path, encoding="ascii") as log:
        for line in log:
            frame = bytes.fromhex(line)
            if frame[:2] != b"\xaa\xec" or frame[3] not in plans:
                continue
            gate, plan = plans[frame[3]]
            if len(frame) <= gate:
                continue
            payload = frame[6:6 + plan.size].ljust(plan.size, b"\0")
            for channel, value in zip(channels[frame[3]], plan.unpack(payload)):
                channel.append(float(value))
    return channels


if __name__ == "__main__":
    start = time.perf_counter()
    decode(sys.argv[1])
    print(f"{time.perf_counter() - start:.3f}")

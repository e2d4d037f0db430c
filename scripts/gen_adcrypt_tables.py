#!/usr/bin/env python3
"""Writes ztcoreutil/adcrypttables.cpp: the checksum addends and the pad of the stored
password forms.

The tables were generated once with this script and committed. They must never change:
a stored password can only be read back with the pad it was written with, and a stored
checksum only matches with the same addends. The script stays so that anyone can see
where the numbers came from (splitmix64 from a fixed starting value), not to be run again.
"""
import sys

START = 0x5A7E_11F0_2026_0418
MASK64 = (1 << 64) - 1


def splitmix64(state):
    while True:
        state = (state + 0x9E3779B97F4A7C15) & MASK64
        z = state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK64
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK64
        yield z ^ (z >> 31)


def main(out_path):
    numbers = splitmix64(START)
    addends = [next(numbers) & 0xFFFFFFFF for _ in range(2048)]
    pad = [next(numbers) & 0xFF for _ in range(2560)]
    lines = [
        "// The checksum addends and the pad of the stored password forms. Generated once by",
        "// scripts/gen_adcrypt_tables.py (splitmix64 from a fixed starting value) and fixed for good:",
        "// changing one value makes every stored password and checksum unreadable.",
        '#include "ztcoreutil/adcryptinternal.h"',
        "",
        "const uint32_t AdRandomNumbers[AdRandomNumbers_Count] = {",
    ]
    for i in range(0, len(addends), 6):
        lines.append("    " + ", ".join("0x%08xu" % v for v in addends[i:i + 6]) + ",")
    lines.append("};")
    lines.append("")
    lines.append("// The pad and one terminating byte that no computation reads.")
    lines.append("const unsigned char AdCryptPad[AdPad_Count + 1] = {")
    for i in range(0, len(pad), 12):
        lines.append("    " + ", ".join("0x%02x" % v for v in pad[i:i + 12]) + ",")
    lines.append("    0x00,")
    lines.append("};")
    with open(out_path, "w") as f:
        f.write("\n".join(lines) + "\n")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "ztcoreutil/adcrypttables.cpp")

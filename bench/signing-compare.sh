#!/usr/bin/env bash
# Signed packages beside the same packages unsigned, in one run of ovx_manager_bench with
# the cases in random turns (2,000 content files of 1-16 KB of text): opening with the
# cheap signature checks, unpacking with every digest checked (trust policy Require), and
# "ovxext pack --sign" against "ovxext pack". Prints the median of each case and the ratios
# against their aims (open 1.3x, unpack 1.15x, pack 1.1x).
#
# Usage: bench/signing-compare.sh [REPETITIONS]   (builds with the linux-release preset)
# The packages live in /dev/shm where it exists, so that the disk's own noise, which on a
# virtual machine swings a 100 ms unpack by a fifth, does not hide what is measured.
set -euo pipefail
cd "$(dirname "$0")/.."
repetitions=${1:-15}
cmake --preset linux-release >/dev/null && cmake --build --preset linux-release --target ovx_manager_bench >/dev/null
[[ -d /dev/shm && -w /dev/shm ]] && export TMPDIR=/dev/shm
results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
# One case at a time, its two sides in random turns: the cases do not disturb each other's
# caches.
for case in OpenSigned UnpackSigned PackSigned; do
    build/linux-release/bin/ovx_manager_bench --benchmark_filter="BM_$case/[01]" --benchmark_min_time=0.5 \
        --benchmark_repetitions="$repetitions" --benchmark_enable_random_interleaving=true \
        --benchmark_format=json >"$results/$case.json"
done
python3 - "$results"/*.json <<'PY'
import json, statistics, sys
runs = {}
for b in (b for path in sys.argv[1:] for b in json.load(open(path))["benchmarks"]):
    if b.get("run_type") == "iteration":
        runs.setdefault(b["run_name"], []).append(b["real_time"] / 1e6 if b["time_unit"] == "ns" else b["real_time"])
median = {name: statistics.median(times) for name, times in runs.items()}
def name(case, arg):
    return next(n for n in median if n.startswith(f"BM_{case}/{arg}"))
print(f"{'case':<12}{'unsigned ms':>14}{'signed ms':>12}{'ratio':>8}{'aim':>6}")
failed = False
for case, aim in (("OpenSigned", 1.3), ("UnpackSigned", 1.15), ("PackSigned", 1.1)):
    plain, signed = median[name(case, 0)], median[name(case, 1)]
    ratio = signed / plain
    failed |= ratio > aim
    print(f"{case:<12}{plain:>14.1f}{signed:>12.1f}{ratio:>8.2f}{aim:>6.2f}")
sys.exit(1 if failed else 0)
PY

#!/usr/bin/env bash
# Runs one benchmark against the library of an earlier commit and of the work tree, side
# by side in one run: the same benchmark sources (this tree's bench/) are built against
# both, and the two programs run in turns, so that the machine's moods hit both alike.
# Prints the median real time of each benchmark for both, and their ratio.
#
# Usage: scripts/bench-compare.sh BASE_COMMIT PROGRAM FILTER [ROUNDS]
#   e.g. scripts/bench-compare.sh 03e906f ovx_manager_bench 'Startup/500' 15
set -euo pipefail
cd "$(dirname "$0")/.."

base=$1 program=$2 filter=$3 rounds=${4:-15}
# Resolved here: a name such as HEAD would mean the worktree's own commit there.
base=$(git rev-parse --verify "$base^{commit}")
work=build/bench-compare
tree=$work/base

scripts/install-deps.sh --linux-only
if [[ ! -d $tree ]]; then
  git worktree add --detach "$tree" "$base" >/dev/null
else
  # bench/ there is a copy of this tree's: set aside before the checkout.
  git -C "$tree" checkout -q --force --detach "$base" && git -C "$tree" clean -q -fd -- bench
fi
rm -rf "$tree/bench" && cp -r bench "$tree/bench"

build() {
  (cd "$1" && cmake --preset linux-release >/dev/null && cmake --build --preset linux-release --target "$program" >/dev/null)
}
build .
build "$tree"

rm -rf "$work/runs" && mkdir -p "$work/runs"
for ((round = 0; round < rounds; ++round)); do
  # Alternate which side runs first.
  sides=(base head)
  if ((round % 2)); then sides=(head base); fi
  for side in "${sides[@]}"; do
    bin=build/linux-release/bin/$program
    [[ $side == base ]] && bin=$tree/build/linux-release/bin/$program
    "$bin" --benchmark_filter="$filter" --benchmark_out="$work/runs/$side-$round.json" \
      --benchmark_out_format=json >/dev/null
  done
done

python3 - "$work/runs" <<'PY'
import json, statistics, sys, pathlib, collections
times = collections.defaultdict(lambda: collections.defaultdict(list))
for path in pathlib.Path(sys.argv[1]).glob("*.json"):
    side = path.name.split("-")[0]
    for run in json.loads(path.read_text())["benchmarks"]:
        times[run["name"]][side].append(run["real_time"])
        unit = run["time_unit"]
for name, sides in sorted(times.items()):
    base, head = statistics.median(sides["base"]), statistics.median(sides["head"])
    print(f"{name}: base {base:.3f} {unit}, head {head:.3f} {unit}, head/base {head / base:.3f} "
          f"({len(sides['head'])} rounds)")
PY

#!/usr/bin/env bash
# Packing and extracting a folder of 2,000 text files of 1-16 KB with ovxext, side by side
# with Info-ZIP's zip -r -q -6 and unzip -qq, in turns, in one run. Prints the median of
# each and the ratios (the aims: pack at most 1.2x zip with a package at most 1.05x zip's
# archive; unpack at most 0.8x unzip).
#
# Usage: bench/pack-vs-zip.sh [ROUNDS] [WORK_FOLDER]   (builds ovxext with linux-release)
# With BASE_OVXEXT set to another ovxext (an earlier build), that one runs in the same
# turns too, for a before and after in one run.
set -euo pipefail
cd "$(dirname "$0")/.."
rounds=${1:-7}
work=${2:-$(mktemp -d)}
cmake --preset linux-release >/dev/null && cmake --build --preset linux-release --target ovxext >/dev/null
ovxext=$PWD/build/linux-release/bin/ovxext
id='{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}'

python3 - "$work/src" <<'PY'
import os, random, sys
random.seed(7)
words = [''.join(random.choice('abcdefghijklmnopqrstuvwxyz') for _ in range(random.randint(3, 9))) for _ in range(3000)]
for i in range(2000):
    folder = os.path.join(sys.argv[1], f'd{i % 40}')
    os.makedirs(folder, exist_ok=True)
    size, text, n = random.randint(1024, 16384), [], 0
    while n < size:
        word = random.choice(words); text.append(word); n += len(word) + 1
    open(os.path.join(folder, f'f{i}.txt'), 'w').write(' '.join(text)[:size])
PY

cd "$work"
seconds() { local start end; start=$(date +%s%N); "$@" >/dev/null; end=$(date +%s%N); echo $(((end - start) / 1000)); }
: >times
for ((round = 0; round < rounds; ++round)); do
  rm -rf z.zip o.OrvexExtension u1 u2
  echo "zip $(seconds zip -r -q -6 z.zip src)" >>times
  echo "pack $(seconds "$ovxext" pack src -o o --id "$id" --type t --app Atlas --quiet)" >>times
  echo "unzip $(seconds unzip -qq z.zip -d u1)" >>times
  echo "unpack $(seconds "$ovxext" unpack o.OrvexExtension u2 --quiet)" >>times
  if [[ -n ${BASE_OVXEXT:-} ]]; then
    rm -rf b.OrvexExtension u3
    echo "base-pack $(seconds "$BASE_OVXEXT" pack src -o b --id "$id" --type t --app Atlas --quiet)" >>times
    echo "base-unpack $(seconds "$BASE_OVXEXT" unpack o.OrvexExtension u3 --quiet)" >>times
  fi
done
python3 - "$(stat -c %s z.zip)" "$(stat -c %s o.OrvexExtension)" <<'PY'
import statistics, sys
times = {}
for line in open('times'):
    name, micros = line.split(); times.setdefault(name, []).append(int(micros) / 1000)
m = {name: statistics.median(values) for name, values in times.items()}
print(f"pack:   ovxext {m['pack']:.0f} ms, zip -6 {m['zip']:.0f} ms, ratio {m['pack'] / m['zip']:.2f}; "
      f"package {int(sys.argv[2]) / int(sys.argv[1]):.3f}x zip's archive")
print(f"unpack: ovxext {m['unpack']:.0f} ms, unzip {m['unzip']:.0f} ms, ratio {m['unpack'] / m['unzip']:.2f}")
if 'base-pack' in m:
    for step, peer in (('pack', 'zip'), ('unpack', 'unzip')):
        print(f"base {step}: {m['base-' + step]:.0f} ms, ratio to {peer} {m['base-' + step] / m[peer]:.2f}; "
              f"this build / base {m[step] / m['base-' + step]:.2f}")
PY

#!/usr/bin/env bash
# Line coverage of the library and tools by the Linux tests (clang's source-based
# coverage), and, test by test, which tests reach no line that the others do not reach
# too: the place to look first when cutting or merging tests. Reaching the same lines is
# not checking the same thing (a boundary test runs the lines of its neighbour with other
# values), so read each listed test before cutting it, and run scripts/mutation-check.sh
# after.
#
# Usage: scripts/test-coverage.sh [OUT_FOLDER]   (default: build/coverage)
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
out=$(realpath -m "${1:-build/coverage}")
build=$out/build
mkdir -p "$out/raw"
flags="-fprofile-instr-generate -fcoverage-mapping"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DOVX_BUILD_TESTS=ON \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 -DCMAKE_CXX_FLAGS="$flags" \
  -DCMAKE_EXE_LINKER_FLAGS=-fprofile-instr-generate -DCMAKE_SHARED_LINKER_FLAGS=-fprofile-instr-generate > /dev/null
cmake --build "$build" > /dev/null
(cd "$build" && ctest --show-only=json-v1) > "$out/tests.json"

python3 - "$root" "$build" "$out" <<'PY'
import collections, glob, json, os, subprocess, sys
from concurrent.futures import ThreadPoolExecutor

root, build, out = sys.argv[1:]
objects = sorted(glob.glob(f'{build}/bin/ovx_*_tests')) + [f'{build}/bin/ovxext'] + \
    sorted(p for p in glob.glob(f'{build}/bin/libOvxComponent.so.*') if not os.path.islink(p))
def object_args():
    args = [objects[0]]
    for o in objects[1:]: args += ['-object', o]
    return args

def run(numbered):
    number, test = numbered
    raw = f'{out}/raw/{number}'
    os.makedirs(raw, exist_ok=True)
    for old in glob.glob(f'{raw}/*'): os.remove(old)
    props = {p['name']: p['value'] for p in test.get('properties', [])}
    env = dict(os.environ, LLVM_PROFILE_FILE=f'{raw}/%p-%m.profraw')
    env.update(kv.split('=', 1) for kv in props.get('ENVIRONMENT', []))
    subprocess.run(test['command'], cwd=props.get('WORKING_DIRECTORY'), env=env, capture_output=True, timeout=900)
    profile = f'{raw}.profdata'
    subprocess.run(['llvm-profdata-14', 'merge', '-sparse', '-o', profile] + glob.glob(f'{raw}/*.profraw'), check=True)
    lcov = subprocess.run(['llvm-cov-14', 'export', '-format=lcov', '-instr-profile', profile] + object_args(),
                          capture_output=True, text=True).stdout
    lines, source = set(), ''
    for line in lcov.splitlines():
        if line.startswith('SF:'):
            source = os.path.relpath(line[3:], root)
        elif line.startswith('DA:') and not source.startswith(('tests/', '..')):
            number_, count = line[3:].split(',')[:2]
            if int(count) > 0: lines.add(f'{source}:{number_}')
    return test['name'], profile, lines

tests = json.load(open(f'{out}/tests.json'))['tests']
with ThreadPoolExecutor(os.cpu_count()) as pool:
    results = list(pool.map(run, enumerate(tests)))

subprocess.run(['llvm-profdata-14', 'merge', '-sparse', '-o', f'{out}/all.profdata'] + [p for _, p, _ in results], check=True)
report = subprocess.run(['llvm-cov-14', 'report', '-instr-profile', f'{out}/all.profdata'] + object_args() +
                        [f'{root}/src', f'{root}/include', f'{root}/tools'], capture_output=True, text=True).stdout
open(f'{out}/report.txt', 'w').write(report)
print(report.splitlines()[-1])

# Greedy: a test whose every line some other kept test reaches too is listed, then set aside.
reach = collections.Counter()
for _, _, lines in results: reach.update(lines)
listed = []
for name, _, lines in sorted(results, key=lambda r: len(r[2])):
    if lines and all(reach[line] > 1 for line in lines):
        listed.append(name)
        reach.subtract(lines)
with open(f'{out}/no-unique-lines.txt', 'w') as f:
    f.write('\n'.join(listed) + '\n')
print(f'{len(listed)} of {len(results)} tests reach no line of their own: {out}/no-unique-lines.txt')
print(f'per-file coverage: {out}/report.txt')
PY

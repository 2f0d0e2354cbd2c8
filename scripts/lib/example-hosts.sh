# The example hosts as the SDK checks build and run them, shared by scripts/sdk-check.sh
# and scripts/deb-check.sh: each builds examples/host and examples/c-host against the
# library it checks, packs one extension with the ovxext it checks, and has every host
# load it. Sourced; the caller defines fail() and, for Windows programs, sets
#   example_run=(wine) example_exe=.exe
# with Wine's environment (cmake/wine-env.sh).

[[ -v example_run ]] || example_run=()
example_exe=${example_exe-}
readonly example_extension_id="{6F1C1D52-8A0B-4B5E-9C39-2D7A54E1B0A1}"

# A path as the programs see it: Windows programs under Wine get a Windows path.
example_path() { if [[ $example_exe == .exe ]]; then winepath -w "$1"; else echo "$1"; fi; }

# build_example NAME FOLDER [CMAKE_ARGUMENT...]: configures examples/NAME in FOLDER with
# the arguments given and builds it; on failure shows the log.
build_example() {
  local name=$1 folder=$2
  shift 2
  { cmake -S "examples/$name" -B "$folder" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" && cmake --build "$folder"; } \
    >"$folder.log" 2>&1 || { cat "$folder.log"; fail "examples/$name in $folder"; }
}

# pack_example_extension OVXEXT WORK: packs a one-file extension with OVXEXT into
# WORK/sources/tool.OrvexExtension.
pack_example_extension() {
  local ovxext=$1 work=$2
  mkdir -p "$work/extension" "$work/sources"
  echo "a tool" >"$work/extension/tool.txt"
  "${example_run[@]}" "$ovxext" pack "$(example_path "$work/extension")" \
    -o "$(example_path "$work/sources/tool.OrvexExtension")" --quiet \
    --id "$example_extension_id" --type application/x-vnd.example.tool --app Atlas ||
    fail "$ovxext did not pack the extension"
}

# expect_examples_load WORK HOST...: each host, over a fresh data folder below WORK, loads
# the extension in WORK/sources and unloads it.
expect_examples_load() {
  local work=$1 host data output
  shift
  for host in "$@"; do
    data=$(mktemp -d "$work/data.XXXXXX")
    output=$("${example_run[@]}" "$host" "$(example_path "$data")" "$(example_path "$work/sources")" 1 60 2>&1) ||
      { echo "$output"; fail "$(basename "$host") did not load the package"; }
    grep -q "^loaded $example_extension_id" <<<"$output" || { echo "$output"; fail "$(basename "$host") loaded something else"; }
    echo "   $(basename "$host"): loaded and unloaded"
  done
}

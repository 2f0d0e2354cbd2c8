#!/usr/bin/env bash
# Puts eighteen deliberate faults into the library, one at a time, and lists the tests that
# fail for each: a check that the tests still catch real faults after they were cut or
# merged. Runs in a temporary worktree of HEAD, so the work tree stays as it is. The faults
# of the Windows-only COM helpers are built with the windows preset and run under Wine
# (with the Windows libraries that scripts/build-windows-deps.sh built for this tree).
#
# Usage: scripts/mutation-check.sh [OUT]   (default: build/mutation-check.txt)
set -uo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-build/mutation-check.txt}")
main_tree=$PWD
tree=$(mktemp -d /tmp/ovx-mutation.XXXXXX)
git worktree add -q --detach "$tree" HEAD
trap 'git worktree remove --force "$tree"' EXIT
mkdir -p "$(dirname "$out")" && : > "$out"
cd "$tree" && cmake --preset linux > /dev/null && cmake --build --preset linux > /dev/null || exit 1

windows_built=0
build_windows() {  # once, before the first Windows fault
  ((windows_built)) && return 0
  mkdir -p build && ln -sfn "$main_tree/build/windows-deps" build/windows-deps &&
    cmake --preset windows > /dev/null && cmake --build --preset windows > /dev/null && windows_built=1
}

mutate() {  # description, file, sed expression [, preset: linux (default) or windows]
  local name=$1 file=$2 expr=$3 preset=${4:-linux}
  if [[ $preset == windows ]] && ! build_windows; then
    echo "$name: the windows preset does not build unchanged" >> "$out"
    return
  fi
  cp "$file" "$file.orig"
  sed -i "$expr" "$file"
  if cmp -s "$file" "$file.orig"; then
    echo "$name: the fault could not be put in" >> "$out"
  elif ! cmake --build --preset "$preset" > /dev/null 2>&1; then
    echo "$name: does not build" >> "$out"
  else
    local failed
    failed=$(ctest --preset "$preset" -j3 2>&1 | sed -nE '/tests FAILED:/,$ s/^\s+[0-9]+ - ([^ ]+) .*/\1/p' | tr '\n' ' ')
    echo "$name: ${failed:-NOT CAUGHT}" >> "$out"
  fi
  mv "$file.orig" "$file" && touch "$file"  # newer than the faulty build, so it is rebuilt
}

mutate "inverted version order in the unpack decision" src/extensions/manager/package_unpacker.cpp \
  's/if (order > 0) {/if (order < 0) {/'
mutate "skipped log line \"loaded!\"" src/extensions/loading/extension_loader.cpp '/m_log.Write(kLoaded, path);/d'
mutate "missed unload (the record keeps its state)" src/extensions/loading/extension_loader.cpp \
  '/found->second.state.reset();/d'
mutate "wrong folder for the unpacked files" src/extensions/manager/install_layout.cpp 's/u"unpacked")/u"unpack")/'
mutate "inverted maximum of requirement ranges" src/extensions/format/check_requirements.cpp \
  's/Compare(\*range.max, running) <= 0/Compare(*range.max, running) > 0/'
mutate "an error no longer marks its subject failed" src/extensions/log/extension_log.cpp \
  '/m_failedNames.insert(name);/d'
mutate "removal leaves the extension's folder" src/extensions/manager/source_rescan.cpp \
  's/if (auto deleted = SystemIO::Folder::DeleteTree(extensionFolder); !deleted) {/if (OvxUtils::Result<void> deleted; !deleted) {/'
mutate "entry names with .. accepted" src/container/entry_name.cpp 's/if (segment == "..") return/if (segment == "...") return/'
mutate "UnloadAll keeps its records" src/extensions/loading/extension_loader.cpp '/m_loadedExtensions.clear();/d'
mutate "FinishLoading does not end the loading phase" src/extensions/manager/loading_and_tracking.cpp \
  's/    initialLoadDone = true;/    initialLoadDone = false;/'
# The verification record's keys: each input left out must be caught.
mutate "the verification record answers for a rewritten installed copy" src/extensions/manager/verification_record.cpp \
  's/    if (read == m_read.end() || !(read->second.copy == identity)) return nullptr;/    if (read == m_read.end()) return nullptr;/'
mutate "a verification record of another library version is read" src/extensions/manager/verification_record.cpp \
  's/if (in.U32() != kLayout || in.Bytes() != libraryVersion) return std::nullopt;/if (in.U32() != kLayout || (in.Bytes(), false)) return std::nullopt;/'
mutate "files verified before count without asking today's trust policy" src/extensions/manager/verified_install.cpp \
  '/    if (!Trust::Vouches(\*recorded->filesVerifiedBy, m_trust)) return std::nullopt;/d'
mutate "the host's requirements are not asked again of a recorded copy" src/extensions/manager/package_unpacker.cpp \
  's/        info != nullptr \&\& !CheckRequirements(/        info != nullptr \&\& package.container->IsOpen() \&\& !CheckRequirements(/'
# The update channel: a package unchecked, and a rolled-back timestamp let through.
mutate "a downloaded package is not checked against its hashes" src/update/updater.cpp \
  '/        if (auto checked = check.Finish(target.length, what); !checked) return checked;/d'
mutate "the stored timestamp is not the floor of a new one" src/update/updater.cpp \
  '/    if (auto stored = ReadStored("timestamp")) (void)m_trusted->UpdateTimestamp(\*stored);/d'
mutate "the variant enumerator's Next skips elements" src/automation/enum_base.cpp \
  '0,/        ++m_position;/s//        m_position += 2;/' windows
mutate "the dispatch holder's name lookup answers the wrong DISPID" src/automation/type_info.cpp \
  's/            dispids\[0\] = hit->second;/            dispids[0] = hit->second + 1;/' windows
cat "$out"

#!/usr/bin/env bash
# Runs one Windows program under Wine in the prefix named by WINEPREFIX.
#
# The prefix is created once, and a persistent wineserver is kept so that each program
# starts in milliseconds (`wine-session.sh stop` ends it). When this script starts the
# server, it also starts Wine's background services itself, detached from every file
# descriptor it inherited: a service started by a test program would keep that program's
# output pipe (and this script's lock) open, and CTest would wait for them forever.
# A lock serialises all this, since CTest may start several programs at once.
set -eu
. "$(dirname "$0")/wine-env.sh"

# Runs a command with only /dev/null for standard streams and nothing else open.
detached() {
  (
    for fd in /proc/$BASHPID/fd/*; do
      fd=${fd##*/}
      if ((fd > 2)); then eval "exec $fd>&-"; fi
    done
    exec "$@" </dev/null >/dev/null 2>&1
  )
}

# Wine's server keeps an entry for every folder two or more levels below a watched tree
# after the watch ends, and a folder made later that has the same inode number is never
# watched below such a tree. ext4 hands a freed inode number out again at once, tmpfs
# never does; so the prefix's temporary folder, where the tests make and delete their
# trees, lives on /dev/shm when that is a tmpfs with room.
keep_temp_on_tmpfs() {
  [[ $(stat -f -c %T /dev/shm 2>/dev/null) == tmpfs ]] || return 0
  (($(df -Pk /dev/shm | awk 'NR == 2 { print $4 }') >= 1048576)) || return 0
  local temp
  for temp in "$WINEPREFIX"/drive_c/users/*/Temp; do
    if [[ -L $temp ]]; then
      mkdir -p "$(readlink "$temp")" # /dev/shm is emptied at each boot
    elif [[ -d $temp ]]; then
      rm -rf "$temp" && ln -s "$(mktemp -d /dev/shm/ovx-wine-temp.XXXXXX)" "$temp"
    fi
  done
}

# The first program on a new server starts Wine's services, which keep that program's
# standard error to the end of the server. So the persistent server is started first and
# wineboot, detached, is its first program (it also makes the prefix on first use): had
# wineboot started a server of its own, that one would end a few seconds later, and a
# test program could be the first on the next one and wait for the services until CTest
# gave up on it.
prepare() {
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    # Exit status 0: a new server was started; 2: one is running already.
    if detached wineserver -p; then
      detached wineboot --init || true
      keep_temp_on_tmpfs
    fi
  ) 9>"$WINEPREFIX.lock"
}

if [[ ${1:-} == --prepare-only ]]; then
  prepare
  exit 0
fi

prepare
# Now and then Wine fails to start a process (here about once in 1500 starts, three test
# programs at a time): the program ends at once with a failure code and no output, where
# CreateProcessW inside a program answers ERROR_INTERNAL_ERROR. Every test program writes
# a line first thing, so a failure without output is such a start, and it is tried again.
# A program that crashed often ends without a word of Wine's either: its exit code (the
# low byte of the Windows code) is named, since CTest says only "Failed".
output=$(mktemp)
trap 'rm -f "$output"' EXIT
for attempt in 1 2 3; do
  wine "$@" 2>&1 | tee "$output"
  status=${PIPESTATUS[0]}
  if ((status == 0)) || [[ -s $output ]]; then break; fi
  echo "wine-run: Wine could not start ${1##*/} (attempt $attempt, exit code $status)" >&2
done
if ((status > 1)); then
  echo "wine-run: ${1##*/} ended with exit code $status" >&2
fi
exit "$status"

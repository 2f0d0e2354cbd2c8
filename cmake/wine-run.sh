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
: "${WINEPREFIX:?WINEPREFIX must name the test prefix}"
export WINEPREFIX

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

prepare() {
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    if [[ ! -f $WINEPREFIX/system.reg ]]; then
      detached wineboot --init || true
    fi
    # Exit status 0: a new server was started; 2: one is running already.
    if detached wineserver -p; then
      detached wine cmd /c exit || true
    fi
  ) 9>"$WINEPREFIX.lock"
}

if [[ ${1:-} == --prepare-only ]]; then
  prepare
  exit 0
fi

prepare
exec wine "$@"

#!/usr/bin/env bash
# ovxext's manual page and bash completion against the tool's own help, with the stock
# man and bash: the page renders without a groff warning (lintian's check) and shows every
# command, every option of every command, every exit code and environment variable that
# the help names; the completion offers the same commands and options, the values of
# the options that take a fixed set, and packages where a package is expected.
#
# Usage: manual_and_completion.sh OVXEXT MANUAL_PAGE.1.gz COMPLETION_SCRIPT
set -euo pipefail
ovxext=$(realpath "$1") manual=$(realpath "$2") completion=$(realpath "$3")
failures=0
fail() { echo "FAILED: $*" >&2; failures=$((failures + 1)); }

warnings=$(LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l -Tutf8 -Z "$manual" 2>&1 >/dev/null) || fail "man cannot render $manual"
[[ -z $warnings ]] || fail "groff warns about the manual page: $warnings"
page=$(MANWIDTH=200 MANPAGER=cat man -l "$manual" 2>/dev/null | sed 's/‐//g')

mapfile -t commands < <("$ovxext" --help | sed -n '/^commands:/,/^$/s/^  \([a-z][a-z]*\).*/\1/p')
((${#commands[@]} >= 10)) || fail "the help lists only ${#commands[@]} commands"
options_of() { "$ovxext" "$1" --help | grep -oE '(^|[][ ,|])--?[a-z][a-z-]*' | grep -oE -- '--?[a-z][a-z-]*' | sort -u; }
section() { awk -v name="   $1" '$0 == name {on = 1; next} /^   [a-z]+$/ || /^[A-Z]/ {on = 0} on' <<<"$page"; }

# Completion, as bash calls it: COMP_WORDS and COMP_CWORD in, COMPREPLY out.
complete_line() {  # words... (the last is the one being completed)
  (
    cd "$files"
    PATH="$(dirname "$ovxext"):$PATH"
    # shellcheck disable=SC1090
    source "$completion"
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    _ovxext 2>/dev/null
    printf '%s\n' "${COMPREPLY[@]}" | sort
  )
}
files=$(mktemp -d)
trap 'rm -rf "$files"' EXIT
mkdir "$files/sub"
touch "$files/a.OrvexExtension" "$files/b.txt"

offered=$(complete_line ovxext "")
for command in "${commands[@]}"; do
  grep -qx "$command" <<<"$offered" || fail "completion does not offer the command $command"
  [[ $command == help || $command == version ]] && continue
  text=$(section "$command")
  [[ -n $text ]] || { fail "the manual page has no section for $command"; continue; }
  offered_options=$(complete_line ovxext "$command" -)
  while read -r option; do
    grep -qE -- "(^|[^a-z-])$option([^a-z-]|\$)" <<<"$text" || fail "the manual page does not name $option under $command"
    grep -qx -- "$option" <<<"$offered_options" || fail "completion does not offer $option for $command"
  done < <(options_of "$command")
done

general=$("$ovxext" --help)
while read -r code; do
  grep -qE "^       $code " <<<"$(awk '/^EXIT STATUS/ {on = 1; next} /^[A-Z]/ {on = 0} on' <<<"$page")" ||
    fail "the manual page lacks exit code $code"
done < <(sed -n '/^exit codes:/,/^$/s/^  \([0-9]\)  .*/\1/p' <<<"$general")
while read -r variable; do
  grep -q "^       $variable" <<<"$page" || fail "the manual page lacks the environment variable $variable"
done < <(sed -n '/^environment:/,/^$/s/^  \([A-Z_]*\) .*/\1/p' <<<"$general")

# Values and files.
expect() {  # description, expected (newline-separated), words...
  local what=$1 expected=$2
  shift 2
  local got
  got=$(complete_line "$@")
  [[ $got == "$expected" ]] || fail "$what: expected [${expected//$'\n'/ }], got [${got//$'\n'/ }]"
}
expect "a package argument" $'a.OrvexExtension\nsub' ovxext info ""
expect "a folder argument" "sub" ovxext pack ""
expect "--trust-mode" $'require\nwarn' ovxext host --trust-mode ""
expect "--app" $'Atlas\nBeacon\nCinder\nDelta' ovxext check a.OrvexExtension --app ""
expect "a command prefix" $'keygen' ovxext ke
expect "a value that is free text" "" ovxext pack sub --type ""

((failures == 0)) || { echo "$failures failure(s)" >&2; exit 1; }
echo "The manual page and the completion cover ${#commands[@]} commands and their options."

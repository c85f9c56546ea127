# Shared by the scripts; sourced, not run. Progress goes to standard output, the details of each step to a log.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
ROOT=$PWD
BUILD=$ROOT/build
LOGS=$BUILD/logs
mkdir -p "$LOGS"
# Libraries of this machine's that the linker would look through, and note in the symbols.
unset LIBRARY_PATH

say() { printf '%s\n' "$*"; }
fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

can_be_root() { [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null; }
as_root() { if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi; }

# step NAME COMMAND...: runs a step quietly; says how long it took, or which step failed and where its log is.
step() {
  local name=$1 log started
  shift
  log=$LOGS/$(printf '%s' "$name" | tr -cs 'A-Za-z0-9' '-').log
  started=$SECONDS
  printf '%-44s' "$name ..."
  if "$@" >"$log" 2>&1; then
    say " done ($((SECONDS - started)) s)"
  else
    local code=$?
    say " FAILED after $((SECONDS - started)) s"
    tail -n 40 "$log" >&2
    fail "step \"$name\" failed; the whole log is ${log#"$ROOT"/}"
  fi
}

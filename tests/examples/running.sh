# shellcheck shell=bash
# Sourced by the scripts here: makes a new folder $folder for the test, and runs Windows programs of
# the build in it.
set -euo pipefail
export LC_ALL=C.UTF-8

# shellcheck disable=SC2034
folder=$1
wine_run=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../cmake" && pwd)/wine-run

rm -rf "$folder"
mkdir -p "$folder"
cd "$folder"

fail() {
    printf '%s: %s\n' "$0" "$*" >&2
    exit 1
}

# windows_path PATH: how Wine's programs call an absolute path.
windows_path() { printf '%s' "Z:${1//\//\\}"; }

# run PROGRAM [ARGUMENTS]: leaves its exit code in $code and its outputs in the files out and err.
run() {
    local program=$1
    shift
    code=0
    "$wine_run" "$KQ_BIN/$program.exe" "$@" >out 2>err </dev/null || code=$?
}

# expect_code N: what the last run has to have ended with.
expect_code() { [ "$code" = "$1" ] || fail "exit code $code instead of $1: $(cat out err)"; }

# expect_line FILE LINE: FILE has to have exactly this line.
expect_line() { grep -qxF -- "$2" "$1" || fail "no line '$2' in '$1': $(cat "$1")"; }

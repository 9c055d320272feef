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

# on_terminal PROGRAM [ARGUMENTS]: starts a program on a terminal of its own, as process $pid. It
# writes to $from and reads from $to. Needs KQ_RUN_TIMEOUT=0: the program itself has to be what the
# terminal sends Ctrl-C to.
on_terminal() {
    local program=$1 command
    shift
    printf -v command '%q ' "$wine_run" "$KQ_BIN/$program.exe" "$@"
    # Without `exec` a shell in between would die of the Ctrl-C itself.
    coproc terminal { script --quiet --return --flush --command "exec $command" /dev/null; }
    # shellcheck disable=SC2154 # bash sets it
    pid=$terminal_PID
    trap 'kill "$pid" 2>/dev/null || true' EXIT
    exec {from}<&"${terminal[0]}" {to}>&"${terminal[1]}"
}

# read_until PATTERN: reads what the program writes to its terminal, up to the place where a line
# matches the extended regular expression, into $seen.
read_until() {
    local line='' character
    seen=
    while IFS= read -r -N 1 character <&"$from"; do
        seen+=$character
        line+=$character
        [[ $line =~ $1 ]] && return
        [ "$character" != $'\r' ] || line=
    done
    fail "no line matches '$1': $(cat -v <<<"$seen")"
}

# expect_rest: the program has to stop writing to its terminal, but for what moves the cursor.
expect_rest() {
    local seen='' character
    while IFS= read -r -t 1 -N 1 character <&"$from"; do
        seen+=$character
        [ ${#seen} -lt 200 ] || fail "it goes on: $(cat -v <<<"$seen")"
    done
}

# end_on_terminal CODE: leaves the rest of what the program writes in the file after, and expects
# that it ends with CODE.
end_on_terminal() {
    cat <&"$from" >after
    code=0
    wait "$pid" || code=$?
    [ "$code" = "$1" ] || fail "exit code $code instead of $1: $(cat -v after)"
}

#!/usr/bin/env bash
# On a terminal: one progress line, written over and over, and Ctrl-C from the keyboard.
export KQ_RUN_TIMEOUT=0 # the program itself has to be what the terminal sends Ctrl-C to
source "$(dirname "$0")/running.sh"

mkdir tree
truncate -s 1T tree/huge1 tree/huge2
printf 'same' | tee tree/a >tree/b
tree=$(windows_path "$folder/tree")

# Everything that it writes to the terminal, up to the line of the work that would take hours.
coproc terminal {
    # Without `exec` a shell in between would die of the Ctrl-C itself.
    script --quiet --return --flush --command "exec '$wine_run' '$KQ_BIN/find_duplicates.exe' '$tree'" /dev/null
}
# shellcheck disable=SC2154 # bash sets it
pid=$terminal_PID
trap 'kill "$pid" 2>/dev/null || true' EXIT
exec {from}<&"${terminal[0]}" {to}>&"${terminal[1]}"
before=
while IFS= read -r -d $'\r' line <&"$from"; do
    before+=$line$'\r'
    [[ $line =~ Comparing\ content:\ [0-9]+%,\ [0-9]+\ files,\ [0-9.]+\ .*/s,\ [0-9:]+\ left ]] && break
done
[ -n "${BASH_REMATCH[0]:-}" ] || fail "no progress line: $(cat -v <<<"$before")"
[[ $before != *$'\n'* ]] || fail "more than one line: $(cat -v <<<"$before")"

printf '\003' >&"$to"
cat <&"$from" >after
code=0
wait "$pid" || code=$?
[ "$code" = 3 ] || fail "exit code $code instead of 3: $(cat -v after)"
grep -q '4 B wasted: 2 copies of 4 B' after || fail "what was found is missing: $(cat -v after)"
grep -q 'Interrupted: 2 files not compared to the end' after || fail "no summary: $(cat -v after)"

#!/usr/bin/env bash
# On a terminal: one progress line, written over and over, and Ctrl-C from the keyboard.
export KQ_RUN_TIMEOUT=0
source "$(dirname "$0")/running.sh"

mkdir tree
truncate -s 1T tree/huge1 tree/huge2
printf 'same' | tee tree/a >tree/b
tree=$(windows_path "$folder/tree")

# Everything that it writes to the terminal, up to the line of the work that would take hours.
on_terminal find_duplicates "$tree"
read_until 'Comparing content: [0-9]+%, [0-9]+ files, [0-9.]+ .*/s, [0-9:]+ left'
[[ $seen != *$'\n'* ]] || fail "more than one line: $(cat -v <<<"$seen")"

printf '\003' >&"$to"
end_on_terminal 3
grep -q '4 B wasted: 2 copies of 4 B' after || fail "what was found is missing: $(cat -v after)"
grep -q 'Interrupted: 2 files not compared to the end' after || fail "no summary: $(cat -v after)"

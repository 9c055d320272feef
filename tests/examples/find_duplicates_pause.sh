#!/usr/bin/env bash
# Keys suspend the search, and resume it: letters from a pipe, and keys of a terminal.
source "$(dirname "$0")/running.sh"

mkdir tree
printf 'same' | tee tree/a >tree/b
tree=$(windows_path "$folder/tree")

# From a pipe, where P waits already when the program begins.
run pause_and_resume 'Paused; R goes on' "$(windows_path "$KQ_BIN/find_duplicates.exe")" --pause "$tree"
expect_code 0
[ "$(sed -n '/^Paused/,$p' err)" = 'Paused; R goes on
Looking for files
Comparing first bytes: 2 files, 8 B
Comparing content: 0 files, 0 B' ] || fail "other steps than expected: $(cat err)"
expect_line out "4 B wasted: 2 copies of 4 B"

# Without the option keys mean nothing, and are left to whoever reads the same input next.
printf 'p rest' >keys
"$wine_run" "$KQ_BIN/find_duplicates.exe" --tsv "$tree" <keys >out 2>err || fail "code $?: $(cat err)"
! grep -q Paused err || fail "paused without --pause: $(cat err)"

# On a terminal, in the middle of work that would take hours. Its line would be written ten times a
# second.
export KQ_RUN_TIMEOUT=0
truncate -s 1T tree/huge1 tree/huge2
on_terminal find_duplicates --pause "$tree"
read_until 'Comparing content: [0-9]+%, [0-9]+ files, [0-9.]+ .*/s, [0-9:]+ left'
printf 'p' >&"$to"
read_until 'Paused; R goes on'
expect_rest
printf 'r' >&"$to"
read_until 'Comparing content: [0-9]+%'
printf 'p' >&"$to"
read_until 'Paused; R goes on'
printf '\003' >&"$to"
end_on_terminal 3
grep -q '4 B wasted: 2 copies of 4 B' after || fail "what was found is missing: $(cat -v after)"
grep -q 'Interrupted: 2 files not compared to the end' after || fail "no summary: $(cat -v after)"

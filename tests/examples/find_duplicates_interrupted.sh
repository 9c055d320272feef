#!/usr/bin/env bash
# Ctrl-C in the middle of work that would take days: many huge files that take no room on the disk.
# Small duplicates have been found by then, and are printed.
source "$(dirname "$0")/running.sh"

mkdir tree
printf same >tree/a
printf same >tree/b
# More than may be read at once, so that most of their jobs are still in the queue.
truncate -s 1T tree/huge{1..1000}
tree=$(windows_path "$folder/tree")

run press_ctrl_c 'Comparing content: 1,000 files' "$(windows_path "$KQ_BIN/find_duplicates.exe")" "$tree"
expect_code 3
expect_line out "4 B wasted: 2 copies of 4 B"
expect_line out "    $tree\\a"
expect_line out "    $tree\\b"
expect_line out "1 group of duplicates: 4 B wasted by 1 copy"
expect_line out "Interrupted: 1,000 files not compared to the end"

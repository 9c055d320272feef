#!/usr/bin/env bash
# --help, and a bad argument: one clear line, and nothing else.
source "$(dirname "$0")/running.sh"

# refused MESSAGE ARGUMENTS...
refused() {
    local message=$1
    shift
    run find_duplicates "$@"
    expect_code 2
    [ ! -s out ] || fail "output in spite of bad arguments ($*): $(cat out)"
    [ "$(cat err)" = "find_duplicates: $message" ] || fail "'$*' is answered with: $(cat err)"
}

run find_duplicates --help
expect_code 0
[ ! -s err ] || fail "--help writes to the error output: $(cat err)"
for word in FOLDER --min-size --tsv --quiet --pause --report --compare --help 'Exit codes:'; do
    grep -qF -- "$word" out || fail "--help does not mention $word"
done
[ "$(awk 'length > 90' out)" = '' ] || fail "--help has long lines"

mkdir tree
printf same >tree/a
printf same >tree/b
: >tree/empty
tree=$(windows_path "$folder/tree")

refused "no folder given; --help says more"
refused "unknown option '--frobnicate'" --frobnicate "$tree"
refused "more than one folder: 'b'" "$tree" b
refused "the folder's name is empty" ''
refused "--min-size needs a number of bytes" "$tree" --min-size
for option in --report --compare; do
    refused "$option needs the name of a file" "$tree" "$option"
    refused "$option needs the name of a file" "$tree" "$option" ''
done
for size in '' x -1 1.5 10X 10KB 18446744073709551616 17179869184G; do
    refused "not a size: '$size'" "$tree" --min-size "$size"
done
refused "cannot read folder (File not found): $tree\\none" "$tree\\none"
refused "cannot read folder (Directory name invalid): $tree\\a" "$tree\\a"

# What is accepted, and what it does.
row() { printf '%s\t%s\t%s\t%s\n' "$@"; }
both=$(row 1 1 4 "$tree\\a" && row 1 2 4 "$tree\\b")
for arguments in "--min-size 0" "--min-size 4" "--min-size 4 --quiet --"; do
    # shellcheck disable=SC2086
    run find_duplicates --tsv $arguments "$tree"
    expect_code 0
    [ "$(cat out)" = "$both" ] || fail "with $arguments: $(cat out)"
done
run find_duplicates --tsv --quiet "$tree" --min-size 1k
expect_code 0
[ "$(cat out err)" = '' ] || fail "files smaller than --min-size are listed: $(cat out err)"

run find_duplicates --min-size 5 "$tree"
expect_line out "No duplicates found"
run find_duplicates "$tree\\"
expect_line out "4 B wasted: 2 copies of 4 B"
expect_line out "    $tree\\a"

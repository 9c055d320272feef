#!/usr/bin/env bash
# --report and --compare: what is written, and what is told about it later.
source "$(dirname "$0")/running.sh"

# changes ARGUMENTS...: leaves what a run with these prints after its summary in the file changed.
changes() {
    run find_duplicates "$@" "$tree"
    sed '1,/^Read .* s$/d' out >changed
}

expect_changes() {
    printf '%s\n' "$@" >expected
    diff expected changed >difference || fail "other changes: $(cat difference)"
}

mkdir -p tree/folder
printf same >tree/a
printf same >tree/b
ln tree/b tree/other-name
printf 'larger ones' | tee tree/large-1 >tree/large-2
printf 'strange names' | tee "tree/ ünïcödé & 'quoted' 日本語 " >tree/$'\xf0\x9f\x8e\x89 party'
tree=$(windows_path "$folder/tree")
report=$(windows_path "$folder/report.xml")

# The report, and no change right after it.
run find_duplicates --report "$report" "$tree"
expect_code 0
head -c 38 report.xml | grep -qxF '<?xml version="1.0" encoding="utf-8"?>' || fail "no declaration"
sed -E 's/digest="[0-9a-f]{32}"/digest="..."/g' report.xml |
    grep -qF "<group size=\"4\" digest=\"...\"><copy><path>$tree\\a</path></copy><copy><path>$tree\\b</path><path>$tree\\other-name</path></copy></group>" ||
    fail "another group than expected: $(cat report.xml)"
grep -qF "<find_duplicates version=\"1\" folder=\"$tree\" complete=\"yes\">" report.xml || fail "another root"
grep -qF "<path>$tree\\ ünïcödé &amp; 'quoted' 日本語 </path>" report.xml || fail "another name"
changes --compare "$report"
expect_code 0
expect_changes '' 'Since the earlier report: nothing has changed; 28 B wasted, before 28 B'

# A group comes, one goes, one changes; the result takes the place of the report.
rm tree/large-2
printf same >tree/folder/c
rm tree/a
printf 'brand new' | tee tree/new-1 >tree/folder/new-2
changes --compare "$report" --report "$report"
expect_code 0
expect_changes '' "gone: 2 copies of 11 B" "    - $tree\\large-1" "    - $tree\\large-2" '' \
    "new: 2 copies of 9 B" "    + $tree\\folder\\new-2" "    + $tree\\new-1" '' \
    "changed: 2 copies of 4 B, before 2" "    - $tree\\a" "    + $tree\\folder\\c" '' \
    'Since the earlier report: 1 new, 1 gone, 1 changed; 26 B wasted, before 28 B'
changes --compare "$report"
expect_changes '' 'Since the earlier report: nothing has changed; 26 B wasted, before 26 B'

# With --tsv and with --quiet.
run find_duplicates --tsv --quiet --compare "$report" "$tree"
expect_code 0
[ "$(cat err)" = 'Since the earlier report: nothing has changed; 26 B wasted, before 26 B' ] ||
    fail "with --tsv --quiet: $(cat err)"
run find_duplicates --quiet --compare "$report" "$tree"
[ "$(tail -1 out)" = 'Since the earlier report: nothing has changed; 26 B wasted, before 26 B' ] ||
    fail "with --quiet: $(cat out)"

# A search that is not complete, and one of another folder.
mkdir 'tree/folder?'
run find_duplicates --quiet --report "$report" --compare "$report" "$tree"
expect_code 1
expect_line out 'This search has not examined everything'
grep -qF 'complete="no"' report.xml || fail "a report of everything"
rmdir 'tree/folder?'
run find_duplicates --quiet --compare "$report" "$tree\\folder"
expect_code 0
expect_line out "The earlier report is of another folder: $tree"
expect_line out 'The earlier search has not examined everything'

# What is no report is refused before the search; what cannot be written, after it.
for content in '' 'text' '<other version="1"/>' '<find_duplicates version="2"/>' \
    '<find_duplicates/>' '<find_duplicates version="1" folder="x" complete="yes"><group/></find_duplicates>' \
    '<find_duplicates version="1" folder="x" complete="yes"><group size="-" digest=""/></find_duplicates>'; do
    printf '%s' "$content" >bad.xml
    run find_duplicates --compare "$(windows_path "$folder/bad.xml")" "$tree"
    expect_code 2
    [ ! -s out ] || fail "a search in spite of '$content'"
    grep -qF "find_duplicates: cannot read report '" err || fail "'$content' is answered with: $(cat err)"
    [ "$(wc -l <err)" = 1 ] || fail "'$content' is answered with: $(cat err)"
done
run find_duplicates --compare "$(windows_path "$folder/none.xml")" "$tree"
expect_code 2
run find_duplicates --report "$(windows_path "$folder/none/report.xml")" "$tree"
expect_code 2
expect_line err "find_duplicates: cannot write report '$(windows_path "$folder/none/report.xml")' (Failed to save XML file!)"
grep -qF 'copies of 4 B' out || fail "the result is lost with the report: $(cat out)"

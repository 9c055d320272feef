#!/usr/bin/env bash
# A tree of thousands of files of every kind, and the groups that find and md5sum see in it.
source "$(dirname "$0")/running.sh"

head=$((64 * 1024)) # what the program reads of a file first, and then at a time
chunk=$((256 * 1024))
RANDOM=20170814

# Small files in many folders: 50 lengths, many contents of each.
make_small_files() {
    local -i folder_number file content
    for ((folder_number = 0; folder_number < 40; ++folder_number)); do
        mkdir -p "tree/small/$((folder_number % 7))/$folder_number"
        for ((file = 0; file < 75; ++file)); do
            content=$((RANDOM % 900))
            printf '%0*d' $((10 + content % 50)) "$content" \
                >"tree/small/$((folder_number % 7))/$folder_number/$file"
        done
    done
}

# variant FILE OFFSET: a copy of the file with one other byte.
variant() {
    cp "$1" "$1-$2"
    printf '\377' | dd of="$1-$2" bs=1 seek="$2" conv=notrunc status=none
}

# Lengths around the borders at which the program reads: equal pairs, and files that differ in one
# byte at a border.
make_border_files() {
    local size offset
    mkdir tree/borders tree/borders/copies
    seq 1000000 >numbers
    for size in $((head - 1)) $head $((head + 1)) $((head + chunk - 1)) $((head + chunk)) \
        $((head + chunk + 1)) $((head + 3 * chunk + 17)); do
        head -c "$size" numbers >"tree/borders/$size"
        cp "tree/borders/$size" tree/borders/copies
        for offset in 0 $((head - 1)) $head $((head + chunk - 1)) $((head + chunk)) $((size - 1)); do
            [ "$offset" -ge "$size" ] || variant "tree/borders/$size" "$offset"
        done
        cp "tree/borders/$size-0" tree/borders/copies
    done
    rm numbers
}

make_empty_files() {
    mkdir tree/empty
    touch tree/empty/{1..20}
}

# Names of one file: of a file without a duplicate, of files with some, and two that are all there is.
make_hard_links() {
    mkdir tree/hard
    printf 'nobody else has this, only its other name' >tree/hard/alone
    ln tree/hard/alone tree/hard/alone-too
    ln tree/small/0/0/0 tree/hard/small
    ln tree/small/0/0/0 tree/small/1/1/again
    ln "tree/borders/$((head + chunk))" tree/hard/large
    ln "tree/borders/copies/$((head + chunk))" tree/hard/large-copy
}

make_links() {
    mkdir tree/links outside
    cp "tree/borders/$head" outside/file
    ln -s ../small/0/0/0 tree/links/file
    ln -s "$folder/outside/file" tree/links/file-outside
    ln -s ../small tree/links/folder
    ln -s "$folder/outside" tree/links/folder-outside
    ln -s ../.. tree/links/loop
    ln -s SELF tree/links/self # differs from its target in case only
    printf 'target of a link' | tee tree/links/SELF >tree/links/target
    ln -s nowhere tree/links/dangling
}

make_strange_names() {
    local name
    mkdir tree/names
    for name in 'ünïcödé' '日本語' $'\xf0\x9f\x8e\x89 party' 'with space' ' leading' 'trailing ' 'dots...' \
        "quote'" '100%' 'a&b' 'con' 'NUL.txt' 'com1' '~tilde' '-dash' 'case' 'CASE' \
        "$(printf 'x%.0s' {1..250})" "$(printf 'ж%.0s' {1..126})"; do
        printf 'a file with a strange name' >"tree/names/$name"
        mkdir "tree/names/$name.d"
        printf 'a file in a strange folder' >"tree/names/$name.d/file"
    done
}

make_long_paths() {
    local -i level
    local path=tree/long
    for ((level = 0; level < 12; ++level)); do
        path+=/$(printf "level-$level-%.0s" {1..8})
        mkdir -p "$path"
        printf 'down here' >"$path/file"
        printf 'only at level %03d' "$level" >"$path/other"
    done
}

# Windows has no such names: what these files hold cannot be read.
make_unreadable_names() {
    mkdir 'tree/folder?'
    printf 'a file with a strange name' | tee 'tree/names/what?' 'tree/names/star*' >'tree/names/back\slash'
    printf 'a file in a strange folder' >'tree/folder?/file'
}

# reference: what find and md5sum see, as lines of content, file and path, separated by tabs.
reference() {
    find "$folder/tree" -type f -size +0c "$@" -print0 | sort -z >list
    paste <(xargs -0 md5sum -z <list | tr '\0' '\n' | cut -c 1-32) \
        <(xargs -0 stat -c %i <list) <(tr '\0' '\n' <list)
}

# listed: what the program has printed, as lines of group, copy and path.
listed() {
    awk -F '\t' -v OFS='\t' '{
        path = $4
        sub(/^Z:/, "", path)
        gsub(/\\/, "/", path)
        print $1, $2, path
    }' out
}

# groups: brings either into one form: a line a group, its copies joined by |, their names by =.
groups() {
    LC_ALL=C sort -t $'\t' -k 3 | awk -F '\t' '{
        copy = $1 "\t" $2
        if (copy in names)
            names[copy] = names[copy] " = " $3
        else {
            names[copy] = $3
            copies[$1] = copies[$1] copy "\n"
            ++count[$1]
        }
    }
    END {
        for (group in count) {
            if (count[group] < 2)
                continue
            number = split(copies[group], list, "\n") - 1
            line = names[list[1]]
            for (i = 2; i <= number; ++i)
                line = line " | " names[list[i]]
            print line
        }
    }' | LC_ALL=C sort
}

expect_same_groups() {
    reference "$@" | groups >expected
    listed | groups >found
    diff expected found >difference || fail "other groups than find and md5sum see: $(head difference)"
}

expect_largest_waste_first() {
    awk -F '\t' '
        $1 != group { check(); group = $1 }
        { copies = $2; size = $3 }
        function check(waste) {
            waste = size * (copies - 1)
            if (group > 1 && waste > before) { print "group " group " wastes more than the one before"; exit }
            before = waste
        }
        END { check() }' out >order
    [ ! -s order ] || fail "$(cat order)"
}

count() { find tree "$@" | wc -l; }
with_commas() { sed -E ':a; s/([0-9])([0-9]{3})($|,)/\1,\2\3/; ta' <<<"$1"; }

# expect_summary FILES: in the error output, with the numbers that find and the reference yield.
expect_summary() {
    local pattern
    pattern="^$(with_commas "$1") files in $(with_commas "$2") folders, [0-9.]+ MiB; 20 empty; "
    pattern+="$(count -type l ! -xtype l) links not followed\$"
    grep -qE "$pattern" err || fail "the summary has no line '$pattern': $(cat err)"

    local copies names
    copies=$(grep -o ' | ' expected | wc -l)
    names=$(grep -o ' = ' expected | wc -l)
    pattern="^$(with_commas "$(wc -l <expected)") groups of duplicates: [0-9.]+ MiB wasted by "
    pattern+="$(with_commas "$copies") copies; $names other names of the same files\$"
    grep -qE "$pattern" err || fail "the summary has no line '$pattern': $(cat err)"
}

mkdir tree
make_small_files
make_border_files
make_empty_files
make_hard_links
make_links
make_strange_names
make_long_paths
tree=$(windows_path "$folder/tree")

# Everything can be read.
run find_duplicates --tsv "$tree"
expect_code 0
expect_same_groups
expect_largest_waste_first
expect_summary "$(count -type f)" "$(count -type d)"
[ "$(wc -l <found)" -gt 400 ] || fail "the tree has only $(wc -l <found) groups"

# The empty files as well.
run find_duplicates --tsv --quiet --min-size 0 "$tree"
expect_code 0
[ "$(awk -F '\t' '$3 == 0' out | wc -l)" = 20 ] || fail "not all empty files are in a group"

# Some cannot be read: two for their names, one because another program has it open for itself.
make_unreadable_names
locked="tree/borders/copies/$((head + chunk + 1))"
run run_holding "$(windows_path "$folder/$locked")" "$(windows_path "$KQ_BIN/find_duplicates.exe")" \
    --tsv "$tree"
expect_code 1
expect_same_groups ! -path "$folder/$locked" ! -name '*[?*\\]*' ! -path '*[?]/*'
expect_line err "find_duplicates: cannot read (Sharing violation): $(windows_path "$folder/$locked")"
expect_line err "Not examined: 4 unreadable files, 1 unreadable folder, 0 files that changed"

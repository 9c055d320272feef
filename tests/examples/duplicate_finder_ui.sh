#!/usr/bin/env bash
# The desktop program, driven by messages as a user would do it, on a display of its own. What it
# finds has to be what the console program finds. In the end it poses for the picture of the README,
# which is left in $KQ_SCREENSHOT.
source "$(dirname "$0")/running.sh"

resolution=144 # dots an inch

end_server() { "$wine_run" wineserver -k || true; }

# A server with an X display. It writes the number that it has found free, and what is on its screen,
# into files.
start_display() {
    mkdir frame
    Xvfb -displayfd 3 -fbdir frame -nocursor -nolisten tcp -screen 0 1280x1024x24 \
        3>display 2>xvfb.log &
    xvfb=$!
    trap 'end_server; kill "$xvfb" && wait "$xvfb" || true; rm -rf "$folder/many"' EXIT
    for ((look = 0; look < 300; ++look)); do
        [ ! -s display ] || break
        kill -0 "$xvfb" || fail "no display: $(cat xvfb.log)"
        sleep 0.1
    done
    KQ_RUN_DISPLAY=:$(<display)
    export KQ_RUN_DISPLAY
}

# The prefix is for displays alone: programs that came with a server before would stay without one.
# There is no window manager: Wine draws the frames of windows, and waits for nobody to do it. Its own
# fonts are not found by themselves.
prepare_prefix() {
    [ -e "$KQ_WINE_PREFIX/settings.reg" ] || "$wine_run" true
    cp /usr/share/wine/fonts/*.ttf "$KQ_WINE_PREFIX/drive_c/windows/Fonts"
    cat >settings.reg <<END
REGEDIT4

[HKEY_CURRENT_USER\\Software\\Wine\\X11 Driver]
"Managed"="N"

[HKEY_CURRENT_USER\\Control Panel\\Desktop]
"LogPixels"=dword:$(printf '%08x' "$resolution")
"FontSmoothing"="2"
"FontSmoothingType"=dword:00000001
END
    if ! cmp -s settings.reg "$KQ_WINE_PREFIX/settings.reg"; then
        "$wine_run" wine regedit /S settings.reg
        cp settings.reg "$KQ_WINE_PREFIX"
    fi
    # Whatever was started before knows another display, resolution or font.
    end_server
}

program=$(windows_path "$KQ_BIN/duplicate_finder_ui.exe")

# drive SCENARIO [ARGUMENTS]: see desktop/scenarios.h.
drive() {
    run drive_duplicate_finder "$program" "$@"
    expect_code 0
    expect_line out 'drive: all is well'
    grep -v 'all is well' out || true # how long things took
}

make_tree() {
    local name
    mkdir -p tree/{small,large/copies,names}
    for name in {1..60}; do
        printf 'content %d' $((name % 20)) >"tree/small/$name"
    done
    for name in 1 2 3; do
        head -c $((100000 * name)) /dev/zero >"tree/large/$name"
        cp "tree/large/$name" tree/large/copies
    done
    head -c 99999 /dev/zero >tree/large/alone
    ln tree/large/2 tree/large/same-file
    for name in 'ünïcödé' '日本語' 'with space' '100% & more'; do
        printf 'strange' >"tree/names/$name"
    done
}

# 100,000 names to open and read, of 2,000 files: as many files would take much longer to make and to
# remove. Of each length there are two contents, and of each content two files.
make_many() {
    local -i number
    mkdir -p many/0
    for number in {1..1000} {1..1000}; do
        printf '%-*d\n' $((20 + number % 500)) "$number"
    done | (cd many/0 && split -l 1 -a 4 -)
    for number in {1..49}; do
        cp -al many/0 "many/$number"
    done
}

# A plausible folder: photos with copies, and a long video that keeps the search going.
make_photos() {
    local photos=$KQ_WINE_PREFIX/drive_c/Photos albums=(2022/Lisbon 2023/Beach 2024/Garden) photo file
    local -i number
    RANDOM=1969
    rm -rf "$photos"
    mkdir -p "$photos"/{2022/Lisbon,2023/Beach,2024/Garden,Backup/2023,Backup/Phone}
    for ((number = 0; number < 60; ++number)); do
        photo=IMG_$((4003 + 7 * number))
        file=$photos/${albums[RANDOM % 3]}/$photo
        head -c $((300000 + 50 * RANDOM)) /dev/urandom >"$file.jpg"
        ((number % 2)) || cp "$file.jpg" "$photos/Backup/Phone"
        ((number % 5)) || cp "$file.jpg" "$file (1).jpg"
        ((number % 9)) || cp "$file.jpg" "$photos/Backup/2023/$photo-print.jpg"
    done
    truncate -s 4G "$photos/2023/Beach/Waves.mp4" "$photos/Backup/2023/Waves.mp4"
}

# catch_still: copies the screen into a file while nothing on it changes: not in the middle of painting.
catch_still() {
    for ((look = 0; look < 300; ++look)); do
        cp frame/Xvfb_screen0 still
        sleep 0.05
        ! cmp -s frame/Xvfb_screen0 still || return 0
    done
    fail "the screen is never still"
}

take_picture() {
    local word left top width height
    make_photos
    coproc pose { "$wine_run" "$KQ_BIN/drive_duplicate_finder.exe" "$program" pose 'C:\Photos'; }
    # shellcheck disable=SC2154 # bash sets it
    exec {from}<&"${pose[0]}" {to}>&"${pose[1]}"
    read -r word left top width height <&"$from"
    [ "$word" = ready ] || fail "no pose: $word $left $top $width $height"
    catch_still
    xwdtopnm still 2>/dev/null |
        pamcut -left "$left" -top "$top" -width "$width" -height "$height" >picture.pnm
    echo >&"$to"
    grep -q 'all is well' <&"$from" || fail "the program has not ended well after the picture"
    rm -rf "$KQ_WINE_PREFIX/drive_c/Photos"
    pnmquant 64 picture.pnm 2>/dev/null | pnmtopng -compression 9 >"$KQ_SCREENSHOT" 2>/dev/null

    [ "$width $height" = "$((800 * resolution / 96)) $((600 * resolution / 96))" ] ||
        fail "the window has $width x $height pixels"
    [ "$(pnmcolormap all picture.pnm 2>/dev/null | pamfile | grep -oE '[0-9]+ by' | tr -dc 0-9)" -gt 20 ] ||
        fail "nothing is painted"
}

start_display
prepare_prefix
make_tree
tree=$(windows_path "$folder/tree")
run find_duplicates --tsv --quiet --report "$(windows_path "$folder/expected.xml")" "$tree"
expect_code 0
cut -f 1,2,4 out >expected

drive find "$tree" "$(windows_path "$folder/found")"
diff expected found || fail "the lists show something else than the console program"
[ "$(wc -l <found)" -ge 70 ] || fail "there is little in the lists"

drive browse "$tree"
drive save "$tree" "$(windows_path "$folder/saved.xml")"
cmp expected.xml saved.xml || fail "the saved report is not that of the console program"

drive errors "$tree" "$tree\\small\\7"
drive open "$tree"
drive keyboard "$tree"
drive resolution

make_many
many=$(windows_path "$folder/many")
drive interrupt "$many"
drive close "$many"

take_picture

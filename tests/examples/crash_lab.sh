#!/usr/bin/env bash
# Every failure, and every place: what is printed, how the program ends, the dump; and whether the
# README still shows what the program does.
source "$(dirname "$0")/running.sh"

# crashes EXIT EXCEPTION FUNCTION ARGUMENTS...: FUNCTION is empty when there is no stack to look at.
crashes() {
    local exit=$1 exception=$2 function=$3
    shift 3
    rm -f crash_lab.dmp
    run crash_lab "$@"
    expect_code "$exit"
    grep -qF "report of a crash: $exception, " out || fail "$*: no report of it: $(cat out)"
    expect_line out "dump: crash_lab.dmp"
    [ "$(head -c 4 crash_lab.dmp)" = MDMP ] || fail "$*: the dump is no minidump"
    [ "$(grep -c '^report of ' out)" = 1 ] || fail "$*: not one report: $(cat out)"
    [ -z "$function" ] ||
        sed -n '/^stack:$/{n;p}' out | grep -qE "^\"crash_lab.exe\": .*::$function \(" ||
        fail "$*: the stack does not begin with $function: $(cat out)"
}

# reports TEXT ARGUMENTS...
reports() {
    local text=$1
    shift
    run crash_lab "$@"
    expect_code 1
    expect_line out "report of an exception: $text"
    [ "$(grep -c '^report of ' out)" = 1 ] || fail "$*: not one report: $(cat out)"
    [ ! -e crash_lab.dmp ] || fail "$*: an exception is dumped"
}

for place in '' main thread pool ui; do
    # shellcheck disable=SC2086
    reports "the document has no pages" exception $place
    # shellcheck disable=SC2086
    reports "the library failed with error 4711" foreign $place
done

# Only the low byte of an exit code arrives here.
crashes 5 0xc0000005 ReadForbiddenMemory read
crashes 5 0xc0000005 WriteForbiddenMemory write thread
crashes 5 0xc0000005 '' execute
crashes 29 0xc000001d ExecuteIllegalInstruction illegal ui
crashes 148 0xc0000094 DivideByZero divide pool
crashes 253 0xc00000fd '' overflow pool

run crash_lab --help
expect_code 0
for word in exception foreign read write execute divide illegal overflow main thread pool ui; do
    grep -qE "^  $word  " out || fail "--help does not mention $word"
done
for arguments in '' nonsense 'read nowhere' 'read main more'; do
    # shellcheck disable=SC2086
    run crash_lab $arguments
    expect_code 2
    expect_line out "crash_lab: what is to fail? --help says more"
done

# What all machines and compilers have in common: no addresses, and no frames.
comparable() { tr -d '\r' | sed -E 's/0x[0-9a-f]+/0x#/g' | grep -vE '^"|^\$' || true; }
sed -n 's/^\$ crash_lab //p' "$KQ_README" >shown
[ "$(wc -l <shown)" -ge 3 ] || fail "the README shows next to nothing"
while read -r arguments; do
    # shellcheck disable=SC2086
    run crash_lab $arguments
    sed -n "/^\\$ crash_lab $arguments\$/,/^\`\`\`\$/p" "$KQ_README" | sed '$d' | comparable >expected
    comparable <out >actual
    diff expected actual >&2 || fail "the README shows another output of 'crash_lab $arguments'"
done <shown

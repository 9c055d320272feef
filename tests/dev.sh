# shellcheck shell=bash
# The stress tests of ./dev.

# soak_once PROGRAM LOG SEED: whether one run of a stress program went well.
soak_once() {
    KQ_SEED=$3 KQ_LEAK_PASSES=0 KQ_RUN_EXPECT='^kq tests: all' cmake/wine-run "$1" >"$2" 2>&1
}

#: soak MINUTES               run the stress tests again and again, each time with other seeds
cmd_soak() {
    local minutes=${1:-} end rounds=0 jobs=0 runs=0 program log seed begin=$SECONDS
    [[ $minutes =~ ^[1-9][0-9]*$ ]] || fail "soak needs a number of MINUTES"
    build_targets "$default_preset" --target kq_stress >&2
    log=build/$default_preset/soak.log
    end=$((SECONDS + 60 * minutes))
    begin=$SECONDS
    while ((SECONDS < end)); do
        for program in "build/$default_preset"/bin/*_stress_test.exe; do
            ((SECONDS < end)) || break
            seed=$((RANDOM * 32768 + RANDOM))
            if ! soak_once "$program" "$log" "$seed"; then
                tail -n 60 "$log" >&2
                fail "soak: 1 fault after $runs runs, $rounds rounds and $jobs jobs:" \
                    "${program##*/} with KQ_SEED=$seed; the whole output is in $log"
            fi
            read -r rounds jobs < <(tr -d '\r' <"$log" | awk -v r="$rounds" -v j="$jobs" \
                '/^stress: / { r += $2; j += $4 } END { print r, j }')
            runs=$((runs + 1))
        done
    done
    say "soak: $((SECONDS - begin)) s, $runs runs, $rounds rounds, $jobs jobs, 0 faults"
}

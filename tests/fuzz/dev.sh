# shellcheck shell=bash
# The fuzz targets of ./dev.

# fuzz_one NAME SECONDS: guided by coverage where there is a native program, under Wine otherwise.
# Prints the figures.
fuzz_one() {
    local name=$1 seconds=$2 kept=$PWD/tests/fuzz/corpus/$1 own=$PWD/build/fuzz/$1 log status=0
    local native=$PWD/build/native-fuzz/bin/fuzz_$name run
    log=$own.log
    mkdir -p "$own"
    if [ -x "$native" ]; then
        run=("$native" -print_final_stats=1 "-artifact_prefix=$own-" "-max_total_time=$seconds" "$own")
    else
        run=("$PWD/cmake/wine-run" "$PWD/build/$default_preset/bin/fuzz_$name.exe"
            "-max_total_time=$seconds")
    fi
    (cd "$own" && KQ_RUN_TIMEOUT=$((seconds + 300)) "${run[@]}" "$kept") >"$log" 2>&1 || status=$?
    printf '%-12s %12s executions %s\n' "$name" \
        "$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")" \
        "$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1)"
    [ "$status" = 0 ] || {
        tail -n 20 "$log" >&2
        fail "fuzz: $name failed; its whole output is in ${log#"$PWD"/}"
    }
}

#: fuzz [minutes]             run every fuzz target for so long (default: 10), with figures
cmd_fuzz() {
    local corpus names=()
    for corpus in tests/fuzz/corpus/*; do
        names+=("${corpus##*/}")
    done
    build_targets native-fuzz
    build_targets "$default_preset" --target "${names[@]/#/fuzz_}"
    for corpus in "${names[@]}"; do
        fuzz_one "$corpus" $((${1:-10} * 60))
    done
}

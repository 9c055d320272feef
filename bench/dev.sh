# shellcheck shell=bash
# The benchmarks of ./dev.

# In the order of their rows in the table.
bench_programs=(concurrency progress lookup debug converter xml process)

# bench_program NAME ARGUMENTS...
bench_program() {
    local name=$1
    shift
    KQ_RUN_TIMEOUT=1800 cmake/wine-run "build/$default_preset/bin/${name}_bench.exe" "$@"
}

# write_performance DATA IN: the table and its plot into the documentation.
write_performance() {
    local table=$1 page=docs/performance.md plot=build/bench/plot.tsv
    awk -v FORM=plot -f bench/performance_table.awk "${@:2}" >"$plot"
    gnuplot -e "data='$plot'; rows=$(wc -l <"$plot"); image='docs/images/performance.png'" \
        bench/performance.gnuplot
    awk -v table="$table" '
        /^<!-- table: end -->/ { inside = 0 }
        !inside
        /^<!-- table: begin/ { inside = 1; print ""; while ((getline line < table) > 0) print line; print "" }
    ' "$page" >build/bench/page.md
    cp build/bench/page.md "$page"
    say "written: $page, docs/images/performance.png"
}

#: bench [options] [sections] measure kq beside its peers: all sections, or those named
#:     --missing              those that an interrupted run has left without results
#:     --write                put the table of all results and its plot into docs/performance.md
cmd_bench() {
    local results=build/bench/results table=build/bench/performance.md
    local missing='' write='' program section known=' ' files=() run
    while [[ ${1:-} == --* ]]; do
        case $1 in
            --missing) missing=yes ;;
            --write) write=yes ;;
            *) fail "bench has no option $1" ;;
        esac
        shift
    done
    build_targets "$default_preset" --target "${bench_programs[@]/%/_bench}" >&2
    [ -z "$write" ] || command -v gnuplot >/dev/null ||
        step "Installing packages: gnuplot-nox" install_packages gnuplot-nox
    [ -n "$missing" ] || [ $# -gt 0 ] || rm -rf "$results"
    mkdir -p "$results"
    for program in "${bench_programs[@]}"; do
        run=()
        for section in $(bench_program "$program" --list | tr -d '\r'); do
            known+="$section "
            files+=("$results/$section.tsv")
            [ $# = 0 ] || [[ " $* " == *" $section "* ]] || continue
            [ -z "$missing" ] || [ ! -e "$results/$section.tsv" ] || continue
            run+=("$section")
        done
        [ ${#run[@]} = 0 ] || bench_program "$program" --results "$results" "${run[@]}"
    done
    for section in "$@"; do
        [[ $known == *" $section "* ]] || fail "bench has no section '$section'; it has$known"
    done
    mapfile -t files < <(ls -U -- "${files[@]}" 2>/dev/null)
    awk -f bench/performance_table.awk "${files[@]}" >"$table"
    printf '\n'
    cat "$table"
    [ -z "$write" ] || write_performance "$table" "${files[@]}"
}

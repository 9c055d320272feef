#!/usr/bin/env bash
# gdb.sh GDB PROGRAM PRINTERS EMULATOR...: runs the sample under the emulator to where it has made its
# values, lets GDB print them with the printers, and compares. Ends with 77 where the system does not
# let GDB look at another process.
set -euo pipefail
gdb=$1 program=$2 printers=$3
shift 3

folder=$(mktemp -d)
pid=
trap '[ -z "$pid" ] || kill "$pid" 2>/dev/null || true; rm -rf "$folder"' EXIT
fail() { echo "$1"; cat "$2"; exit 1; }

# Without a time-out the emulator becomes the program's process. The program ends when its input does.
mkfifo "$folder/input"
KQ_RUN_TIMEOUT=0 "$@" "$program" <"$folder/input" >"$folder/output" 2>&1 &
pid=$!
exec 3>"$folder/input"
for _ in {1..600}; do
    ! grep -q ready "$folder/output" && kill -0 "$pid" 2>/dev/null || break
    sleep 0.1
done
grep -q ready "$folder/output" || fail 'the sample did not come to its values:' "$folder/output"

names=(none pending running done failed removed begun state reference failed.state_._M_ptr[0])
commands=()
for name in "${names[@]}"; do
    commands+=(-ex "echo $name:\\n" -ex "output values->$name" -ex 'echo \n')
done
"$gdb" -nx -batch -iex 'set auto-load off' -p "$pid" -ex "symbol-file $program" \
    -ex "source $printers" -ex 'echo @@\n' "${commands[@]}" >"$folder/gdb" 2>&1 || true
if grep -q 'ptrace: Operation not permitted' "$folder/gdb"; then
    echo 'no process may be looked at here'
    exit 77
fi

sed '1,/^@@$/d; /^\[Inferior/d; s/on thread [1-9][0-9]*/on thread .../' "$folder/gdb" >"$folder/values"
diff "$folder/values" - <<'END' || fail 'GDB shows something else:' "$folder/gdb"
none:
no job
pending:
pending
running:
running on thread ...
done:
done
failed:
failed: disk full
removed:
removed
begun:
0 %, Active, "Copying"
state:
25 %, Active, "Copying", at "letters.txt"
reference:
refers to = {object = 42}
failed.state_._M_ptr[0]:
failed: disk full
END
exec 3>&-
wait "$pid" || fail 'the sample did not end well:' "$folder/output"
pid=
echo 'GDB shows the values as it should'

#!/usr/bin/env python3
"""run_limited.py SECONDS PROGRAM [ARGUMENTS]: runs a Windows program under Wine, with a time-out.

Its exit code, or else
  124  the time is over, and the program was ended; where its threads stood is on the error output
  125  Wine failed, not the program:
         - its own code crashed. The crash of a program is an exit code; only one below the program,
           seen in a thread that was killed while it raised an exception, ends it by a signal
         - the last thread spins in ntdll for ever. Wine's queue of waiting threads has locks that
           spin, and a thread that is killed while it holds one leaves it locked. What is ours waits
           asleep, or spins in its own module
"""
import os
import pathlib
import signal
import subprocess
import sys
import time

TIME_IS_OVER = 124
WINE_FAILED = 125


def threads(pid):
    try:
        return sorted(int(task) for task in os.listdir(f"/proc/{pid}/task"))
    except OSError:
        return []


def about(path):
    """What the system says of a process; nothing when that is gone, or not for us to see."""
    try:
        return pathlib.Path(f"/proc/{path}").read_text()
    except OSError:
        return ""


def state(pid, thread):
    """One letter: R for one that runs, X for one that is gone."""
    return (about(f"{pid}/task/{thread}/stat").rpartition(")")[2].split() or ["X"])[0]


def is_running(pid, thread):
    """Whether it always does, which one that sleeps now and then does not."""
    for _ in range(10):
        if state(pid, thread) != "R":
            return False
        time.sleep(0.02)
    return True


def module(pid, thread):
    """The file that the code comes from which a stopped thread is at."""
    position = about(f"{pid}/task/{thread}/syscall").split()
    address = int(position[-1], 16) if len(position) > 1 else 0
    for mapping in about(f"{pid}/maps").splitlines():
        begin, end = (int(bound, 16) for bound in mapping.split()[0].split("-"))
        if begin <= address < end:
            return os.path.basename((mapping.split(maxsplit=5) + [""])[5]) or "no file"
    return "no file"


def stop(pid):
    os.kill(pid, signal.SIGSTOP)
    deadline = time.monotonic() + 5
    while time.monotonic() < deadline and any(state(pid, one) not in "tTZX" for one in threads(pid)):
        time.sleep(0.01)


def where_it_stands(pid):
    """For each thread whether it runs, and in which module."""
    running = {thread: is_running(pid, thread) for thread in threads(pid)}
    stop(pid)
    return [(runs, module(pid, thread)) for thread, runs in running.items()]


def main():
    seconds = float(sys.argv[1])
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(128 + signal.SIGTERM))
    process = subprocess.Popen(sys.argv[2:], start_new_session=True)
    try:
        code = process.wait(seconds)
    except subprocess.TimeoutExpired:
        standing = where_it_stands(process.pid)
        print(f"wine-run: ended after {seconds:g} s:", ", ".join(
            f"a thread {'runs' if runs else 'sleeps'} in {where}" for runs, where in standing),
            file=sys.stderr)
        return WINE_FAILED if standing == [(True, "ntdll.dll")] else TIME_IS_OVER
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
    if code == -signal.SIGSEGV:
        print("wine-run: Wine crashed", file=sys.stderr)
        return WINE_FAILED
    return code if code >= 0 else 128 - code


sys.exit(main())

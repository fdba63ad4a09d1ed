"""What /proc tells of a process: processor time, context switches, memory. Linux only."""

import os

TICKS_PER_SECOND = os.sysconf("SC_CLK_TCK")


def cpu_seconds(pid):
    """Processor time of all its threads so far, ended ones too, in steps of one tick."""
    with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as file:
        fields = file.read().rpartition(")")[2].split()
    user, system = int(fields[11]), int(fields[12])
    return (user + system) / TICKS_PER_SECOND


def voluntary_switches(pid):
    """{thread: how often it has gone to sleep to wait for something} of the threads that live now."""
    counts = {}
    for thread in os.listdir(f"/proc/{pid}/task"):
        try:
            with open(f"/proc/{pid}/task/{thread}/status", encoding="ascii", errors="replace") as file:
                counts[thread] = next(int(line.split()[1]) for line in file
                                      if line.startswith("voluntary_ctxt_switches:"))
        except (FileNotFoundError, ProcessLookupError):
            pass  # this thread has just ended
    return counts


def memory_kib(pid):
    """{"Rss": resident, "Pss": resident with shared pages split among their users, ...} in KiB."""
    sizes = {}
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        for line in file:
            words = line.split()
            if words[-1] == "kB":
                sizes[words[0].rstrip(":")] = int(words[1])
    return sizes


def thread_count(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def children(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        return [int(child) for child in file.read().split()]

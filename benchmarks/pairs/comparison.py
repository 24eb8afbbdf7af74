"""Two programs on the same work, in turn, and what their times and memory are to each other."""
import os
import pathlib
import statistics
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BUILD = ROOT / "build" / "bench"
NIVEX = BUILD / "bin" / "nivex"


class Run:
    """One run of a command: wall and processor time in seconds, and the peak memory of its largest process in bytes."""

    def __init__(self, command, folder):
        begun = time.perf_counter()
        process = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        self.wall = time.perf_counter() - begun
        self.processor = usage.ru_utime + usage.ru_stime
        self.memory = usage.ru_maxrss * 1024
        if process.returncode != 0:
            raise subprocess.CalledProcessError(process.returncode, command)


def compare(name, ours, peer, folder, rounds, before=lambda: None, peer_name=None, resources=False):
    """Prints one line: the medians and how many times as long the peer takes. The two sides alternate, after one
    untimed round, so that a machine that is slow for a while is slow for both. `before` runs untimed before each run;
    `resources` adds processor time and peak memory."""
    runs = {"ours": [], "peer": []}
    for round_number in range(rounds + 1):
        for side, command in (("ours", ours), ("peer", peer)):
            before()
            run = Run(command, folder)
            if round_number > 0:
                runs[side].append(run)

    def medians(measure):
        return tuple(statistics.median(getattr(run, measure) for run in runs[side]) for side in ("ours", "peer"))

    peer_name = peer_name or peer[0]
    our_wall, peer_wall = medians("wall")
    print(f"{name}: nivex {our_wall * 1000:.1f} ms, {peer_name} {peer_wall * 1000:.1f} ms, "
          f"{peer_name} / nivex = {peer_wall / our_wall:.2f}", flush=True)
    if resources:
        our_processor, peer_processor = medians("processor")
        our_memory, peer_memory = medians("memory")
        print(f"    processor {our_processor * 1000:.0f} and {peer_processor * 1000:.0f} ms, "
              f"{peer_name} / nivex = {peer_processor / our_processor:.2f}; "
              f"peak memory {our_memory / 1e6:.0f} and {peer_memory / 1e6:.0f} MB", flush=True)


def convert(*arguments):
    """A command that converts with nivex, silently."""
    return [str(NIVEX), "convert", "--quiet", *map(str, arguments)]

"""Runs the benchmark programs and prints their tables; started by scripts/bench.sh.

    tables.py all <filter> <build folder> [<build folder without AVX2 code>]
    tables.py compare <filter> <build folder> <build folder of another commit> <its name>
"""

import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

REPETITIONS = 5  # of a benchmark
RUNS = 9  # of a whole program


def output(command):
    """What a program prints; the end of this one where it fails."""
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stderr}")
    return done.stdout


def run_steps(folder, pattern, repetitions=REPETITIONS):
    """{(step, version): [ms of each repetition]} of a benchmark program, in the order of its benchmarks."""
    program = [os.path.join(folder, "bench", "telvane_bench"), f"--benchmark_filter={pattern}"]
    order = output([*program, "--benchmark_list_tests=true"]).splitlines()
    # The repetitions of all benchmarks are mixed, so that a slow spell of the machine hits them alike.
    said = output([
        *program,
        f"--benchmark_repetitions={repetitions}",
        "--benchmark_enable_random_interleaving=true",
        "--benchmark_min_time=0.05",
        "--benchmark_format=json",
    ])
    entries = json.loads(said)["benchmarks"] if order else []
    times = {}
    for entry in sorted(entries, key=lambda e: order.index(e["run_name"])):
        if entry["run_type"] != "iteration":
            continue
        if entry.get("error_occurred"):
            sys.exit(f"{entry['name']}: {entry['error_message']}")
        # "<step>/<version>", with the arguments and the settings of the benchmark behind it.
        name = re.sub(r"/(iterations|repeats):\d+", "", entry["run_name"])
        step, version, argument = re.fullmatch(r"(.*)/(library|plain|peer)([^/]*(?:/.*)?)", name).groups()
        detail, _, argument = argument.partition("/")
        if argument and not argument.startswith("-") and argument != "0":
            step += f", {argument}"
        times.setdefault((step, (version + detail).strip()), []).append(entry["cpu_time"])
    return times


def table(head, rows):
    """A table in Markdown; the first column to the left, numbers to the right."""
    widths = [max(len(line[i]) for line in [head, *rows]) for i in range(len(head))]
    edges = ["---".ljust(widths[0], "-"), *("-" * (width - 1) + ":" for width in widths[1:])]
    for line in [head, edges, *rows]:
        cells = [line[0].ljust(widths[0]), *(cell.rjust(width) for cell, width in zip(line[1:], widths[1:]))]
        print("| " + " | ".join(cells) + " |")
    print(flush=True)


def ms(value):
    return "" if value is None else f"{value:.3g}" if value < 100 else f"{value:,.0f}"


def ratio(slow, fast):
    return "" if slow is None or fast is None else f"{slow / fast:.1f}"


def medians(times):
    return {key: statistics.median(values) for key, values in times.items()}


def steps_table(pattern, folder, baseline):
    here = medians(run_steps(folder, pattern))
    without = medians(run_steps(baseline, pattern)) if baseline else {}
    steps = list(dict.fromkeys(step for step, version in here if version == "library"))
    rows, peers = [], []
    for step in steps:
        library = here[step, "library"]
        # The plain version may be written in two ways; the quicker one is the measure.
        plain = min((t for (s, v), t in here.items() if s == step and v.startswith("plain")), default=None)
        slow = without.get((step, "library"))
        rows.append([step, ms(library), ms(slow), ms(plain), ratio(plain, library)])
    for (step, version), time_taken in here.items():
        library = here.get((step, "library"))
        if not version.startswith("peer") or library is None:
            continue
        name = version.removeprefix("peer").strip()
        peers.append([f"{step}: {name}", ms(library), ms(time_taken), ratio(time_taken, library)])
    print("Steps, 1280 x 960, medians in ms\n")
    table(["step", "library", "without AVX2" if baseline else "", "plain", "plain / library"], rows)
    literal = here.get(("SumPattern ring 200/250", "plain"))
    if literal:
        print(f"The ring's sums, cell by cell: {ms(literal)} ms.\n")
    if peers:
        print("Beside OpenCV, one thread, medians in ms\n")
        table(["step", "library", "OpenCV", "OpenCV / library"], peers)


class Frames:
    """A folder with drawn frames, and the command lines that find the wheel in them."""

    def __init__(self, folder, count):
        self.folder = tempfile.TemporaryDirectory(prefix="frames-", dir=folder)  # as long as this lives
        self.path = self.folder.name
        said = output(
            [os.path.join(folder, "simulator", "wheelsim"), "--out", self.path, "--count", str(count)])
        self.count = count
        self.lines = {
            name: re.search(rf"^{key}=Telvane (.*)$", said, re.M).group(1).split()
            for name, key in (("votes", "VOTES"), ("ring search", "RING"))
        }


def whole_run(folder, frames, method, options=()):
    """(ms of wall time, MB at the peak) of one run of the program."""
    command = [os.path.abspath(os.path.join(folder, "Telvane", "Telvane")), *options, *frames.lines[method]]
    start = time.perf_counter()
    process = subprocess.Popen(command, cwd=frames.path, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    end = time.perf_counter()
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(command)}: status {process.returncode}")
    return 1000 * (end - start), usage.ru_maxrss / 1000


def whole_runs_table(folders, names, frames):
    """The program from its start to its end, the folders in turn; wall time, since files are part of it."""
    rows = []
    for method in ("votes", "ring search"):
        for options in ((), ("-s",)):
            runs = [[] for _ in folders]
            for _ in range(RUNS):
                for folder, results in zip(folders, runs):
                    results.append(whole_run(folder, frames, method, options))
            times = [statistics.median(t for t, _ in results) for results in runs]
            peak = max(m for _, m in runs[0])
            row = [" ".join([method, *options]), *(ms(t) for t in times)]
            if len(names) > 1:
                row.append(ratio(times[1], times[0]))
            rows.append([*row, f"{peak:.1f}", f"{peak - frames.count * 1.2288:.1f}"])
    print(f"Whole runs of {frames.count} frames from files, medians of the wall time in ms\n")
    head = ["run", *names]
    if len(names) > 1:
        head.append(f"{names[1]} / {names[0]}")
    table([*head, "MB in all", "MB beside the frames"], rows)


def growth_tables(folder):
    def growth(*arguments):
        program = os.path.join(folder, "bench", "telvane_growth")
        return [float(word) for word in output([program, *map(str, arguments)]).split()]

    print("Detections of more and more frames, 1280 x 960\n")
    rows = []
    for count in (2, 5, 15, 50):
        votes, peak, held = growth(1280, 960, count, 0)
        ring, _, _ = growth(1280, 960, count, -1)
        rows.append([str(count), ms(votes), ms(votes / (count - 1)), ms(ring),
                     f"{peak:.1f}", f"{peak - held:.1f}"])
    table(["frames", "votes, ms", "for each pair", "ring search, ms", "MB", "MB beside the frames"], rows)

    print("Detections in larger and larger pictures, 15 frames, votes\n")
    rows = []
    for width, height in ((160, 120), (320, 240), (640, 480), (1280, 960), (1920, 1440), (2592, 1944)):
        votes, peak, held = growth(width, height, 15, 0)
        pixels = width * height
        rows.append([f"{width} x {height}", ms(votes), f"{1e6 * votes / (pixels * 14):.2f}",
                     f"{peak - held:.1f}", f"{1e6 * (peak - held) / pixels:.0f}"])
    table(["picture", "ms", "ns for each pixel and pair", "MB beside the frames", "bytes for each pixel"], rows)

    print("Ring searches with larger and larger rings, 1280 x 960, ms\n")
    rows = []
    for radius in (20, 40, 60, 80, 120, 160, 200, 250, 300, 350, 400, 450):
        own = [growth("ring", radius, radius, noise) for noise in (1.5, 10, 30)]
        other = growth("ring", radius, 250, 1.5)
        rows.append([str(radius), *(ms(time) for time, in [*own, other])])
    table(["outer radius", "wheel of that size", "noise 10", "noise 30", "wheel of radius 250"], rows)


def compare(pattern, folder, other, name):
    here, there = {}, {}
    for _ in range(3):
        for times, program in ((here, folder), (there, other)):
            for key, values in run_steps(program, pattern, 3).items():
                if key[1] == "library":
                    times.setdefault(key[0], []).extend(values)
    here, there = medians(here), medians(there)
    print(f"Steps, medians in ms; a ratio above 1: this tree is faster than {name}\n")
    table(["step", "this tree", name, "ratio"],
          [[step, ms(here[step]), ms(there[step]), f"{there[step] / here[step]:.2f}"]
           for step in here if step in there])
    if pattern == ".":
        whole_runs_table([folder, other], ["this tree", name], Frames(folder, 15))


def main():
    mode, pattern, folder, *others = sys.argv[1:]
    if mode == "compare":
        # Everything but the plain versions and the peer, which only this tree's table needs.
        compare("." if pattern == "." else pattern, folder, *others)
        return
    steps_table(pattern, folder, others[0] if others else None)
    if pattern == ".":
        names = ["library", "without AVX2"][:1 + len(others)]
        whole_runs_table([folder, *others], names, Frames(folder, 15))
        growth_tables(folder)


main()

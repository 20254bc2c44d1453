"""How far from the true centre Telvane's answer lies, on drawn wheels; started by scripts/accuracy.sh.

    accuracy.py <wheelsim> <Telvane> <folder for the frames> [<page to renew>]

Prints a table in Markdown: for every kind of scene the median and the largest distance, in pixels, of several
wheels that differ in place, starting angle and noise. With a page, the table there is replaced, between the lines
"<!-- accuracy: begin -->" and "<!-- accuracy: end -->".
"""

import math
import re
import statistics
import subprocess
import sys

WHEELS = 9  # of each kind

# Name, options of wheelsim, and what the command line says differently from the truth.
KINDS = [
    ("as it should be: teeth move 1.6 pixels per frame", {}, {}),
    ("counter-clockwise", {"speed": -0.4}, {}),
    ("slow: 0.2 pixels per frame", {"speed": 0.05}, {}),
    ("fast: 2.5 pixels per frame", {"speed": 0.615}, {}),
    ("very fast: 16 pixels per frame, 0.4 of a tooth", {"speed": 3.6}, {}),
    ("too fast: 20 pixels per frame, half a tooth", {"speed": 4.5}, {}),
    ("12 teeth", {"teeth": 12}, {}),
    ("80 teeth", {"teeth": 80}, {}),
    ("small wheel, radii 60 and 80", {"inner": 60, "outer": 80, "teeth": 20, "speed": 1.3}, {}),
    ("large wheel, radii 380 and 430", {"inner": 380, "outer": 430, "teeth": 60, "speed": 0.22}, {}),
    ("noise of 6 grey levels", {"noise": 6}, {}),
    ("four fifths of the light lost across the picture", {"uneven": 0.8}, {}),
    ("5 frames instead of 15", {"count": 5}, {}),
    ("2 frames", {"count": 2}, {}),
    ("half of the wheel outside the picture", {"side": True}, {}),
    ("another thing moves, blanked by -m", {"disc": "250,220,90,6,2"}, {}),
    ("another thing moves, not blanked", {"disc": "250,220,90,6,2"}, {"mask": False}),
    ("both radii given 5 % too large", {}, {"radii": 1.05}),
    ("both radii given 15 % too large", {}, {"radii": 1.15}),
    ("sense of rotation given wrong", {}, {"turn": -1}),
]


def draw(wheelsim, folder, options, number):
    """Draws the number-th wheel of a kind. Returns its centre and the command lines by method."""
    options = {"outer": 250, "seed": 1 + number, "start": 7.3 * number, **options}
    outer = options["outer"]
    # Over the picture by fractions of a pixel as well; the ring with its neighbourhood stays inside.
    across, down = (number % 3) / 2, (number // 3) / 2
    x = outer + 20 + across * (1239 - 2 * outer) + 0.37 * number
    y = outer + 20 + down * max(919 - 2 * outer, 0) + 0.29 * number
    if options.pop("side", False):
        x = 40 + 0.37 * number if number % 2 else 1240 - 0.37 * number
    if "disc" in options:
        x = max(x, 620)
    command = [wheelsim, "--out", folder, "--centre", f"{x:.2f},{y:.2f}"]
    for name, value in options.items():
        command += [f"--{name}", str(value)]
    said = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    lines = {key: line.split() for key, line in re.findall(r"^(VOTES|RING)=Telvane (.*)$", said, re.M)}
    return (float(f"{x:.2f}"), float(f"{y:.2f}")), lines


def altered(words, changes):
    """A command line that says something else than the truth. The last 16 words are the positional ones."""
    words = list(words)
    if changes.get("mask") is False:
        at = words.index("-m")
        del words[at:at + 5]
    for i in (-12, -11):
        words[i] = str(round(int(words[i]) * changes.get("radii", 1)))
    words[-5] = str(int(words[-5]) * changes.get("turn", 1))
    return words


def found_centre(telvane, folder, words):
    run = subprocess.run([telvane, *words], cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    region = re.search(r"^OROI=\[(-?\d+),(-?\d+),", run.stdout, re.M)
    if region:
        return tuple(int(region.group(i + 1)) + int(words[-14 + i]) for i in (0, 1))
    # Where the region does not fit, the centre is named all the same.
    outside = re.search(r"f_cx = (\S+), f_cy = (\S+)", run.stderr)
    return tuple(map(float, outside.groups())) if outside else None


def distance(a, b):
    """In pixels; infinite where there is no answer or none in the picture."""
    if a is None or not all(map(math.isfinite, a)):
        return math.inf
    return math.dist(a, b)


def pixels(value):
    return "none found" if math.isinf(value) else f"{value:.1f}" if value < 10 else f"{value:.0f}"


def main():
    wheelsim, telvane, folder, *page = sys.argv[1:]
    table = ["| drawn wheels | votes: median | largest | ring search: median | largest |",
             "| --- | ---: | ---: | ---: | ---: |"]
    for name, options, changes in KINDS:
        errors = {"VOTES": [], "RING": []}
        for number in range(WHEELS):
            truth, lines = draw(wheelsim, folder, options, number)
            for method, words in lines.items():
                errors[method].append(distance(found_centre(telvane, folder, altered(words, changes)), truth))
        cells = [name]
        for values in errors.values():
            # wheelsim gives no ring search where part of the ring is outside.
            cells += [pixels(statistics.median(values)), pixels(max(values))] if values else ["cannot", "cannot"]
        table.append(f"| {' | '.join(cells)} |")
        print(table[-1], file=sys.stderr, flush=True)
    table = "\n".join(table)
    print(table)
    if page:
        with open(page[0], encoding="utf-8") as file:
            text = file.read()
        begin, end = "<!-- accuracy: begin -->\n", "<!-- accuracy: end -->"
        if begin not in text or end not in text:
            sys.exit(f"{page[0]} has no place for the table")
        before, after = text.split(begin)[0], text.split(end)[1]
        with open(page[0], "w", encoding="utf-8") as file:
            file.write(f"{before}{begin}{table}\n{end}{after}")


main()

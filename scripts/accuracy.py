"""How far from the true centre Telvane's answer lies, on drawn wheels; started by scripts/accuracy.sh.

    accuracy.py <wheelsim> <Telvane> <folder for the frames> [--write]

Prints a table in Markdown: for every kind of scene the median and the largest distance, in pixels, of nine wheels that
differ in place, starting angle and noise; and a budget of the errors. With --write, docs/accuracy.md gets both and
README.md a part of the table, each between its lines "<!-- ...: begin -->" and "<!-- ...: end -->".
"""

import concurrent.futures
import math
import os
import re
import statistics
import subprocess
import sys
import tempfile

WHEELS = 9  # of each kind


class Kind:
    """One row of the table."""

    def __init__(self, name, options=None, changes=None, *, readme=False, middle=False, part_of=None):
        self.name = name
        self.options = options or {}  # of wheelsim; a function gives the value of the n-th wheel at (x, y)
        self.changes = changes or {}  # what the command line says differently from the truth
        self.readme = readme
        self.middle = middle  # of the picture, as a camera is mounted; or else all over it
        self.part_of = part_of  # the influence in the budget
        self.errors = {}  # by method


def turning(length):
    """A length in another direction for each wheel."""
    return lambda number, x, y: f"{length},{40 * number}"


def turning_on(length):
    return lambda number, x, y: f"{length},{130 * number % 360}"


def spot(strength):
    """A quarter of the wheel, on its ring."""
    def place(number, x, y):
        angle = 0.7 * number
        return f"{x + 120 * math.cos(angle):.1f},{y + 120 * math.sin(angle):.1f},125,{strength}"
    return place


# One after the other, and all together.
MILD = [
    ("tilt", {"tilt": turning(2), "distance": 2500}),
    ("eccentricity", {"eccentric": turning_on(1)}),
    ("thickness", {"thickness": 160, "distance": 2500}),
    ("lens", {"lens": 0.02}),
    ("vignetting", {"vignette": 0.1}),
    ("highlight", {"highlight": spot(20)}),
    ("flicker", {"flicker": "0.03,2.4"}),
    ("blur", {"exposure": 0.2}),
    ("rolling shutter", {"rolling": 0.1}),
    ("shot noise", {"fullwell": 10000}),
    ("push", {"push": "7,1,0"}),
    ("dirt", {"scratches": 10, "dirt": 10}),
]
REAL = {name: value for _, options in MILD for name, value in options.items()}
mild = dict(MILD)


def unkind(name, options, **more):
    return Kind(name, options, middle=True, **more)


BASE = unkind("a kind wheel near the middle of the picture", {})
TOGETHER = unkind("a real machine, well set up: all mild ones", REAL, readme=True)
KINDS = [
    Kind("as it should be: teeth move 1.6 pixels per frame", readme=True),
    Kind("counter-clockwise", {"speed": -0.4}),
    Kind("slow: 0.2 pixels per frame", {"speed": 0.05}),
    Kind("fast: 2.5 pixels per frame", {"speed": 0.615}),
    Kind("very fast: 16 pixels per frame, 0.4 of a tooth", {"speed": 3.6}),
    Kind("too fast: 20 pixels per frame, half a tooth", {"speed": 4.5}, readme=True),
    Kind("12 teeth", {"teeth": 12}),
    Kind("80 teeth", {"teeth": 80}),
    Kind("small wheel, radii 60 and 80", {"inner": 60, "outer": 80, "teeth": 20, "speed": 1.3}),
    Kind("large wheel, radii 380 and 430", {"inner": 380, "outer": 430, "teeth": 60, "speed": 0.22}),
    Kind("noise of 6 grey levels", {"noise": 6}),
    Kind("four fifths of the light lost across the picture", {"uneven": 0.8}),
    Kind("5 frames instead of 15", {"count": 5}),
    Kind("2 frames", {"count": 2}),
    Kind("half of the wheel outside the picture", {"side": True}, readme=True),
    Kind("another thing moves, blanked by -m", {"disc": "250,220,90,6,2"}),
    Kind("another thing moves, not blanked", {"disc": "250,220,90,6,2"}, {"mask": False}, readme=True),
    Kind("both radii given 5 % too large", {}, {"radii": 1.05}, readme=True),
    Kind("both radii given 15 % too large", {}, {"radii": 1.15}),
    Kind("sense of rotation given wrong", {}, {"turn": -1}, readme=True),
    BASE,
    unkind("tilt of 2°, seen from 2500 pixels", mild["tilt"], part_of="tilt"),
    unkind("tilt of 8°, seen from 2500 pixels", {**mild["tilt"], "tilt": turning(8)}, readme=True),
    unkind("thickness of 60 pixels, seen from 2500", {"thickness": 60, "distance": 2500}),
    unkind("thickness of 160 pixels, seen from 2500", mild["thickness"], readme=True, part_of="thickness"),
    unkind("thickness of 60 pixels, seen from 1000", {"thickness": 60, "distance": 1000}),
    unkind("eccentricity of 1 pixel", mild["eccentricity"], part_of="eccentricity"),
    unkind("eccentricity of 5 pixels", {"eccentric": turning_on(5)}, readme=True),
    unkind("lens, k1 = 0.02", mild["lens"], part_of="lens"),
    unkind("lens, k1 = 0.1", {"lens": 0.1}),
    Kind("lens, k1 = 0.02, wheels all over the picture", {"lens": 0.02}),
    Kind("lens, k1 = 0.1, wheels all over the picture", {"lens": 0.1}),
    unkind("vignetting of a tenth", mild["vignetting"], part_of="vignetting"),
    unkind("vignetting of a half", {"vignette": 0.5}),
    unkind("highlight on a quarter of the wheel, 20 levels", mild["highlight"], part_of="highlight"),
    unkind("highlight on a quarter of the wheel, 60 levels", {"highlight": spot(60)}),
    unkind("shadow on a quarter of the wheel, 0.2 of the light", {"shadow": spot(0.2)}),
    unkind("shadow on a quarter of the wheel, 0.8 of the light", {"shadow": spot(0.8)}),
    unkind("flicker of 3 %", mild["flicker"], part_of="flicker"),
    unkind("flicker of 20 %", {"flicker": "0.2,2.4"}),
    unkind("underexposed, 0.3 of the light", {"gain": 0.3}, readme=True),
    unkind("overexposed, 1.5 times the light", {"gain": 1.5}),
    unkind("blur of a fifth of the movement", mild["blur"], part_of="blur"),
    unkind("blur of the whole movement", {"exposure": 1}),
    unkind("rolling shutter, a tenth of the frame time", mild["rolling shutter"], part_of="rolling shutter"),
    unkind("rolling shutter, the whole frame time", {"rolling": 1}),
    unkind("shot noise, full well 10,000", mild["shot noise"], part_of="shot noise"),
    unkind("shot noise, full well 1,000", {"fullwell": 1000}),
    unkind("rows differ by 0.5 grey levels", {"rownoise": 0.5}),
    unkind("rows differ by 3 grey levels", {"rownoise": 3}),
    unkind("500 hot pixels", {"hot": 500}),
    unkind("speed grows by 0.02° per frame", {"ramp": 0.02}),
    unkind("a jerk of half a tooth", {"jerk": "7,4.5"}),
    unkind("camera pushed by 1 pixel", mild["push"], part_of="push"),
    unkind("camera pushed by 5 pixels", {"push": "7,5,0"}, readme=True),
    unkind("every second frame repeats", {"repeat": "1,3,5,7,9,11,13"}),
    unkind("4 frames lost", {"lose": "3,6,9,12"}),
    unkind("10 scratches and 10 spots of dirt", mild["dirt"], part_of="dirt"),
    unkind("60 scratches and 60 spots of dirt", {"scratches": 60, "dirt": 60}),
    unkind("backdrop with a texture of 20 levels", {"texture": 20}),
    TOGETHER,
]


def draw(wheelsim, folder, kind, number):
    """Draws the number-th wheel of a kind. Returns its centre and the command lines by method."""
    options = {"outer": 250, "seed": 1 + number, "start": 7.3 * number, **kind.options}
    outer = options["outer"]
    # Over the picture by fractions of a pixel as well; the ring with its neighbourhood stays inside.
    across, down = (number % 3) / 2, (number // 3) / 2
    if kind.middle:
        x, y = 600 + 80 * across + 0.37 * number, 440 + 80 * down + 0.29 * number
    else:
        x = outer + 20 + across * (1239 - 2 * outer) + 0.37 * number
        y = outer + 20 + down * max(919 - 2 * outer, 0) + 0.29 * number
    if options.pop("side", False):
        x = 40 + 0.37 * number if number % 2 else 1240 - 0.37 * number
    if "disc" in options:
        x = max(x, 620)
    command = [wheelsim, "--out", folder, "--centre", f"{x:.2f},{y:.2f}"]
    for name, value in options.items():
        command += [f"--{name}", str(value(number, x, y) if callable(value) else value)]
    said = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    lines = {key: line.split() for key, line in re.findall(r"^(VOTES|RING)=Telvane (.*)$", said, re.M)}
    truth = re.search(r"^TRUE_CENTRE=(.*),(.*)$", said, re.M)
    return tuple(map(float, truth.groups())), lines


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


def measure(wheelsim, telvane, folder, kind, number):
    """The error of each method on one wheel."""
    with tempfile.TemporaryDirectory(dir=folder) as frames:
        truth, lines = draw(wheelsim, frames, kind, number)
        return {method: distance(found_centre(telvane, frames, altered(words, kind.changes)), truth)
                for method, words in lines.items()}


def pixels(value):
    return "none found" if math.isinf(value) else f"{value:.1f}" if value < 10 else f"{value:.0f}"


def row(kind):
    cells = [kind.name]
    for method in ("VOTES", "RING"):
        values = kind.errors.get(method)
        # wheelsim gives no ring search where part of the ring is outside.
        cells += [pixels(statistics.median(values)), pixels(max(values))] if values else ["cannot", "cannot"]
    return f"| {' | '.join(cells)} |"


def table(kinds):
    return "\n".join(["| drawn wheels | votes: median | largest | ring search: median | largest |",
                      "| --- | ---: | ---: | ---: | ---: |", *map(row, kinds)])


def mean_square(kind, method):
    return statistics.mean(value * value for value in kind.errors[method])


def budget():
    """What each mild influence adds to the error of a kind wheel, and all of them beside what is measured."""
    def line(name, squares):
        return f"| {name} | {' | '.join(pixels(math.sqrt(max(0, s))) for s in squares)} |"

    methods = ("VOTES", "RING")
    base = [mean_square(BASE, method) for method in methods]
    lines = ["| part of the error, root mean square in pixels | votes | ring search |", "| --- | ---: | ---: |",
             line("whole pixels and the method itself", base)]
    total = list(base)
    for kind in KINDS:
        if kind.part_of:
            added = [max(0, mean_square(kind, method) - b) for method, b in zip(methods, base)]
            total = [t + a for t, a in zip(total, added)]
            lines.append(line(kind.part_of, added))
    lines.append(line("**root of the sum of the squares**", total))
    lines.append(line("**measured with all of them**", [mean_square(TOGETHER, method) for method in methods]))
    return "\n".join(lines)


def replace(page, name, text):
    """Renews what stands in a page between the lines of a name."""
    with open(page, encoding="utf-8") as file:
        old = file.read()
    begin, end = f"<!-- {name}: begin -->\n", f"<!-- {name}: end -->"
    if begin not in old or end not in old:
        sys.exit(f"{page} has no place for {name}")
    before, after = old.split(begin)[0], old.split(end)[1]
    with open(page, "w", encoding="utf-8") as file:
        file.write(f"{before}{begin}{text}\n{end}{after}")


def main():
    wheelsim, telvane, folder, *write = sys.argv[1:]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
        runs = {kind: [workers.submit(measure, wheelsim, telvane, folder, kind, number) for number in range(WHEELS)]
                for kind in KINDS}
        for kind, results in runs.items():
            for result in results:
                for method, error in result.result().items():
                    kind.errors.setdefault(method, []).append(error)
            print(row(kind), file=sys.stderr, flush=True)
    print(f"{table(KINDS)}\n\n{budget()}")
    if write:
        replace("README.md", "accuracy", table(kind for kind in KINDS if kind.readme))
        replace("docs/accuracy.md", "accuracy", table(KINDS))
        replace("docs/accuracy.md", "budget", budget())


main()

"""Pictures of what the simulator can draw, for docs/accuracy.md; started by scripts/pictures.sh.

    influences.py <wheelsim> <folder for the pictures>

Every influence is drawn much stronger than in the table of that page, so that it shows.
"""

import struct
import subprocess
import sys
import tempfile
import zlib

# Name, options of wheelsim, the part that is shown (left, top, width, height) and by how much it is reduced.
WHOLE = (380, 200, 544, 544), 2
RING = (780, 260, 160, 160), 1
CALM = "--noise 0 --uneven 0"
PICTURES = [
    ("kind", CALM, *WHOLE),
    ("tilt", f"{CALM} --tilt 30,20 --distance 1500", *WHOLE),
    ("thickness", f"{CALM} --tilt 12,20 --distance 1000 --thickness 60", *WHOLE),
    ("eccentricity", f"{CALM} --eccentric 20,180", *WHOLE),
    ("lens", f"{CALM} --lens 0.5 --centre 500,420 --texture 30", (0, 0, 1280, 960), 4),
    ("vignetting", f"{CALM} --vignette 0.9 --texture 30", (0, 0, 1280, 960), 4),
    ("highlight", f"{CALM} --highlight 750,400,125,60", *WHOLE),
    ("shadow", f"{CALM} --shadow 750,400,125,0.8", *WHOLE),
    ("underexposed", "--gain 0.3", *WHOLE),
    ("overexposed", "--gain 1.5", *WHOLE),
    ("blur", f"{CALM} --exposure 1 --speed 4", *WHOLE),
    ("rolling", f"{CALM} --rolling 1 --speed 40 --teeth 20", *WHOLE),
    ("shot", "--noise 0 --fullwell 500", *RING),
    ("rows", "--noise 0 --rownoise 8", *RING),
    ("hot", f"{CALM} --hot 20000", *RING),
    ("dirt", f"{CALM} --scratches 60 --dirt 60", *WHOLE),
    ("texture", f"{CALM} --texture 30", *WHOLE),
    ("real", "--tilt 2,40 --distance 2500 --thickness 160 --eccentric 1,130 --lens 0.02 --vignette 0.1 "
             "--highlight 750,400,125,20 --exposure 0.2 --rolling 0.1 --fullwell 10000 --scratches 10 --dirt 10", *WHOLE),
]


def frames(wheelsim, options, count):
    """The rows of each frame."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([wheelsim, "--out", folder, "--count", str(count), *options.split()], check=True,
                       stdout=subprocess.DEVNULL)
        pictures = []
        for i in range(count):
            with open(f"{folder}/img{i + 1}.bmp", "rb") as file:
                data = file.read()[1078:]
            pictures.append([data[y * 1280:(y + 1) * 1280] for y in range(959, -1, -1)])
        return pictures


def part(rows, box, reduce):
    left, top, width, height = box
    square = range(reduce)
    return [bytes(sum(rows[top + y + j][left + x + i] for j in square for i in square) // (reduce * reduce)
                  for x in range(0, width, reduce)) for y in range(0, height, reduce)]


def write(name, rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", len(rows[0]), len(rows), 8, 0, 0, 0, 0)
    # Each row as its difference from the one above, which packs best.
    lines = b"".join(b"\2" + bytes((a - b) & 255 for a, b in zip(row, above))
                     for row, above in zip(rows, [bytes(len(rows[0])), *rows]))
    with open(name, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(lines, 9)) +
                   chunk(b"IEND", b""))


def main():
    wheelsim, folder = sys.argv[1:]
    for name, options, box, reduce in PICTURES:
        write(f"{folder}/{name}.png", part(frames(wheelsim, options, 1)[0], box, reduce))
    # Two frames side by side: before a push and after it, one dark and one bright.
    for name, options in (("push", "--push 1,0,20"), ("flicker", "--flicker 0.3,4 --first 1 --p1 2")):
        left, right = frames(wheelsim, f"{CALM} --speed 0 {options}", 2)
        write(f"{folder}/{name}.png", part([a[:652] + b[652:] for a, b in zip(left, right)], *WHOLE))
    # One row of 15 frames, from the first at the top to the last: evenly, and with a jerk, a repeat and a loss.
    steady = frames(wheelsim, CALM, 15)
    uneven = frames(wheelsim, f"{CALM} --jerk 4,2.25 --repeat 8 --lose 12", 15)
    strips = [(a[239][572:732] + b"\xff" * 4 + b[239][572:732]) for a, b in zip(steady, uneven)]
    write(f"{folder}/time.png", [strip for strip in strips for _ in range(12)])


main()

#!/bin/bash
# Makes the pictures of the documentation anew: scripts/pictures.sh
#
# They are what the project's own programs draw: a wheel with the arguments marked (wheelsim --preview), a run with
# the result marked (Telvane), each stage between (telvane-report), what real machines show (wheelsim), and what the
# diagnosis measures. They come into docs/pictures.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

build_programs python3
programs=$PWD/build/release
pictures=$PWD/docs/pictures
run=$(mktemp -d)
trap 'rm -rf "$run"' EXIT

mkdir -p "$pictures"
# Without noise and shade, which would make the files large and show nothing.
"$programs/simulator/wheelsim" --preview "$pictures/arguments.svg" --noise 0 --uneven 0

# A region with the ring and angles for the marks.
"$programs/simulator/wheelsim" --out "$run" --noise 0 >"$run/scene.txt"
read -ra words < <(sed -n 's/^VOTES=Telvane //p' "$run/scene.txt")
first=$((${#words[@]} - 16))
words[first]=560 words[first + 1]=560 words[first + 2]=280 words[first + 3]=280 # the whole ring
words[first + 7]=200 words[first + 8]=340
(cd "$run" && "$programs/Telvane/Telvane" -s "${words[@]}" && "$programs/report/telvane-report")
cp "$run/detected.jpg" "$pictures/marked.jpg"

python3 - "$run/report.html" "$pictures" <<'END'
import base64, re, sys
pictures = {"Direction and strength of the motion in colours": "motion.png",
            "Strength of the motion in grey": "strength.jpg", "The first frame": "frame.jpg"}
drawings = {"Heat map of the votes": "votes.svg", "The peak, enlarged": "peak.svg", "Wheel of colours": "colours.svg"}
page = open(sys.argv[1], encoding="utf-8").read()
for tag in re.findall(r"<img[^>]*>", page):
    title = re.search(r'alt="([^":]*)', tag).group(1)
    if title in pictures:
        data = base64.b64decode(re.search(r"base64,([^\"]*)", tag).group(1))
        open(f"{sys.argv[2]}/{pictures.pop(title)}", "wb").write(data)
for drawing in re.findall(r"<svg.*?</svg>", page, re.DOTALL):
    title = re.search(r"<title>([^<]*)", drawing)
    if title and title.group(1) in drawings:
        # Alone they have no page whose colour the words could take.
        text = drawing.replace("currentColor", "#888") if "Wheel" in title.group(1) else drawing
        open(f"{sys.argv[2]}/{drawings.pop(title.group(1))}", "w", encoding="utf-8").write(text + "\n")
if pictures or drawings:
    sys.exit(f"Not in the report: {', '.join([*pictures, *drawings])}")
END
mkdir -p "$pictures/influences"
python3 scripts/influences.py "$programs/simulator/wheelsim" "$pictures/influences"
scripts/install-packages.sh libgtest-dev
configure release -DTELVANE_TESTS=ON
build build/release diagnosis_pictures
mkdir -p "$pictures/diagnosis"
"$programs/tests/diagnosis_pictures" "$pictures/diagnosis"
ls -l "$pictures" "$pictures/influences" "$pictures/diagnosis"

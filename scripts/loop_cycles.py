"""What processors of the boards take for a loop of an assembly listing, for each pixel.

    loop_cycles.py cycles <listing> <function> <bytes> <model>...
    loop_cycles.py instructions <listing> <function> <stores>

Cycles on 64-bit ARM, as llvm-mca models them: of the first innermost loop with vector code in a function whose name
contains that. An iteration makes as many pixels as a vector of 16 bytes has elements of the smallest type, of so many
bytes. Instructions on 32-bit ARM, where there are no vectors: of the innermost loop with the fewest for a pixel, which
is stored by so many instructions.
"""

import re
import subprocess
import sys


def innermost_loops(listing, function):
    """The instructions of each, from its label to the branch back."""
    with open(listing) as text:
        lines = subprocess.run(["c++filt"], stdin=text, capture_output=True, text=True, check=True).stdout.splitlines()
    inside, labels = False, {}
    for number, line in enumerate(lines):
        if re.match(r"[^\s.].*:$", line):
            inside, labels = function in line, {}
        elif label := re.match(r"(\.L\d+):", line):
            labels[label[1]] = number
        elif inside and (branch := re.match(r"\t(?:b\.?\w*|cbn?z)\t.*?(\.L\d+)$", line)) and branch[1] in labels:
            body = lines[labels[branch[1]] + 1 : number + 1]
            if not any(re.match(r"\.L\d+:", one) for one in body):
                yield [one for one in body if not one.startswith("\t.")]


def vector_loop(listing, function):
    for body in innermost_loops(listing, function):
        if any(re.search(r"\bv\d+\.", one) for one in body):
            return body
    sys.exit(f"no loop of vector code in {function}")


def cycles(body, model):
    iterations = 100
    report = subprocess.run(
        ["llvm-mca-19", "-mtriple=aarch64-linux-gnu", f"-mcpu={model}", f"-iterations={iterations}"],
        input="\n".join(body) + "\n", capture_output=True, text=True, check=True).stdout
    return int(re.search(r"Total Cycles:\s+(\d+)", report)[1]) / iterations


def instructions(listing, function, stores):
    """For a pixel, of the loop that has the fewest."""
    found = [len(body) * stores / written for body in innermost_loops(listing, function)
             if (written := sum(bool(re.match(r"\tstrh?\t", one)) and "sp" not in one for one in body)) >= stores]
    return min(found) if found else sys.exit(f"no loop that stores in {function}")


def main():
    what, listing, function, size, *models = sys.argv[1:]
    if what == "cycles":
        body = vector_loop(listing, function)
        print(*(f"{cycles(body, model) * int(size) / 16:.2f}" for model in models))
    else:
        print(f"{instructions(listing, function, int(size)):.1f}")


main()

"""Cycles that processors of the boards take for a loop of an assembly listing, as llvm-mca models them.

    loop_cycles.py <listing> <function> <bytes> <model>...

The loop is the first of the innermost ones with vector code in a function whose name contains that. An iteration
makes as many pixels as a vector of 16 bytes has elements of the smallest type, of so many bytes. Prints the cycles
for a pixel on each model.
"""

import re
import subprocess
import sys


def loop_of(listing, function):
    """The instructions of the loop, from its label to the branch back."""
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
            if not any(re.match(r"\.L\d+:", one) for one in body) and any(re.search(r"\bv\d+\.", one) for one in body):
                return [one for one in body if not one.startswith("\t.")]
    sys.exit(f"no loop of vector code in {function}")


def cycles(body, model):
    iterations = 100
    report = subprocess.run(
        ["llvm-mca-19", "-mtriple=aarch64-linux-gnu", f"-mcpu={model}", f"-iterations={iterations}"],
        input="\n".join(body) + "\n", capture_output=True, text=True, check=True).stdout
    return int(re.search(r"Total Cycles:\s+(\d+)", report)[1]) / iterations


def main():
    listing, function, size, *models = sys.argv[1:]
    body = loop_of(listing, function)
    print(*(f"{cycles(body, model) * int(size) / 16:.2f}" for model in models))


main()

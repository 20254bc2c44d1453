#!/usr/bin/env python3
"""Mutation testing: breaks one operator, constant, name or statement of the production code at a time and
counts how many of these mutants the tests notice.

The working tree is copied to build/mutants/<job>/source, and only the copy is ever changed. For each mutant
ninja rebuilds what depends on the changed file, and the test programs of PROGRAMS are run until one fails. A
program whose binary is the same as before is not run: it would say the same. Where every binary is the same,
the compiler has proved the mutant equivalent. What survives is tried again under the address and undefined
sanitizers, as the tests are.

Exit status 0 when at least 95 in 100 of the mutants that compile and are not equivalent were noticed.
"""
import argparse
import dataclasses
import hashlib
import os
import pathlib
import queue
import re
import select
import shutil
import signal
import subprocess
import sys
import threading
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutants"
EQUIVALENTS = ROOT / "tests" / "mutants-equivalent.txt"
FAIL_STOP = re.compile(rb"^\d\d/\d\d [\d:.]+ > -999 Err\d+ in", re.MULTILINE)
ENOUGH = 95  # per cent
NOTICED = ("noticed", "timed out")
WRONG = "   (ARGUED AS EQUIVALENT, WRONGLY)"

# The test programs that can notice a change of a file, likely and quick ones first.
FAMILIES = ["test_views", "test_arithmetic", "test_reductions", "test_Convert", "test_comparisons"]
MOTION = ["test_Imgproc", "test_OptFlow", "test_Votes", "test_FindSemiCircle"]
DETECTION = ["test_Overlay", "test_GetBackground", "test_Mask", "test_Detect", "test_DetectFailures"]
PICTURES = ["test_bmpread", "test_bmpwrite", "test_jpegwrite"]
RUNS = ["test_ProgramDriver", "test_ProgramCameras", "test_Program"]
PROGRAMS = {
    "Kavrix/KXarith.h": ["test_arithmetic", "test_Convert", "test_reductions", "test_views", *MOTION,
                         "test_bmpwrite", "test_Overlay", "test_Detect", "test_FastFilter"],
    "Kavrix/KXelementwise.h": [*FAMILIES, *MOTION, "test_GetBackground", "test_FastFilter"],
    "Kavrix/KXarray-inl.h": [*FAMILIES, "test_Surface", "test_FastFilter", "test_Imgproc", "test_KXcommon"],
    "Kavrix/KXcompare-inl.h": ["test_comparisons", "test_Surface"],
    "Kavrix/KXreduce-inl.h": ["test_reductions", "test_Surface"],
    "Kavrix/KXdraw-inl.h": ["test_drawing", "test_examples", "test_Surface"],
    "Kavrix/SelectRank.h": ["test_reductions", "test_Surface"],
    "Kavrix/Convert-inl.h": ["test_Convert", "test_Surface"],
    "Kavrix/KXcommon.cpp": ["test_views", "test_KXcommon", "test_Datablock", "test_Convert",
                            "test_arithmetic", "test_Surface", "test_rawfiles"],
    "Kavrix/Datablock.cpp": ["test_Datablock", "test_KXcommon", "test_views", "test_Surface"],
    "Kavrix/KXshort2.cpp": ["test_comparisons", "test_arithmetic", "test_Surface"],
    "Kavrix/KXshort3.cpp": ["test_reductions", "test_drawing", "test_Surface"],
    "Kavrix/KXint2.cpp": ["test_arithmetic", "test_Surface"],
    "Kavrix/KXint3.cpp": ["test_reductions", "test_Surface"],
    "Kavrix/KXfloat3.cpp": ["test_reductions", "test_Surface"],
    "Kavrix/KXubyte2.cpp": ["test_comparisons", "test_arithmetic", "test_Surface"],
    "Kavrix/Imgproc.cpp": ["test_Imgproc", "test_FastFilter", "test_examples", "test_Detect"],
    "Kavrix/OptFlow.cpp": ["test_Votes", "test_OptFlow", "test_OptFlowCancel", "test_Detect",
                           "test_Golden"],
    "Kavrix/FindSemiCircle.cpp": ["test_FindSemiCircle", "test_Detect"],
    "Kavrix/WithFile.h": [*PICTURES, "test_jpegwrite_exceptions", "test_Program"],
    "Kavrix/bmpformat.h": ["test_bmpwrite", "test_bmpread", "test_arraydump"],
    "Kavrix/bmpread.cpp": ["test_bmpread", "test_Program"],
    "Kavrix/bmpwrite.cpp": ["test_bmpwrite", "test_Program"],
    "Kavrix/jpegwrite.cpp": ["test_jpegwrite", "test_jpegwrite_exceptions", "test_Program"],
    "Kavrix/rawfiles.cpp": ["test_rawfiles", "test_Surface"],
    "Kavrix/arraydump.cpp": ["test_arraydump"],
    "Telvane/Telvane.cpp": [*DETECTION, "test_Golden"],
    "Telvane/Main.cpp": RUNS,
    "Telvane/Grab.cpp": ["test_Grab", "test_ProgramCameras", "test_Program"],
}
# What a test program starts, and is judged by as well.
STARTS = {
    "test_Golden": ["Telvane/Telvane", "simulator/wheelsim"],
    "test_Program": ["Telvane/Telvane"],
    "test_ProgramCameras": ["tests/Telvane_closed_camera", "tests/Telvane_film_camera"],
    "test_ProgramDriver": ["tests/Telvane_told_detection"],
    "test_examples": ["examples/filter_views", "examples/flow_colours", "examples/draw_marks"],
}

# ------------------------------------------------------------------------------------ what can be broken

TOKEN = re.compile(r"""
    (?P<skip>   //[^\n]* | /\*.*?\*/ | ^[ \t]*\#(?:\\\n|[^\n])* | \s+ )
  | (?P<text>   "(?:\\.|[^"\\\n])*" | '(?:\\.|[^'\\\n])' )
  | (?P<number> 0[xX][0-9a-fA-F']*(?:\.[0-9a-fA-F]*)?(?:[pP][+-]?\d+)?[uUlLfF]*
              | \d[\d']*(?:\.\d*)?(?:[eE][+-]?\d+)?[uUlLfF]* )
  | (?P<name>   [A-Za-z_]\w* )
  | (?P<op>     <<= | >>= | <=> | \.\.\. | ->\* | -> | :: | \+\+ | -- | <= | >= | == | != | && | \|\|
              | [-+*/%&|^]= | << | >> | . )
""", re.VERBOSE | re.MULTILINE | re.DOTALL)

BINARY = {
    "+": ["-"], "-": ["+"], "*": ["/", "+"], "/": ["*"], "%": ["*"],
    "<": ["<=", ">"], "<=": ["<", ">"], ">": [">=", "<"], ">=": [">", "<"], "==": ["!="], "!=": ["=="],
    "&&": ["||"], "||": ["&&"], "<<": [">>"], ">>": ["<<"], "&": ["|"], "|": ["&"], "^": ["|"],
    "+=": ["-="], "-=": ["+="], "*=": ["/="], "/=": ["*="], "|=": ["&="], "&=": ["|="], "^=": ["|="],
    "<<=": [">>="], ">>=": ["<<="],
}
SWAPPED = {}
for pair in ("x y", "dim1 dim2", "step1 step2", "dx dy", "rx ry", "cx cy", "f_cx f_cy", "u v", "uf vf",
             "us vs", "Ex Ey", "ua va", "wid hgh", "w h", "width height", "ncols nrows", "l r", "t b",
             "lc rc", "tc bc", "first last", "lo hi", "r1 r2", "innerR outerR", "x1 y1", "x2 y2", "mx my",
             "xn yn", "ix iy", "min max", "Max Min", "Argmax Argmin", "WrapAdd WrapSub", "true false",
             "period1 period2", "from to", "to1 from1", "to2 from2", "u_sum v_sum", "u_sum_sh v_sum_sh",
             "ang1 ang2", "c1 c2", "P0 N0", "P1 N1", "sqrt fabs", "cos sin", "tdim1 tdim2", "mask1 mask2"):
    one, other = pair.split()
    SWAPPED[one], SWAPPED[other] = other, one
FUNCTIONS = {"min", "max", "Max", "Min", "Argmax", "Argmin", "WrapAdd", "WrapSub", "cos", "sin", "sqrt",
             "fabs"}
ARRAYS = {"u", "v", "u_sum", "v_sum", "u_sum_sh", "v_sum_sh", "Ex", "Ey", "mask1", "mask2"}
CONTROLS = {"if", "for", "while", "switch"}
STATEMENT_WORDS = {"return", "break", "continue"}
NO_STATEMENT = {"using", "static", "const", "constexpr", "auto", "enum", "struct", "class", "namespace",
                "public", "private", "case", "default", "template", "typename", "friend", "extern", "goto",
                "do", "else", "unsigned", "signed", "char", "int", "short", "float", "double", "bool",
                "void", *CONTROLS}
ACTING = {"=", "(", "++", "--", *BINARY}
DECLARATION = re.compile(r"[\w:]+(<[^;=()]*>)?(::\w+)?[ ]?[*&]*[ ]?(const )?\w+( =|;|\{)")
ASSIGNMENT = re.compile(r"[\w.\[\]()>-]+ =")


@dataclasses.dataclass(frozen=True)
class Token:
    kind: str
    text: str
    start: int
    end: int


GAP = Token("gap", ";", 0, 0)


@dataclasses.dataclass(frozen=True)
class Mutant:
    file: str
    start: int
    end: int
    new: str
    line: int
    before: str  # the line, without its indentation
    after: str
    above: str   # the line above it


def tokens_of(source):
    """The tokens that may be broken: no comments, preprocessor lines, static assertions, attributes, template
    parameters. What is left out leaves a gap: nothing is taken for a neighbour of what it is not."""
    found, position = [], 0
    while position < len(source):
        match = TOKEN.match(source, position)
        position = match.end()
        if match.lastgroup != "skip":
            found.append(Token(match.lastgroup, match.group(), match.start(), match.end()))

    def closing(i, opening, close):
        depth = 0
        for j in range(i, len(found)):
            depth += (found[j].text == opening) - (found[j].text == close)
            if depth == 0:
                return j
        return len(found) - 1

    kept, i = [], 0
    while i < len(found):
        text, after = found[i].text, found[i + 1].text if i + 1 < len(found) else ""
        end = None
        if text in ("static_assert", "__attribute__") and after == "(":
            end = closing(i + 1, "(", ")")
        elif text == "template" and after == "<":
            end = closing(i + 1, "<", ">")
        elif text == "[" and after == "[":
            end = closing(i, "[", "]")
        if end is None:
            kept.append(found[i])
            i += 1
        else:
            kept.append(Token("gap", ";", found[i].start, found[end].end))
            i = end + 1
    return kept


def other_numbers(text):
    """The numbers one off."""
    digits = text.replace("'", "")
    suffix = re.search(r"[uUlL]*$" if digits[:2].lower() == "0x" else r"[uUlLfF]*$", digits).group()
    value = digits[:len(digits) - len(suffix)]
    if digits[:2].lower() == "0x":
        if re.search(r"[.pP]", value):  # a power of two: twice and half of it
            head, exponent = re.split(r"[pP]", value)
            return [f"{head}p{int(exponent) + step}{suffix}" for step in (1, -1)]
        return [f"{int(value, 16) + step:#x}{suffix}" for step in (1, -1)]
    if re.search(r"[.eE]", value):
        return [f"({text} + 1)", f"({text} - 1)"]
    number = int(value, 8 if re.fullmatch(r"0\d+", value) else 10)
    return [f"{number + 1}{suffix}", f"{number - 1}{suffix}" if number else f"(-1{suffix})"]


class Breaker:
    """Finds what can be broken in one file."""

    def __init__(self, source):
        self.source = source
        self.tokens = tokens_of(source)
        self.changes = []         # (start, end, new text)
        self.begins = set()       # indices of tokens that begin a statement
        self.conditional = set()  # those of them that hang on if, else, for or while
        self.find_statements()

    def token(self, i):
        return self.tokens[i] if 0 <= i < len(self.tokens) else GAP

    def spaced(self, token):
        """Binary operators have blanks around them; brackets of templates and signs have not."""
        return self.source[token.start - 1].isspace() and self.source[token.end:token.end + 1].isspace()

    def change(self, token, new):
        self.changes.append((token.start, token.end, new))

    def find_statements(self):
        brackets = []  # each open one, and whether it is that of a condition
        for i, token in enumerate(self.tokens):
            if token.text in ("(", "[", "{"):
                word = self.token(i - 1).text
                if word == "constexpr":
                    word = self.token(i - 2).text
                brackets.append((token.text, token.text == "(" and word in CONTROLS))
            elif token.text in (")", "]", "}") and brackets:
                if brackets.pop() == ("(", True):
                    self.conditional.add(i + 1)
            if token.text == "else":
                self.conditional.add(i + 1)
            if token.text in (";", "{", "}") and brackets and brackets[-1][0] == "{":
                self.begins.add(i + 1)
        self.begins |= self.conditional

    def all_changes(self):
        printing = False  # inside a statement with a stream, whose << is no shift
        for i, token in enumerate(self.tokens):
            printing = token.text not in (";", "{", "}") and (printing or token.text in ("cout", "cerr"))
            if token.kind == "op":
                if not (printing and token.text in ("<<", ">>")):
                    self.break_operator(i)
            elif token.kind == "number":
                self.break_number(i)
            elif token.text == "else":
                self.change(token, "")
            elif token.text in SWAPPED:
                self.swap_name(i)
            if i in self.begins:
                self.remove_statement(i)
        return self.changes

    def break_operator(self, i):
        token, previous = self.token(i), self.token(i - 1)
        if previous.text == "operator":
            return
        after_operand = previous.kind in ("name", "number", "text") or previous.text in (")", "]", "}")
        if token.text in BINARY and after_operand and self.spaced(token):
            for new in BINARY[token.text]:
                self.change(token, new)
        elif token.text in ("++", "--"):
            self.change(token, "--" if token.text == "++" else "++")
        elif token.text == "!" or token.text in ("-", "~") and not after_operand:
            self.change(token, "")

    def break_number(self, i):
        numbers = other_numbers(self.token(i).text)
        # One more than the size of an array changes nothing but the stack.
        before, type_word, behind = self.token(i - 1), self.token(i - 3), self.token(i + 2)
        declared = (type_word.kind == "name" and type_word.text not in STATEMENT_WORDS) or \
            (behind.text == "=" and self.token(i + 3).text == "{")
        if before.text == "[" and self.token(i + 1).text == "]" and declared:
            numbers = numbers[1:]
        for new in numbers:
            self.change(self.token(i), new)

    def swap_name(self, i):
        token, previous, following = self.token(i), self.token(i - 1), self.token(i + 1)
        declared = (previous.kind == "name" and previous.text not in STATEMENT_WORDS) or \
            (previous.text in ("*", "&", "&&", ">") and not self.spaced(previous)) or \
            (previous.text == "," and following.text == "=")
        # A local name only where its counterpart is about; a call only of a function that has one.
        near = self.source[max(token.start - 1500, 0):token.end + 1500]
        known = previous.text in (".", "->", "::") or token.text in FUNCTIONS or \
            re.search(rf"\b{SWAPPED[token.text]}\b", near)
        called = following.text in ("(", "<") and token.text not in ARRAYS
        if known and not declared and (token.text in FUNCTIONS or not called):
            self.change(token, SWAPPED[token.text])

    def remove_statement(self, i):
        """A call, an assignment, a jump; not a declaration, nor a return that a result depends on."""
        token, following = self.token(i), self.token(i + 1)
        jump = token.text in STATEMENT_WORDS
        if token.kind not in ("name", "op") or token.text in NO_STATEMENT or token.text in "{};)]#~[":
            return
        if token.text == "return" and i not in self.conditional and following.text != ";":
            return
        if token.kind == "name" and following.kind == "name" and not jump:
            return
        end, depth = i, 0
        while depth >= 0 and end < len(self.tokens) and not (depth == 0 and self.token(end).text == ";"):
            depth += (self.token(end).text in "([{") - (self.token(end).text in ")]}")
            end += 1
        statement = self.source[token.start:self.token(end).end]
        if depth != 0 or "\n" in statement:
            return
        if not jump:
            if not any(t.text in ACTING for t in self.tokens[i:end]):
                return
            if DECLARATION.match(statement) and not ASSIGNMENT.match(statement):
                return
        self.changes.append((token.start, self.token(end).start, ""))


def mutants_of(file, source):
    found = {}
    for start, end, new in Breaker(source).all_changes():
        first = source.rfind("\n", 0, start) + 1
        last = source.find("\n", end)
        above = source[source.rfind("\n", 0, max(first - 1, 0)) + 1:max(first - 1, 0)].strip()
        before = source[first:last]
        after = (source[first:start] + new + source[end:last]).strip()
        mutant = Mutant(file, start, end, new, source.count("\n", 0, start) + 1, before.strip(), after, above)
        found.setdefault((mutant.line, after), mutant)
    return list(found.values())


# ------------------------------------------------------------------------------------ what nobody can notice

def read_equivalents(path):
    """Entries of the form  file / [@ line above] / - before / + after / = why."""
    entries, entry = [], {}
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        sign, _, rest = line.partition(" ")
        if sign not in ("@", "-", "+", "="):
            entry = {"file": line.strip(), "above": None}
            continue
        if sign == "@":
            entry["above"] = rest.strip()
        elif sign == "-":
            entry["before"] = rest.strip()
        elif sign == "+":
            entry["after"] = rest.strip()
        else:
            if "before" not in entry or "after" not in entry or not rest.strip():
                sys.exit(f"{path}:{number}: an argument without a file, a line before and a line after")
            entries.append({**entry, "why": rest.strip()})
            entry = {"file": entry["file"], "above": None}
    return entries


def code_of(line):
    """Without the comment at its end."""
    return re.sub(r"\s*//.*", "", line).strip()


def why_equivalent(mutant, entries):
    for entry in entries:
        if entry["file"] == mutant.file and entry["before"] == code_of(mutant.before) and \
                entry["after"] == code_of(mutant.after) and entry["above"] in (None, code_of(mutant.above)):
            return entry["why"]
    return None


# ------------------------------------------------------------------------------------ building and running

class Job:
    """A copy of the tree with a build folder of its own."""

    FLAGS = {False: "-O1 -DNDEBUG",
             True: "-O1 -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all"}

    def __init__(self, name, sanitized=False):
        self.sanitized = sanitized
        self.source, self.build = WORK / name / "source", WORK / name / "build"
        self.scratch = WORK / name / "tmp"
        self.limit, self.original, self.halts_itself = {}, {}, set()
        self.environment = {**os.environ, "GTEST_FAIL_FAST": "1", "GTEST_BRIEF": "1", "LC_ALL": "C",
                            "TMPDIR": str(self.scratch),
                            "ASAN_OPTIONS": "detect_leaks=1:strict_string_checks=1"}
        # A broken loop fills neither the disk nor the memory.
        self.prefix = ["prlimit", "--core=0", f"--fsize={1 << 30}"]
        if not sanitized:  # whose shadow takes more addresses than there is memory
            self.prefix.append(f"--as={6 << 30}")
        else:  # see scripts/test.sh
            bits = pathlib.Path("/proc/sys/vm/mmap_rnd_bits")
            plain = ["setarch", "--addr-no-randomize"]
            if bits.exists() and int(bits.read_text()) > 28 and \
                    subprocess.run([*plain, "true"], capture_output=True).returncode == 0:
                self.prefix = [*plain, *self.prefix]

    def prepare(self):
        """Copies the tree and configures. Files that did not change keep their times, so that what was built
        in an earlier run is kept."""
        self.scratch.mkdir(parents=True, exist_ok=True)
        wanted = {}
        for folder, folders, files in os.walk(ROOT):
            if pathlib.Path(folder) == ROOT:
                folders[:] = [f for f in folders if f != "build" and not f.startswith(".")]
            for file in files:
                path = pathlib.Path(folder) / file
                wanted[path.relative_to(ROOT)] = path
        for relative, path in wanted.items():
            copy = self.source / relative
            if not copy.exists() or copy.read_bytes() != path.read_bytes():
                copy.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(path, copy)
        for copy in list(self.source.rglob("*")):
            if copy.is_file() and copy.relative_to(self.source) not in wanted:
                copy.unlink()
        self.command(["cmake", "-S", str(self.source), "-B", str(self.build), "-G", "Ninja",
                      "-DCMAKE_BUILD_TYPE=Release", f"-DCMAKE_CXX_FLAGS_RELEASE={self.FLAGS[self.sanitized]}",
                      "-DTELVANE_CAMERA=simulated", "-DTELVANE_TESTS=ON", "-DKAVRIX_CLONES=OFF",
                      f"-DTELVANE_TEST_OPTIONS={'-O0' if self.sanitized else '-O1'}"])

    def command(self, words):
        done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              env=self.environment)
        if done.returncode:
            sys.exit(f"{' '.join(words)}\n{done.stdout}\nfailed")

    def ninja(self, targets, parallel=1):
        return subprocess.run(["ninja", "-C", str(self.build), "-j", str(parallel), *targets],
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              env=self.environment)

    def fingerprint(self, program):
        digest = hashlib.sha256()
        for binary in [f"tests/{program}", *STARTS.get(program, [])]:
            digest.update((self.build / binary).read_bytes())
        return digest.digest()

    def build_all(self, programs, parallel):
        built = self.ninja(programs, parallel)
        if built.returncode:
            sys.exit(f"the tests do not build:\n{built.stdout}")
        self.original = {program: self.fingerprint(program) for program in programs}

    def measure(self, programs):
        """Sees the programs pass on whole code, and notes how long they take."""
        for program in programs:
            start = time.monotonic()
            failure = self.run(program, 900)
            if failure == "halted":  # tests of the fail-stop may let its line through
                self.halts_itself.add(program)
                failure = self.run(program, 900)
            if failure:
                sys.exit(f"{program} does not pass on whole code: {failure}")
            # Other work may slow the machine down: six times as long and more is no accident.
            self.limit[program] = 6 + 6 * (time.monotonic() - start)

    def run(self, program, limit):
        """What of the program's tests failed; empty when all passed."""
        process = subprocess.Popen([*self.prefix, str(self.build / "tests" / program)],
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   cwd=self.scratch, env=self.environment, start_new_session=True)
        output, failure = b"", ""
        deadline = time.monotonic() + limit
        while True:
            left = deadline - time.monotonic()
            if left <= 0:
                failure = "timed out"
                break
            if not select.select([process.stdout], [], [], left)[0]:
                continue
            piece = os.read(process.stdout.fileno(), 1 << 16)
            if not piece:
                break
            output = (output + piece)[-(1 << 20):]
            # The fail-stop sleeps for ever: its line is the end of the test program.
            if program not in self.halts_itself and FAIL_STOP.search(output):
                failure = "halted"
                break
        if not failure:
            try:
                status = process.wait(max(1, deadline - time.monotonic()))
            except subprocess.TimeoutExpired:
                failure = "timed out"
            else:
                if status:
                    test = re.search(rb"\[  FAILED  \] (\S+?),? ", output + b" ")
                    failure = test.group(1).decode() if test else f"ended with {status}"
        try:
            os.killpg(process.pid, signal.SIGKILL)  # what a broken test left behind as well
        except ProcessLookupError:
            pass
        process.wait()
        process.stdout.close()
        return failure

    def try_mutant(self, mutant):
        """What became of it: a word and its details."""
        path = self.source / mutant.file
        original = path.read_text()
        path.write_text(original[:mutant.start] + mutant.new + original[mutant.end:])
        try:
            changed = False
            for program in PROGRAMS[mutant.file]:
                built = self.ninja([program])
                if built.returncode:
                    # A test that no longer compiles has noticed; production code that does not is no mutant.
                    failed = re.findall(r"^FAILED: (\S+)", built.stdout, re.MULTILINE)
                    by_test = failed and all(f.startswith("tests/") and "/__/" not in f for f in failed)
                    if by_test:
                        return "noticed", f"{program} does not compile"
                    error = re.search(r"error: .*", built.stdout)
                    return "does not compile", error.group() if error else ""
                if self.fingerprint(program) == self.original[program]:
                    continue
                changed = True
                failure = self.run(program, self.limit[program])
                if failure:
                    return ("timed out" if failure == "timed out" else "noticed"), f"{program}: {failure}"
            return ("survived", "") if changed else ("same code", "every binary is the same")
        finally:
            path.write_text(original)
            shutil.rmtree(self.scratch, ignore_errors=True)
            self.scratch.mkdir(parents=True, exist_ok=True)


# ------------------------------------------------------------------------------------ the run

def chosen(options, equivalents):
    files = options.file or list(PROGRAMS)
    every, picked = {}, []
    for file in files:
        if file not in PROGRAMS:
            sys.exit(f"{file}: not among the files that are mutated: {', '.join(PROGRAMS)}")
        every[file] = mutants_of(file, (ROOT / file).read_text())
        count = min(options.count, len(every[file])) if options.count else len(every[file])
        # By lot, each mutant for itself: a change of the code elsewhere does not exchange the others.
        def lot(m):
            text = "\n".join([options.seed, file, m.above, m.before, m.after])
            return hashlib.sha256(text.encode()).digest()
        picked += sorted(sorted(every[file], key=lot)[:count], key=lambda m: m.start)
    if options.match:
        picked = [m for m in picked if re.search(options.match, f"{m.file}:{m.line} {m.before} -> {m.after}")]
    stale = [e for e in equivalents if e["file"] in every and
             not any(why_equivalent(m, [e]) for m in every[e["file"]])]
    for entry in stale:
        print(f"{EQUIVALENTS.name}: no mutant fits: {entry['file']}: {entry['before']}", file=sys.stderr)
    return picked, sum(len(m) for m in every.values()), bool(stale)


def run_all(jobs, mutants, report, parallel):
    """Each job takes one file after another, the one with the most work first."""
    files = {}
    for mutant in mutants:
        files.setdefault(mutant.file, []).append(mutant)
    weight = lambda f: len(files[f]) * (8 if f in ("Kavrix/KXarith.h", "Kavrix/KXelementwise.h") else 1)
    waiting = queue.SimpleQueue()
    for file in sorted(files, key=weight, reverse=True):
        waiting.put(file)
    programs = list(dict.fromkeys(p for f in files for p in PROGRAMS[f]))
    for job in jobs:
        job.prepare()
        job.build_all(programs, parallel)
    jobs[0].measure(programs)
    for job in jobs:
        job.limit, job.halts_itself = jobs[0].limit, jobs[0].halts_itself
    failures = []

    def work(job):
        try:
            while not failures:
                try:
                    file = waiting.get_nowait()
                except queue.Empty:
                    return
                for mutant in files[file]:
                    report(mutant, *job.try_mutant(mutant))
        except BaseException as failure:  # the other jobs end too, and the run
            failures.append(failure)

    threads = [threading.Thread(target=work, args=(job,)) for job in jobs]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    if failures:
        raise failures[0]


def write_report(path, heading, results, summary):
    with open(path, "w") as out:
        out.write(f"{heading}\n\n")
        for wanted in ("survived", "equivalent", "same code", "does not compile", "timed out", "noticed"):
            for m, (outcome, details) in results.items():
                if outcome == wanted:
                    out.write(f"{m.file}:{m.line}: {outcome} {details}\n    @ {m.above}\n    - {m.before}\n"
                              f"    + {m.after}\n")
        out.write(f"\n{'file':30s} noticed survived\n")
        for file in dict.fromkeys(m.file for m in results):
            outcomes = [outcome for m, (outcome, _) in results.items() if m.file == file]
            noticed = sum(outcome in NOTICED for outcome in outcomes)
            out.write(f"{file:30s} {noticed:7d} {outcomes.count('survived'):8d}\n")
        out.write(f"\n{summary}\n")


def main():
    parser = argparse.ArgumentParser(
        description="Counts how many single faults in the production code the tests notice.")
    parser.add_argument("--count", type=int, default=14, help="mutants of each file (0: all); default 14")
    parser.add_argument("--seed", default="1", help="another word chooses other mutants; default 1")
    parser.add_argument("--file", action="append", help="only this file; may be repeated")
    parser.add_argument("--match", help="only mutants in whose `file:line before -> after` this is found")
    parser.add_argument("--list", action="store_true", help="print the chosen mutants and try none")
    parser.add_argument("--jobs", type=int, default=2, help="build folders at work at once; default 2")
    parser.add_argument("--no-sanitizers", action="store_true",
                        help="do not try survivors under the sanitizers")
    options = parser.parse_args()

    equivalents = read_equivalents(EQUIVALENTS) if EQUIVALENTS.exists() else []
    mutants, possible, stale = chosen(options, equivalents)
    if options.list:
        for m in mutants:
            print(f"{m.file}:{m.line}\n    - {m.before}\n    + {m.after}")
        print(f"{len(mutants)} of {possible} mutants")
        return 1 if stale else 0

    results, lock, start = {}, threading.Lock(), time.monotonic()

    def report(mutant, outcome, details):
        why = why_equivalent(mutant, equivalents)
        if why and outcome == "survived":
            outcome, details = "equivalent", why
        elif why and outcome in NOTICED:
            details += WRONG
        with lock:
            results[mutant] = (outcome, details)
            print(f"{len(results):4d}/{len(mutants)} {mutant.file}:{mutant.line}: {outcome} {details}",
                  flush=True)

    def sum_up():
        """The summary, how many per cent were noticed, and how many arguments are refuted."""
        outcomes = [outcome for outcome, _ in results.values()]
        noticed, survived = sum(o in NOTICED for o in outcomes), outcomes.count("survived")
        percent = 100 * noticed / (noticed + survived) if noticed + survived else 100 * bool(results)
        summary = (f"{len(results)} mutants: {noticed} noticed ({percent:.1f} %), {survived} survived, "
                   f"{outcomes.count('does not compile')} did not compile, "
                   f"{outcomes.count('equivalent')} argued as equivalent, "
                   f"{outcomes.count('same code')} gave the same code")
        heading = (f"seed {options.seed}, {options.count} of each file, of {possible} possible, "
                   f"{time.monotonic() - start:.0f} s")
        in_order = {m: results[m] for m in mutants if m in results}
        write_report(WORK / "report.txt", heading, in_order, summary)
        return summary, percent, sum(WRONG in details for _, details in results.values())

    # An equivalent one is tried like the others: an argument that a test refutes is wrong.
    WORK.mkdir(parents=True, exist_ok=True)
    at_once = max(options.jobs, 1)
    run_all([Job(f"job{i + 1}") for i in range(at_once)], mutants, report, at_once)

    survivors = [m for m in mutants if results[m][0] == "survived"]
    if survivors and not options.no_sanitizers:
        print(f"{sum_up()[0]}\nthe survivors under the sanitizers:", flush=True)

        def second_report(mutant, outcome, details):
            if outcome in NOTICED:
                report(mutant, outcome, f"{details} (sanitizers)")
        run_all([Job("sanitized", sanitized=True)], survivors, second_report, at_once)

    summary, percent, wrong = sum_up()
    for m in survivors:
        if results[m][0] == "survived":
            print(f"survived: {m.file}:{m.line}\n    - {m.before}\n    + {m.after}")
    print(f"report: {WORK / 'report.txt'}")
    print(summary)
    return 1 if stale or wrong or percent < ENOUGH else 0


if __name__ == "__main__":
    sys.exit(main())

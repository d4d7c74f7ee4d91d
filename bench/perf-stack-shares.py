#!/usr/bin/env python3
"""Reads `perf script -F comm,ip,sym,dso` with call stacks on standard input and prints, for
the samples of one command, the share of samples spent in each stage a short-lived process
goes through, then in each of the program's own functions (inclusive: a function counts
when it is anywhere on the stack), then in each shared object (exclusive).

  perf-stack-shares.py COMMAND [--own-objects NAME,...] [--top N]

--own-objects: the objects (file names, prefixes allowed) whose functions are the
program's own; by default COMMAND and libCOMMAND*.
"""

import argparse
import collections
import re
import sys

FRAME = re.compile(r"\s*[0-9a-f]+\s+(?P<symbol>.*?)\s+\((?P<object>[^()]*)\)\s*$")

KERNEL = "[kernel.kallsyms]"


def samples(stream, command):
    frames = None
    for line in stream:
        if not line.strip():
            if frames is not None:
                yield frames
            frames = None
        elif not line[0].isspace():
            frames = [] if line.split()[0] == command else None
        elif frames is not None:
            match = FRAME.match(line)
            if match:
                frames.append((match["symbol"].split("+0x")[0], match["object"]))
    if frames is not None:
        yield frames


def with_inlined_resolved(frames):
    """An inlined frame belongs to the object of the next real frame down the stack."""
    resolved = []
    owner = None
    for symbol, obj in reversed(frames):
        if obj != "inlined":
            owner = obj
        resolved.append((symbol, owner if obj == "inlined" and owner else obj))
    return resolved[::-1]


def is_own(symbol, obj, own_objects):
    name = obj.rsplit("/", 1)[-1]
    if not any(name == own or name.startswith(own) for own in own_objects):
        return False
    # Inlined library templates and the start-up code live in the program's object too.
    return not re.match(r"(std::|__|_|Q[A-Za-z]|q[A-Z]|qt_|operator|void std|bool std|main$"
                        r"|\[unknown\])", symbol)


KERNEL_ONLY = "kernel only: exec, page tables, process teardown"
REGEX = "ICU: compiling regular expressions"
EXIT = "exit: destructors and exit handlers"
LOADER = "dynamic loader: mapping, relocating and binding libraries"
READ = "read(): the callers are mostly lost to unwinding (see the files read)"
SQLITE = "SQLite"
ICU = "ICU: other (data, properties, break iterators)"
REST = "the rest of the program's work"
READ_SYMBOL = re.compile(r"(__GI_)?_*(libc_)?p?read(64)?\Z")


def stage_of(frames):
    """The stage a sample belongs to; the first rule that matches wins."""
    user = [(symbol, obj) for symbol, obj in frames if obj != KERNEL]
    if not user:
        return KERNEL_ONLY
    symbols = [symbol for symbol, _ in user]

    def anywhere(*markers):
        return any(marker in symbol for symbol in symbols for marker in markers)

    leaf_symbol, leaf_object = user[0]
    if anywhere("RegexPattern::compile", "RegexCompile::"):
        return REGEX
    if anywhere("__run_exit_handlers", "_dl_fini"):
        return EXIT
    # Unwinding often stops in the loader, so its own frame at the leaf is enough.
    if "ld-linux" in leaf_object or anywhere("_dl_start"):
        return LOADER
    if READ_SYMBOL.match(leaf_symbol):
        return READ
    if anywhere("sqlite3"):
        return SQLITE
    if anywhere("icu_"):
        return ICU
    return REST


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("command")
    parser.add_argument("--own-objects")
    parser.add_argument("--top", type=int, default=25)
    args = parser.parse_args()
    own = args.own_objects.split(",") if args.own_objects else [args.command, "lib" + args.command]

    total = 0
    stages = collections.Counter()
    functions = collections.Counter()
    objects = collections.Counter()
    for frames in samples(sys.stdin, args.command):
        if not frames:
            continue
        frames = with_inlined_resolved(frames)
        total += 1
        stages[stage_of(frames)] += 1
        objects[frames[0][1].rsplit("/", 1)[-1]] += 1
        for symbol in {symbol for symbol, obj in frames if is_own(symbol, obj, own)}:
            functions[symbol] += 1
    if not total:
        sys.exit(f"perf-stack-shares: no samples of {args.command}")

    def table(title, counter, top):
        print(title)
        for key, count in counter.most_common(top):
            print(f"  {100 * count / total:5.1f} %  {key}")

    print(f"{total} samples of {args.command}")
    table("stages (each sample counted once):", stages, 10)
    table("the program's own functions (inclusive):", functions, args.top)
    table("shared objects (exclusive):", objects, 12)


if __name__ == "__main__":
    main()

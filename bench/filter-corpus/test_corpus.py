"""Checks of build-corpus and filter_corpus.

    python3 bench/filter-corpus/test_corpus.py [--tool build/bin/filter_corpus]

CTest runs it as FilterCorpus (label unit) with the tool. The private keys are checked with
ssh-keygen, openssl and gpg (openssh-client, openssl, gnupg); a check whose program is missing
is skipped.
"""

import base64
import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import types
import unittest

if "--tool" in sys.argv:
    at = sys.argv.index("--tool")
    os.environ["FILTER_CORPUS_TOOL"] = os.path.abspath(sys.argv[at + 1])
    del sys.argv[at : at + 2]

HERE = os.path.dirname(os.path.abspath(__file__))
# build-corpus is a program without a .py name; its functions are loaded as a module.
corpus = types.ModuleType("build_corpus")
corpus.__file__ = os.path.join(HERE, "build-corpus")
with open(corpus.__file__, encoding="utf-8") as source:
    exec(compile(source.read(), corpus.__file__, "exec"), corpus.__dict__)


def digits_of(text):
    return re.sub(r"\D", "", text)


def luhn_valid(number):
    total = 0
    for position, digit in enumerate(reversed(number)):
        doubled = int(digit) * (2 if position % 2 else 1)
        total += doubled - 9 if doubled > 9 else doubled
    return total % 10 == 0


class Checksums(unittest.TestCase):
    def test_card_numbers_are_luhn_valid_and_a_changed_digit_is_not(self):
        self.assertEqual(corpus.luhn_complete("411111111111111"), "4111111111111111")
        self.assertEqual(corpus.luhn_complete("37828224631000"), "378282246310005")
        rng = random.Random(1)
        lengths = set()
        for _ in range(500):
            number = digits_of(corpus.card_number(rng))
            lengths.add(len(number))
            self.assertTrue(luhn_valid(number), number)
            changed = number[:-2] + str((int(number[-2]) + 1) % 10) + number[-1]
            self.assertFalse(luhn_valid(changed), changed)
        self.assertEqual(lengths, set(range(13, 20)))

    def test_isbns_carry_their_check_digit(self):
        rng = random.Random(2)
        for _ in range(300):
            isbn = corpus.isbn13(rng).replace("-", "")
            self.assertEqual(len(isbn), 13)
            self.assertEqual(sum(int(d) * (3 if i % 2 else 1) for i, d in enumerate(isbn)) % 10, 0)
            isbn = corpus.isbn10(rng).replace("-", "")
            values = [10 if d == "X" else int(d) for d in isbn]
            self.assertEqual(sum((10 - i) * v for i, v in enumerate(values)) % 11, 0, isbn)

    def test_armor_checksum_is_openpgp_crc24(self):
        self.assertEqual(corpus.crc24(b"123456789"), 0x21CF02)


def decode_base64url(part):
    return base64.urlsafe_b64decode(part + "=" * (-len(part) % 4))


class Keys(unittest.TestCase):
    def test_tokens_are_signed_jwts(self):
        rng = random.Random(3)
        for _ in range(200):
            token = corpus.jwt(rng)
            header, payload, signature = token.split(".")
            self.assertRegex(token, r"^[A-Za-z0-9_.-]+$")
            algorithm = json.loads(decode_base64url(header))["alg"]
            self.assertIsInstance(json.loads(decode_base64url(payload)), dict)
            expected = {"HS256": 32, "HS512": 64, "RS256": 256, "ES256": 64}[algorithm]
            self.assertEqual(len(decode_base64url(signature)), expected)

    def test_prefixed_keys_start_with_their_prefix_and_hold_no_blank(self):
        rng = random.Random(4)
        for prefix in corpus.KEY_PREFIXES:
            for _ in range(20):
                key = corpus.prefixed_key(rng, prefix)
                self.assertTrue(key.startswith(prefix), key)
                self.assertNotRegex(key, r"\s")

    def test_private_keys_are_accepted_by_the_tools_that_read_them(self):
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        keys = corpus.private_keys(random.Random(5), 10)  # one of each kind
        kinds = {kind for kind, _ in keys}
        self.assertEqual(len(kinds), 10)
        for number, (kind, text) in enumerate(keys):
            path = os.path.join(folder, f"key{number}")
            with open(path, "w") as f:
                f.write(text + "\n")
            os.chmod(path, 0o600)
            with self.subTest(kind=kind):
                if kind.startswith("openssh"):
                    output = self.run_tool(["ssh-keygen", "-y", "-f", path])
                    self.assertTrue(output.startswith(("ssh-ed25519 ", "ssh-rsa ", "ecdsa-sha2-nistp256 ")))
                elif kind == "pgp":
                    home = os.path.join(folder, f"gnupg{number}")
                    os.mkdir(home, 0o700)
                    self.run_tool(["gpg", "--homedir", home, "--batch", "--import", path])
                    output = self.run_tool(["gpg", "--homedir", home, "--batch", "--check-sigs"])
                    self.assertIn("sig!", output)  # the self-signature verifies
                elif kind == "pkcs8-encrypted":
                    output = self.run_tool(["openssl", "asn1parse", "-in", path])
                    self.assertIn("PBES2", output)
                else:
                    output = self.run_tool(["openssl", "pkey", "-in", path, "-check", "-noout"])
                    self.assertIn("Key is valid", output)

    def run_tool(self, command):
        if not shutil.which(command[0]):
            self.skipTest(f"{command[0]} is not installed")
        done = subprocess.run(command, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout + done.stderr


class LineClasses(unittest.TestCase):
    def test_c_comments_span_lines_and_literals_hide_comment_marks(self):
        lines = ["/* licence", " * text */", 'char* s = "/* no";', "int x; // note", "// only",
                 "   /* a */ /* b", "*/ y;", ""]
        self.assertEqual(corpus.classify_c(lines),
                         ["comment", "comment", "code", "code", "comment", "comment", "code", "blank"])

    def test_python_docstrings_and_string_insides_are_not_code(self):
        lines = ["def f(x):", '    """Explains.', "", '    More."""', "    # comment",
                 '    return g("""', "inside", '""", x)']
        self.assertEqual(corpus.classify_python(lines),
                         ["code", "doc", "blank", "doc", "comment", "code", "doc", "code"])

    def test_shell_here_document_bodies_are_text(self):
        lines = ["#!/bin/sh", "# usage", "cat <<EOF", "Usage: tool [options]", "EOF",
                 "sed s/a/b/ <<-\\END", "\tplain words", "\tEND", "read x <<< \"$y\"", "echo done"]
        self.assertEqual(corpus.classify_shell(lines),
                         ["code", "comment", "code", "doc", "code", "code", "doc", "code", "code", "code"])

    def test_windows_must_be_mostly_code(self):
        code = ["int a = 1;", "int b = a + 2;", "return a * b;"]
        self.assertTrue(corpus.window_is_code(code, ["code"] * 3))
        commented = ["/* one", " two", " three */", "x = y;"]
        self.assertFalse(corpus.window_is_code(commented, ["comment"] * 3 + ["code"]))
        sparse = ["}", "", "", "}"]
        self.assertFalse(corpus.window_is_code(sparse, ["code", "blank", "blank", "code"]))


class Prose(unittest.TestCase):
    vocabulary = None

    @classmethod
    def setUpClass(cls):
        cls.vocabulary = corpus.dictionary()

    def test_fortunes_that_are_code_art_or_another_language_are_dropped(self):
        junk = {
            "code": "if (me != you) {\n    n = f(x);\n    exit(42);\n}",
            "art": "=-=-=-=-=-=-=-\n|| ~~~~~~~~ ||\n||  (o)(o)  ||\n=-=-=-=-=-=-=-\n  a cat says hello",
            "not English": "Sed quis custodiet ipsos custodes?",
        }
        for why, text in junk.items():
            self.assertEqual(corpus.prose_junk(text, self.vocabulary), why)
        prose = [
            "Fill a cup to its brim and it is easily spilled;\nTemper a sword and it breaks;\n"
            "Claim credit and honour and you easily fall;",
            "Some tips are worth considering:\n\n[110.13]:\n  \"Stay to the right.\"\n\n"
            "[22.17b]:\n  \"Learning takes time and patience.\"\n\n[41.16]:\n  \"Never hurry.\"",
            "Be consistent.\n\t\t-- Larry Wall in the perl man page",
        ]
        for text in prose:
            self.assertIsNone(corpus.prose_junk(text, self.vocabulary), text)

    def test_sentences_split_at_ends_not_after_abbreviations_or_initials(self):
        text = 'Mr. Smith met J. R. R. Tolkien in the U.S. yesterday.  "Why?" he asked.\nIt rained!'
        self.assertEqual(corpus.split_sentences(text), [
            "Mr. Smith met J. R. R. Tolkien in the U.S. yesterday.", '"Why?" he asked.', "It rained!"])


def read_records(folder, name):
    with open(os.path.join(folder, name + ".jsonl"), encoding="utf-8") as f:
        return [json.loads(line) for line in f]


class Corpus(unittest.TestCase):
    """Builds a few quick categories, twice with one seed and once with another."""

    CATEGORIES = ["identifiers-and-codes", "code-python", "keys-prefixed", "random-tokens",
                  "secrets-in-text"]

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp()
        cls.first, cls.again, cls.other = (os.path.join(cls.folder, n) for n in ("a", "b", "c"))
        with open(os.devnull, "w") as quiet:
            corpus.build(cls.first, 7, cls.CATEGORIES, log=quiet)
            corpus.build(cls.again, 7, cls.CATEGORIES, log=quiet)
            corpus.build(cls.other, 8, ["random-tokens"], log=quiet)

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def test_one_seed_gives_the_same_bytes_and_another_seed_other_samples(self):
        for name in self.CATEGORIES + ["manifest"]:
            extension = ".json" if name == "manifest" else ".jsonl"
            with open(os.path.join(self.first, name + extension), "rb") as a, \
                    open(os.path.join(self.again, name + extension), "rb") as b:
                self.assertEqual(a.read(), b.read(), name)
        first = {r["text"] for r in read_records(self.first, "random-tokens")}
        other = {r["text"] for r in read_records(self.other, "random-tokens")}
        self.assertLess(len(first & other), 10)

    def test_records_are_unique_and_within_the_length_limit(self):
        for name in self.CATEGORIES:
            texts = [r["text"] for r in read_records(self.first, name)]
            self.assertEqual(len(texts), len(set(texts)), name)
            for text in texts:
                self.assertTrue(0 < len(text.strip()) <= corpus.LIMIT, (name, text[:80]))

    def test_random_tokens_match_their_cell(self):
        cells = {}
        for record in read_records(self.first, "random-tokens"):
            alphabet = corpus.TOKEN_ALPHABETS[record["alphabet"]]
            self.assertEqual(len(record["text"]), record["length"])
            self.assertLessEqual(set(record["text"]), set(alphabet), record)
            self.assertEqual(record["sub"], f"{record['alphabet']}/{record['length']}")
            cells[record["sub"]] = cells.get(record["sub"], 0) + 1
        self.assertEqual(len(cells), len(corpus.TOKEN_ALPHABETS) * len(corpus.TOKEN_LENGTHS))
        self.assertEqual(set(cells.values()), {corpus.TOKENS_PER_CELL})

    def test_code_windows_are_code_copied_from_where_they_say(self):
        files = {}
        for record in read_records(self.first, "code-python")[:500]:
            path, line = record["source"].rsplit(":", 1)
            if path not in files:
                with open(path, encoding="utf-8") as f:
                    lines = f.read().split("\n")
                files[path] = (lines, corpus.classify_python(lines))
            lines, classes = files[path]
            start = int(line) - 1
            window = record["text"].split("\n")
            self.assertEqual(lines[start : start + len(window)], window)
            self.assertTrue(3 <= len(window) <= 15)
            self.assertTrue(corpus.window_is_code(window, classes[start : start + len(window)]),
                            record["source"])

    def test_rebuilding_one_category_keeps_the_others_in_the_manifest(self):
        folder = os.path.join(self.folder, "partial")
        shutil.copytree(self.first, folder)
        with open(os.devnull, "w") as quiet:
            corpus.build(folder, 7, ["keys-prefixed"], log=quiet)
        with open(os.path.join(folder, "manifest.json")) as f:
            manifest = json.load(f)
        self.assertEqual([c["name"] for c in manifest["categories"]], self.CATEGORIES)
        for entry in manifest["categories"]:
            self.assertEqual(entry["records"], len(read_records(folder, entry["name"])))
            self.assertEqual(entry["expect"], "pass" if entry["name"] == "identifiers-and-codes" else "refuse")


class OutputFolder(unittest.TestCase):
    def test_a_folder_holding_other_files_is_never_replaced(self):
        folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, folder)
        with open(os.path.join(folder, "notes.txt"), "w") as f:
            f.write("mine")
        with self.assertRaises(SystemExit), open(os.devnull, "w") as quiet:
            sys.stderr, saved = quiet, sys.stderr
            try:
                corpus.main(["--out", folder, "--no-install"])
            finally:
                sys.stderr = saved
        self.assertEqual(os.listdir(folder), ["notes.txt"])


@unittest.skipUnless(os.environ.get("FILTER_CORPUS_TOOL"), "needs --tool")
class Tool(unittest.TestCase):
    """filter_corpus on a hand-made corpus whose fate under any rules is plain."""

    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.write("words", "pass", [{"text": "hello"}, {"text": "reading", "sub": "names"},
                                     {"text": "a" * 2001}])
        self.write("secrets-in-text", "refuse", [
            {"text": "https://example.com/a/b", "sub": "url"},
            {"text": "café\nau lait", "sub": "prose", "source": "here"}])

    def write(self, name, expect, records):
        path = os.path.join(self.folder, "manifest.json")
        manifest = {"seed": 3, "categories": []}
        if os.path.exists(path):
            with open(path) as f:
                manifest = json.load(f)
        manifest["categories"].append({"name": name, "expect": expect, "records": len(records)})
        with open(path, "w") as f:
            json.dump(manifest, f)
        with open(os.path.join(self.folder, name + ".jsonl"), "w", encoding="utf-8") as f:
            for record in records:
                f.write(json.dumps(record, ensure_ascii=False) + "\n")

    def run_tool(self, *arguments):
        return subprocess.run([os.environ["FILTER_CORPUS_TOOL"], self.folder, *arguments],
                              capture_output=True, text=True)

    def test_rates_leave_out_records_over_the_limit(self):
        done = self.run_tool()
        self.assertEqual(done.returncode, 0, done.stderr)
        rows = {m[0]: m[1:] for m in re.findall(
            r"^(\S+)\s+(pass|refuse)\s+(\d+)\s+([\d.]+) %\s+[\d.]+ %\s+(\d+)", done.stdout, re.M)}
        self.assertEqual(rows["words"], ("pass", "2", "0.00", "1"))
        self.assertEqual(rows["secrets-in-text"], ("refuse", "2", "50.00", "0"))
        self.assertRegex(done.stdout, r"real English refused\s+2\s+0\.00 %.*met")
        self.assertRegex(done.stdout, r"secrets in text refused\s+2\s+50\.00 %.*MISSED")
        self.assertRegex(done.stdout, r"seed 3\): 5 records")

    def test_show_prints_whole_records_that_went_the_given_way(self):
        done = self.run_tool("--show", "secrets-in-text", "--passed", "5")
        self.assertEqual(done.returncode, 0, done.stderr)
        shown = done.stdout.split("record(s) of secrets-in-text passed", 1)[1]
        self.assertIn("secrets-in-text/prose line 2 (here)\ncafé\nau lait\n", shown)
        self.assertNotIn("example.com", shown)
        done = self.run_tool("--show", "words/names", "--refused", "5")
        self.assertIn("0 record(s) of words/names refused", done.stdout)

    def test_a_broken_record_stops_the_measurement(self):
        with open(os.path.join(self.folder, "words.jsonl"), "a") as f:
            f.write('{"text": "unterminated\n')
        done = self.run_tool()
        self.assertEqual(done.returncode, 1)
        self.assertIn("words.jsonl:4: not a record", done.stderr)


if __name__ == "__main__":
    unittest.main()

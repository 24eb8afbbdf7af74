"""Damaged, cut and forged files: each is a plain French failure or a whole result, and nothing is left behind.

NIVEX_MUTANTS   how many mutants are made (a few hundred without it)
NIVEX_SEED      the number of the first (0)
NIVEX_KEEP      a folder for those whose conversion ended the worker's child
"""
import collections
import json
import os
import pathlib
import random
import re
import shutil
import subprocess
import tempfile

from nivex_case import NivexCase

COUNT = int(os.environ.get("NIVEX_MUTANTS", "300"))
FIRST = int(os.environ.get("NIVEX_SEED", "0"))
SLOWEST = 60  # seconds for one small file, on a machine that does other things too

# What the user is told when the child of a worker did not come back.
DEATHS = ("sa lecture a arrêté le programme de conversion",
          "le programme de conversion s'est arrêté de façon inattendue",
          "le programme de conversion a donné une réponse incorrecte",
          "La conversion a pris trop de temps et a été interrompue.")
SHORT_OF_MEMORY = "ce fichier demande plus de mémoire que NIVEX n'en accorde à une conversion"


def french_texts():
    """A pattern for each text that the program can show; what is filled in is a few plain words or a number."""
    table = pathlib.Path(__file__).parents[2] / "NivexKit/Texts/EnglishTexts.cpp"
    texts = re.findall(r'^    \{"((?:[^"\\]|\\.)*)",', table.read_text(), re.MULTILINE)
    patterns = [re.escape(text.replace('\\"', '"')).replace(r"\{\}", r"[\w .,:«»’'()-]{1,60}") for text in texts]
    lead_ins = [pattern for text, pattern in zip(texts, patterns) if text.endswith(" : ")]
    return re.compile(f"(?:{'|'.join(lead_ins)})?(?:{'|'.join(patterns)})")


# --- Mutations -------------------------------------------------------------------------------------------------------

def place(chance, data):
    """Somewhere in the data, more often near the beginning, where the structure is."""
    end = len(data) if chance.random() < 0.5 else min(len(data), 96)
    return chance.randrange(end) if end else 0


def flip_bits(chance, data, _):
    out = bytearray(data)
    for _ in range(chance.choice((1, 1, 2, 4, 16))):
        out[place(chance, data)] ^= 1 << chance.randrange(8)
    return bytes(out)


def set_bytes(chance, data, _):
    out = bytearray(data)
    for _ in range(chance.choice((1, 2, 3))):
        out[place(chance, data)] = chance.choice((0, 1, 0x7F, 0x80, 0xFF, chance.randrange(256)))
    return bytes(out)


def cut(chance, data, _):
    return data[:place(chance, data)]


def delete(chance, data, _):
    at = place(chance, data)
    return data[:at] + data[at + chance.choice((1, 2, 4, 12, 64, 256)):]


def repeat(chance, data, _):
    at, length = place(chance, data), chance.choice((1, 4, 12, 64, 256))
    return data[:at] + data[at:at + length] * chance.choice((2, 3, 40)) + data[at + length:]


def zero(chance, data, _):
    at, length = place(chance, data), chance.choice((4, 16, 64, 256))
    return data[:at] + b"\0" * min(length, len(data) - at) + data[at + length:]


def extreme_number(chance, data, _):
    out = bytearray(data)
    for _ in range(chance.choice((1, 1, 2))):
        number = chance.choice((0, 1, 0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 100_000))
        width, order = chance.choice((2, 4, 4, 8)), chance.choice(("big", "little"))
        at = place(chance, data)
        out[at:at + width] = (number & (1 << 8 * width) - 1).to_bytes(width, order)[:len(out) - at]
    return bytes(out)


def garbage(chance, data, _):
    kept = chance.choice((8, 16, 32, 64, 128, 512))
    return data[:kept] + chance.randbytes(max(0, len(data) - kept))


def splice(chance, data, other):
    return data[:place(chance, data)] + other[place(chance, other):]


def append(chance, data, other):
    return data + chance.choice((chance.randbytes(300), other, data))


MUTATIONS = [flip_bits, flip_bits, set_bytes, cut, delete, repeat, zero, extreme_number, extreme_number, garbage,
             splice, append]


def mutant(number, seeds, mended=lambda data: data):
    """Name and bytes of a mutant; the same number makes the same one from the same seeds. Most are `mended`, so that
    they pass a reader's first look."""
    chance = random.Random(number)
    formats = sorted(seeds)
    own = seeds[formats[number % len(formats)]]
    name, data = chance.choice(own)
    _, other = chance.choice(own if chance.random() < 0.5 else seeds[chance.choice(formats)])
    done = []
    for _ in range(chance.choice((1, 1, 1, 2, 3))):
        mutation = chance.choice(MUTATIONS)
        data = mutation(chance, data, other)
        done.append(mutation.__name__)
        if not data:
            data = b"\0"
    if chance.random() < 0.7:
        data = mended(data)
    stem, extension = name.rsplit(".", 1)
    return f"{number}-{stem}-{'-'.join(done)}.{extension}", data


# --- What holds of every one of them ---------------------------------------------------------------------------------

class MutationCase(NivexCase):
    texts = french_texts()

    def setUp(self):
        super().setUp()
        self.faults = []
        self.temporary = self.folder / "temporary"
        self.temporary.mkdir()
        self.environment["TMPDIR"] = str(self.temporary)

    def targets_of(self, engine):
        """The formats that an engine makes directly of each of its sources."""
        targets = collections.defaultdict(list)
        for line in self.json_lines("engines"):
            if line["id"] == engine:
                for edge in line["edges"]:
                    targets[edge["source"]].append(edge["target"])
        return targets

    def convert(self, files, target, *options):
        """Converts files of one folder and checks what holds whatever they are; the lines by name."""
        out = pathlib.Path(tempfile.mkdtemp(prefix="out-", dir=self.folder))
        before = {path.name for path in files[0].parent.iterdir()}
        result = subprocess.run([self.program, "convert", *files, "--to", target, "--out", out, "--json", *options],
                                cwd=self.folder, env=self.environment, capture_output=True, timeout=1200)
        told = result.stderr.decode(errors="replace")
        self.assertIn(result.returncode, (0, 1), told)
        self.assertNotIn("Sanitizer", told)
        lines = {pathlib.Path(line["source"]).name: line
                 for line in map(json.loads, result.stdout.decode().splitlines())}
        self.assertEqual(set(lines), {path.name for path in files}, told)
        named = {pathlib.Path(output).name for line in lines.values() for output in line["outputs"]}
        self.assertEqual(set(os.listdir(out)), named, "left over in the destination")
        self.assertEqual({path.name for path in files[0].parent.iterdir()}, before, "left over beside the sources")
        self.assertEqual([path for path in self.temporary.rglob("*") if path.name != "NIVEX"], [],
                         "left over among the temporary files")
        for name, line in lines.items():
            if line["state"] == "failed" and not self.texts.fullmatch(line["message"] or ""):
                self.faults.append(f"{name} -> {target}: not a text of ours: {line['message']!r}")
            elif line["state"] not in ("failed", "succeeded"):
                self.faults.append(f"{name} -> {target}: {line['state']}")
            if line["seconds"] > SLOWEST:
                self.faults.append(f"{name} -> {target}: {line['seconds']} s")
        return lines

    def outputs(self, lines):
        return {name: self.folder / line["outputs"][0] for name, line in lines.items() if line["state"] == "succeeded"}

    def convert_mutants(self, seeds, targets, unopened, mended=lambda data: data):
        """Converts mutants of the seeds (names and bytes by format) to the formats of `targets` in turn. `unopened` tells
        which results another program cannot open."""
        tally = collections.defaultdict(collections.Counter)
        slowest = collections.defaultdict(float)
        deaths = []
        step = 40 * len(seeds)
        for first in range(FIRST, FIRST + COUNT, step):
            folder = pathlib.Path(tempfile.mkdtemp(prefix="mutants-", dir=self.folder))
            batches = collections.defaultdict(list)
            for number in range(first, min(first + step, FIRST + COUNT)):
                name, data = mutant(number, seeds, mended)
                of = sorted(seeds)[number % len(seeds)]
                path = folder / of / name
                path.parent.mkdir(exist_ok=True)
                path.write_bytes(data)
                batches[of, targets[of][number // step % len(targets[of])]].append(path)
            for (of, target), files in batches.items():
                lines = self.convert(files, target)
                shown = self.outputs(lines)
                for path in files:
                    line = lines[path.name]
                    message = line["message"] or ""
                    slowest[of] = max(slowest[of], line["seconds"])
                    died = any(death in message for death in DEATHS)
                    state = ("died" if died else "short of memory" if SHORT_OF_MEMORY in message else
                             "converted" if path.name in shown else "refused")
                    tally[of][state] += 1
                    if died or state == "short of memory":
                        deaths.append(f"{path.name} -> {target}: {message}")
                        if "NIVEX_KEEP" in os.environ:
                            shutil.copy(path, os.environ["NIVEX_KEEP"])
                for name in unopened(shown):
                    self.faults.append(f"{name} -> {target}: nobody can open the result")
            shutil.rmtree(folder)
            for out in self.folder.glob("out-*"):
                shutil.rmtree(out)
        print(f"\n{'format':9}{'converted':>10}{'refused':>9}{'died':>6}{'memory':>8}{'slowest':>9}")
        for of in sorted(tally):
            print(f"{of:9}{tally[of]['converted']:10}{tally[of]['refused']:9}{tally[of]['died']:6}"
                  f"{tally[of]['short of memory']:8}{slowest[of]:8.2f}s")
        print("\n".join(deaths), flush=True)
        self.report()

    def report(self):
        if self.faults:
            self.fail(f"{len(self.faults)} faults\n" + "\n".join(self.faults[:100]))

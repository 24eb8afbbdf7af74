"""Recognising files, against `file` and against what reading them costs at the very least."""
import random
import subprocess
import zipfile
import zlib

from comparison import BUILD, NIVEX, compare
from subtitles import write_subrip


def png(size):
    def chunk(kind, data):
        return len(data).to_bytes(4, "big") + kind + data + zlib.crc32(kind + data).to_bytes(4, "big")
    header = size.to_bytes(4, "big") * 2 + b"\x08\x02\x00\x00\x00"
    rows = b"".join(b"\0" + random.randbytes(3 * size) for _ in range(size))
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def write_mixed_files(folder, count):
    """Small files of many kinds: pictures, sounds, archives, texts, programs, data without a format."""
    words = "le fichier de la machine est converti sans perte quand un moteur le permet".split()
    prose = " ".join(random.choice(words) for _ in range(900))
    makers = [
        ("png", lambda: png(32)),
        ("gif", lambda: b"GIF89a\x10\0\x10\0\x80\0\0" + bytes(6) + b",\0\0\0\0\x10\0\x10\0\0\2\2\x44\1\0;"),
        ("wav", lambda: b"RIFF" + (36 + 4000).to_bytes(4, "little") + b"WAVEfmt \x10\0\0\0\1\0\1\0\x40\x1f\0\0"
                        b"\x80\x3e\0\0\2\0\x10\0data" + (4000).to_bytes(4, "little") + random.randbytes(4000)),
        ("txt", lambda: prose.encode()),
        ("json", lambda: b'{"nom": "essai", "valeurs": [' + b"1, " * 900 + b"2]}"),
        ("csv", lambda: "".join(f"{i};nom {i};{i * 3.5}\n" for i in range(150)).encode()),
        ("html", lambda: b"<!doctype html><html><body>" + b"<p>texte</p>" * 200 + b"</body></html>"),
        ("py", lambda: b"#!/usr/bin/env python3\nimport os\n\n\ndef main():\n    print(os.name)\n" * 30),
        ("srt", lambda: b"1\n00:00:01,000 --> 00:00:02,000\nBonjour\n\n" * 60),
        ("xml", lambda: b'<?xml version="1.0"?><racine>' + b"<e>1</e>" * 300 + b"</racine>"),
        ("pdf", lambda: b"%PDF-1.4\n" + b"1 0 obj<</Type/Catalog>>endobj\n" * 90 + b"trailer<</Root 1 0 R>>\n%%EOF\n"),
        ("gz", lambda: b"\x1f\x8b\x08\0\0\0\0\0\0\3" + random.randbytes(2000)),
        ("mid", lambda: b"MThd\0\0\0\6\0\1\0\1\0\x60MTrk" + bytes(800)),
        ("bin", lambda: random.randbytes(3000)),
    ]
    random.seed(5)
    names = []
    for i in range(count):
        extension, make = makers[i % len(makers)]
        name = f"{i:05}.{extension}"
        (folder / name).write_bytes(make())
        names.append(name)
    (folder / "names").write_text("\n".join(names) + "\n")


def identify_one(folder):
    write_subrip(folder / "film.srt", 12)
    compare("identify-one: start, detect one small file, end",
            [str(NIVEX), "identify", "film.srt"], ["file", "film.srt"], folder, rounds=61)


def identify_many(folder):
    write_mixed_files(folder, 5000)
    compare("identify-many: 5,000 mixed files in one call",
            [str(NIVEX), "identify", "--json", "--files-from", "names"], ["file", "-f", "names"], folder, rounds=7)


def identify_bare(folder):
    """At most three times the processor time of opening, measuring, reading and closing the files."""
    write_mixed_files(folder, 5000)
    compare("identify-bare: 5,000 mixed files, against a program that only reads their beginnings",
            [str(NIVEX), "identify", "--json", "--files-from", "names"],
            [str(BUILD / "benchmarks" / "bench-bare-reading"), "names"], folder, rounds=21, peer_name="bare",
            resources=True)


def zip_directory(folder):
    """Below 100 ms of processor time."""
    with zipfile.ZipFile(folder / "long.zip", "w") as archive:
        for i in range(20_000):
            archive.writestr(f"{'d' * 380}/{i:06}/{'f' * 200}.txt", b"")
    compare("zip-directory: 20,000 entries with long names", [str(NIVEX), "identify", "long.zip"],
            ["python3", "-m", "zipfile", "-l", "long.zip"], folder, rounds=9, resources=True)


def nested_folders(folder):
    """Memory in proportion to the depth, not to its square."""
    place = folder / "deep"
    for _ in range(1_900):  # nearly as deep as a path can tell
        place.mkdir()
        (place / "a").write_text("bonjour")
        place /= "n"
    compare("nested-folders: a file in each of 1,900", [str(NIVEX), "identify", "-r", "deep"],
            ["find", "deep", "-type", "f"], folder, rounds=5, resources=True)
    subprocess.run(["rm", "-r", folder / "deep"], check=True)  # too deep for shutil


PAIRS = {"identify-one": identify_one, "identify-many": identify_many, "identify-bare": identify_bare,
         "zip-directory": zip_directory, "nested-folders": nested_folders}

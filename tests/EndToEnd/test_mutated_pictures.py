"""Damaged, cut and forged pictures: each is a plain French failure or a whole picture, and nothing is left behind."""
import collections
import os
import pathlib
import random
import re
import struct
import tempfile
import threading
import time
import unittest
import zlib

import pictures
from mutations import DEATHS, SHORT_OF_MEMORY, MutationCase
from nivex_case import PROGRAM


def with_right_checksums(data):
    """A PNG whose chunks pass the reader's first look."""
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        return data
    out, position = bytearray(data[:8]), 8
    while position + 12 <= len(data):
        length = int.from_bytes(data[position:position + 4], "big")
        body = data[position + 4:position + 8 + length]
        if len(body) < 4 + length:
            break
        out += data[position:position + 4] + body + struct.pack(">I", zlib.crc32(body))
        position += 12 + length
    return bytes(out) + data[position:]


class BadPictures(MutationCase):
    def setUp(self):
        super().setUp()
        self.targets = self.targets_of("native-image")
        self.sources = [source for source in pictures.SOURCES if source.format in self.targets and not source.large]

    def originals(self, sources):
        making = self.folder / "making"
        making.mkdir()
        files = pictures.make(making, sources)
        return {source: files[source.name].read_bytes() for source in sources}

    def look(self, paths):
        """The frames of results in formats that ImageMagick reads whole."""
        return pictures.imagemagick_sees(paths, pathlib.Path(tempfile.mkdtemp(dir=self.folder)) / "seen")

    def opens(self, path, seen):
        """Whether another program decodes the whole file; ImageMagick gives up on long ones, and on those behind them."""
        return bool(seen.get(path)) or pictures.run("vips", "avg", path, check=False).returncode == 0


class Mutants(BadPictures):
    def unopened(self, shown):
        seen = self.look(shown.values())
        return [name for name, path in shown.items() if not self.opens(path, seen)]

    def test_mutants_fail_plainly_or_convert_whole(self):
        seeds = collections.defaultdict(list)
        for source, data in self.originals(self.sources).items():
            if len(data) < 100_000:
                seeds[source.format].append((source.name, data))
        targets = {of: [target for target in ("png", "jpeg", "tiff", "webp", "bmp", "tga") if target in self.targets[of]]
                   for of in seeds}
        self.convert_mutants(seeds, targets, self.unopened, with_right_checksums)


class Truncated(BadPictures):
    def test_a_cut_picture_is_an_error_unless_nothing_of_it_is_missing(self):
        """What is cut off may be metadata behind the picture; then the picture must be the whole one."""
        originals = self.originals(self.sources)
        by_target = collections.defaultdict(list)
        cuts = self.folder / "cuts"
        cuts.mkdir()
        for source, data in originals.items():
            target = "png" if "png" in self.targets[source.format] else "tiff"
            (cuts / source.name).write_bytes(data)
            by_target[target].append((source, cuts / source.name))
            for part in (0.3, 0.6, 0.9, 0.99):
                path = cuts / f"{part}-{source.name}"
                path.write_bytes(data[:int(len(data) * part)])
                by_target[target].append((source, path))
        for target, files in by_target.items():
            lines = self.convert([path for _, path in files], target)
            shown = self.outputs(lines)
            seen = self.look(shown.values())
            for source, path in files:
                line = lines[path.name]
                if path.name == source.name:
                    if line["state"] != "succeeded":
                        self.faults.append(f"{source.name} is whole: {line['message']}")
                    continue
                if line["state"] != "succeeded" or source.name not in shown:
                    continue
                whole, part = seen[shown[source.name]], seen.get(shown[path.name], [])
                if [frame.pixels for frame in part] != [frame.pixels for frame in whole]:
                    self.faults.append(f"{path.name}: half a picture is called a success")
        self.report()

    def test_wrong_data_inside_a_jpeg_are_an_error(self):
        whole = self.folder / "whole.jpg"
        pictures.run("convert", "-size", "600x400", "plasma:red-blue", "-quality", "90", whole)
        data = whole.read_bytes()
        middle = len(data) // 2
        wrong = {
            "noise.jpg": data[:middle] + random.Random(1).randbytes(len(data) - middle - 2) + data[-2:],
            "hole.jpg": data[:middle] + data[middle + 3000:],
        }
        harmless = {"whole.jpg": data, "bytes too many.jpg": data[:-2] + b"\x00\x00" + data[-2:]}
        folder = self.folder / "wrong"
        folder.mkdir()
        for name, contents in (wrong | harmless).items():
            (folder / name).write_bytes(contents)
        for target in ("png", "avif", "pdf"):
            lines = self.convert(sorted(folder.iterdir()), target)
            self.assertEqual({name for name, line in lines.items() if line["state"] == "failed"}, set(wrong), target)
        self.report()

    def test_damage_in_the_last_row_is_never_missed(self):
        """libvips forgets an error in the piece that is computed last when another thread is done before: now and then,
        hence many copies of a picture whose last row is a piece of its own (one more than the 16 read together)."""
        whole = self.folder / "whole.hdr"
        pictures.run("convert", "-size", "400x17", "plasma:red-blue", "-scale", "12000x17!", whole)
        cuts = [self.folder / "last" / f"{number}.hdr" for number in range(50)]
        cuts[0].parent.mkdir()
        for cut in cuts:
            cut.write_bytes(whole.read_bytes()[:-10])
        self.assertEqual(self.outputs(self.convert(cuts, "tga")), {})
        self.report()


def patched(data, *patches):
    out = bytearray(data)
    for at, value in patches:
        out[at:at + len(value)] = value
    return with_right_checksums(bytes(out))


def found(data, marker, behind=0):
    return data.index(marker) + len(marker) + behind


def big16(*values):
    return struct.pack(f">{len(values)}H", *values)


def big32(*values):
    return struct.pack(f">{len(values)}I", *values)


def little32(*values):
    return struct.pack(f"<{len(values)}I", *values)


def tiff_sides(data, side):
    """A little-endian TIFF of one directory with other sides (tags 256 and 257)."""
    first, = struct.unpack_from("<I", data, 4)
    count, = struct.unpack_from("<H", data, first)
    patches = []
    for at in range(first + 2, first + 2 + 12 * count, 12):
        tag, = struct.unpack_from("<H", data, at)
        if tag in (256, 257, 278):
            patches.append((at + 2, struct.pack("<HII", 4, 1, side)))
    return patched(data, *patches)


# A tiny file that announces a giant picture, by the source that it is made of and the sides that it then has.
BOMBS = {
    "photo.png":  lambda data: patched(data, (16, big32(60_000, 60_000))),
    "photo.jpg":  lambda data: patched(data, (found(data, b"\xff\xc0", 3), big16(65_500, 65_500))),
    "photo.tif":  lambda data: tiff_sides(data, 60_000),
    "photo.dng":  lambda data: tiff_sides(data, 60_000),
    "map.tif":    lambda data: tiff_sides(data, 60_000),
    "photo.gif":  lambda data: patched(data, (6, b"\xff" * 4)),
    "film.webp":  lambda data: patched(data, (24, b"\xfe\x3f\0" * 2)),
    "photo.bmp":  lambda data: patched(data, (18, little32(60_000, 60_000))),
    "photo.jp2":  lambda data: patched(data, (found(data, b"ihdr"), big32(60_000, 60_000)),
                                       (found(data, b"\xff\x51", 4), big32(60_000, 60_000))),
    "photo.exr":  lambda data: patched(data, (found(data, b"dataWindow\0box2i\0", 12), little32(59_999, 59_999))),
    "photo.hdr":  lambda data: data.replace(b"-Y 28 +X 40", b"-Y 60000 +X 60000"),
    "photo.psd":  lambda data: patched(data, (14, big32(30_000, 30_000))),
    "photo.psb":  lambda data: patched(data, (14, big32(300_000, 300_000))),
    "photo.tga":  lambda data: patched(data, (12, b"\xff" * 4)),
    "photo.astc": lambda data: patched(data, (7, b"\xff\xff\0\xff\xff\0")),
    "photo.heic": lambda data: re.sub(rb"(?s)(ispe....)........", lambda found: found[1] + big32(60_000, 60_000), data),
    "photo.avif": lambda data: re.sub(rb"(?s)(ispe....)........", lambda found: found[1] + big32(60_000, 60_000), data),
    "icon.icns":  lambda data: b"icns" + big32(16 + len(PNG_BOMB)) + b"ic10" + big32(8 + len(PNG_BOMB)) + PNG_BOMB,
    "one.ico":    lambda data: bytes(2) + b"\1\0\1\0" + bytes(4) + b"\1\0\x20\0" + little32(len(PNG_BOMB), 22)
                               + PNG_BOMB,
}


# All frames count where all are kept.
BOMB_TARGETS = {"png": "jpeg", "webp": "gif"}


def png_chunk(kind, body):
    return big32(len(body)) + kind + body + big32(zlib.crc32(kind + body))


PNG_BOMB = (b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", big32(60_000, 60_000) + b"\x08\x06\0\0\0")
            + png_chunk(b"IDAT", zlib.compress(bytes(100_000))) + png_chunk(b"IEND", b""))


WORKERS = os.path.join(os.path.dirname(os.path.realpath(PROGRAM)), "workers")


class Watcher(threading.Thread):
    """The greatest memory, in bytes, that any worker process had at one of many moments."""
    def __init__(self):
        super().__init__(daemon=True)
        self.ended = threading.Event()
        self.peak = 0

    def run(self):
        while not self.ended.wait(0.002):
            for process in pathlib.Path("/proc").glob("[0-9]*"):
                try:
                    if os.readlink(process / "exe").startswith(WORKERS):
                        found = re.search(r"VmHWM:\s+(\d+)", (process / "status").read_text())
                        self.peak = max(self.peak, int(found[1]) * 1024 if found else 0)
                except OSError:
                    pass  # it has just ended


class Bombs(BadPictures):
    def test_a_bomb_is_refused_at_once(self):
        sources = [source for source in self.sources if source.name in BOMBS]
        unarmed = {source.format for source in self.sources} - {source.format for source in sources}
        self.assertEqual(unarmed, set(self.targets) & NOT_ARMED)
        originals = self.originals(sources)
        folder = self.folder / "bombs"
        folder.mkdir()
        for source in sources:
            path = folder / source.name
            path.write_bytes(BOMBS[source.name](originals[source]))
            watcher = Watcher()
            watcher.start()
            begin = time.monotonic()
            line = self.convert([path], BOMB_TARGETS.get(source.format, "png"))[source.name]
            seconds = time.monotonic() - begin
            watcher.ended.set()
            watcher.join()
            if line["state"] != "failed":
                self.faults.append(f"{source.name}: a giant picture was made of {path.stat().st_size} bytes")
            elif any(death in line["message"] for death in (*DEATHS, SHORT_OF_MEMORY)):
                self.faults.append(f"{source.name}: {line['message']}")
            if seconds > 10:
                self.faults.append(f"{source.name}: refused after {seconds:.1f} s")
            if watcher.peak > 600_000_000:
                self.faults.append(f"{source.name}: {watcher.peak / 1e6:.0f} MB of memory")
            if "NIVEX_SHOW" in os.environ:
                print(f"{source.name:12}{seconds:6.2f} s{watcher.peak / 1e6:8.0f} MB  {line['message']}", flush=True)
        self.report()


# Their readers give the size of the picture to the codec of another format, or it is packed too tightly to forge here.
NOT_ARMED = {"heif", "jxl"}


if __name__ == "__main__":
    unittest.main()

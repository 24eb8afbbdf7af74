"""The colours of pictures, whatever their channels, depth and profile, in every format that is written.

Each test run converts every kind of picture to one target or more, and to every target about thirty kinds. With
NIVEX_COLOURS=all it converts every kind to every target."""
import json
import os
import pathlib
import struct
import tempfile
import unittest

import colour_files
import pictures
from colour_engine import CMYK, GREY
from nivex_case import NivexCase
from pictures import run
from test_picture_matrix import TARGETS

HOLD_INKS = ("jpeg", "tiff", "psd", "pdf")
STEP = 0.016    # what rounding to 8 bits, in two places, may do to a component
# How far a component may be from what it should be.
TOLERANCES = {"jpeg": 0.03, "webp": 0.035, "heic": 0.03, "heif": 0.03, "avif": 0.03,
              "jxl": 0.06,  # saturated red; exact at the highest quality
              "jp2": 0.035, "astc": 0.03, "pdf": 0.03,
              "hdr": 0.07}  # whose components share an exponent


def patches(frame):
    """The components of each patch's inner pixels, from 0 to 1. Icons may be larger than their picture."""
    side, margin = frame.width // 2, 4
    for top in (0, side):
        for left in (0, side):
            yield [[value / 65535 for value in frame.pixels[4 * (y * frame.width + x):][:4]]
                   for y in range(top + margin, top + side - margin)
                   for x in range(left + margin, left + side - margin)]


def worst(seen, wanted):
    """The greatest difference of any pixel's component."""
    return max(abs(a - b) for pixel in seen for a, b in zip(pixel, wanted))


def inks_of(path, alpha):
    """The patches' inks as ImageMagick reads them, by no profile; None where the file holds none."""
    if path.suffix == ".pdf":
        with tempfile.TemporaryDirectory() as folder:
            run("pdfimages", "-all", path, pathlib.Path(folder, "x"))
            return inks_of(sorted(pathlib.Path(folder).iterdir())[0], False)
    channels = 5 if alpha else 4
    kind, _, data = run("convert", f"{path}[0]", "-depth", "16", "-endian", "MSB", "-format", "%[colorspace]\n",
                        "-write", "info:-", "cmyka:-" if alpha else "cmyk:-").stdout.partition(b"\n")
    if kind != b"CMYK":
        return None
    values = [value / 65535 for value in struct.unpack(f">{len(data) // 2}H", data)]
    side = colour_files.SIDE
    return [[values[channels * (y * side + x):][:channels] for y in range(top + 4, top + 12)
             for x in range(left + 4, left + 12)] for top in (0, 16) for left in (0, 16)]


class Colours(NivexCase):
    def setUp(self):
        super().setUp()
        self.faults = []

    def fault(self, kind, target, text):
        self.faults.append(f"{kind.name} -> {target}: {text}")

    def convert(self, kinds, target, *options):
        """The outputs by kind."""
        out = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        result = run(self.program, "convert", *[self.folder / kind.name for kind in kinds], "--to", target, "--out",
                     out, "--jobs", str(os.cpu_count()), "--json", *options, cwd=self.folder, env=self.environment, check=False)
        self.assertNotIn(b"Sanitizer", result.stderr)
        lines = {pathlib.Path(line["source"]).name: line
                 for line in map(json.loads, result.stdout.decode().splitlines())}
        outputs = {}
        for kind in kinds:
            line = lines.get(kind.name)
            if not line or line["state"] != "succeeded":
                self.fault(kind, target, line["message"] if line else "no line")
            else:
                outputs[kind] = pathlib.Path(line["outputs"][0])
        return outputs

    def see(self, target, paths):
        """The first frame of each file, as the programs of the target's row see it."""
        first = TARGETS[target].first
        def decoded(path):
            try:
                return first(path, pathlib.Path(tempfile.mkdtemp(dir=self.folder)))[0]
            except (AssertionError, IndexError):
                return None
        shown = {path: path for path in paths}
        if first:
            shown = dict(zip(paths, pictures.in_parallel(decoded, paths)))
        seen = pictures.imagemagick_sees([each for each in shown.values() if each],
                                         pathlib.Path(tempfile.mkdtemp(dir=self.folder)) / "seen")
        return {path: seen[each][0] for path, each in shown.items() if each in seen}

    def judge_inks(self, kind, target, path):
        seen = inks_of(path, kind.alpha and target != "jpeg")
        if not seen:
            self.fault(kind, target, "inks became light")
            return
        keeps_alpha = len(seen[0][0]) == 5
        for number, (patch, wanted, alpha) in enumerate(zip(seen, kind.inks(), kind.alphas())):
            if kind.alpha and target == "jpeg":
                wanted = [value * alpha for value in wanted]  # over white, which needs no ink
            if target == "psd" and keeps_alpha and alpha < 1:
                continue  # ImageMagick takes what it thinks is white out of it
            error = worst(patch, [*wanted, alpha] if keeps_alpha else wanted)
            if error > TOLERANCES.get(target, STEP):
                self.fault(kind, target, f"inks of patch {number} differ by {error:.3f}")

    def judge_colours(self, kind, target, frame):
        keeps_alpha = TARGETS[target].alpha
        # ImageMagick takes the light in TIFF files for numbers.
        is_light = target == "tiff" and kind.bits == colour_files.FLOAT and kind.space != CMYK
        for number, (patch, wanted, alpha) in enumerate(zip(patches(frame), kind.looks(None if keeps_alpha else 1),
                                                            kind.alphas())):
            if target == "gif":
                alpha = round(alpha)
            if not keeps_alpha:
                alpha = 1
            elif target == "jp2" and kind.space == GREY:
                patch = [pixel[:3] for pixel in patch]  # ImageMagick loses the alpha of grey JPEG 2000
            elif alpha == 0:
                wanted, patch = (), [pixel[3:] for pixel in patch]
            elif target == "psd" and kind.space == GREY and kind.profile in ("own", "foreign"):
                # Only with a profile it is a grey document, and there ImageMagick leaves the white it lies over.
                wanted = [value * alpha + 1 - alpha for value in wanted]
            error = worst(patch, (*wanted, alpha))
            if is_light:
                error = min(error, worst([[*map(colour_files.curve, pixel[:3]), *pixel[3:]] for pixel in patch], (*wanted, alpha)))
            allowed = TOLERANCES.get(target, STEP) / min(1, alpha or 1)
            if error > allowed:
                seen = tuple(round(value, 3) for value in patch[0])
                self.fault(kind, target, f"patch {number} differs by {error:.3f}: {seen} instead of {(*wanted, alpha)}")

    def judge(self, target, outputs):
        inked = [kind for kind in outputs if kind.space == CMYK and target in HOLD_INKS]
        pictures.in_parallel(lambda kind: self.judge_inks(kind, target, outputs[kind]), inked)
        others = [kind for kind in outputs if kind not in inked]
        seen = self.see(target, [outputs[kind] for kind in others])
        for kind in others:
            if outputs[kind] in seen:
                self.judge_colours(kind, target, seen[outputs[kind]])
            else:
                self.fault(kind, target, "no program reads it")

    def test_every_kind_of_picture(self):
        kinds = list(colour_files.kinds())
        pictures.in_parallel(lambda kind: kind.write(self.folder), kinds)
        takes_all = os.environ.get("NIVEX_COLOURS") == "all"
        share = 17  # odd, so that every target meets every kind of profile
        counts = {}
        for number, target in enumerate(sorted(TARGETS)):
            chosen = [kind for i, kind in enumerate(kinds)
                      if (takes_all or (i + 5 * number) % share == 0) and {"tif": "tiff"}.get(kind.container, kind.container) != target]
            before = len(self.faults)
            self.judge(target, self.convert(chosen, target))
            counts[target] = f"{len(chosen) - (len(self.faults) - before)} of {len(chosen)}"
        if takes_all:
            print(counts)
        if self.faults:
            self.fail(f"{len(self.faults)} faults\n" + "\n".join(self.faults))


if __name__ == "__main__":
    unittest.main()

"""Every edge of the image engine, on pictures made by other programs, judged by programs that are not ours."""
import collections
import json
import os
import pathlib
import re
import struct
import tempfile
import unittest

import pictures
from nivex_case import NivexCase
from pictures import run

# What the user is told, by the loss it names.
WARNINGS = {
    "transparency": "La transparence sera remplacée par un fond uni.",
    "animation": "Seule la première image de l'animation sera conservée.",
    "pages": "Seule la première image ou page sera conservée.",
    "layers": "Les calques seront fusionnés.",
    "resolution": "L'image sera redimensionnée pour respecter les limites du format.",
    "rawDevelopment": "Le fichier RAW sera développé avec les réglages par défaut de macOS.",
    "colorPalette": "Les couleurs seront réduites à une palette de 256 couleurs.",
    "colorDepth": "La profondeur de couleur sera réduite à 8 bits.",
    "metadata": "Les métadonnées ne peuvent pas être conservées dans ce format.",
    "compression": "Compression avec perte : la qualité dépend du réglage choisi.",
}
# These speak of what a format does to any picture, because nobody decodes one to foretell it: true of an edge when one
# of its pictures loses it.
OF_THE_EDGE = {"colorPalette", "metadata", "compression"}


def foretold_of_the_edge(source):
    return OF_THE_EDGE | ({"transparency"} if source.format == "astc" else set())  # whose header does not tell


# --- Second opinions: the size that another program finds when it decodes the whole file -----------------------------

def size_of_pnm(data):
    fields = data[:64].split()
    return int(fields[1]), int(fields[2])


def size_of_png(path):
    data = path.read_bytes()[:24]
    return int.from_bytes(data[16:20], "big"), int.from_bytes(data[20:24], "big")


def by_ffmpeg(path, scratch):
    return size_of_pnm(run("ffmpeg", "-v", "error", "-i", path, "-frames:v", "1", "-c:v", "ppm", "-f", "image2pipe",
                           "-").stdout)


def many_by_ffmpeg(paths, scratch):
    """Sizes of the files if all can be read; one process is started far faster than hundreds."""
    command = ["ffmpeg", "-v", "error", *[part for path in paths for part in ("-i", path)]]
    for number in range(len(paths)):
        command += ["-map", f"{number}:v", "-frames:v", "1", "-c:v", "ppm", "-f", "image2", scratch / f"{number}.ppm"]
    if run(*command, check=False).stderr:
        return {}
    return {path: size_of_pnm((scratch / f"{number}.ppm").read_bytes()) for number, path in enumerate(paths)}


def by_tiffinfo(path, scratch):
    told = run("tiffinfo", "-D", path)
    if b"rror" in told.stderr:
        raise AssertionError(told.stderr.decode(errors="replace"))
    found = re.search(rb"Image Width: (\d+) Image Length: (\d+)", told.stdout)
    return int(found[1]), int(found[2])


def by_dwebp(path, scratch):
    if b"ANMF" in path.read_bytes():
        told = run("webpmux", "-info", path).stdout
        run("webpmux", "-get", "frame", "2", path, "-o", scratch / "frame.webp")
        run("dwebp", "-quiet", scratch / "frame.webp", "-o", scratch / "out.png")
        found = re.search(rb"Canvas size: (\d+) x (\d+)", told)
        return int(found[1]), int(found[2])
    run("dwebp", "-quiet", path, "-o", scratch / "out.png")
    return size_of_png(scratch / "out.png")


def by_vips(path, scratch):
    run("vips", "pngsave", path, scratch / "out.png")
    return size_of_png(scratch / "out.png")


def by_identify(path, scratch):
    width, height = run("identify", "-quiet", "-format", "%w %h\n", path).stdout.split()[:2]
    return int(width), int(height)


def by_opj(path, scratch):
    run("opj_decompress", "-i", path, "-o", scratch / "out.png")
    return size_of_png(scratch / "out.png")


def by_icotool(path, scratch):
    run("icotool", "-x", "-o", scratch, path)
    return max(size_of_png(each) for each in scratch.glob("*.png"))


def by_gdk_pixbuf(path, scratch):
    run("gdk-pixbuf-pixdata", path, scratch / "out")
    return struct.unpack(">2I", (scratch / "out").read_bytes()[16:24])


def by_qpdf(path, scratch):
    run("qpdf", "--check", path)
    box = re.search(rb"/MediaBox \[\s*0\s+0\s+([\d.]+)\s+([\d.]+)\s*\]", run("qpdf", "--qdf", path, "-").stdout)
    return round(float(box[1])), round(float(box[2]))


def by_header(path, scratch):
    head = path.read_bytes()[:16]
    assert head[:7] == b"\x13\xab\xa1\x5c" + head[4:6] + b"\x01", "no ASTC header"
    return int.from_bytes(head[7:10], "little"), int.from_bytes(head[10:13], "little")


# --- First opinions: programs that turn a file into PNG for ImageMagick where it cannot read it, or not all of it -----

def heif_convert(path, scratch):
    run("heif-convert", path, scratch / "out.png")
    return sorted(scratch.glob("out*.png"))


def avifdec(path, scratch):
    run("avifdec", path, scratch / "out.png")
    return [scratch / "out.png"]


def djxl(path, scratch):
    told = run("jxlinfo", path).stdout
    if b"animation" in told.lower():
        run("djxl", path, scratch / "out.apng")
        run("ffmpeg", "-v", "error", "-i", scratch / "out.apng", "-vsync", "passthrough", scratch / "frame%d.png")
        return sorted(scratch.glob("frame*.png"))
    out = scratch / ("out.exr" if b"float" in told else "out.png")
    run("djxl", path, out)
    return [out]


def frames_of_png(path, scratch):
    if b"acTL" not in path.read_bytes():
        return [path]
    run("ffmpeg", "-v", "error", "-f", "apng", "-i", path, "-vsync", "passthrough", scratch / "frame%d.png")
    return sorted(scratch.glob("frame*.png"))


def icns2png(path, scratch):
    run("icns2png", "-x", "-o", scratch, path)
    return sorted(scratch.glob("*.png"), key=size_of_png, reverse=True)


def pdftocairo(path, scratch):
    run("pdftocairo", "-r", "72", "-png", "-transp", path, scratch / "out")
    return sorted(scratch.glob("out*.png"))


def astcenc(path, scratch):
    run("astcenc", "-dl", path, scratch / "out.png")
    return [scratch / "out.png"]


def components(*tags):
    """Bits per component as exiftool tells them."""
    def bits(path, told):
        values = [told[tag] for tag in tags if tag in told]
        return max(int(number) for number in re.findall(r"\d+", str(values[0]))) if values else 8
    return bits


def bits_of_jp2(path, told):
    return components("Jpeg2000:BitsPerComponent")(path, told) + 1  # as the file has it: one less


def bits_by_jxlinfo(path, told):
    text = run("jxlinfo", path).stdout.decode()
    return int(re.search(r"(\d+)-bit", text)[1])


def always(bits):
    return lambda path, told: bits


class Target:
    """A written format: who judges it, and what is true of every file of it."""
    def __init__(self, second, first=None, bits=always(8), lossless=True, error=0.0, alpha=True):
        self.second = second      # the other program
        self.first = first        # turns the file into PNG; ImageMagick alone where absent
        self.bits = bits
        self.lossless = lossless
        self.error = error        # of the stored components, as a part of the whole range
        self.alpha = alpha


TARGETS = {
    "png":  Target(by_ffmpeg, frames_of_png, bits=components("PNG:BitDepth")),
    "jpeg": Target(by_ffmpeg, lossless=False, error=0.06, alpha=False),
    "tiff": Target(by_tiffinfo, bits=components("EXIF:BitsPerSample")),
    "bmp":  Target(by_ffmpeg),
    "gif":  Target(by_ffmpeg, error=0.04),
    "webp": Target(by_dwebp, lossless=False, error=0.06),
    "heic": Target(by_vips, heif_convert, components("QuickTime:ImagePixelDepth"), lossless=False, error=0.06),
    "heif": Target(by_vips, heif_convert, components("QuickTime:ImagePixelDepth"), lossless=False, error=0.06),
    "avif": Target(by_vips, avifdec, components("QuickTime:ImagePixelDepth"), lossless=False, error=0.06),
    "jxl":  Target(by_ffmpeg, djxl, bits_by_jxlinfo, lossless=False, error=0.06),
    "jp2":  Target(by_opj, bits=bits_of_jp2, lossless=False, error=0.06),
    "ico":  Target(by_icotool),
    "icns": Target(by_gdk_pixbuf, icns2png),
    "tga":  Target(by_ffmpeg),
    "exr":  Target(by_ffmpeg, bits=always(32), error=0.002),
    "hdr":  Target(by_vips, bits=always(32), error=0.01, alpha=False),
    "astc": Target(by_header, astcenc, lossless=False, error=0.06),
    "psd":  Target(by_ffmpeg, bits=components("Photoshop:BitDepth")),
    "pdf":  Target(by_qpdf, pdftocairo, lossless=False, error=0.08),
}


def colours(frame):
    """How many different colours the frame shows, up to 8 bits each."""
    return len({tuple(value >> 8 for value in frame.pixels[i:i + 4]) for i in range(0, len(frame.pixels), 4)})


class PictureMatrix(NivexCase):
    def setUp(self):
        super().setUp()
        self.faults = []

    def edges(self):
        """Of pictures alone: pages of documents are drawn by another program, and judged with it."""
        lines = self.json_lines("engines")
        engine, = [line for line in lines if line["id"] == "native-image"]
        self.assertTrue(engine["available"], engine["reason"])
        return {(edge["source"], edge["target"]): set(edge["losses"]) for edge in engine["edges"]
                if edge["source"] != "pdf"}

    def fault(self, source, target, text, announced=(), found=()):
        told = (f" (announced: {', '.join(sorted(announced)) or 'nothing'}; "
                f"found: {', '.join(sorted(found)) or 'nothing'})")
        self.faults.append(f"{source.name} -> {target}: {text}" + (told if announced or found else ""))

    def convert_all(self, target, files):
        """The results of one call for all sources: the job's line by the name of its source."""
        out = self.folder / f"to-{target}"
        out.mkdir()
        result = run(self.program, "convert", *files, "--to", target, "--out", out, "--json", check=False,
                     cwd=self.folder, env=self.environment)
        self.assertIn(result.returncode, (0, 1), result.stderr.decode(errors="replace"))
        self.assertNotIn(b"Sanitizer", result.stderr)
        lines = [json.loads(line) for line in result.stdout.decode().splitlines()]
        self.assertFalse([name for name in os.listdir(out) if name.startswith(".")], "left over")
        return {pathlib.Path(line["source"]).name: line for line in lines}

    def see(self, target, paths):
        """Frames by path, as the programs of the target's row see them."""
        row = TARGETS[target]
        if not row.first:
            return pictures.imagemagick_sees(paths, self.folder / f"seen-{target}")
        def decode(path):
            scratch = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
            try:
                return row.first(path, scratch)
            except AssertionError as failure:
                return str(failure)
        decoded = dict(zip(paths, pictures.in_parallel(decode, paths)))
        pngs = [png for each in decoded.values() if isinstance(each, list) for png in each]
        seen = pictures.imagemagick_sees(pngs, self.folder / f"seen-{target}")
        return {path: [frame for png in each for frame in seen[png]]
                for path, each in decoded.items() if isinstance(each, list)}

    def second_opinions(self, target, paths):
        """The size that the other program finds, or what it complains of."""
        def ask(path):
            scratch = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
            try:
                return TARGETS[target].second(path, scratch)
            except Exception as failure:
                return f"{type(failure).__name__}: {str(failure)[-300:]}"
        known = {}
        if TARGETS[target].second is by_ffmpeg:
            known = many_by_ffmpeg(paths, pathlib.Path(tempfile.mkdtemp(dir=self.folder)))
        others = [path for path in paths if path not in known]
        return known | dict(zip(others, pictures.in_parallel(ask, others)))

    def test_every_edge(self):
        edges = self.edges()
        readable = {source for source, _ in edges}
        sources = [source for source in pictures.SOURCES if source.format in readable]
        self.assertEqual(readable - {source.format for source in sources}, readable & pictures.CAMERA_FORMATS)
        targets = sorted({target for _, target in edges})
        self.assertEqual(set(targets) - set(TARGETS), set())

        originals = self.originals = pictures.make(self.folder, sources)
        shown = {source.name: self.folder / source.looks if source.looks else originals[source.name]
                 for source in sources if not source.large}
        truths = pictures.imagemagick_sees(set(shown.values()), self.folder / "truths")
        truth = {name: truths.get(path) for name, path in shown.items()}
        for name, frames in truth.items():
            self.assertTrue(frames, f"no program sees {name}")

        lost_on_edge = collections.defaultdict(set)
        announced_by = {}
        for target in targets:
            chosen = [source for source in sources if (source.format, target) in edges]
            lines = self.convert_all(target, [originals[source.name] for source in chosen])
            self.judge(target, chosen, truth, lines, lost_on_edge, announced_by)
        for (source, target), (announced, found) in announced_by.items():
            unproved = {loss for loss in announced - found if loss not in lost_on_edge[source.format, target]}
            if unproved:
                self.fault(source, target, "announced but lost by no picture", announced, found)
        if self.faults:
            self.fail(f"{len(self.faults)} faults\n" + "\n".join(self.faults))

    def judge(self, target, sources, truth, lines, lost_on_edge, announced_by):
        results = {}
        for source in sources:
            line = lines.get(source.name)
            if not line or line["state"] != "succeeded":
                self.fault(source, target, line["message"] if line else "no line")
            elif len(line["outputs"]) != 1:
                self.fault(source, target, f"{len(line['outputs'])} files")
            else:
                results[source] = self.folder / line["outputs"][0]
        seen = self.see(target, [path for source, path in results.items() if not source.large])
        told = pictures.exiftool_sees(results.values())
        opinions = self.second_opinions(target, list(results.values()))
        for source, path in results.items():
            announced = set()
            names = {text: name for name, text in WARNINGS.items()}
            for warning in lines[source.name]["warnings"]:
                announced.add(names.get(warning, warning))
            frames = seen.get(path)
            if source.large:
                frames = None
            elif not frames:
                self.fault(source, target, "the first program does not open the result")
                continue
            if isinstance(opinions[path], str):
                self.fault(source, target, f"the second program does not open the result: {opinions[path]}")
            elif frames and opinions[path] != frames[0].size:
                self.fault(source, target, f"{opinions[path]} for the second program, {frames[0].size} for the first")
            found = self.losses(source, target, truth.get(source.name), frames, path, told.get(path, {}),
                                opinions[path])
            lost_on_edge[source.format, target] |= found
            if found - announced:
                self.fault(source, target, "lost but not announced: " + ", ".join(sorted(found - announced)),
                           announced, found)
            excess = announced - found - foretold_of_the_edge(source)
            if excess:
                self.fault(source, target, "announced but not lost: " + ", ".join(sorted(excess)), announced, found)
            announced_by[source, target] = (announced & foretold_of_the_edge(source), found)
            if frames:
                self.compare(source, target, truth[source.name], frames, announced)

    def losses(self, source, target, truth, frames, path, told, opinion):
        """What the result has really lost."""
        row = TARGETS[target]
        found = set()
        isExact = target == "pdf" and b"/DCTDecode" not in path.read_bytes()
        width = told.get("File:ImageWidth") or next((v for k, v in told.items() if k.endswith(":ImageWidth")), None)
        if source.large:
            if width is None and not isinstance(opinion, str):
                width = opinion[0]
            if width is not None and width < 66000:
                found.add("resolution")
            return found | (set() if row.lossless or isExact else {"compression"})
        # Encoders drop an alpha that is opaque everywhere, where they could keep it.
        if source.alpha and not frames[0].alpha and (not row.alpha or min(truth[0].pixels[3::4]) < 65535):
            found.add("transparency")
        # The sizes of an icon are one picture, unless they are sizes of the source too.
        held = 1 if target in ("ico", "icns") and source.kind != "sizes" else len(frames)
        if source.frames > held:
            found.add("animation" if source.kind == "animation" else "pages")
        if max(frames[0].size) < max(truth[0].size):
            found.add("resolution")
        if source.layers:
            found.add("layers")
        if source.raw:
            found.add("rawDevelopment")
        bits = row.bits(path, told)
        if source.bits > bits:
            found.add("colorDepth")
        if colours(truth[0]) > 256 and colours(frames[0]) <= 256 and target == "gif":
            found.add("colorPalette")
        kept = [name for name in source.told if any(key.endswith(":" + name) for key in told)]
        if kept and len(kept) < len(source.told):
            self.fault(source, target, f"of the metadata only {', '.join(kept)} is kept")
        if source.told and not kept:
            found.add("metadata")
        if any(key.endswith("IFD0:Orientation") and value != 1 for key, value in told.items()) or \
                told.get("EXIF:Orientation", 1) != 1:
            self.fault(source, target, "the picture is upright but still tells of an orientation")
        isPassedThrough = target == "pdf" and source.format == "jpeg" and \
            self.originals[source.name].read_bytes() in path.read_bytes()
        if not row.lossless and not isPassedThrough and not isExact:
            found.add("compression")
        return found

    def compare(self, source, target, truth, frames, announced):
        """Looks at the pixels."""
        row = TARGETS[target]
        for number, (expected, shown) in enumerate(zip(truth, frames)):
            if expected.alpha and not shown.alpha:
                translucent, expected = expected, pictures.over(expected, 65535)
            if expected.size != shown.size:
                if "resolution" not in announced and not (target in ("ico", "icns") or source.kind == "sizes"):
                    self.fault(source, target, f"{shown.size} instead of {expected.size}")
                continue
            if target == "gif" and source.alpha:
                expected = pictures.with_hard_edges(expected)
            error = pictures.difference(expected, shown)
            if source.bits == 32 and target == "tiff":  # whose linear light ImageMagick takes for sRGB
                error = min(error, pictures.difference(pictures.in_linear_light(expected), shown))
            if source.bits == 32 and source.alpha and not shown.alpha:  # light adds up, which sRGB's numbers do not
                light = pictures.over(pictures.in_linear_light(translucent), 65535)
                error = min(error, pictures.difference(light, pictures.in_linear_light(shown)))
            allowed = row.error + source.tolerance
            if target == "psd" and shown.alpha:  # colours lie over white
                allowed += 0.003
            if "colorDepth" in announced:
                allowed += 0.003
            if source.cmyk and target not in ("tiff", "psd"):
                allowed += 0.06
            if source.profile:
                allowed += 0.03
            if error > allowed:
                self.fault(source, target, f"picture {number + 1} differs by {error:.4f}, allowed {allowed:.4f}")


if __name__ == "__main__":
    unittest.main()

"""Pictures of four flat patches in every kind of colour that files store, written here byte by byte, and what their
patches look like."""
import dataclasses
import functools
import itertools
import math
import pathlib
import struct
import subprocess
import tempfile
import zlib

import colour_engine
from colour_engine import CMYK, GREY, LAB, RGB

SIDE, PATCH = 32, 16
FLOAT = 32.5  # bits of floating point, beside 32 of whole numbers

# Components from 0 to 1, of Lab as CIE counts them; the third patch is the transparent one.
PATCHES = {
    GREY: [(0.0,), (0.2,), (0.6,), (1.0,)],
    RGB: [(0.9, 0.2, 0.1), (0.1, 0.5, 0.9), (0.3, 0.7, 0.4), (1.0, 1.0, 1.0)],
    CMYK: [(0.1, 0.8, 0.6, 0.0), (0.7, 0.3, 0.1, 0.2), (0.2, 0.2, 0.3, 0.5), (0.0, 0.0, 0.0, 0.0)],
    LAB: [(60, 40, 30), (40, -10, -30), (70, -20, 20), (100, 0, 0)],
}
ALPHAS = (1.0, 1.0, 0.4, 1.0)


@functools.lru_cache(None)
def profile(kind, space):
    """The bytes of a profile: `own` says what a program assumes anyway, `foreign` something else."""
    if kind == "none" or (kind in ("own", "foreign") and space == LAB):
        return b""
    if kind == "wrong":
        return profile("own", {GREY: RGB, RGB: CMYK, CMYK: RGB, LAB: RGB}[space])
    if kind == "own" and space == CMYK:  # the one that libvips has inside
        with tempfile.TemporaryDirectory() as folder:
            white, inks = pathlib.Path(folder, "white.tif"), pathlib.Path(folder, "inks.tif")
            subprocess.run(["vips", "black", white, "8", "8", "--bands", "3"], check=True)
            subprocess.run(["vips", "icc_transform", white, inks, "cmyk", "--input-profile", "srgb"], check=True)
            return subprocess.run(["exiftool", "-b", "-icc_profile", inks], check=True, capture_output=True).stdout
    if kind == "foreign" and space == CMYK:
        return colour_engine.strange_inks()
    if kind == "own" and space == GREY:
        return colour_engine.usual_grey()
    name = {("foreign", GREY): "Gray-CIE_L.icc",
            ("own", RGB): "sRGB.icc", ("foreign", RGB): "compatibleWithAdobeRGB1998.icc"}[kind, space]
    return (colour_engine.PROFILES / name).read_bytes()


def curve(light):
    """sRGB's number for an amount of light (IEC 61966-2-1)."""
    return 12.92 * light if light <= 0.0031308 else 1.055 * light ** (1 / 2.4) - 0.055


@dataclasses.dataclass(frozen=True)
class Kind:
    """One kind of picture: how it is stored."""
    container: str  # tif, psd, jp2 or png
    space: str
    alpha: bool
    bits: float
    profile: str    # none, own, foreign, wrong

    @property
    def name(self):
        depth = "float" if self.bits == FLOAT else str(self.bits)
        return f"{self.space}{'-alpha' if self.alpha else ''}-{depth}-{self.profile}.{self.container}"

    @property
    def icc(self):
        return profile(self.profile, self.space)

    def stored(self):
        """The patches as the file holds them: components that its depth can tell apart, then alpha."""
        most = 1 if self.bits == FLOAT else 2 ** self.bits - 1
        def nearest(value):
            return value if self.bits == FLOAT else round(value * most) / most
        patches = []
        for components, alpha in zip(PATCHES[self.space], ALPHAS):
            if self.space == LAB and self.bits != FLOAT:
                light, a, b = components
                step = 1 if self.bits == 8 else 256
                components = (nearest(light / 100) * 100, round(a * step) / step, round(b * step) / step)
            elif self.space != LAB:
                components = tuple(nearest(value) for value in components)
            patches.append(components + ((nearest(alpha),) if self.alpha else ()))
        return patches

    def inks(self):
        return [patch[:4] for patch in self.stored()]

    def alphas(self):
        return [patch[-1] if self.alpha else 1.0 for patch in self.stored()]

    def looks(self, background=None):
        """Each patch as red, green and blue of sRGB, from 0 to 1. Laid over a background, 0 or 1, it is mixed with it
        in the numbers that the file holds, as programs do it; those of floating point are light."""
        icc = b"" if self.profile == "wrong" else self.icc
        if self.space == CMYK and not icc:
            icc = profile("own", CMYK)
        is_light = self.bits == FLOAT and self.space in (GREY, RGB) and (
            not icc or self.container == "psd")  # where it is light whatever the profile says
        ground = {GREY: (background,), RGB: (background,) * 3, CMYK: (0, 0, 0, 1 - (background or 0)),
                  LAB: (background,) * 3}[self.space]
        colours = []
        for patch, alpha in zip(self.stored(), self.alphas()):
            components = patch[:len(ground)]
            if self.space == LAB:  # which is read as sRGB
                components = colour_engine.in_srgb(LAB, components)
            if background is not None:
                components = tuple(c * alpha + g * (1 - alpha) for c, g in zip(components, ground))
            if self.space == LAB:
                colours.append(components)
            elif is_light:
                colours.append(tuple(map(curve, components * (3 // len(components)))))
            else:
                colours.append(colour_engine.in_srgb(self.space, components, icc))
        return colours

    def write(self, folder):
        path = pathlib.Path(folder) / self.name
        path.write_bytes({"tif": tiff, "psd": psd, "jp2": jp2, "png": png}[self.container](self))
        return path


def packed(numbers, bits):
    """Whole numbers side by side, the higher bits first, in whole bytes."""
    text = "".join(f"{number:0{bits}b}" for number in numbers)
    text += "0" * (-len(text) % 8)
    return int(text, 2).to_bytes(len(text) // 8, "big")


def rows(pixels, encode):
    """The encoded rows of a picture of four patches, of which two and two stand side by side."""
    upper = encode([pixel for pixel in pixels[:2] for _ in range(PATCH)])
    lower = encode([pixel for pixel in pixels[2:] for _ in range(PATCH)])
    return [upper] * PATCH + [lower] * PATCH


def numbers(kind, lab_offset=0):
    """The patches as whole numbers; a and b of Lab are signed, or begin at an offset."""
    most = 2 ** kind.bits - 1
    patches = []
    for patch in kind.stored():
        values = [round(value * most) for value in patch]
        if kind.space == LAB:
            step = 2 ** (kind.bits - 8)
            values[0] = round(patch[0] / 100 * most)
            values[1:3] = [(round(value * step) + lab_offset * step) % (most + 1) for value in patch[1:3]]
        patches.append(values)
    return patches


def flat(pixels):
    return [value for pixel in pixels for value in pixel]


def tiff(kind):
    """TIFF 6.0, one strip, big-endian."""
    if kind.bits == FLOAT:
        data = rows(kind.stored(), lambda row: struct.pack(f">{len(row) * len(row[0])}f", *flat(row)))
    else:
        data = rows(numbers(kind), lambda row: packed(flat(row), kind.bits))
    bands = len(kind.stored()[0])
    photometric = {GREY: 1, RGB: 2, CMYK: 5, LAB: 8}[kind.space]
    strip = b"".join(data)
    bits = math.floor(kind.bits)
    short = lambda *values: struct.pack(f">{len(values)}H", *values)
    long = lambda value: struct.pack(">I", value)
    tags = [(256, 4, 1, long(SIDE)), (257, 4, 1, long(SIDE)), (258, 3, bands, short(*[bits] * bands)),
            (259, 3, 1, short(1)), (262, 3, 1, short(photometric)), (273, 4, 1, None), (277, 3, 1, short(bands)),
            (278, 4, 1, long(SIDE)), (279, 4, 1, long(len(strip)))]
    if kind.alpha:
        tags.append((338, 3, 1, short(2)))
    if kind.bits == FLOAT:
        tags.append((339, 3, bands, short(*[3] * bands)))
    if kind.icc:
        tags.append((34675, 7, len(kind.icc), kind.icc))
    begin = 8 + 2 + 12 * len(tags) + 4
    end = begin + sum(len(value) + len(value) % 2 for *_, value in tags if value and len(value) > 4)
    directory, behind = short(len(tags)), b""
    for number, field, count, value in tags:
        value = long(end) if value is None else value
        directory += struct.pack(">HHI", number, field, count)
        if len(value) <= 4:
            directory += value.ljust(4, b"\0")
        else:
            directory += long(begin + len(behind))
            behind += value + b"\0" * (len(value) % 2)
    return b"MM\0*" + long(8) + directory + long(0) + behind + strip


def psd(kind):
    """A Photoshop document: planes without packing. Inks are stored inverted, and L*a*b* from 0."""
    if kind.bits == FLOAT:
        planes = [rows(list(channel), lambda row: struct.pack(f">{len(row)}f", *row)) for channel in zip(*kind.stored())]
    else:
        pixels = numbers(kind, lab_offset=128)
        if kind.space == CMYK:
            most = 2 ** kind.bits - 1
            pixels = [[most - value for value in pixel[:4]] + pixel[4:] for pixel in pixels]
        if kind.bits == 1:
            pixels = [[1 - value for value in pixel] for pixel in pixels]  # 1 is black
        planes = [rows(list(channel), lambda row: packed(row, kind.bits)) for channel in zip(*pixels)]
    block = lambda number, data: b"8BIM" + struct.pack(">HHI", number, 0, len(data)) + data + b"\0" * (len(data) % 2)
    resources = block(1039, kind.icc) if kind.icc else b""
    if kind.alpha:
        resources += block(1006, b"\x0cTransparency")
    mode = 0 if kind.bits == 1 else {GREY: 1, RGB: 3, CMYK: 4, LAB: 9}[kind.space]
    return (b"8BPS" + struct.pack(">H6xHIIHH", 1, len(planes), SIDE, SIDE, math.floor(kind.bits), mode)
            + struct.pack(">I", 0) + struct.pack(">I", len(resources)) + resources + struct.pack(">IH", 0, 0)
            + b"".join(itertools.chain(*planes)))


def jp2(kind):
    """JPEG 2000 without loss: the codestream by OpenJPEG's program, the boxes here (ISO/IEC 15444-1, Annex I)."""
    pixels = numbers(kind)
    bands = len(pixels[0])
    word = "B" if kind.bits <= 8 else "H"
    planes = b"".join(b"".join(rows(list(channel), lambda row: struct.pack(f">{len(row)}{word}", *row)))
                      for channel in zip(*pixels))
    with tempfile.TemporaryDirectory() as folder:
        raw, stream = pathlib.Path(folder, "x.raw"), pathlib.Path(folder, "x.j2k")
        raw.write_bytes(planes)
        subprocess.run(["opj_compress", "-i", raw, "-o", stream, "-n", "3", "-mct", "0", "-F",
                        f"{SIDE},{SIDE},{bands},{kind.bits},u"], check=True, capture_output=True)
        codestream = stream.read_bytes()
    box = lambda name, data: struct.pack(">I", 8 + len(data)) + name + data
    head = box(b"ihdr", struct.pack(">IIHBBBB", SIDE, SIDE, bands, kind.bits - 1, 7, 0, 0))
    enumerated = {GREY: 17, RGB: 16, CMYK: 12}[kind.space]
    head += box(b"colr", b"\2\0\0" + kind.icc if kind.icc else b"\1\0\0" + struct.pack(">I", enumerated))
    if kind.alpha:
        meanings = [(i, 0, i + 1) for i in range(bands - 1)] + [(bands - 1, 1, 0)]
        head += box(b"cdef", struct.pack(">H", bands) + b"".join(struct.pack(">HHH", *each) for each in meanings))
    return (box(b"jP  ", b"\r\n\x87\n") + box(b"ftyp", b"jp2 \0\0\0\0jp2 ") + box(b"jp2h", head)
            + box(b"jp2c", codestream))


def png(kind):
    data = b"".join(b"\0" + row for row in rows(numbers(kind), lambda row: packed(flat(row), kind.bits)))
    colour = {GREY: 0, RGB: 2}[kind.space] + (4 if kind.alpha else 0)
    def chunk(name, body):
        return struct.pack(">I", len(body)) + name + body + struct.pack(">I", zlib.crc32(name + body))
    icc = chunk(b"iCCP", b"profile\0\0" + zlib.compress(kind.icc)) if kind.icc else b""
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", SIDE, SIDE, kind.bits, colour, 0, 0, 0))
            + icc + chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b""))


# What each container holds of channels and depths.
DEPTHS = {
    ("tif", GREY): (1, 2, 4, 8, 10, 12, 16, 32, FLOAT), ("tif", RGB): (1, 2, 4, 8, 10, 12, 16, 32, FLOAT),
    ("tif", CMYK): (1, 2, 4, 8, 10, 12, 16, 32, FLOAT), ("tif", LAB): (8, 16, FLOAT),
    ("psd", GREY): (1, 8, 16, FLOAT), ("psd", RGB): (8, 16, FLOAT), ("psd", CMYK): (8, 16), ("psd", LAB): (8, 16),
    ("jp2", GREY): (1, 2, 4, 8, 10, 12, 16), ("jp2", RGB): (1, 2, 4, 8, 10, 12, 16), ("jp2", CMYK): (8, 12, 16),
    ("png", GREY): (1, 2, 4, 8, 16), ("png", RGB): (8, 16),
}


def kinds():
    for (container, space), depths in DEPTHS.items():
        for bits in depths:
            for alpha in (False, True):
                if alpha and ((container == "png" or container == "psd") and bits < 8):
                    continue  # which the format does not know
                for each in ("none", "own", "foreign", "wrong"):
                    if (space == LAB and each in ("own", "foreign")) or (
                            container == "jp2" and space == CMYK and each == "wrong"):  # which says RGB with one more
                        continue
                    yield Kind(container, space, alpha, bits, each)

"""Small pictures made by other programs, and what other programs see in a picture."""
import array
import concurrent.futures
import dataclasses
import json
import os
import pathlib
import re
import struct
import subprocess
import sys

STANDARD_PROFILE = "/usr/share/color/icc/sRGB.icc"
WIDTH, HEIGHT = 40, 28
MODEL = "Appareil d'essai"  # what the pictures with metadata say of their camera


def run(*command, cwd=None, input=None, check=True, env=None):
    """Runs another program; its failure is the test's, with what it said."""
    result = subprocess.run([str(part) for part in command], cwd=cwd, input=input, env=env, capture_output=True,
                            timeout=280)
    if check and result.returncode != 0:
        raise AssertionError(f"{command}\n{result.stdout.decode(errors='replace')}"
                             f"{result.stderr.decode(errors='replace')}")
    return result


def shell(folder, script):
    run("bash", "-euc", script, cwd=folder)


def in_parallel(work, items):
    """The results of `work` on each item, on all processors, in order."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return list(pool.map(work, items))


# --- Sources ---------------------------------------------------------------------------------------------------------

@dataclasses.dataclass(frozen=True)
class Source:
    """A picture that has something to lose. `make` is a shell script that writes $OUT from the masters."""
    name: str
    make: str
    alpha: bool = False
    frames: int = 1
    kind: str = "single"     # or pages, sizes, animation
    bits: int = 8            # 32: floating point
    told: tuple = ()         # the names of the metadata it has
    layers: bool = False
    raw: bool = False
    cmyk: bool = False
    profile: bool = False
    large: bool = False      # for the limits of formats: converted only where a limit stands in the way
    of: str = ""             # the format, where the extension is another's
    looks: str = ""          # the master it shows, where ImageMagick cannot read it or reads it otherwise
    tolerance: float = 0.0   # how far a decoder may be from another one, as a part of the whole range

    @property
    def format(self):
        if self.of:
            return self.of
        extension = self.name.rsplit(".", 1)[1]
        return {"jpg": "jpeg", "tif": "tiff"}.get(extension, extension)


TOLD = ("Model", "GPSLatitude", "Title")  # in Exif, in Exif's GPS part, in XMP

# Upright, not symmetrical, smooth with a little noise; plasma is a fractal.
MASTERS = f"""
S='-size {WIDTH}x{HEIGHT}'
convert $S -seed 7 plasma:tomato-navy -depth 8 -strip PNG24:photo.png
convert $S -seed 8 plasma:lime-orchid -depth 8 -strip PNG24:second.png
convert $S -seed 9 plasma:gold-teal -depth 8 -strip PNG24:third.png
convert photo.png \\( $S gradient:white-black -level 20,80% \\) -compose CopyOpacity -composite -strip PNG32:logo.png
convert $S -seed 7 plasma:gray10-gray90 -colorspace Gray -depth 8 -strip -define png:color-type=0 grey.png
convert grey.png \\( $S gradient:white-black -level 20,80% \\) -compose CopyOpacity -composite -strip \\
    -define png:color-type=4 greylogo.png
convert $S -seed 7 plasma:tomato-navy -depth 16 -strip PNG48:deep.png
convert $S -seed 7 plasma:gray10-gray90 -colorspace Gray -depth 16 -strip -define png:color-type=0 \\
    -define png:bit-depth=16 deepgrey.png
convert photo.png -colorspace RGB -depth 32 -define quantum:format=floating-point linear.tif
convert photo.png -rotate -90 lying.png
vips icc_transform photo.png wide.tif p3 --embedded --input-profile srgb
convert -delay 12 photo.png second.png third.png +dither -colors 200 film.gif
vips icc_transform photo.png inks.tif cmyk --input-profile srgb
for n in 16 32 48 128; do convert logo.png -resize ${{n}}x${{n}}! -strip PNG32:icon$n.png; done
"""

DESCRIBE = ("exiftool -q -overwrite_original -EXIF:Make=NIVEX \"-EXIF:Model=" + MODEL + "\" "
            "-EXIF:GPSLatitude=48.85 -EXIF:GPSLatitudeRef=N -EXIF:GPSLongitude=2.35 -EXIF:GPSLongitudeRef=E "
            "-XMP-dc:Title=Essai $OUT")
LIE_DOWN = "exiftool -q -overwrite_original -n -EXIF:Orientation=6 $OUT"

SOURCES = [
    Source("photo.png", "cp photo.png $OUT"),
    Source("logo.png", "cp logo.png $OUT", alpha=True),
    Source("grey.png", "cp grey.png $OUT"),
    Source("greylogo.png", "cp greylogo.png $OUT", alpha=True),
    Source("deep.png", "cp deep.png $OUT", bits=16),
    Source("deepgrey.png", "cp deepgrey.png $OUT", bits=16),
    Source("palette.png", "convert photo.png +dither -colors 64 PNG8:$OUT"),
    Source("wide.png", "vips pngsave wide.tif $OUT", profile=True),
    Source("told.png", f"cp photo.png $OUT; {DESCRIBE}", told=TOLD),
    Source("lying.png", f"cp lying.png $OUT; {LIE_DOWN}", looks="photo.png"),
    # ImageMagick tells of the camera behind the pixels.
    Source("late.png", f"convert lying.png -quality 100 x.jpg; {LIE_DOWN.replace('$OUT', 'x.jpg')}; convert x.jpg $OUT",
           looks="photo.png", tolerance=0.02),
    Source("strip.png", "vips grey $OUT 66000 8 --uchar", large=True),

    Source("photo.jpg", "convert photo.png -quality 92 $OUT"),
    Source("grey.jpg", "convert grey.png -quality 92 $OUT"),
    Source("progressive.jpg", "convert photo.png -interlace JPEG -quality 92 $OUT"),
    Source("inks.jpg", "vips jpegsave inks.tif $OUT", cmyk=True, profile=True),
    Source("bareinks.jpg", "convert photo.png -colorspace CMYK -quality 95 $OUT", cmyk=True, tolerance=0.12),
    Source("wide.jpg", "vips jpegsave wide.tif $OUT", profile=True),
    Source("told.jpg", f"convert photo.png -quality 92 $OUT; {DESCRIBE} -IPTC:ObjectName=Essai", told=TOLD),
    Source("phone.jpg", f"convert lying.png -quality 92 $OUT; {LIE_DOWN}; {DESCRIBE}", told=TOLD),

    Source("photo.tif", "convert photo.png -compress LZW $OUT"),
    Source("logo.tif", "convert logo.png $OUT", alpha=True),
    Source("grey.tif", "convert grey.png $OUT"),
    Source("deep.tif", "convert deep.png $OUT", bits=16),
    Source("float.tif", "cp linear.tif $OUT", bits=32, looks="photo.png", tolerance=0.004),
    Source("palette.tif", "convert photo.png +dither -colors 64 PNG8:few.png; convert few.png -type Palette $OUT"),
    Source("black.tif", "convert photo.png -threshold 50% -type Bilevel -compress Group4 $OUT"),
    Source("inks.tif", "cp inks.tif $OUT", cmyk=True, profile=True),
    Source("pages.tif", "convert photo.png second.png third.png $OUT", frames=3, kind="pages"),
    Source("wide.tif", "cp wide.tif $OUT", profile=True),
    Source("told.tif", f"convert photo.png $OUT; {DESCRIBE}", told=TOLD),
    Source("planes.tif", "convert logo.png x.tif; tiffcp -t -w 16 -l 32 -p separate x.tif $OUT", alpha=True,
           looks="logo.png"),
    Source("twelve.tif", "python3 -B $HERE/make_tiff.py grey12 deepgrey.png $OUT", bits=12, looks="deepgrey.png",
           tolerance=0.0003),
    Source("halves.tif", "python3 -B $HERE/make_tiff.py halves photo.png $OUT", bits=32, looks="photo.png",
           tolerance=0.004),
    Source("differences.tif", "python3 -B $HERE/make_tiff.py differences photo.png $OUT", looks="photo.png",
           tolerance=0.03),
    Source("oldjpeg.tif", "python3 -B $HERE/make_tiff.py oldjpeg photo.png $OUT", looks="photo.png", tolerance=0.03),
    Source("lying.tif", "convert lying.png -orient RightTop $OUT"),

    Source("map.tif", "python3 -B $HERE/make_tiff.py geotiff photo.png $OUT", of="geotiff",
           told=("GTModelType",)),

    Source("photo.bmp", "convert photo.png BMP3:$OUT"),
    Source("logo.bmp", "convert logo.png BMP:$OUT", alpha=True),
    Source("palette.bmp", "convert photo.png +dither -colors 64 PNG8:few.png; convert few.png -type Palette BMP3:$OUT"),

    Source("photo.gif", "convert photo.png +dither -colors 200 $OUT"),
    Source("logo.gif", "convert logo.png -channel A -threshold 50% +channel +dither -colors 100 $OUT", alpha=True),
    Source("film.gif", "convert film.gif -loop 3 $OUT", frames=3, kind="animation"),
    Source("film.png", "ffmpeg -v error -i film.gif -vsync passthrough -f apng -plays 3 $OUT", frames=3,
           kind="animation", alpha=True, looks="film.gif"),  # opaque alpha

    Source("photo.webp", "cwebp -quiet -q 90 photo.png -o $OUT"),
    Source("logo.webp", "cwebp -quiet -lossless -exact logo.png -o $OUT", alpha=True),
    Source("film.webp", "img2webp -loop 3 -lossless -d 120 photo.png second.png third.png -o $OUT >/dev/null",
           frames=3, kind="animation"),
    Source("wide.webp", "vips webpsave wide.tif $OUT --lossless", profile=True),
    Source("told.webp", f"cwebp -quiet -lossless photo.png -o $OUT; {DESCRIBE}", told=TOLD),

    Source("photo.heic", "heif-enc -q 90 -o $OUT photo.png", tolerance=0.02),
    Source("logo.heic", "heif-enc -q 90 -o $OUT logo.png", alpha=True, looks="logo.png", tolerance=0.03),
    Source("deep.heic", "heif-enc -q 90 -b 10 -o $OUT deep.png", bits=10, tolerance=0.02),
    Source("pages.heic", "heif-enc -q 90 -o $OUT photo.png second.png third.png", frames=3, kind="pages",
           tolerance=0.02),
    Source("told.heic", f"heif-enc -q 90 -o $OUT photo.png; {DESCRIBE}", told=TOLD, tolerance=0.02),
    Source("photo.heif", "heif-enc -q 90 -o x.heic photo.png; cp x.heic $OUT", tolerance=0.02),
    Source("told.heif", f"heif-enc -q 90 -o x.heic photo.png; cp x.heic $OUT; {DESCRIBE}", told=TOLD, tolerance=0.02),
    Source("photo.avif", "avifenc -s 8 --min 10 --max 20 photo.png $OUT", tolerance=0.03),
    Source("logo.avif", "avifenc -s 8 --min 10 --max 20 logo.png $OUT", alpha=True, looks="logo.png", tolerance=0.03),
    Source("deep.avif", "avifenc -s 8 --min 10 --max 20 -d 10 deep.png $OUT", bits=10, tolerance=0.03),
    Source("pages.avif", "heif-enc -A -q 90 -o $OUT photo.png second.png third.png", frames=3, kind="pages",
           tolerance=0.02),
    Source("film.avif", "avifenc -s 8 --min 10 --max 20 photo.png second.png third.png $OUT", frames=3,
           kind="animation", alpha=True, looks="photo.png", tolerance=0.03),  # opaque alpha
    Source("told.avif", f"avifenc -s 8 --min 10 --max 20 photo.png $OUT; {DESCRIBE}", told=TOLD, tolerance=0.03),

    Source("photo.jxl", "cjxl --quiet -d 0 photo.png $OUT", looks="photo.png"),
    Source("logo.jxl", "cjxl --quiet -d 0 logo.png $OUT", alpha=True, looks="logo.png"),
    Source("grey.jxl", "cjxl --quiet -d 1 grey.png $OUT", looks="grey.png", tolerance=0.02),
    Source("deep.jxl", "cjxl --quiet -d 0 deep.png $OUT", bits=16, looks="deep.png"),
    Source("film.jxl", "cjxl --quiet -d 0 film.gif $OUT", frames=3, kind="animation", alpha=True,
           looks="film.gif"),
    Source("told.jxl", f"cjxl --quiet -d 0 --container=1 photo.png $OUT; {DESCRIBE}", told=TOLD, looks="photo.png"),

    Source("photo.jp2", "opj_compress -n 3 -i photo.png -o $OUT", tolerance=0.002),
    Source("logo.jp2", "opj_compress -n 3 -i logo.png -o $OUT", alpha=True, looks="logo.png"),
    Source("grey.jp2", "opj_compress -n 3 -i grey.png -o $OUT", looks="grey.png"),
    Source("deep.jp2", "opj_compress -n 3 -i deep.png -o $OUT", bits=16, looks="deep.png"),
    Source("told.jp2", f"opj_compress -n 3 -i photo.png -o $OUT; {DESCRIBE}", told=TOLD, looks="photo.png"),

    Source("icon.ico", "icotool -c -o $OUT icon48.png icon32.png icon16.png", frames=3, kind="sizes", alpha=True,
           looks="icon48.png"),
    Source("one.ico", "convert icon32.png $OUT", alpha=True, looks="icon32.png"),
    Source("icon.icns", "png2icns $OUT icon16.png icon32.png icon128.png >/dev/null", frames=3, kind="sizes",
           alpha=True, looks="icon128.png"),

    # Without an orientation ImageMagick 6 writes rows from the top and says that they stand from the bottom.
    Source("photo.tga", "convert photo.png -orient TopLeft $OUT", looks="photo.png"),
    Source("logo.tga", "convert logo.png -orient TopLeft -compress RLE $OUT", alpha=True, looks="logo.png"),
    Source("grey.tga", "convert grey.png -orient TopLeft $OUT", looks="grey.png"),

    Source("photo.exr", "convert photo.png -colorspace RGB $OUT", bits=32, looks="photo.png", tolerance=0.004),
    Source("logo.exr", "convert logo.png -colorspace RGB -channel RGB -fx u*u.a +channel $OUT", bits=32, alpha=True,
           looks="logo.png", tolerance=0.02),
    Source("photo.hdr", "convert photo.png -colorspace RGB $OUT", bits=32, looks="photo.png", tolerance=0.008),

    Source("photo.dng", "python3 -B $HERE/make_tiff.py dng photo.png $OUT", bits=16, raw=True, looks="photo.png",
           told=("Model",), tolerance=0.05),
    Source("photo.astc", "astcenc -cl photo.png $OUT 4x4 -thorough", looks="photo.png", tolerance=0.02),
    Source("logo.astc", "astcenc -cl logo.png $OUT 4x4 -thorough", alpha=True, looks="logo.png", tolerance=0.03),

    # ImageMagick makes a layer of even a single picture.
    Source("photo.psd", "convert photo.png $OUT", layers=True),
    Source("grey.psd", "convert grey.png $OUT", layers=True),
    Source("deep.psd", "convert deep.png $OUT", bits=16, layers=True),
    Source("inks.psd", "convert inks.tif $OUT", cmyk=True, profile=True, layers=True),
    Source("layers.psd", "convert photo.png \\( photo.png -negate -crop 20x14+0+0 \\) \\( second.png -crop 9x9+3+3 \\) "
           "$OUT", layers=True, looks="photo.png"),
    Source("told.psd", f"convert photo.png $OUT; {DESCRIBE}", told=TOLD, layers=True),
    Source("told.psb", f"convert photo.png PSB:$OUT; {DESCRIBE}", told=TOLD, layers=True),
    Source("photo.psb", "convert photo.png PSB:$OUT", layers=True),
]

# No program that Debian has writes these; they share the reader, and most of the container, with DNG.
CAMERA_FORMATS = {"cr2", "cr3", "nef", "arw", "raf", "orf", "rw2"}


def make(folder, sources):
    """Makes the masters and the sources in a folder."""
    folder = pathlib.Path(folder)
    shell(folder, MASTERS)
    here = pathlib.Path(__file__).parent
    (folder / "sources").mkdir()

    def one(source):
        workplace = folder / ("making-" + source.name)
        workplace.mkdir()
        for master in folder.iterdir():
            if master.is_file():
                (workplace / master.name).symlink_to(master)
        shell(workplace, f"OUT=../sources/{source.name}; HERE={here}\n{source.make}")
    in_parallel(one, sources)
    return {source.name: folder / "sources" / source.name for source in sources}


# --- What other programs see -----------------------------------------------------------------------------------------

@dataclasses.dataclass
class Frame:
    """Pixels as red, green, blue and alpha of 16 bits in sRGB."""
    width: int
    height: int
    alpha: bool
    pixels: array.array

    @property
    def size(self):
        return self.width, self.height


def pam_frames(path):
    """Every picture of a PAM file of 16 bits."""
    data = path.read_bytes()
    frames, position = [], 0
    while position < len(data):
        end = data.index(b"ENDHDR\n", position) + 7
        fields = dict(line.split(" ", 1) for line in data[position:end].decode().splitlines() if " " in line)
        width, height, depth = int(fields["WIDTH"]), int(fields["HEIGHT"]), int(fields["DEPTH"])
        position = end + width * height * depth * (2 if fields["MAXVAL"] == "65535" else 1)
        if position > len(data):
            return []  # ImageMagick has given up on it
        samples = array.array("H", data[end:position])
        if sys.byteorder == "little":
            samples.byteswap()
        alpha = depth in (2, 4)
        pixels = array.array("H", bytes(8 * width * height))
        for channel in range(3):
            pixels[channel::4] = samples[(channel if depth > 2 else 0)::depth]
        pixels[3::4] = samples[depth - 1::depth] if alpha else array.array("H", [65535]) * (width * height)
        frames.append(Frame(width, height, alpha, pixels))
    return frames


def has_profile(path):
    data = path.read_bytes()
    return b"acsp" in data or b"iCCP" in data or "inks" in path.name


def imagemagick_sees(files, folder):
    """The frames that ImageMagick sees in each file that it can read, by path."""
    folder.mkdir()
    files = list(files)
    standard = ["-profile", STANDARD_PROFILE, "-colorspace", "sRGB", "-depth", "16"]

    def numbered(number, suffix):
        return folder / f"{number}{suffix}"

    def read_one(number, *options):
        run("convert", "-quiet", files[number], "-auto-orient", *options, *standard, numbered(number, ".pam"),
            check=False)

    def read_premultiplied(number):
        read_one(number, "-channel", "RGB", "-fx", "u.a > 0 ? u / u.a : 0", "+channel")

    def read_many(numbers, *options):
        if numbers:
            run("mogrify", "-quiet", *options, "-format", "pam", *[numbered(n, files[n].suffix) for n in numbers],
                check=False)

    groups = {"profiled": [], "films": [], "turned": [], "premultiplied": [], "others": []}
    for number, path in enumerate(files):
        numbered(number, path.suffix).symlink_to(path)
        groups["profiled" if has_profile(path) else "films" if path.suffix in (".gif", ".webp") else
               "turned" if path.suffix == ".tga" else "premultiplied" if path.suffix == ".exr" else
               "others"].append(number)
    in_parallel(read_one, groups["profiled"])            # mogrify obeys no profile
    in_parallel(read_premultiplied, groups["premultiplied"])
    read_many(groups["films"], "-coalesce", "-depth", "16")
    read_many(groups["turned"], *standard)               # a TGA is turned on reading and then said to lie
    in_parallel(lambda part: read_many(part, "-auto-orient", *standard), [groups["others"][i::2] for i in (0, 1)])
    # What it cannot read ends it, and with it the files behind.
    in_parallel(read_one, [n for n in groups["others"] if not numbered(n, ".pam").exists()])

    seen = {}
    for number, path in enumerate(files):
        pam = numbered(number, ".pam")
        if pam.exists() and pam.stat().st_size > 0:
            frames = pam_frames(pam)
            # The first of a PSD is the whole picture, the others are its layers.
            seen[path] = frames[:1] if path.suffix in (".psd", ".psb") else frames
    return seen


def exiftool_sees(files):
    """What exiftool tells of each file, by path; keys are "Group:Tag"."""
    if not files:
        return {}
    told = run("exiftool", "-j", "-G0", "-n", "-q", *files, check=False)
    return {pathlib.Path(each["SourceFile"]): each for each in json.loads(told.stdout or b"[]")}


def over(frame, background):
    """The frame laid over a grey of 16 bits, opaque."""
    pixels = array.array("H", frame.pixels)
    alpha = frame.pixels[3::4]
    for channel in range(3):
        pixels[channel::4] = array.array("H", [
            (value * a + background * (65535 - a) + 32767) // 65535
            for value, a in zip(frame.pixels[channel::4], alpha)])
    pixels[3::4] = array.array("H", [65535]) * len(alpha)
    return Frame(frame.width, frame.height, False, pixels)


def difference(one, other):
    """The mean error of two frames of one size, as a part of the whole range: of the colours where either can be seen,
    weighted by how much, or of the alpha, whichever is greater."""
    alphas = list(zip(one.pixels[3::4], other.pixels[3::4]))
    weights = [max(pair) for pair in alphas]
    total = sum(weights) or 1
    colour = sum(weight * abs(a - b)
                 for channel in range(3)
                 for weight, a, b in zip(weights, one.pixels[channel::4], other.pixels[channel::4]))
    alpha = sum(abs(a - b) for a, b in alphas)
    return max(colour / 3 / total / 65535, alpha / len(alphas) / 65535)


def in_linear_light(frame):
    """The frame with the numbers that floating point stores for its colours."""
    def linear(value):
        value /= 65535
        return round(65535 * (value / 12.92 if value <= 0.04045 else ((value + 0.055) / 1.055) ** 2.4))
    pixels = array.array("H", frame.pixels)
    for channel in range(3):
        pixels[channel::4] = array.array("H", [linear(value) for value in frame.pixels[channel::4]])
    return Frame(frame.width, frame.height, frame.alpha, pixels)


def with_hard_edges(frame):
    """The frame as a format shows it that knows no half transparent pixels."""
    pixels = array.array("H", frame.pixels)
    pixels[3::4] = array.array("H", [65535 if value >= 32768 else 0 for value in frame.pixels[3::4]])
    return Frame(frame.width, frame.height, frame.alpha, pixels)

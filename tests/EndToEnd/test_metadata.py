"""What conversions keep of what a photograph says, as another program reads it."""
import json
import subprocess
import unittest

from nivex_case import NivexCase
from photographs import photograph

EXTENSIONS = {"jpeg": "jpg", "png": "png", "webp": "webp", "tiff": "tif", "jp2": "jp2", "psd": "psd"}
ALSO_WRITTEN = ["heic", "avif", "jxl"]
WITH_IPTC = {"jpeg", "tiff", "jp2", "psd"}  # elsewhere XMP says what IPTC said
WITH_PROFILE = {"jpeg", "png", "webp", "tiff", "psd"}

# Groups of tags that describe the file, not the picture.
TECHNICAL = {"SourceFile", "ExifTool", "System", "File", "Composite", "JFIF", "PNG", "PNG-pHYs", "Adobe", "RIFF",
             "Photoshop", "XMP-x", "IFD1", "Jpeg2000", "QuickTime", "Meta"}
# Tags that a container needs for itself or that follow from where a block lies in it.
OWN = {"IPTC:EnvelopeRecordVersion", "IPTC:ApplicationRecordVersion", "IPTC:CodedCharacterSet",
       "ExifIFD:OffsetSchema", "IFD0:YCbCrPositioning", "ExifIFD:ComponentsConfiguration"}
# Tags of TIFF on how its pixels are stored.
STORAGE = {"IFD0:" + name for name in (
    "ImageWidth", "ImageHeight", "BitsPerSample", "Compression", "PhotometricInterpretation", "StripOffsets",
    "SamplesPerPixel", "RowsPerStrip", "StripByteCounts", "PlanarConfiguration", "Predictor", "SampleFormat",
    "SubfileType", "ExtraSamples", "TileWidth", "TileLength", "TileOffsets", "TileByteCounts", "PageNumber")}
NEEDED = {"IFD0:Orientation", "IFD0:XResolution", "IFD0:YResolution", "IFD0:ResolutionUnit"}  # in every TIFF
IPTC_IN_XMP = {"IPTC:Keywords": "XMP-dc:Subject", "IPTC:By-line": "XMP-dc:Creator", "IPTC:City": "XMP-photoshop:City",
               "IPTC:Caption-Abstract": "XMP-dc:Description"}


def exiftool(*arguments):
    return subprocess.run(["exiftool", *map(str, arguments)], capture_output=True).stdout


def tags(*paths):
    """What files say of their pictures, by group and name, for each file in turn."""
    return [{name: sorted(value, key=str) if isinstance(value, list) else value for name, value in told.items()
             if name.split(":")[0] not in TECHNICAL and not name.startswith("ICC") and name not in OWN | STORAGE}
            for told in json.loads(exiftool("-a", "-G1", "-j", "-n", *paths))]


def profile_names(*paths):
    told = json.loads(exiftool("-j", "-ICC_Profile:ProfileDescription", *paths))
    return [each.get("ProfileDescription") for each in told]


def without_iptc(said):
    """The same as a format tells it that has no place for IPTC."""
    moved = {name: value for name, value in said.items() if not name.startswith("IPTC:")}
    for iptc, xmp in IPTC_IN_XMP.items():
        if iptc in said:
            known = moved.get(xmp)
            moved[xmp] = sorted({*known, said[iptc]}) if isinstance(known, list) else said[iptc]
    return moved


class Metadata(NivexCase):
    maxDiff = None

    def converted(self, names, target, *options):
        lines = self.json_lines("convert", *names, "--to", target, *options)
        outputs = {line["source"]: line for line in lines}
        self.assertEqual({line["state"] for line in lines}, {"succeeded"}, lines)
        return [self.folder / outputs[name]["outputs"][0] for name in names]

    def assertSaid(self, found, expected):
        differing = {name for name in found.keys() | expected.keys() if found.get(name) != expected.get(name)}
        self.assertEqual({name: found.get(name) for name in differing}, {name: expected.get(name) for name in differing})

    def sources(self):
        """A photograph in every format whose metadata is read."""
        photo = photograph(self.folder / "photo.jpg")
        names = {"jpeg": photo.name}
        for format, extension in EXTENSIONS.items():
            if format == "jpeg":
                continue
            names[format] = f"copy-{format}.{extension}"
            copy = self.folder / names[format]
            if format == "jp2":
                subprocess.run(["opj_compress", "-i", self.folder / "copy-png.png", "-o", copy], check=True,
                               capture_output=True)
            elif format == "psd":
                subprocess.run(["convert", photo, copy], check=True)
            else:
                subprocess.run(["vips", "copy", photo, copy], check=True)
            exiftool("-q", "-q", "-overwrite_original", "-all=", "-tagsfromfile", photo, "-all:all", "-unsafe",
                     "-icc_profile", copy)
        return names

    def test_every_source_and_target_under_every_policy(self):
        names = self.sources()
        said = dict(zip(names, tags(*(self.folder / name for name in names.values()))))
        for source, told in said.items():
            self.assertGreater(len(told), 25, source)
        for target in [*EXTENSIONS, *ALSO_WRITTEN]:
            sources = [source for source in names if source != target]
            expected = [said[source] if target in WITH_IPTC else without_iptc(said[source]) for source in sources]
            for policy in ("keep", "removeLocation", "removeAll"):
                outputs = self.converted([names[source] for source in sources], target, "--metadata", policy)
                for source, found, kept, profile in zip(sources, tags(*outputs), expected, profile_names(*outputs)):
                    if policy == "removeLocation":
                        kept = {name: value for name, value in kept.items() if "GPS" not in name}
                    elif policy == "removeAll":
                        kept = {name: value for name, value in found.items() if name in NEEDED}
                    with self.subTest(source=source, target=target, policy=policy):
                        self.assertSaid(found, kept)
                        if {source, target} <= WITH_PROFILE:
                            self.assertEqual(profile, "sP3C")

    def test_turned_and_scaled_pictures_say_so(self):
        """An orientation that is kept would turn the picture twice, a thumbnail would show it as it was."""
        photograph(self.folder / "photo.jpg", order=">", orientation=6)
        for options, size in [((), (160, 240)), (("--max-dimension", "120"), (80, 120))]:
            output, = self.converted(["photo.jpg"], "png", *options)
            said, = tags(output)
            self.assertEqual((said["IFD0:Orientation"], said["XMP-tiff:Orientation"]), (1, 1))
            self.assertEqual((said["ExifIFD:ExifImageWidth"], said["ExifIFD:ExifImageHeight"]), size)
            self.assertEqual(exiftool("-ThumbnailImage", output), b"")

    def test_blocks_too_large_for_one_segment(self):
        """JPEG's segments end at 64 KB: XMP goes on in others, Exif gives up its thumbnail first."""
        photo = photograph(self.folder / "photo.png.jpg")
        history = "Un très long récit. " * 5000 + "Fin"
        noise = self.folder / "noise.jpg"
        subprocess.run(["convert", "-size", "200x200", "plasma:", "-quality", "100", "-sampling-factor", "4:4:4",
                        str(noise)], check=True)
        source = self.folder / "photo.png"
        subprocess.run(["vips", "copy", photo, source], check=True)
        exiftool("-q", "-q", "-overwrite_original", "-all=", "-tagsfromfile", photo, "-all:all", "-unsafe", source)
        exiftool("-q", "-q", "-overwrite_original", f"-XMP-photoshop:Instructions={history}",
                 "-EXIF:UserComment=" + "x" * 40_000, f"-ThumbnailImage<={noise}", source)
        output, = self.converted(["photo.png"], "jpeg")
        before, after = tags(source, output)
        self.assertEqual(len(after.pop("XMP-xmpNote:HasExtendedXMP")), 32)
        self.assertSaid(after, before)
        again, = self.converted([output.name], "webp")
        self.assertEqual(tags(again)[0]["XMP-photoshop:Instructions"], history)

    def test_damaged_metadata_count_as_absent(self):
        photo = photograph(self.folder / "photo.jpg")
        whole = photo.read_bytes()
        exif = whole.index(b"Exif\0\0") + 6
        xmp = whole.index(b"<x:xmpmeta")
        damages = {
            "exif.jpg": whole[:exif] + b"\xff" * 40 + whole[exif + 40:],
            "offsets.jpg": whole[:exif + 8] + b"\xee" * 300 + whole[exif + 308:],
            "xmp.jpg": whole[:xmp] + b"<" * 20 + whole[xmp + 20:],
        }
        for name, contents in damages.items():
            self.write(name, contents)
        for target in ("png", "tiff", "webp"):
            for output in self.converted(list(damages), target):
                self.assertNotIn("Error", exiftool("-a", "-G1", "-validate", "-error", output).decode(errors="replace"))


if __name__ == "__main__":
    unittest.main()

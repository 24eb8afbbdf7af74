"""Photographs that say all a photograph can say: Exif with a maker's notes and a thumbnail, GPS, XMP, IPTC, a profile."""
import pathlib
import struct
import subprocess


def run(*arguments):
    subprocess.run([str(each) for each in arguments], check=True, capture_output=True)


def directory(entries, position, order, following=0):
    """A TIFF directory at `position`: rows of tag, type, count and value (a number or bytes)."""
    head = struct.pack(order + "H", len(entries))
    tail_position = position + 2 + 12 * len(entries) + 4
    tail = b""
    for tag, kind, count, value in entries:
        if isinstance(value, int):
            value = struct.pack(order + ("HH" if kind == 3 else "I"), *([value, 0] if kind == 3 else [value]))
        if len(value) > 4:
            place = struct.pack(order + "I", tail_position + len(tail))
            tail += value + b"\0" * (len(value) % 2)
        else:
            place = value.ljust(4, b"\0")
        head += struct.pack(order + "HHI", tag, kind, count) + place
    return head + struct.pack(order + "I", following) + tail


def exif_with_maker_notes(order="<"):
    """Exif as a camera writes it whose notes hold offsets from the start of the block."""
    def text(tag, value):
        value = value.encode() + b"\0"
        return (tag, 2, len(value), value)

    def blocks(exif_position, note_position, note_bytes):
        main = directory([text(0x010F, "Canon"), text(0x0110, "Canon EOS 5D"), (0x8769, 4, 1, exif_position)], 8, order)
        exif = directory([text(0x9003, "2024:05:06 07:08:09"),
                          (0x927C, 7, note_bytes, struct.pack(order + "I", note_position))], exif_position, order)
        return main, exif

    note_entries = [text(0x0006, "Canon EOS 5D"), text(0x0007, "Firmware 1.0.1 of a test"), text(0x0009, "Camille")]
    main, exif = blocks(0, 0, 0)
    exif_position = 8 + len(main)
    note_position = exif_position + len(exif)
    note = directory(note_entries, note_position, order)
    main, exif = blocks(exif_position, note_position, len(note))
    mark = b"II*\0" if order == "<" else b"MM\0*"
    return mark + struct.pack(order + "I", 8) + main + exif + note


def photograph(path, size="240x160", order="<", orientation=1):
    """Writes a JPEG photograph with everything in it."""
    path = pathlib.Path(path)
    plain = path.with_suffix(".plain.png")
    run("convert", "-size", size, "plasma:tomato-steelblue", "-seed", "3", "-depth", "8", "-strip", plain)
    run("vips", "jpegsave", plain, path, "--Q", "92", "--profile", "p3")
    plain.unlink()
    run("exiftool", "-q", "-overwrite_original", "-EXIF:all=", path)  # what the encoder says of itself
    jpeg = path.read_bytes()
    exif = b"Exif\0\0" + exif_with_maker_notes(order)
    path.write_bytes(jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + jpeg[2:])
    thumbnail = path.with_suffix(".thumb.jpg")
    run("convert", path, "-resize", "80x80", "-strip", thumbnail)
    run("exiftool", "-q", "-q", "-overwrite_original", "-n", f"-ThumbnailImage<={thumbnail}",
        f"-EXIF:Orientation={orientation}", "-EXIF:XResolution=300", "-EXIF:YResolution=300", "-EXIF:ResolutionUnit=2",
        f"-EXIF:ExifImageWidth={size.split('x')[0]}", f"-EXIF:ExifImageHeight={size.split('x')[1]}",
        "-EXIF:Artist=Camille Été", "-EXIF:Copyright=Droits réservés", "-EXIF:ImageDescription=Un jardin",
        "-EXIF:UserComment=Vu du pont", "-EXIF:FNumber=2.8", "-EXIF:ISO=200", "-EXIF:ExposureTime=0.004",
        "-EXIF:GPSLatitude=48.8584", "-EXIF:GPSLatitudeRef=N", "-EXIF:GPSLongitude=2.2945", "-EXIF:GPSLongitudeRef=E",
        "-EXIF:GPSAltitude=35", "-EXIF:GPSAltitudeRef=0", "-EXIF:GPSDateStamp=2024:05:06",
        "-XMP-dc:Title=Le pont", "-XMP-dc:Subject=pont", "-XMP-dc:Subject=été", "-XMP-xmp:Rating=4",
        f"-XMP-tiff:Orientation={orientation}", "-XMP-exif:GPSLatitude=48.8584", "-XMP-exif:GPSLongitude=2.2945",
        "-XMP-iptcExt:LocationShownCity=Paris", "-XMP-iptcExt:LocationShownGPSLatitude=48.8584",
        "-XMP-iptcExt:LocationShownGPSLongitude=2.2945", "-XMP-photoshop:Country=France",
        "-IPTC:CodedCharacterSet=\x1b%G", "-IPTC:Caption-Abstract=Le pont l’été", "-IPTC:City=Paris", "-IPTC:Keywords=fleuve",
        "-IPTC:By-line=Camille", path)
    thumbnail.unlink()
    return path

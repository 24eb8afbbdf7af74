"""Writes a picture as a TIFF that few programs write: `dng`, the raw file of a camera with a colour filter array, or
`geotiff`, a map with its place on the earth, `grey12`, with components of 12 bits, `halves`, floating point of 16 bits,
`differences`, brightness and coarser colour differences without compression, or `oldjpeg`, a JPEG stream of the style of
TIFF 6.0 itself.
Usage: make_tiff.py KIND PICTURE FILE"""
import struct
import subprocess
import sys

BYTE, TEXT, SHORT, LONG, RATIONAL, SIGNED_RATIONAL, DOUBLE = 1, 2, 3, 4, 5, 10, 12


def shorts(*values):
    return struct.pack(f"<{len(values)}H", *values)


def long(value):
    return struct.pack("<I", value)


def rationals(*values):
    return b"".join(struct.pack("<ii", round(value * 10000), 10000) for value in values)


def text(value):
    return value.encode() + b"\0"


def components(picture, depth, *options):
    """Width, height and the red, green and blue components of a picture."""
    size = subprocess.run(["identify", "-format", "%w %h", picture], check=True, capture_output=True).stdout.split()
    width, height = int(size[0]), int(size[1])
    raw = subprocess.run(["convert", picture, *options, "-endian", "MSB", "-depth", str(depth), "rgb:-"], check=True,
                         capture_output=True).stdout
    return width, height, struct.unpack(f">{width * height * 3}{'H' if depth == 16 else 'B'}", raw)


def picture_tags(width, height, rows, bits, photometric):
    """Number, type, count and value of what every picture has (TIFF 6.0); the place of the rows is not known yet."""
    return [
        (254, LONG, 1, long(0)),  # NewSubfileType: the picture itself
        (256, LONG, 1, long(width)),
        (257, LONG, 1, long(height)),
        (258, SHORT, len(bits), shorts(*bits)),
        (259, SHORT, 1, shorts(1)),  # Compression: none
        (262, SHORT, 1, shorts(photometric)),
        (273, LONG, 1, None),  # StripOffsets
        (274, SHORT, 1, shorts(1)),
        (277, SHORT, 1, shorts(len(bits))),
        (278, LONG, 1, long(height)),
        (279, LONG, 1, long(len(rows))),
    ]


def dng(picture):
    """Adobe DNG 1.4.0.0."""
    width, height, linear = components(picture, 16, "-colorspace", "RGB", "-set", "colorspace", "sRGB")
    rows = b"".join(shorts(linear[3 * (y * width + x) + (y & 1) + (x & 1)])
                    for y in range(height) for x in range(width))
    model = text("NIVEX Essai")
    return rows, picture_tags(width, height, rows, [16], 32803) + [
        (271, TEXT, 6, text("NIVEX")),
        (272, TEXT, len(model), model),
        (33421, SHORT, 2, shorts(2, 2)),              # CFARepeatPatternDim
        (33422, BYTE, 4, bytes((0, 1, 1, 2))),        # CFAPattern: red green / green blue
        (50706, BYTE, 4, bytes((1, 4, 0, 0))),        # DNGVersion
        (50707, BYTE, 4, bytes((1, 1, 0, 0))),
        (50708, TEXT, len(model), model),             # UniqueCameraModel
        (50714, SHORT, 1, shorts(0)),                 # BlackLevel
        (50717, LONG, 1, long(65535)),                # WhiteLevel
        (50721, SIGNED_RATIONAL, 9, rationals(3.2406, -1.5372, -0.4986, -0.9689, 1.8758, 0.0415, 0.0557, -0.2040,
                                              1.0570)),  # ColorMatrix1: from XYZ to linear sRGB
        (50728, RATIONAL, 3, rationals(1, 1, 1)),     # AsShotNeutral
        (50778, SHORT, 1, shorts(21)),                # CalibrationIlluminant1: D65
    ]


def geotiff(picture):
    """GeoTIFF revision 1.0: degrees on WGS 84."""
    width, height, values = components(picture, 8)
    rows = bytes(values)
    keys = shorts(1, 1, 0, 3, 1024, 0, 1, 2, 1025, 0, 1, 1, 2048, 0, 1, 4326)
    return rows, picture_tags(width, height, rows, [8, 8, 8], 2) + [
        (33550, DOUBLE, 3, struct.pack("<3d", 0.01, 0.01, 0)),               # ModelPixelScale
        (33922, DOUBLE, 6, struct.pack("<6d", 0, 0, 0, 2.3, 48.8, 0)),       # ModelTiepoint
        (34735, SHORT, 16, keys),                                            # GeoKeyDirectory
    ]


def grey12(picture):
    """TIFF 6.0; two components share three bytes, and each row begins with a byte of its own."""
    width, height, values = components(picture, 16)
    rows = b""
    for y in range(height):
        row = "".join(f"{value >> 4:012b}" for value in values[3 * width * y:3 * width * (y + 1):3])
        row += "0" * (-len(row) % 8)
        rows += int(row, 2).to_bytes(len(row) // 8, "big")
    return rows, picture_tags(width, height, rows, [12], 1)


def halves(picture):
    """TIFF Technical Note 3; linear light."""
    width, height, values = components(picture, 16, "-colorspace", "RGB", "-set", "colorspace", "sRGB")
    rows = struct.pack(f"<{len(values)}e", *[value / 65535 for value in values])
    return rows, picture_tags(width, height, rows, [16] * 3, 2) + [(339, SHORT, 3, shorts(3, 3, 3))]


def differences(picture):
    """TIFF 6.0, section 21: four brightnesses share a pair of colour differences."""
    width, height, values = components(picture, 8)
    rows = bytearray()
    for top in range(0, height, 2):
        for left in range(0, width, 2):
            block = [values[3 * (y * width + x):][:3] for y in (top, top + 1) for x in (left, left + 1)]
            light = [0.299 * r + 0.587 * g + 0.114 * b for r, g, b in block]
            blue = sum((b - y) / 1.772 for (_, _, b), y in zip(block, light)) / 4 + 128
            red = sum((r - y) / 1.402 for (r, _, _), y in zip(block, light)) / 4 + 128
            rows += bytes(min(255, max(0, round(value))) for value in (*light, blue, red))
    return bytes(rows), picture_tags(width, height, rows, [8] * 3, 6) + [(530, SHORT, 2, shorts(2, 2))]


def oldjpeg(picture):
    """TIFF 6.0, section 22."""
    width, height, _ = components(picture, 8)
    stream = subprocess.run(["convert", picture, "-quality", "95", "-sampling-factor", "2x2", "jpeg:-"], check=True,
                            capture_output=True).stdout
    tags = [tag for tag in picture_tags(width, height, stream, [8] * 3, 6) if tag[0] != 259]
    return stream, tags + [(259, SHORT, 1, shorts(6)), (512, SHORT, 1, shorts(1)), (513, LONG, 1, None),
                           (514, LONG, 1, long(len(stream))), (530, SHORT, 2, shorts(2, 2))]


def written(rows, tags):
    """The whole file: header, the one directory, what does not fit into it, and the rows."""
    tags = sorted(tags, key=lambda tag: tag[0])
    behind = b""
    begin = 8 + 2 + 12 * len(tags) + 4
    end = begin + sum(len(value) + len(value) % 2 for _, _, _, value in tags if value and len(value) > 4)
    directory = shorts(len(tags))
    for number, kind, count, value in tags:
        value = long(end) if value is None else value
        directory += struct.pack("<HHI", number, kind, count)
        if len(value) <= 4:
            directory += value.ljust(4, b"\0")
        else:
            directory += long(begin + len(behind))
            behind += value + b"\0" * (len(value) % 2)
    return b"II*\0" + long(8) + directory + long(0) + behind + rows


if __name__ == "__main__":
    with open(sys.argv[3], "wb") as out:
        out.write(written(*globals()[sys.argv[1]](sys.argv[2])))

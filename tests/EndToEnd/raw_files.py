"""Camera raw files of our own making: sensor elements of 16 bits, not compressed, as several cameras can store them."""
import struct

SHORT, LONG, RATIONAL, BYTE, ASCII, SIGNED_RATIONAL = 3, 4, 5, 1, 2, 10
SIZES = {SHORT: 2, LONG: 4, RATIONAL: 8, BYTE: 1, ASCII: 1, SIGNED_RATIONAL: 8}

# From XYZ to linear light of sRGB's primaries (IEC 61966-2-1): a camera that sees just these.
SRGB_CAMERA = [3.2406, -1.5372, -0.4986, -0.9689, 1.8758, 0.0415, 0.0557, -0.2040, 1.0570]


def packed(kind, values):
    if kind in (BYTE, ASCII):
        return bytes(values)
    if kind in (RATIONAL, SIGNED_RATIONAL):
        letter = "I" if kind == RATIONAL else "i"
        return b"".join(struct.pack("<2" + letter, round(value * 10000), 10000) for value in values)
    return struct.pack(f"<{len(values)}{'H' if kind == SHORT else 'I'}", *values)


def tiff(tags, data, header=b"II*\0"):
    """A TIFF structure of one directory whose picture data come last; tag 273 is filled in."""
    tags = sorted(tags + [(273, LONG, [0])])
    directory_end = 8 + 2 + 12 * len(tags) + 4
    extra, entries = b"", []
    for tag, kind, values in tags:
        stored = packed(kind, values)
        entries.append([tag, kind, len(stored) // SIZES[kind], stored])
    data_begin = directory_end + sum((len(entry[3]) + 1) // 2 * 2 for entry in entries if len(entry[3]) > 4)
    directory = struct.pack("<H", len(entries))
    for tag, kind, count, stored in entries:
        if tag == 273:
            stored = struct.pack("<I", data_begin)
        if len(stored) > 4:
            place = struct.pack("<I", directory_end + len(extra))
            extra += stored + b"\0" * (len(stored) % 2)
            stored = place
        directory += struct.pack("<HHI", tag, kind, count) + stored.ljust(4, b"\0")
    return header + struct.pack("<I", 8) + directory + b"\0\0\0\0" + extra + data


def linear(level):
    """The linear light, 0 to 1, of a level of sRGB, 0 to 255."""
    value = level / 255
    return value / 12.92 if value <= 0.04045 else ((value + 0.055) / 1.055) ** 2.4


def mosaic(width, height, color_at, white, black=0, gains=(1, 1, 1)):
    """What a sensor with red, green, green, blue elements sees of a picture of sRGB colours."""
    rows = []
    for y in range(height):
        row = []
        for x in range(width):
            band = (0, 1, 1, 2)[y % 2 * 2 + x % 2]
            light = linear(color_at(x, y)[band]) / gains[band]
            row.append(min(65535, round(black + light * (white - black))))
        rows.append(struct.pack(f"<{width}H", *row))
    return b"".join(rows)


def text(value):
    return list(value.encode() + b"\0")


def camera_file(width, height, color_at, make, model, white=4095, black=0, orientation=1, gains=(1, 1, 1), dng=False,
                exposure=0):
    """A raw file of a camera; with `dng` one that explains itself."""
    data = mosaic(width, height, color_at, white, black, gains)
    tags = [(254, LONG, [0]), (256, LONG, [width]), (257, LONG, [height]), (258, SHORT, [16]), (259, SHORT, [1]),
            (262, SHORT, [32803]), (271, ASCII, text(make)), (272, ASCII, text(model)), (274, SHORT, [orientation]),
            (277, SHORT, [1]), (278, LONG, [height]), (279, LONG, [len(data)]), (33421, SHORT, [2, 2]),
            (33422, BYTE, [0, 1, 1, 2])]
    if dng:
        tags += [(50706, BYTE, [1, 4, 0, 0]), (50708, ASCII, text(model)), (50714, SHORT, [black]),
                 (50717, SHORT, [white]), (50721, SIGNED_RATIONAL, SRGB_CAMERA),
                 (50728, RATIONAL, [1 / gain for gain in gains]), (50730, SIGNED_RATIONAL, [exposure]),
                 (50778, SHORT, [21])]
    return tiff(tags, data)

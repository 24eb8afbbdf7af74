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
    """A TIFF structure of one directory whose picture data come last. The tags of their places, 273 or 324, count from
    there and are set right."""
    tags = sorted(tags)
    directory_end = 8 + 2 + 12 * len(tags) + 4
    extra, entries = b"", []
    for tag, kind, values in tags:
        stored = packed(kind, values)
        entries.append([tag, kind, len(stored) // SIZES[kind], stored])
    data_begin = directory_end + sum((len(entry[3]) + 1) // 2 * 2 for entry in entries if len(entry[3]) > 4)
    directory = struct.pack("<H", len(entries))
    for tag, kind, count, stored in entries:
        if tag in (273, 324):
            stored = packed(LONG, [data_begin + begin for begin in struct.unpack(f"<{count}I", stored)])
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


def lossless_jpeg(rows):
    """Rows of samples of 16 bits as a JPEG stream without loss (ITU-T T.81, process 14, each sample told from the one
    on its left), in which every category of difference has a code of five bits."""
    bits = []
    above = 1 << 15
    for row in rows:
        predicted = above
        above = row[0]
        for sample in row:
            difference = (sample - predicted + (1 << 15)) % (1 << 16) - (1 << 15)
            category = abs(difference).bit_length()
            bits.append(f"{category:05b}")
            if 0 < category < 16:
                bits.append(f"{difference if difference > 0 else difference + (1 << category) - 1:0{category}b}")
            predicted = sample
    joined = "".join(bits)
    joined += "1" * (-len(joined) % 8)
    coded = int(joined, 2).to_bytes(len(joined) // 8, "big").replace(b"\xff", b"\xff\0")
    categories = bytes(range(17))
    frame = struct.pack(">BHHB", 16, len(rows), len(rows[0]), 1) + b"\1\x11\0"
    table = b"\0" + bytes([0, 0, 0, 0, len(categories)] + 11 * [0]) + categories
    segments = [(b"\xff\xc3", frame), (b"\xff\xc4", table), (b"\xff\xda", b"\1\1\0\1\0\0")]
    told = b"".join(marker + struct.pack(">H", 2 + len(body)) + body for marker, body in segments)
    return b"\xff\xd8" + told + coded + b"\xff\xd9"


def tiled(data, width, height, side):
    """Samples of 16 bits as tiles of lossless JPEG, one after the other, and where each begins."""
    samples = struct.unpack(f"<{width * height}H", data)
    tiles, begins = b"", []
    for top in range(0, height, side):
        for left in range(0, width, side):
            begins.append(len(tiles))
            rows = [samples[y * width + left:y * width + left + side] for y in range(top, top + side)]
            tiles += lossless_jpeg(rows)
    return tiles, begins


def text(value):
    return list(value.encode() + b"\0")


def camera_file(width, height, color_at, make, model, white=4095, black=0, orientation=1, gains=(1, 1, 1), dng=False,
                exposure=0, tile_side=0):
    """A raw file of a camera; with `dng` one that explains itself, with `tile_side` one in tiles of lossless JPEG."""
    data = mosaic(width, height, color_at, white, black, gains)
    if tile_side:
        data, begins = tiled(data, width, height, tile_side)
        places = [(259, SHORT, [7]), (322, LONG, [tile_side]), (323, LONG, [tile_side]), (324, LONG, begins),
                  (325, LONG, [end - begin for begin, end in zip(begins, begins[1:] + [len(data)])])]
    else:
        places = [(259, SHORT, [1]), (273, LONG, [0]), (278, LONG, [height]), (279, LONG, [len(data)])]
    tags = [(254, LONG, [0]), (256, LONG, [width]), (257, LONG, [height]), (258, SHORT, [16]),
            (262, SHORT, [32803]), (271, ASCII, text(make)), (272, ASCII, text(model)), (274, SHORT, [orientation]),
            (277, SHORT, [1]), (33421, SHORT, [2, 2]), (33422, BYTE, [0, 1, 1, 2])] + places
    if dng:
        tags += [(50706, BYTE, [1, 4, 0, 0]), (50708, ASCII, text(model)), (50714, SHORT, [black]),
                 (50717, SHORT, [white]), (50721, SIGNED_RATIONAL, SRGB_CAMERA),
                 (50728, RATIONAL, [1 / gain for gain in gains]), (50730, SIGNED_RATIONAL, [exposure]),
                 (50778, SHORT, [21])]
    return tiff(tags, data)

"""Pictures, against the `vips` command and ImageMagick. The photographs are those of the package mate-backgrounds."""
import pathlib
import subprocess
from xml.sax.saxutils import escape

from comparison import compare, convert

BACKGROUNDS = pathlib.Path("/usr/share/backgrounds/mate")
QUALITY = 85  # of NIVEX when nothing else is asked


def magick(*arguments):
    subprocess.run(["convert", *map(str, arguments)], check=True)


def photograph(source, file, width, height):
    magick(source, "-resize", f"{width}x{height}^", "-gravity", "center", "-extent", f"{width}x{height}",
           "-quality", 92, file)


def large_photograph(file):
    """12 megapixels."""
    photograph(BACKGROUNDS / "abstract" / "Elephants_5640x3172.jpg", file, 4032, 3024)


def remover(folder, *patterns):
    def remove():
        for pattern in patterns:
            for file in folder.glob(pattern):
                file.unlink()
    return remove


def print_sizes(folder, ours, theirs):
    print(f"    {(folder / ours).stat().st_size / 1e6:.2f} and {(folder / theirs).stat().st_size / 1e6:.2f} MB", flush=True)


def jpeg_to_png(folder):
    large_photograph(folder / "in.jpg")
    for name, options in (("as it comes", []), ("Paeth", ["--compression", "3", "--filter", "paeth"])):
        compare(f"jpeg-to-png: 12 megapixels, vips {name}", convert("in.jpg", "--to", "png"),
                ["vips", "pngsave", "in.jpg", "out.png", *options],
                folder, rounds=5, before=remover(folder, "in.png"), resources=True)
        subprocess.run(convert("in.jpg", "--to", "png"), cwd=folder, check=True)
        print_sizes(folder, "in.png", "out.png")


def jpeg_to_tiff(folder):
    large_photograph(folder / "in.jpg")
    for compression in ("deflate", "lzw"):
        compare(f"jpeg-to-tiff: 12 megapixels, vips {compression}", convert("in.jpg", "--to", "tiff"),
                ["vips", "tiffsave", "in.jpg", "out.tif", "--compression", compression, "--predictor", "horizontal"],
                folder, rounds=5, before=remover(folder, "in.tiff"), resources=True)
        subprocess.run(convert("in.jpg", "--to", "tiff"), cwd=folder, check=True)
        print_sizes(folder, "in.tiff", "out.tif")


def png_to_jpeg(folder):
    large_photograph(folder / "photo.jpg")
    subprocess.run(["vips", "copy", "photo.jpg", "in.png"], cwd=folder, check=True)
    compare("png-to-jpeg: 12 megapixels", convert("in.png", "--to", "jpeg"),
            ["vips", "jpegsave", "in.png", "out.jpg", "--Q", str(QUALITY)],
            folder, rounds=9, before=remover(folder, "in.jpg", "out.jpg"), resources=True)


def jpeg_to_webp(folder):
    large_photograph(folder / "in.jpg")
    compare("jpeg-to-webp: 12 megapixels", convert("in.jpg", "--to", "webp"),
            ["vips", "webpsave", "in.jpg", "out.webp", "--Q", str(QUALITY), "--effort", "2"],
            folder, rounds=5, before=remover(folder, "*.webp"), resources=True)


def noise(reference, file, folder):
    """Kilobytes of a file and its PSNR in dB, over RGB and over brightness, decoded by the same program."""
    shown = folder / "shown.png"
    subprocess.run(["vips", "copy", file, shown], cwd=folder, check=True, capture_output=True)

    def psnr(*options):
        told = subprocess.run(["compare", "-metric", "PSNR", *options, reference, shown, "null:"], cwd=folder,
                              capture_output=True).stderr.decode()
        return float(told.split()[0])
    return (f"{(folder / file).stat().st_size / 1e3:.0f} kB, {psnr():.2f} dB RGB, "
            f"{psnr('-colorspace', 'Rec601Luma'):.2f} dB brightness")


def page(file):
    """Coloured text, 2.8 megapixels."""
    lines = pathlib.Path(__file__).read_text(encoding="utf-8").splitlines()[:60]
    text = f'<span foreground="#a03010">{escape(chr(10).join(lines))}</span>'
    letters = file.with_suffix(".letters.png")
    subprocess.run(["vips", "text", letters, text, "--font", "monospace 20", "--rgba"], check=True)
    magick(letters, "-background", "white", "-flatten", "-gravity", "center", "-extent", "2000x1400", file)


def to_modern(folder, source, name, extension, qualities, rounds):
    """Time at the defaults of both, then points of both curves: at the same size ours should not be noisier."""
    theirs = f"peer.{extension}"
    clean = remover(folder, f"*.{extension}")
    compare(name, convert(source, "--to", extension), ["vips", "copy", source, theirs], folder, rounds=rounds,
            before=clean, resources=True)
    clean()
    for ours, peer in qualities:
        subprocess.run(convert(source, "--to", extension, "--quality", ours), cwd=folder, check=True)
        subprocess.run(["vips", "heifsave", source, theirs, "--Q", str(peer)], cwd=folder, check=True)
        print(f"    nivex {ours}: {noise(source, f'in.{extension}', folder)}; "
              f"vips {peer}: {noise(source, theirs, folder)}", flush=True)
        clean()


def photographs_to_modern(folder, extension, qualities):
    for name, source in (("detail", "abstract/Elephants_5640x3172.jpg"), ("smooth", "nature/TwoWings.jpg")):
        photograph(BACKGROUNDS / source, folder / "in.jpg", 4032, 3024)
        to_modern(folder, "in.jpg", f"jpeg-to-{extension}: 12 megapixels, {name}", extension, qualities, rounds=1)


def jpeg_to_heic(folder):
    photographs_to_modern(folder, "heic", ((0.75, 45), (0.85, 55)))


def jpeg_to_avif(folder):
    photographs_to_modern(folder, "avif", ((0.6, 50), (0.85, 72)))


def page_to_modern(folder):
    page(folder / "in.png")
    for extension, qualities in (("heic", ((0.5, 70),)), ("avif", ((0.5, 50),))):
        to_modern(folder, "in.png", f"page-to-modern: {extension}", extension, qualities, rounds=3)


def heic_to_jpeg(folder):
    large_photograph(folder / "photo.jpg")
    subprocess.run(convert("photo.jpg", "--to", "heic"), cwd=folder, check=True)
    (folder / "photo.heic").rename(folder / "in.heic")
    compare("heic-to-jpeg: 12 megapixels", convert("in.heic", "--to", "jpeg"),
            ["vips", "jpegsave", "in.heic", "out.jpg", "--Q", str(QUALITY)],
            folder, rounds=5, before=remover(folder, "in.jpg", "out.jpg"), resources=True)


def write_photographs(folder, count):
    """Photographs of 2 megapixels, the package's over and over."""
    sources = sorted((BACKGROUNDS / "nature").glob("*.jpg"))
    for i in range(count):
        file = folder / f"{i:03}.jpg"
        if i < len(sources):
            photograph(sources[i], file, 1632, 1224)
        else:
            file.write_bytes((folder / f"{i % len(sources):03}.jpg").read_bytes())


def webp_batch(folder):
    write_photographs(folder, 200)
    names = sorted(file.name for file in folder.glob("*.jpg"))
    (folder / "names").write_text("\n".join(names) + "\n")
    ours = convert("--files-from", "names", "--to", "webp", "--jobs", 2)
    clean = remover(folder, "*.webp")
    compare("webp-batch: 200 photographs of 2 megapixels, JPEG to WebP", ours,
            ["xargs", "-a", "names", "-P", "2", "-n", "10", "mogrify", "-format", "webp", "-quality", str(QUALITY)],
            folder, rounds=3, before=clean, peer_name="mogrify", resources=True)
    compare("webp-batch: the same", ours,
            ["xargs", "-a", "names", "-P", "2", "-I{}", "vips", "webpsave", "{}", "{}.webp", "--Q", str(QUALITY)],
            folder, rounds=3, before=clean, peer_name="vips", resources=True)


def icons(folder):
    magick(BACKGROUNDS / "nature" / "Wood.jpg", "-resize", "2560x1600!", "-crop", "64x64", "+repage",
           f"png24:{folder}/%04d.png")
    names = sorted(file.name for file in folder.glob("*.png"))
    (folder / "names").write_text("\n".join(names) + "\n")
    compare("icons: 1,000 of 64 pixels, PNG to WebP, one at a time",
            convert("--files-from", "names", "--to", "webp", "--jobs", 1),
            ["xargs", "-a", "names", "-I{}", "vips", "webpsave", "{}", "{}.webp", "--Q", str(QUALITY)],
            folder, rounds=1, before=remover(folder, "*.webp"), peer_name="vips", resources=True)


PAIRS = {
    "jpeg-to-png": jpeg_to_png,
    "jpeg-to-tiff": jpeg_to_tiff,
    "png-to-jpeg": png_to_jpeg,
    "jpeg-to-webp": jpeg_to_webp,
    "jpeg-to-heic": jpeg_to_heic,
    "jpeg-to-avif": jpeg_to_avif,
    "page-to-modern": page_to_modern,
    "heic-to-jpeg": heic_to_jpeg,
    "webp-batch": webp_batch,
    "icons": icons,
}

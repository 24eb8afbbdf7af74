"""Subtitles, against ffmpeg."""
from comparison import convert, compare


def clock(milliseconds, separator):
    seconds, rest = divmod(milliseconds, 1000)
    return f"{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}{separator}{rest:03}"


def write_subrip(path, cues):
    with open(path, "w", encoding="utf-8") as file:
        for i in range(cues):
            begin = i * 2500
            file.write(f"{i + 1}\n{clock(begin, ',')} --> {clock(begin + 2000, ',')}\n"
                       f"Réplique numéro {i + 1}, <i>à voix basse</i>.\nUne seconde ligne.\n\n")


def subtitles(folder):
    def clean():
        for name in ("in.vtt", "out.vtt"):
            (folder / name).unlink(missing_ok=True)
    write_subrip(folder / "in.srt", 100_000)
    compare("subtitles: SubRip to WebVTT, 100,000 cues",
            convert("in.srt", "--to", "vtt"),
            ["ffmpeg", "-v", "error", "-y", "-i", "in.srt", "out.vtt"], folder, rounds=5, before=clean)


PAIRS = {"subtitles": subtitles}

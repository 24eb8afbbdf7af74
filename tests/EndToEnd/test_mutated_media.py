"""Damaged, cut and forged sound and films: each is a plain French failure or a whole result, and nothing is left behind."""
import subprocess
import unittest

from mutations import MutationCase

SOUND = ("-f", "lavfi", "-i", "sine=frequency=440:duration=0.5:sample_rate=16000")
FILM = ("-f", "lavfi", "-i", "testsrc2=size=64x48:rate=10:duration=1", *SOUND, "-g", "5")
SEEDS = {
    "wav": ("a.wav", *SOUND), "aiff": ("a.aiff", *SOUND), "caf": ("a.caf", *SOUND), "flac": ("a.flac", *SOUND),
    "mp3": ("a.mp3", *SOUND), "m4a": ("a.m4a", *SOUND), "aac": ("a.aac", *SOUND), "alac": ("b.m4a", *SOUND, "-c:a", "alac"),
    "ogg": ("a.ogg", *SOUND), "opus": ("a.opus", *SOUND), "wma": ("a.wma", *SOUND),
    "mp4": ("a.mp4", *FILM), "mov": ("a.mov", *FILM), "m4v": ("a.m4v", *FILM), "mkv": ("a.mkv", *FILM),
    "webm": ("a.webm", *FILM), "avi": ("a.avi", *FILM), "wmv": ("a.wmv", *FILM), "flv": ("a.flv", *FILM, "-ar", "22050"),
    "mpeg": ("a.mpg", *FILM, "-r", "25"), "mpeg-ts": ("a.ts", *FILM),
    "3gp": ("a.3gp", *FILM, "-c:v", "mpeg4", "-c:a", "aac"),
}
TARGETS = ("wav", "mp4", "m4a", "mkv", "flac", "mov", "mp3", "gif")


class Mutants(MutationCase):
    def unopened(self, shown):
        return [name for name, path in shown.items()
                if subprocess.run(["ffprobe", "-v", "quiet", "-show_streams", str(path)], capture_output=True).stdout == b""]

    def test_mutants_fail_plainly_or_convert_whole(self):
        offered = self.targets_of("native-media")
        seeds = {}
        for of, (name, *options) in SEEDS.items():
            subprocess.run(["ffmpeg", "-v", "error", "-y", *options, self.folder / name], check=True)
            seeds[of] = [(name, (self.folder / name).read_bytes())]
        self.convert_mutants(seeds, {of: [target for target in TARGETS if target in offered[of]] for of in seeds},
                             self.unopened)


if __name__ == "__main__":
    unittest.main()

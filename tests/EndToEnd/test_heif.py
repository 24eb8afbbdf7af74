"""HEIC, HEIF and AVIF: what other programs see in the files that are written, and what bad files end in."""
import random
import subprocess
import unittest

from nivex_case import NivexCase
from pictures import run

UNREADABLE = "Le fichier source ne peut pas être lu : "


class Heif(NivexCase):
    def make(self, name, script):
        run("bash", "-euc", script, cwd=self.folder)
        return self.folder / name

    def error(self, one, other):
        """How far two pictures are apart, as a part of the whole range."""
        told = subprocess.run(["compare", "-metric", "RMSE", one, other, "null:"], cwd=self.folder,
                              capture_output=True).stderr.decode()
        return float(told.split("(")[1].split(")")[0])

    def test_other_programs_see_what_was_written(self):
        # Sides that are odd or smaller than the encoders' blocks, strips that need a level for large pictures.
        makers = {
            "odd": "convert -size 101x77 -seed 7 plasma:tomato-navy",
            "tiny": "convert -size 1x1 xc:tomato",
            "narrow": "convert -size 3x150 gradient:navy-gold",
            "grey": "convert -size 65x33 -colorspace Gray gradient:",
            "shape": "convert -size 64x64 -seed 7 plasma:tomato-navy ( -size 64x64 radial-gradient: ) "
                     "-compose CopyOpacity -composite",
            "greyshape": "convert -size 50x50 gradient: -colorspace Gray ( -size 50x50 radial-gradient: ) "
                         "-compose CopyOpacity -composite",
            "deep": "convert -size 80x60 gradient:#123456-#fedcba -depth 16",
        }
        for name, maker in makers.items():
            run(*maker.split(), f"{name}.png", cwd=self.folder)
        names = [f"{name}.png" for name in makers]
        for format, program in (("heic", "heif-convert"), ("avif", "avifdec")):
            self.run_nivex("convert", *names, "--to", format, "--quality", "1.0", "--quiet")
            for name in makers:
                with self.subTest(f"{name}.{format}"):
                    run(program, f"{name}.{format}", f"{name}.{format}.png", cwd=self.folder)
                    self.assertLess(self.error(f"{name}.png", f"{name}.{format}.png"), 0.02)
            for done in self.json_lines("convert", "odd.png", "shape.png", "--to", format):
                again, = self.json_lines("convert", *done["outputs"], "--to", "png")
                self.assertLess(self.error(done["source"], again["outputs"][0]), 0.06, (format, done["source"]))
        depths = run("exiftool", "-s3", "-ImagePixelDepth", "deep.heic", "deep.avif", cwd=self.folder).stdout.decode()
        self.assertIn("10 10 10", depths)
        self.assertIn("12 12 12", depths)

    def test_pictures_of_a_file_survive_the_round_trip(self):
        self.make("pages.heif", "convert -size 40x30 xc:red 1.png; convert -size 31x57 xc:lime 2.png; "
                                "heif-enc -o x.heic 1.png 2.png; mv x.heic pages.heif")
        self.run_nivex("convert", "pages.heif", "--to", "heic", "--quiet")
        listed = run("heif-info", "pages.heic", cwd=self.folder).stdout.decode()
        self.assertRegex(listed, r"40x30 \(id=\d+\), primary")
        self.assertIn("31x57", listed)

    def test_profile_exif_and_xmp_survive_the_round_trip(self):
        self.make("photo.png", "convert -size 90x60 -seed 7 plasma:tomato-navy -strip master.png; "
                               "vips icc_transform master.png photo.png p3 --embedded --input-profile srgb; "
                               "exiftool -q -overwrite_original -EXIF:Model=Essai -XMP-dc:Title=Titre photo.png")
        for format in ("heic", "avif"):
            with self.subTest(format):
                self.run_nivex("convert", "photo.png", "--to", format, "--quiet")
                self.run_nivex("convert", f"photo.{format}", "--to", "jpeg", "--quiet")
                for name in (f"photo.{format}", "photo.jpg"):
                    told = run("exiftool", "-s3", "-EXIF:Model", "-XMP-dc:Title", "-ICC_Profile:ColorSpaceData", name,
                               cwd=self.folder).stdout.decode().split()
                    self.assertEqual(told, ["Essai", "Titre", "RGB"], name)
                (self.folder / "photo.jpg").unlink()

    def test_colours_that_code_points_describe(self):
        """A picture in Display P3 or in BT.2020 with PQ, told by code points only, is no sRGB picture."""
        self.make("red.png", "convert -size 32x32 xc:#ff0000 red.png")
        for name, points, expected in (("p3", "12/13/6", "Display P3"), ("pq", "9/16/9", "Rec. 2100 PQ"),
                                       ("srgb", "1/13/6", "")):
            with self.subTest(name):
                run("avifenc", "--cicp", points, "red.png", f"{name}.avif", cwd=self.folder)
                self.run_nivex("convert", f"{name}.avif", "--to", "png", "--quiet")
                told = run("exiftool", "-s3", "-ICC_Profile:ProfileDescription", f"{name}.png", cwd=self.folder).stdout
                self.assertEqual(told.decode().strip(), expected)

    def test_rotation_is_applied_once(self):
        """Exif says so too, but only the container's own turn counts (ISO/IEC 23008-12, 6.5.10)."""
        self.make("turned.avif", "convert -size 40x20 gradient:red-blue upright.png; "
                                 "avifenc --irot 1 upright.png turned.avif; "
                                 "exiftool -q -overwrite_original -n -EXIF:Orientation=8 turned.avif")
        self.run_nivex("convert", "turned.avif", "--to", "png", "--quiet")
        told = run("identify", "-format", "%w %h %[EXIF:Orientation] %[pixel:p{0,10}]", "turned.png",
                   cwd=self.folder).stdout.decode()
        self.assertRegex(told, r"^20 40 1? ?s?rgba?\(9\d")  # red was above, and is left after a quarter turn

    def test_bad_files_end_in_a_french_sentence(self):
        self.make("whole.heic", "convert -size 300x200 -seed 7 plasma:tomato-navy in.png; "
                                "heif-enc -q 60 -o whole.heic in.png; avifenc -s 9 in.png whole.avif")
        random.seed(11)
        names = []
        for kind in ("heic", "avif"):
            whole = (self.folder / f"whole.{kind}").read_bytes()
            for part in (0.02, 0.1, 0.3, 0.7, 0.95, 0.999):
                names.append(f"cut{part}.{kind}")
                (self.folder / names[-1]).write_bytes(whole[:int(len(whole) * part)])
        self.run_nivex("convert", *names, "--to", "png", expect=1)
        for line in self.json_lines("convert", *names, "--to", "png", expect=1):
            if "input" in line and "state" in line:
                self.assertNotEqual(line["state"], "succeeded", line)
        mutated = []
        for number in range(60):
            kind = ("heic", "avif")[number % 2]
            whole = bytearray((self.folder / f"whole.{kind}").read_bytes())
            for _ in range(1 + number % 5):
                whole[random.randrange(12, len(whole) if number % 3 else 500)] = random.randrange(256)
            mutated.append(f"mutated{number}.{kind}")
            (self.folder / mutated[-1]).write_bytes(whole)
        result = subprocess.run([self.program, "convert", *mutated, "--to", "png", "--json"], cwd=self.folder,
                                env=self.environment, capture_output=True, timeout=240)
        told = result.stdout.decode() + result.stderr.decode()
        for word in ("Sanitizer", "heif", "libde265", "signal", "inattendu", "arrêté"):
            self.assertNotIn(word, told.replace("whole", ""))
        self.assertTrue(self.nothing_hidden())

    def test_sequences_are_refused_by_name(self):
        box = (24).to_bytes(4, "big") + b"ftypmsf1" + bytes(4) + b"msf1hevc"
        self.write("burst.heic", box + (16).to_bytes(4, "big") + b"moov" + bytes(8) +
                   (40).to_bytes(4, "big") + b"mdat" + bytes(32))
        told = self.run_nivex("convert", "burst.heic", "--to", "png", expect=1)
        self.assertIn("séquences d'images", (told.stdout + told.stderr).decode())


if __name__ == "__main__":
    unittest.main()

"""Sound and films, judged by another program."""
import json
import subprocess
import unittest

from nivex_case import NivexCase, needs_pictures

TEST_SOUND = "sine=frequency=440:duration=3:sample_rate=44100"
TEST_FILM = "testsrc2=size=320x180:rate=25:duration=2"


def ffmpeg(*arguments):
    subprocess.run(["ffmpeg", "-v", "error", "-y", *map(str, arguments)], check=True, capture_output=True)


def samples(file, form="s32le"):
    """Every sample of the sound, decoded by another program."""
    return subprocess.run(["ffmpeg", "-v", "error", "-i", str(file), "-map", "0:a:0", "-f", form, "-"], check=True,
                          capture_output=True).stdout


def probed(file):
    return json.loads(subprocess.run(
        ["ffprobe", "-v", "error", "-show_format", "-show_streams", "-show_chapters", "-count_packets", "-of", "json",
         str(file)], check=True, capture_output=True).stdout)


def packets(file, kind):
    """A digest of the stream's compressed data, whatever its container adds to them."""
    return subprocess.run(["ffmpeg", "-v", "error", "-i", str(file), "-map", f"0:{kind}:0", "-c", "copy", "-bsf:v",
                           "h264_mp4toannexb", "-f", "streamhash", "-"] if kind == "v" else
                          ["ffmpeg", "-v", "error", "-i", str(file), "-map", f"0:{kind}:0", "-c", "copy", "-f",
                           "streamhash", "-"], check=True, capture_output=True).stdout


class MediaCase(NivexCase):
    def convert(self, name, target, *options, expect="succeeded"):
        done, = self.json_lines("convert", name, "--to", target, *options, expect=0 if expect == "succeeded" else 1)
        self.assertEqual(done["state"], expect, done)
        return self.folder / done["outputs"][0] if done["outputs"] else done

    def streams(self, file, kind):
        return [each for each in probed(file)["streams"] if each["codec_type"] == kind]


@needs_pictures
class Sound(MediaCase):
    def test_lossless_sound_stays_the_same_to_the_sample(self):
        for form, codec in (("s16le", "pcm_s16le"), ("s24le", "pcm_s24le"), ("f32le", "pcm_f32le")):
            ffmpeg("-f", "lavfi", "-i", "anoisesrc=duration=1:seed=7", "-c:a", codec, "-ac", 2, self.folder / "a.wav")
            original = samples(self.folder / "a.wav", form)
            for target in ("aiff", "caf", "flac", "alac"):
                if form == "f32le" and target in ("flac", "alac"):
                    continue
                with self.subTest(form=form, target=target):
                    result = self.convert("a.wav", target)
                    self.assertEqual(samples(result, form), original)
        deep, = self.json_lines("convert", "a.wav", "--to", "flac")
        self.assertIn("Le son a plus de 24 bits : il a été ramené à 24 bits.", deep["warnings"])

    def test_compressed_sound_is_as_long_as_its_source(self):
        ffmpeg("-f", "lavfi", "-i", TEST_SOUND, "-ac", 2, self.folder / "a.wav")
        for target in ("m4a", "mp3", "ogg", "opus"):
            with self.subTest(target):
                result = self.convert("a.wav", target)
                self.assertAlmostEqual(len(samples(result)) / 8 / int(self.streams(result, "audio")[0]["sample_rate"]),
                                       3, delta=0.03)

    def test_sound_that_fits_is_not_encoded_anew(self):
        ffmpeg("-f", "lavfi", "-i", TEST_SOUND, "-c:a", "aac", self.folder / "a.aac")
        result = self.convert("a.aac", "m4a")
        self.assertEqual(samples(result)[:80_000], samples(self.folder / "a.aac")[:80_000])
        line, = self.json_lines("convert", "a.aac", "--to", "m4a", "--dry-run")
        self.assertEqual(line["plan"]["losses"], [])

    def test_tags_and_covers_are_kept_or_removed(self):
        ffmpeg("-f", "lavfi", "-i", "color=red:size=64x64:duration=1", "-frames:v", 1, self.folder / "cover.png")
        ffmpeg("-f", "lavfi", "-i", TEST_SOUND, "-i", self.folder / "cover.png", "-map", "0", "-map", "1", "-c:v", "copy",
               "-disposition:v:0", "attached_pic", "-metadata", "title=Été", "-metadata", "artist=Zoé",
               self.folder / "a.flac")
        for target in ("mp3", "m4a", "alac", "ogg", "opus", "wav", "aiff"):
            with self.subTest(target):
                result = probed(self.convert("a.flac", target))
                tags = {key.lower(): value for part in (result["format"], *result["streams"])
                        for key, value in part.get("tags", {}).items()}
                self.assertEqual((tags.get("title"), tags.get("artist")), ("Été", "Zoé"))
                covers = [each for each in result["streams"] if each["disposition"]["attached_pic"]]
                self.assertEqual(len(covers), target in ("mp3", "m4a", "alac"))
        bare = probed(self.convert("a.flac", "mp3", "--metadata", "removeAll"))
        self.assertNotIn("title", bare["format"].get("tags", {}))
        self.assertEqual(len(bare["streams"]), 1)

    def test_many_channels(self):
        ffmpeg("-f", "lavfi", "-i", "sine=440:duration=1,pan=5.1|c0=c0|c1=c0|c2=c0|c3=c0|c4=c0|c5=c0", self.folder / "a.flac")
        for target, channels in (("m4a", 6), ("wav", 6), ("mp3", 2)):
            line, = self.json_lines("convert", "a.flac", "--to", target)
            found = self.streams(self.folder / line["outputs"][0], "audio")[0]["channels"]
            self.assertEqual(found, channels)
            self.assertEqual("Le son multicanal sera mixé en stéréo." in line["warnings"], channels == 2)

    def test_what_ends_too_early_is_refused(self):
        ffmpeg("-f", "lavfi", "-i", TEST_SOUND, self.folder / "a.wav")
        for name in ("b.flac", "b.m4a", "b.mp3", "b.caf"):
            ffmpeg("-i", self.folder / "a.wav", *(["-movflags", "+faststart"] if name == "b.m4a" else []),
                   self.folder / name)
        for name in ("a.wav", "b.flac", "b.m4a", "b.mp3", "b.caf"):
            with self.subTest(name):
                whole = (self.folder / name).read_bytes()
                self.write("coupé" + name[1:], whole[:len(whole) * 2 // 3])
                done = self.convert("coupé" + name[1:], "aiff", expect="failed")
                self.assertRegex(done["message"], "abîmé ou incomplet|endommagé")
        self.assertEqual([name for name in self.names() if name.endswith("aiff")], [])

    def test_a_damaged_passage_becomes_silence_and_is_said(self):
        ffmpeg("-f", "lavfi", "-i", TEST_SOUND, "-c:a", "flac", self.folder / "a.flac")
        contents = bytearray((self.folder / "a.flac").read_bytes())
        middle = len(contents) // 2
        contents[middle:middle + 40] = bytes(40)
        self.write("b.flac", bytes(contents))
        done, = self.json_lines("convert", "b.flac", "--to", "wav", expect=None)
        if done["state"] == "succeeded":
            self.assertTrue(any("abîmés" in each for each in done["warnings"]), done)
            self.assertAlmostEqual(len(samples(self.folder / "b.wav")) / 4 / 44_100, 3, delta=0.15)


@needs_pictures
class Films(MediaCase):
    def film(self, name, *options, sound=("-c:a", "aac")):
        ffmpeg("-f", "lavfi", "-i", TEST_FILM, "-f", "lavfi", "-i", "sine=frequency=440:duration=2", "-c:v", "libx264",
               "-pix_fmt", "yuv420p", *sound, *options, self.folder / name)

    def test_streams_that_fit_are_taken_over_with_all_that_belongs_to_them(self):
        self.write("a.srt", "1\n00:00:00,200 --> 00:00:01,000\nBonjour\n")
        self.write("chapters", ";FFMETADATA1\ntitle=Été\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=900\ntitle=Un\n"
                               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=900\nEND=2000\ntitle=Deux\n")
        self.film("plain.mkv")
        ffmpeg("-i", self.folder / "plain.mkv", "-i", self.folder / "a.srt", "-i", self.folder / "chapters", "-map", "0:v",
               "-map", "0:a", "-map", "0:a", "-map", "1", "-map_metadata", "2", "-c", "copy", "-metadata:s:a:0",
               "language=fra", "-metadata:s:a:1", "language=eng", "-metadata:s:s:0", "language=fra", self.folder / "a.mkv")
        line, = self.json_lines("convert", "a.mkv", "--to", "mp4", "--dry-run")
        self.assertEqual(line["plan"]["losses"], [])
        for target, text in (("mp4", "mov_text"), ("mov", "mov_text"), ("m4v", "mov_text")):
            with self.subTest(target):
                result = self.convert("a.mkv", target)
                for kind in "va":
                    self.assertEqual(packets(result, kind), packets(self.folder / "a.mkv", kind))
                found = probed(result)
                self.assertEqual([each["tags"]["title"] for each in found["chapters"]], ["Un", "Deux"])
                self.assertEqual(found["format"]["tags"]["title"], "Été")
                self.assertEqual([each["tags"]["language"] for each in self.streams(result, "audio")], ["fra", "eng"])
                self.assertEqual([each["codec_name"] for each in self.streams(result, "subtitle")], [text])
                told = subprocess.run(["ffmpeg", "-v", "error", "-i", result, "-map", "0:s:0", "-f", "srt", "-"],
                                      capture_output=True, check=True).stdout.decode()
                self.assertIn("00:00:00,200 --> 00:00:01,000\nBonjour", told)

    def test_only_what_does_not_fit_is_encoded_anew(self):
        self.film("a.mkv", sound=("-c:a", "libvorbis"))
        result = self.convert("a.mkv", "mp4")
        self.assertEqual(packets(result, "v"), packets(self.folder / "a.mkv", "v"))
        self.assertEqual([each["codec_name"] for each in probed(result)["streams"]], ["h264", "aac"])
        result = self.convert("a.mkv", "webm")
        self.assertEqual(packets(result, "a"), packets(self.folder / "a.mkv", "a"))
        picture, = self.streams(result, "video")
        self.assertEqual((picture["codec_name"], picture["nb_read_packets"]), ("vp9", "50"))

    def test_sound_and_pictures_keep_their_distance(self):
        self.film("base.mkv")
        ffmpeg("-i", self.folder / "base.mkv", "-itsoffset", "0.6", "-i", self.folder / "base.mkv", "-map", "0:v", "-map",
               "1:a", "-c", "copy", self.folder / "a.mkv")
        for options in ((), ("--video-codec", "hevc"), ("--video-quality", "p480")):
            result = self.convert("a.mkv", "mov", *options)
            starts = [float(each["start_time"]) for each in probed(result)["streams"]]
            self.assertAlmostEqual(starts[1] - starts[0], 0.6, delta=0.05)

    def test_a_lying_film_is_shown_upright(self):
        self.film("base.mp4")
        ffmpeg("-i", self.folder / "base.mp4", "-c", "copy", "-metadata:s:v:0", "rotate=90", self.folder / "a.mp4")
        picture, = self.streams(self.convert("a.mp4", "mov"), "video")
        self.assertEqual(picture["side_data_list"][0]["rotation"], 90)
        picture, = self.streams(self.convert("a.mp4", "mov", "--video-codec", "hevc"), "video")
        self.assertEqual((picture["width"], picture["side_data_list"][0]["rotation"]), (320, 90))
        picture, = self.streams(self.convert("a.mp4", "mkv"), "video")
        self.assertEqual((picture["width"], picture["height"]), (180, 320))
        line, = self.json_lines("identify", "--deep", "a.mp4")
        self.assertEqual((line["properties"]["pixelWidth"], line["properties"]["pixelHeight"]), (180, 320))

    def test_definition_is_only_ever_lowered(self):
        ffmpeg("-f", "lavfi", "-i", "testsrc2=size=1280x720:rate=10:duration=1", "-pix_fmt", "yuv420p", self.folder / "a.mov")
        for quality, height in (("p1080", 720), ("p720", 720), ("p480", 480)):
            picture, = self.streams(self.convert("a.mov", "mp4", "--video-quality", quality), "video")
            self.assertEqual((picture["height"], picture["nb_read_packets"]), (height, "10"))

    def test_transparency_to_prores(self):
        ffmpeg("-f", "lavfi", "-i", "color=red@0.5:size=64x64:duration=1,format=yuva420p", "-c:v", "libvpx-vp9",
               "-auto-alt-ref", 0, self.folder / "a.webm")
        ffmpeg("-f", "lavfi", "-i", "color=red@0.5:size=64x64:duration=1,format=yuva444p10", "-c:v", "prores_ks",
               "-profile:v", "4444", self.folder / "b.mov")
        line, = self.json_lines("convert", "b.mov", "--to", "mp4", "--dry-run")
        self.assertIn("La transparence sera remplacée par un fond uni.", line["warnings"])
        picture, = self.streams(self.convert("b.mov", "mkv"), "video")
        self.assertIn("yuva444p", picture["pix_fmt"])

    def test_place_and_other_metadata_are_removed_without_encoding(self):
        self.film("a.mp4", "-metadata", "title=Été", "-metadata", "location=+48.8577+002.295/")
        line, = self.json_lines("identify", "--deep", "a.mp4")
        self.assertTrue(line["properties"]["hasLocation"])
        for policy, title, place in (("keep", "Été", True), ("removeLocation", "Été", False), ("removeAll", None, False)):
            result = self.convert("a.mp4", "mov", "--metadata", policy)
            tags = probed(result)["format"]["tags"]
            self.assertEqual(tags.get("title"), title)
            self.assertEqual("location" in tags, place, tags)
            self.assertEqual(packets(result, "v"), packets(self.folder / "a.mp4", "v"))

    def test_a_target_size_is_met_and_used(self):
        ffmpeg("-f", "lavfi", "-i", "testsrc2=size=640x360:rate=25:duration=8,noise=alls=20:allf=t", "-f", "lavfi", "-i",
               "sine=duration=8", "-pix_fmt", "yuv420p", "-c:a", "aac", self.folder / "a.mov")
        line, = self.json_lines("convert", "a.mov", "--to", "mp4", "--max-size", "400KB")
        self.assertTrue(380_000 <= line["totalBytes"] <= 400_000, line)
        self.assertAlmostEqual(float(probed(self.folder / line["outputs"][0])["format"]["duration"]), 8, delta=0.05)
        done = self.convert("a.mov", "mp4", "--max-size", "10KB", expect="failed")
        self.assertIn("poids cible impossible avec ces réglages", done["message"])
        large, = self.json_lines("convert", "a.mov", "--to", "mp4", "--max-size", "500MB")
        self.assertEqual(packets(self.folder / large["outputs"][0], "v"), packets(self.folder / "a.mov", "v"))

    def test_a_film_is_shrunk_in_its_own_format(self):
        self.film("a.mp4", "-crf", 1)
        before = (self.folder / "a.mp4").stat().st_size
        line, = self.json_lines("optimize", "a.mp4", "--max-size", f"{before // 2}")
        self.assertTrue(before * 0.45 <= line["totalBytes"] <= before // 2, (before, line))
        result = self.folder / line["outputs"][0]
        self.assertEqual([each["codec_type"] for each in probed(result)["streams"]], ["video", "audio"])
        self.assertAlmostEqual(float(probed(result)["format"]["duration"]), 2, delta=0.05)

    def test_the_first_seconds_become_a_gif(self):
        ffmpeg("-f", "lavfi", "-i", "testsrc2=size=800x400:rate=25:duration=12", "-pix_fmt", "yuv420p", self.folder / "a.mp4")
        line, = self.json_lines("convert", "a.mp4", "--to", "gif")
        self.assertIn("Seules les 10 premières secondes seront converties.", line["warnings"])
        found = probed(self.folder / "a.gif")
        self.assertEqual((found["streams"][0]["width"], found["streams"][0]["height"]), (480, 240))
        self.assertAlmostEqual(float(found["format"]["duration"]), 10, delta=0.2)

    def test_sound_is_taken_out_of_a_film(self):
        self.film("a.mp4")
        result = self.convert("a.mp4", "m4a")
        self.assertEqual(packets(result, "a"), packets(self.folder / "a.mp4", "a"))
        self.assertEqual([each["codec_type"] for each in probed(result)["streams"]], ["audio"])

    def test_sound_shorter_than_its_film_is_whole(self):
        for name in ("a.mkv", "a.wmv", "a.flv", "a.avi", "a.mov"):
            with self.subTest(name):
                ffmpeg("-f", "lavfi", "-i", TEST_FILM, "-f", "lavfi", "-i", "sine=duration=0.7:sample_rate=44100",
                       self.folder / name)
                self.assertGreater(len(samples(self.convert(name, "wav", "--out", name[2:]))), 0.6 * 44_100 * 4)
                self.convert(name, "mp4", "--out", name[2:])

    def test_what_cannot_be_read_is_said(self):
        self.film("whole.mp4", "-movflags", "+faststart")
        self.film("whole.mkv")
        for name in ("whole.mp4", "whole.mkv"):
            contents = (self.folder / name).read_bytes()
            self.write("coupé" + name[5:], contents[:len(contents) * 3 // 4])
            done = self.convert("coupé" + name[5:], "mov", expect="failed")
            self.assertRegex(done["message"], "abîmé ou incomplet|endommagé")
        ffmpeg("-f", "lavfi", "-i", TEST_SOUND, self.folder / "son.mkv")
        done = self.convert("son.mkv", "mp4", expect="failed")
        self.assertIn("le fichier n'a pas d'image : il ne contient que du son", done["message"])
        self.assertEqual([name for name in self.names() if name.endswith((".mov", ".mp4"))], ["coupé.mp4", "whole.mp4"])


if __name__ == "__main__":
    unittest.main()

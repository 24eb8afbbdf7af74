"""Sound and films, against the ffmpeg command with the same encoders."""
import subprocess

from comparison import compare, convert


def ffmpeg(*arguments):
    return ["ffmpeg", "-v", "error", "-nostdin", "-y", *map(str, arguments)]


def make(folder, *arguments):
    subprocess.run(ffmpeg(*arguments), cwd=folder, check=True)


def pair(folder, name, source, target, peer_options, rounds=3):
    stem = source.split(".")[0]
    compare(name, convert(source, "--to", target), ffmpeg("-i", source, *peer_options, f"peer.{target}"), folder, rounds,
            resources=True, before=lambda: (folder / f"{stem}.{target}").unlink(missing_ok=True))


def music(folder, name, seconds):
    make(folder, "-f", "lavfi", "-i", f"anoisesrc=duration={seconds}:color=pink:seed=7,aformat=channel_layouts=stereo",
         "-f", "lavfi", "-i", f"aevalsrc=0.3*sin(440*2*PI*t*(1+0.1*sin(t)))|0.3*sin(550*2*PI*t):d={seconds}",
         "-filter_complex", "amix", "-ar", 44_100, name)


def film(folder, name, seconds, size="1920x1080", *options):
    make(folder, "-f", "lavfi", "-i", f"testsrc2=size={size}:rate=25:duration={seconds},noise=alls=6:allf=t",
         "-f", "lavfi", "-i", f"sine=duration={seconds}", "-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset", "veryfast",
         "-c:a", "aac", *options, name)


def sound(folder):
    music(folder, "music.wav", 600)
    pair(folder, "media: ten minutes of WAV to FLAC", "music.wav", "flac", [])
    pair(folder, "media: ten minutes of WAV to M4A", "music.wav", "m4a", ["-b:a", "256k"], 1)
    (folder / "peer.flac").rename(folder / "music2.flac")
    pair(folder, "media: ten minutes of FLAC to WAV", "music2.flac", "wav", [])


def films(folder):
    film(folder, "film.mov", 20)
    pair(folder, "media: MOV of 1080p to MP4, without encoding", "film.mov", "mp4", ["-c", "copy"], 5)
    make(folder, "-i", "film.mov", "-c:v", "mpeg4", "-q:v", 3, "-c:a", "copy", "film2.avi")
    pair(folder, "media: AVI of 1080p to MOV, H.264", "film2.avi", "mov",
         ["-c:v", "libx264", "-preset", "medium", "-crf", 20, "-c:a", "copy"], 1)


def clips(folder):
    film(folder, "clip.mov", 2, "320x180")
    for i in range(200):
        (folder / f"c{i:03}.mov").write_bytes((folder / "clip.mov").read_bytes())
    compare("media: 200 short MOV to MP4, a process each for the peer",
            convert(*[f"c{i:03}.mov" for i in range(200)], "--to", "mp4", "--out", "out"),
            ["sh", "-c", "for f in c*.mov; do ffmpeg -v error -nostdin -y -i $f -c copy peer.mp4; done"], folder, rounds=1,
            before=lambda: [each.unlink() for each in (folder / "out").glob("*")], peer_name="ffmpeg")


PAIRS = {"media-sound": sound, "media-films": films, "media-clips": clips}

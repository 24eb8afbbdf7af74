"""Three-dimensional scenes, against the command of Assimp."""
import math

from comparison import Run, compare, convert


def write_model(path, side):
    """A wavy sheet of 2 * side * side triangles, with a normal and a point of a texture for each vertex."""
    with open(path, "w", encoding="ascii") as file:
        for row in range(side + 1):
            y = row / side
            file.writelines(f"v {column / side:.6f} {y:.6f} {0.1 * math.sin(9 * y + 7 * column / side):.6f}\n"
                            for column in range(side + 1))
        for row in range(side + 1):
            file.writelines(f"vt {column / side:.6f} {row / side:.6f}\n" for column in range(side + 1))
        for row in range(side + 1):
            file.writelines(f"vn {math.cos(row + column):.4f} {math.sin(row + column):.4f} 0.0\n"
                            for column in range(side + 1))
        for row in range(side):
            for column in range(side):
                a = row * (side + 1) + column + 1
                b, c, d = a + 1, a + side + 2, a + side + 1
                file.write(f"f {a}/{a}/{a} {b}/{b}/{b} {c}/{c}/{c}\nf {a}/{a}/{a} {c}/{c}/{c} {d}/{d}/{d}\n")


def pair(folder, source, target, kind=None, rounds=3):
    stem = source.split(".")[0]
    compare(f"scenes: {source.split('.')[1].upper()} of a million triangles to {target.upper()}",
            convert(source, "--to", target), ["assimp", "export", source, f"peer.{target}", f"-f{kind or target}"],
            folder, rounds, resources=True,
            before=lambda: [each.unlink() for each in folder.glob(f"{stem}.{target}")])


def large(folder):
    write_model(folder / "sheet.obj", 707)
    pair(folder, "sheet.obj", "stl", "stlb")
    pair(folder, "sheet.obj", "ply", "plyb")
    pair(folder, "sheet.obj", "glb", "glb2")
    for source, target in (("stl", "obj"), ("ply", "stl"), ("glb", "stl")):
        if not (folder / f"sheet.{source}").exists():
            Run(convert("sheet.obj", "--to", source), folder)
        (folder / f"sheet.{source}").rename(folder / f"made-{source}.{source}")
        pair(folder, f"made-{source}.{source}", target, "stlb" if target == "stl" else None, 1)


PAIRS = {"scenes-large": large}

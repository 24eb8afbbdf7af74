"""Readers of scenes that share nothing with the program, for judging what it writes: they know what it may write, and
hold it to the rules of the format."""
import json
import math
import struct
import urllib.parse


class Shape:
    """Vertices and faces where they are shown."""

    def __init__(self):
        self.vertices, self.faces, self.materials, self.pictures = [], [], 0, []

    @property
    def box(self):
        return [(round(min(v[i] for v in self.vertices), 4), round(max(v[i] for v in self.vertices), 4))
                for i in range(3)]

    @property
    def volume(self):
        """Inside a closed surface whose front shows outside; negative where its back does."""
        total = 0
        for face in self.faces:
            for i in range(1, len(face) - 1):
                a, b, c = (self.vertices[corner] for corner in (face[0], face[i], face[i + 1]))
                total += sum(a[k] * (b[(k + 1) % 3] * c[(k + 2) % 3] - b[(k + 2) % 3] * c[(k + 1) % 3])
                             for k in range(3)) / 6
        return round(total, 4)


def read_stl(path):
    data, shape = path.read_bytes(), Shape()
    count, = struct.unpack_from("<I", data, 80)
    assert len(data) == 84 + 50 * count and not data.startswith(b"solid")
    for i in range(count):
        numbers = struct.unpack_from("<12f", data, 84 + 50 * i)
        assert min(abs(math.hypot(*numbers[:3]) - length) for length in (0, 1)) < 1e-5
        shape.faces.append([len(shape.vertices) + k for k in range(3)])
        shape.vertices += [numbers[3 + 3 * k:6 + 3 * k] for k in range(3)]
    return shape


def read_ply(path):
    shape, elements, sizes = Shape(), [], {"float": "f", "uchar": "B", "int": "i"}
    with open(path, "rb") as file:
        def numbers(kind, count=1):
            layout = f"<{count}{sizes[kind]}"
            return struct.unpack(layout, file.read(struct.calcsize(layout)))
        while (line := file.readline().decode().split())[0] != "end_header":
            if line[0] == "element":
                elements.append((line[1], int(line[2]), []))
            elif line[0] == "property":
                elements[-1][2].append(line[1:])
        for name, count, properties in elements:
            for _ in range(count):
                row = {each[-1]: numbers(each[2], numbers(each[1])[0]) if each[0] == "list" else numbers(each[0])[0]
                       for each in properties}
                if name == "vertex":
                    shape.vertices.append((row["x"], row["y"], row["z"]))
                elif name == "face":
                    shape.faces.append(row["vertex_indices"])
        assert not file.read()
    return shape


def read_obj(path):
    shape = Shape()
    for line in path.read_text().splitlines():
        keyword, *words = line.split()
        if keyword == "v":
            shape.vertices.append([float(word) for word in words])
        elif keyword == "f":
            shape.faces.append([int(word.split("/")[0]) - 1 for word in words])
        elif keyword == "mtllib":
            materials = (path.parent / line.split(maxsplit=1)[1]).read_text().splitlines()
            shape.materials = sum(each.startswith("newmtl ") for each in materials)
            shape.pictures = [(path.parent / each.split(maxsplit=1)[1]).read_bytes()
                              for each in materials if each.startswith("map_Kd ")]
    return shape


def read_gltf(path):
    data, binary = path.read_bytes(), None
    if data.startswith(b"glTF"):
        version, length, json_length, kind = struct.unpack_from("<4xIII4s", data)
        assert (version, length, kind, json_length % 4) == (2, len(data), b"JSON", 0)
        if 20 + json_length < len(data):
            binary_length, kind = struct.unpack_from("<I4s", data, 20 + json_length)
            assert kind == b"BIN\0" and binary_length % 4 == 0
            binary = data[28 + json_length:]
            assert len(binary) == binary_length
        data = data[20:20 + json_length]
    root, shape = json.loads(data), Shape()

    def resource(uri):
        return (path.parent / urllib.parse.unquote(uri)).read_bytes()

    buffers = [resource(each["uri"]) if "uri" in each else binary for each in root.get("buffers", [])]

    def view(index):
        each = root["bufferViews"][index]
        begin = each.get("byteOffset", 0)
        assert begin + each["byteLength"] <= root["buffers"][each["buffer"]]["byteLength"]
        return buffers[each["buffer"]][begin:begin + each["byteLength"]]

    def elements(index):
        each = root["accessors"][index]
        parts = {"SCALAR": 1, "VEC2": 2, "VEC3": 3, "VEC4": 4}[each["type"]]
        layout = f"<{parts}" + {5121: "B", 5123: "H", 5125: "I", 5126: "f"}[each["componentType"]]
        size, begin = struct.calcsize(layout), each.get("byteOffset", 0)
        if "bufferView" not in each:
            return [(0,) * parts] * each["count"]
        whole = root["bufferViews"][each["bufferView"]]
        assert (begin + whole.get("byteOffset", 0)) % (size // parts) == 0
        stride = whole.get("byteStride", size)
        values = [struct.unpack_from(layout, view(each["bufferView"]), begin + i * stride)
                  for i in range(each["count"])]
        for k in range(parts if "min" in each else 0):
            assert each["min"][k] == min(value[k] for value in values)
            assert each["max"][k] == max(value[k] for value in values)
        return values

    def times(a, b):
        return [[sum(a[i][k] * b[k][j] for k in range(4)) for j in range(4)] for i in range(4)]

    def matrix(node):
        if "matrix" in node:
            return [[node["matrix"][4 * column + row] for column in range(4)] for row in range(4)]
        x, y, z, w = node.get("rotation", (0, 0, 0, 1))
        scale, move = node.get("scale", (1, 1, 1)), node.get("translation", (0, 0, 0))
        turn = [[1 - 2 * (y * y + z * z), 2 * (x * y - z * w), 2 * (x * z + y * w)],
                [2 * (x * y + z * w), 1 - 2 * (x * x + z * z), 2 * (y * z - x * w)],
                [2 * (x * z - y * w), 2 * (y * z + x * w), 1 - 2 * (x * x + y * y)]]
        return [[turn[i][j] * scale[j] for j in range(3)] + [move[i]] for i in range(3)] + [[0, 0, 0, 1]]

    def walk(index, above):
        node = root["nodes"][index]
        here = times(above, matrix(node))
        mirrors = sum(here[0][i] * (here[1][(i + 1) % 3] * here[2][(i + 2) % 3] -
                                    here[1][(i + 2) % 3] * here[2][(i + 1) % 3]) for i in range(3)) < 0
        for primitive in root["meshes"][node["mesh"]]["primitives"] if "mesh" in node else []:
            assert "min" in root["accessors"][primitive["attributes"]["POSITION"]]
            attributes = {name: elements(each) for name, each in primitive["attributes"].items()}
            first = len(shape.vertices)
            shape.vertices += [[sum(here[i][j] * (*p, 1)[j] for j in range(4)) for i in range(3)]
                               for p in attributes["POSITION"]]
            assert {len(each) for each in attributes.values()} == {len(attributes["POSITION"])}
            for normal in attributes.get("NORMAL", []):
                assert abs(math.hypot(*normal) - 1) < 1e-4
            corners = [first + each for each, in elements(primitive["indices"])] if "indices" in primitive else []
            assert all(each < len(shape.vertices) for each in corners)
            assert primitive.get("material", 0) < max(shape.materials, 1)
            if primitive.get("mode", 4) == 4:
                shape.faces += [corners[i:i + 3][::-1 if mirrors else 1] for i in range(0, len(corners), 3)]
        for child in node.get("children", []):
            walk(child, here)

    shape.materials = len(root.get("materials", []))
    shape.pictures = [resource(each["uri"]) if "uri" in each else view(each["bufferView"])
                      for each in root.get("images", [])]
    for each in root["scenes"][root["scene"]]["nodes"]:
        walk(each, [[float(i == j) for j in range(4)] for i in range(4)])
    return shape


READERS = {".stl": read_stl, ".ply": read_ply, ".obj": read_obj, ".glb": read_gltf, ".gltf": read_gltf}


def read_scene(path):
    return READERS[path.suffix](path)

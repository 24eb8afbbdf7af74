"""Tables and nested data, as Python's own csv and json read what is written."""
import csv
import datetime
import json
import plistlib
import subprocess
import unittest
from decimal import Decimal

from nivex_case import NivexCase

# What a spreadsheet makes of numbers is lost for good here, were one digit or zero of it dropped.
ROWS = [["nom", "code", "montant", "note"],
        ["Élodie", "00750", "12.50", 'dit "bonjour", puis\npart'],
        ["=SOMME(A1)", "01200", "12345678901234567890.125", ""],
        ["漢字", "09999", "-0", "fin"]]


class Data(NivexCase):
    def convert(self, name, target):
        line, = self.json_lines("convert", name, "--to", target)
        with open(self.folder / line["outputs"][0], encoding="utf-8", newline="") as file:
            return line, file.read()

    def table(self, separator=",", encoding="utf-8"):
        path = self.folder / "table.csv"
        with open(path, "w", encoding=encoding, newline="") as file:
            csv.writer(file, delimiter=separator).writerows(ROWS)
        return path.name

    def test_a_table_becomes_records_and_comes_back(self):
        for separator, encoding in ((",", "utf-8"), (";", "utf-8-sig"), ("\t", "utf-16")):
            with self.subTest(separator=separator, encoding=encoding):
                _, text = self.convert(self.table(separator, encoding), "json")
                records = json.loads(text, parse_float=Decimal, parse_int=Decimal)
                self.assertEqual([list(record) for record in records], [ROWS[0]] * 3)
                self.assertEqual([record["code"] for record in records], [row[1] for row in ROWS[1:]])
                self.assertEqual([str(record["montant"]) for record in records], [row[2] for row in ROWS[1:]])
                self.assertEqual(records[0]["note"], ROWS[1][3])
                self.write("back.json", text)
                _, back = self.convert("back.json", "csv")
                self.assertEqual(list(csv.reader(back.splitlines(keepends=True))), ROWS)

    def test_other_programs_open_a_workbook_and_read_the_same(self):
        self.run_nivex("convert", self.table(), "--to", "xlsx")
        for command in (["xlsx2csv", "-e", "table.xlsx", "read.csv"], ["ssconvert", "table.xlsx", "read.csv"]):
            with self.subTest(program=command[0]):
                subprocess.run(command, cwd=self.folder, check=True, capture_output=True, timeout=120)
                with open(self.folder / "read.csv", encoding="utf-8", newline="") as file:
                    header, *rows = csv.reader(file)
                self.assertEqual(header, ROWS[0])
                rows = [row + [""] * (4 - len(row)) for row in rows]
                self.assertEqual([[row[0], row[1], row[3]] for row in rows],
                                 [[row[0], row[1], row[3]] for row in ROWS[1:]])
                self.assertEqual([Decimal(row[2]) for row in rows], [Decimal(row[2]) for row in ROWS[1:]])

    def test_a_workbook_of_another_program_is_read(self):
        self.table()
        subprocess.run(["ssconvert", "table.csv", "made.xlsx"], cwd=self.folder, check=True, capture_output=True,
                       timeout=120)
        _, text = self.convert("made.xlsx", "csv")
        read = [[row[0], row[3]] for row in csv.reader(text.splitlines(keepends=True))]
        self.assertEqual(read, [["#NAME?" if row[0].startswith("=") else row[0], row[3]] for row in ROWS],
                         "the formula that the other program takes the text for has an error as its value")

    def test_nested_data_become_a_table(self):
        self.write("tree.json", '[{"a":{"b":1,"c":[1,2]},"d":null},{"a":{"b":2},"e":9007199254740993}]')
        _, text = self.convert("tree.json", "tsv")
        header, *rows = csv.reader(text.splitlines(), delimiter="\t")
        self.assertIn("a.b", header)
        self.assertEqual([row[header.index("a.b")] for row in rows], ["1", "2"])
        self.assertEqual(rows[1][header.index("e")], "9007199254740993")

    def test_property_lists_are_what_another_reader_writes_and_reads(self):
        tree = {"a": [1, -5, 2**63, 1.5, True, b"\0\xff", datetime.datetime(2024, 1, 31, 9, 30)], "é": {"x": " <&> "}}
        for kind in (plistlib.FMT_XML, plistlib.FMT_BINARY):
            with self.subTest(kind=kind):
                (self.folder / "in.plist").write_bytes(plistlib.dumps(tree, fmt=kind))
                _, text = self.convert("in.plist", "json")
                self.assertEqual(json.loads(text), {"a": [1, -5, 2**63, 1.5, True, "AP8=", "2024-01-31T09:30:00Z"],
                                                    "é": {"x": " <&> "}})
                self.write("back.json", text)
                line, = self.json_lines("convert", "back.json", "--to", "plist")
                back = plistlib.loads((self.folder / line["outputs"][0]).read_bytes())
                self.assertEqual(back, json.loads(text))

    def test_yaml_comes_back_as_it_went(self):
        text = json.dumps({"no": "no", "list": [[], {}, [1, [2]], None, "a: b", "1e5", 1e5, "é\n"], "x": {"~": True}})
        self.write("tree.json", text)
        _, written = self.convert("tree.json", "yaml")
        self.write("back.yaml", written)
        _, back = self.convert("back.yaml", "json")
        self.assertEqual(json.loads(back), json.loads(text))

    def test_ragged_rows_are_kept_and_said(self):
        self.write("ragged.csv", "a,b\n1,2\n3\n4,5,6\n")
        line, text = self.convert("ragged.csv", "tsv")
        self.assertIn("2 lignes n'ont pas le nombre de colonnes de la première", line["warnings"])
        self.assertIn("4\t5\t6", text)

    def test_broken_data_end_in_a_sentence(self):
        for name, contents, sentence in (
                ("quote.csv", 'a,b\n"x,1\n', "un guillemet ouvert à la ligne 2 n'est jamais fermé"),
                ("cut.json", '{"a":\n[1,', "JSON invalide à la ligne 2"),
                ("deep.json", "[" * 100_000, "imbriquées sur plus de 512 niveaux")):
            with self.subTest(name=name):
                self.write(name, contents)
                result = self.run_nivex("convert", name, "--to", "csv" if name.endswith("json") else "json", expect=1)
                self.assertIn(sentence, result.stderr.decode())
                self.assertEqual(self.names(), [name])
                (self.folder / name).unlink()


if __name__ == "__main__":
    unittest.main()

"""Tables and nested data, against Miller, Gnumeric, xlsx2csv and yq."""
import random

from comparison import Run, compare, convert

WORDS = ("rouge", "vert", "été à Nîmes", 'dit "oui"', "a, b", "Lyon", "", "long texte qui remplit une cellule entière")


def write_table(path, megabytes):
    """Ten columns of numbers, texts, codes, days and booleans."""
    chance = random.Random(7)
    with open(path, "w", encoding="utf-8", newline="") as file:
        file.write("id,nom,code,montant,jour,ok,ville,note,x,y\r\n")
        number = 0
        while file.tell() < megabytes * 1_000_000:
            rows = []
            for _ in range(1_000):
                number += 1
                note = chance.choice(WORDS).replace('"', '""')
                rows.append(f"{number},Client {number},{number % 99_000:05},{chance.random() * 1000:.2f},"
                            f"2024-{number % 12 + 1:02}-{number % 28 + 1:02},{'true' if number % 3 else 'false'},"
                            f"{chance.choice(('Lyon', 'Paris', 'Évry'))},\"{note}\",{chance.random()},{-number}\r\n")
            file.write("".join(rows))


def pair(folder, name, source, target, peer, rounds=3):
    compare(name, convert(source, "--to", target), peer, folder, rounds, resources=True,
            before=lambda: [each.unlink() for each in folder.glob(f"{source.split('.')[0]}.{target}")])


def made(folder, source, target, name):
    """Leaves what nivex makes of a file under another name, for the way back."""
    Run(convert(source, "--to", target), folder)
    (folder / f"{source.split('.')[0]}.{target}").rename(folder / name)


def large(folder):
    write_table(folder / "large.csv", 100)
    pair(folder, "data: CSV of 100 MB to JSON", "large.csv", "json",
         ["mlr", "--icsv", "--ojson", "cat", "large.csv"], 1)
    made(folder, "large.csv", "json", "records.json")
    pair(folder, "data: JSON of that to CSV", "records.json", "csv",
         ["mlr", "--ijson", "--ocsv", "unsparsify", "records.json"], 1)


def workbooks(folder):
    write_table(folder / "table.csv", 10)
    pair(folder, "data: CSV of 10 MB to XLSX", "table.csv", "xlsx",
         ["ssconvert", "table.csv", "peer.xlsx"], 1)
    made(folder, "table.csv", "xlsx", "book.xlsx")
    pair(folder, "data: XLSX of that to CSV", "book.xlsx", "csv", ["xlsx2csv", "book.xlsx", "peer.csv"])


def trees(folder):
    with open(folder / "list.yaml", "w", encoding="utf-8") as file:
        for i in range(100_000):
            file.write(f"- id: {i}\n  nom: Client {i}\n  actif: true\n  tags: [rouge, vert]\n"
                       f"  note: \"a: b\"\n  lieu:\n    ville: Lyon\n    code: '{i % 99_000:05}'\n")
    pair(folder, "data: YAML of 11 MB to JSON", "list.yaml", "json", ["yq", ".", "list.yaml"], 1)


def small(folder):
    rows = "id,nom,montant\n" + "".join(f"{i},Client {i},{i}.50\n" for i in range(20))
    for i in range(1_000):
        (folder / f"t{i:04}.csv").write_text(rows)
    compare("data: 1,000 small CSV to JSON, a process each for the peer",
            convert(*[f"t{i:04}.csv" for i in range(1_000)], "--to", "json", "--out", "out"),
            ["sh", "-c", "for f in t*.csv; do mlr --icsv --ojson cat $f > peer.json; done"], folder, rounds=1,
            before=lambda: [each.unlink() for each in (folder / "out").glob("*")], peer_name="mlr")


PAIRS = {"data-large": large, "data-workbooks": workbooks, "data-trees": trees, "data-small": small}

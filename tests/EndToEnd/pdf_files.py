"""Small PDF files, made object by object."""


def text_page(lines, size=(595, 842), extra=""):
    """A page: (x, y, words) in Helvetica of 12 points. `extra` are entries of its dictionary."""
    def escaped(text):
        return "".join(chr(byte) if 32 <= byte < 127 and chr(byte) not in "()\\" else f"\\{byte:03o}"
                       for byte in text.encode("cp1252"))
    content = "".join(f"BT /F 12 Tf {x} {y} Td ({escaped(text)}) Tj ET\n" for x, y, text in lines)
    return {"size": size, "content": content.encode(), "extra": extra}


def pdf(pages, extra_objects=()):
    """A file of pages. Objects: 1 catalogue, 2 page tree, 3 font, then `extra_objects`, then two for each page."""
    first = 4 + len(extra_objects)
    kids = " ".join(f"{first + 2 * i} 0 R" for i in range(len(pages)))
    objects = [b"<< /Type /Catalog /Pages 2 0 R >>",
               f"<< /Type /Pages /Count {len(pages)} /Kids [{kids}] >>".encode(),
               b"<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica /Encoding /WinAnsiEncoding >>", *extra_objects]
    for i, page in enumerate(pages):
        width, height = page["size"]
        objects.append(f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {width} {height}] {page['extra']} "
                       f"/Contents {first + 2 * i + 1} 0 R /Resources << /Font << /F 3 0 R >> >> >>".encode())
        objects.append(b"<< /Length %d >>\nstream\n%s\nendstream" % (len(page["content"]), page["content"]))
    file = b"%PDF-1.7\n"
    offsets = []
    for number, contents in enumerate(objects, 1):
        offsets.append(len(file))
        file += b"%d 0 obj\n%s\nendobj\n" % (number, contents)
    table = len(file)
    file += b"xref\n0 %d\n0000000000 65535 f \n" % (len(objects) + 1)
    file += b"".join(b"%010d 00000 n \n" % offset for offset in offsets)
    return file + b"trailer\n<< /Size %d /Root 1 0 R >>\nstartxref\n%d\n%%%%EOF\n" % (len(objects) + 1, table)

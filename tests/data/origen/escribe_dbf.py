"""Writes a reference table with the Python module dbf and prints what the module dbfread, by another author, reads.

    python3 escribe_dbf.py FILE CODEPAGE LINES      CODEPAGE: cp437, cp850, cp1252; LINES: lineas.csv
    python3 escribe_dbf.py FILE                     only prints
"""

import datetime
import sys


def write(file, codepage, lines):
    import dbf

    table = dbf.Table(file, "FECHA D; HORA C(5); CONCEPTO C(40); CODCLIENTE N(19,4); SALIDA C(1)", dbf_type="db3",
                      codepage=codepage)
    table.open(mode=dbf.READ_WRITE)
    gone = []
    for line in open(lines, encoding="utf-8").read().splitlines():
        number, deleted, date, hour, subject, client, out = line.split(";")
        day = datetime.datetime.strptime(date, "%Y%m%d").date() if date else None
        table.append((day, hour, subject, float(client) if client else None, out))
        if deleted:
            gone.append(int(number) - 1)
    for number in gone:
        dbf.delete(table[number])
    table.close()


def show(file):
    from dbfread import DBF

    table = DBF(file)
    # Live and deleted ones apart is all that the module gives; the first byte of each line puts them in order again.
    live, deleted = iter(list(table.records)), iter(list(table.deleted))
    with open(file, "rb") as raw:
        head = raw.read(12)
        start, length = int.from_bytes(head[8:10], "little"), int.from_bytes(head[10:12], "little")
        for number in range(1, int.from_bytes(head[4:8], "little") + 1):
            raw.seek(start + (number - 1) * length)
            mark = raw.read(1) == b"*"
            row = next(deleted if mark else live)
            day = row["FECHA"].strftime("%Y%m%d") if row["FECHA"] else ""
            client = "" if row["CODCLIENTE"] is None else "%.4f" % row["CODCLIENTE"]
            print(number, "*" if mark else "", day, row["HORA"], row["CONCEPTO"] or "", client, row["SALIDA"] or "",
                  sep=";")


if len(sys.argv) > 2:
    write(*sys.argv[1:4])
show(sys.argv[1])

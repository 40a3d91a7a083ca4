"""Compares an exported CSV file of one measurement with the database, without code of KV Tool.

Usage: comparecsvwithdatabase.py CSV DATABASE NAME FACTOR OFFSET FROM TO    (times in milliseconds)
"""
import csv
import datetime
import sqlite3
import sys

csv_path, database, name, factor, offset, begin, end = sys.argv[1:]
exported = list(csv.reader(open(csv_path, newline="")))[1:]
rows = sqlite3.connect(f"file:{database}?mode=ro", uri=True).execute(
    "select m.timestamp, (select v.value from measurement_value v join measurement_type t"
    " on t.id = v.measurement_type_id where v.measurement_id = m.id and t.name = ?)"
    " from measurement_metadata m where m.timestamp between ? and ? order by m.id",
    (name, int(begin), int(end)))
expected = [[datetime.datetime.fromtimestamp(timestamp // 1000).isoformat(),
             "" if value is None else "%.6g" % ((value + float(offset)) * float(factor))]
            for timestamp, value in rows]
differences = [pair for pair in zip(exported, expected) if pair[0] != pair[1]]
print(len(exported), len(expected), differences[:3])
sys.exit(0 if exported == expected and len(exported) > 100 else 1)

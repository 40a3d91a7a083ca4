#!/usr/bin/env python3
"""Writes rows of doubles (seconds since the epoch, then the values) with Python's csv module as the
tool would, and prints the seconds that this took.

Usage: csv_peer.py ROWS CSV TITLES    ROWS as doubles of the machine, TITLES separated by commas
"""
import array
import csv
import datetime
import sys
import time

with open(sys.argv[1], "rb") as file:
    numbers = array.array("d", file.read())
titles = sys.argv[3].split(",")
width = len(titles)
rows = [(numbers[i], numbers[i + 1:i + width]) for i in range(0, len(numbers), width)]

begin = time.perf_counter()
with open(sys.argv[2], "w", newline="") as file:
    writer = csv.writer(file, lineterminator="\n")
    writer.writerow(titles)
    for seconds, values in rows:
        moment = datetime.datetime.fromtimestamp(seconds)
        writer.writerow([moment.isoformat(), *("%g" % value for value in values)])
print(time.perf_counter() - begin)

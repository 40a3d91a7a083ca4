#!/usr/bin/env python3
"""Writes rows of doubles (seconds since the epoch, then the values) with Python's csv module as the
tool writes them, and prints how many seconds this took.

Usage: csvreference.py ROWS CSV HEADINGS
  ROWS      file to read: doubles in native byte order
  CSV       file to write
  HEADINGS  column headings, separated by commas
"""
import array
import csv
import datetime
import sys
import time

with open(sys.argv[1], "rb") as file:
    numbers = array.array("d", file.read())
headings = sys.argv[3].split(",")
width = len(headings)
rows = [(numbers[i], numbers[i + 1:i + width]) for i in range(0, len(numbers), width)]

begin = time.perf_counter()
with open(sys.argv[2], "w", newline="") as file:
    writer = csv.writer(file, lineterminator="\n")
    writer.writerow(headings)
    for seconds, values in rows:
        time_of_row = datetime.datetime.fromtimestamp(seconds)
        writer.writerow([time_of_row.isoformat(), *("%g" % value for value in values)])
print(time.perf_counter() - begin)

"""read.py TABLES_SQL TABLE: reads a table row by row through the Python package; prints seconds and cells."""

import sys
import time

import duckdb

connection = duckdb.connect(":memory:")
connection.execute(open(sys.argv[1], encoding="utf-8").read())


def read():
    cells = 0
    cursor = connection.execute("FROM " + sys.argv[2])
    while row := cursor.fetchone():
        for _ in row:
            cells += 1
    return cells


read()
start = time.process_time()
cells = read()
print(time.process_time() - start, cells)

"""The peer of the SQLite write: Python's sqlite3 executemany of the same CSV
rows into the same table, in one transaction. Prints the best seconds."""
import csv
import sqlite3
import sys
import time

db, source, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
with open(source, newline="", encoding="utf-8") as f:
    rows = [(int(r[0]), int(r[1]), int(r[2]), int(r[3]), float(r[4]), float(r[5]), float(r[6]), r[7], r[8], r[9])
            for r in csv.reader(f)]
best = float("inf")
for _ in range(runs):
    con = sqlite3.connect(db)
    con.execute("DROP TABLE IF EXISTS t_peer")
    con.execute("CREATE TABLE t_peer (i0 INTEGER, i1 INTEGER, i2 INTEGER, i3 INTEGER, r0 DOUBLE, r1 DOUBLE, "
                "r2 DOUBLE, s0 VARCHAR(40), s1 VARCHAR(40), s2 VARCHAR(40))")
    con.commit()
    start = time.perf_counter()
    con.executemany("INSERT INTO t_peer VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", rows)
    con.commit()
    best = min(best, time.perf_counter() - start)
    con.close()
print(f"{best:.6f}")

"""Python's csv module on the benchmark's file: read it into lists, then
write the same table (the id column as int, every third column as float, as
the C++ side holds them) to another file. Prints the two timings in seconds,
one per line: read <s> and write <s> (wall clock), read_cpu <s> and
write_cpu <s> (CPU time of this process)."""
import csv
import sys
import time

source, target = sys.argv[1], sys.argv[2]

c0 = time.process_time()
t0 = time.perf_counter()
with open(source, newline="", encoding="utf-8") as f:
    rows = list(csv.reader(f))
t1 = time.perf_counter()
c1 = time.process_time()
for row in rows:
    row[0] = int(row[0])
    for c in range(3, len(row), 3):
        row[c] = float(row[c])
t1b = time.perf_counter()
c1b = time.process_time()
with open(target, "w", newline="", encoding="utf-8") as f:
    csv.writer(f).writerows(rows)
t2 = time.perf_counter()
c2 = time.process_time()
print(f"read {t1 - t0:.6f}")
print(f"write {t2 - t1b:.6f}")
print(f"read_cpu {c1 - c0:.6f}")
print(f"write_cpu {c2 - c1b:.6f}")
print(f"rows {len(rows)}")

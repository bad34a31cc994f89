"""Python's csv module on the benchmark's file: read it into lists, write
the same rows back. Prints the two timings in seconds, one per line:
read <s> and write <s>."""
import csv
import sys
import time

source, target = sys.argv[1], sys.argv[2]

t0 = time.perf_counter()
with open(source, newline="", encoding="utf-8") as f:
    rows = list(csv.reader(f))
t1 = time.perf_counter()
with open(target, "w", newline="", encoding="utf-8") as f:
    csv.writer(f).writerows(rows)
t2 = time.perf_counter()
print(f"read {t1 - t0:.6f}")
print(f"write {t2 - t1:.6f}")
print(f"rows {len(rows)}")

"""Python's json module on the benchmark's data: parse the request, then
write the answer the tool gave (parsed beforehand, not timed). Prints one
JSON object: {"parse": s, "dump": s, "parse_cpu": s, "dump_cpu": s}, the
best of three runs each (wall clock, then CPU time of this process)."""
import json
import sys
import time

request_path, answer_path = sys.argv[1], sys.argv[2]
with open(request_path, encoding="utf-8") as f:
    request_text = f.read()
with open(answer_path, encoding="utf-8") as f:
    answer = json.loads(f.read())

parse = dump = parse_cpu = dump_cpu = float("inf")
for _ in range(3):
    c0, t0 = time.process_time(), time.perf_counter()
    json.loads(request_text)
    c1, t1 = time.process_time(), time.perf_counter()
    json.dumps(answer, separators=(",", ":"))
    c2, t2 = time.process_time(), time.perf_counter()
    parse, dump = min(parse, t1 - t0), min(dump, t2 - t1)
    parse_cpu, dump_cpu = min(parse_cpu, c1 - c0), min(dump_cpu, c2 - c1)
print(json.dumps({"parse": parse, "dump": dump, "parse_cpu": parse_cpu, "dump_cpu": dump_cpu}))

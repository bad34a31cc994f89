"""Python's json module on the benchmark's data: parse the request, then
write the answer the tool gave (parsed beforehand, not timed). Prints one
JSON object: {"parse": s, "dump": s}, the best of three runs each."""
import json
import sys
import time

request_path, answer_path = sys.argv[1], sys.argv[2]
with open(request_path, encoding="utf-8") as f:
    request_text = f.read()
with open(answer_path, encoding="utf-8") as f:
    answer = json.loads(f.read())

parse = dump = float("inf")
for _ in range(3):
    t0 = time.perf_counter()
    json.loads(request_text)
    t1 = time.perf_counter()
    json.dumps(answer, separators=(",", ":"))
    t2 = time.perf_counter()
    parse, dump = min(parse, t1 - t0), min(dump, t2 - t1)
print(json.dumps({"parse": parse, "dump": dump}))

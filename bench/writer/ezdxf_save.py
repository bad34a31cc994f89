"""Peer measurement: load a DXF with ezdxf, then save it in its own version
(2018). ezdxf 0.18 writes R2000 and later only, so R12 has no peer figure.
Prints seconds and peak RSS as JSON."""
import json
import resource
import sys
import time

import ezdxf

start = time.perf_counter()
doc = ezdxf.readfile(sys.argv[1])
loaded = time.perf_counter()
cpu_loaded = resource.getrusage(resource.RUSAGE_SELF)
doc.saveas(sys.argv[2])
saved = time.perf_counter()
usage = resource.getrusage(resource.RUSAGE_SELF)
print(json.dumps({"load": loaded - start, "save": saved - loaded,
                  "save_cpu": (usage.ru_utime + usage.ru_stime) - (cpu_loaded.ru_utime + cpu_loaded.ru_stime),
                  "peak_rss_kb": usage.ru_maxrss}))

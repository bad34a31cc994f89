#!/usr/bin/env python3
"""Block attribute tables of many drawings, extracted on a Dask cluster.

Maps the extraction job of `vantrove extract` over a list of drawings with
Dask's distributed scheduler: each worker opens its drawings through the
vantrove module and sends back their block attribute rows; the rows become
one table (CSV), merged by column name in the order the drawings were given.
A drawing that fails (a damaged file, a worker lost on it) becomes a row of
the errors table; the others go on.

    dask_extract.py drawings/ -r -o titles.csv                # a local cluster
    dask_extract.py --list paths.txt --scheduler tcp://host:8786 -o titles.csv

Exit code: 0 all done, 1 some drawings failed, 2 usage.
"""

import argparse
import csv
import math
import os
import pathlib
import sys
import tempfile

SUFFIXES = {".dwg", ".dxf"}


# ---- the work on one drawing (runs on the workers) --------------------------------------

def cell_text(value):
    """A cell as the tool writes it: Null and Empty as nothing, Booleans as True/False."""
    import vantrove
    if value is None or value is vantrove.Empty:
        return ""
    return str(value)


def block_names(v, vantrove):
    """The names of the blocks that have references, in drawing order."""
    with tempfile.TemporaryDirectory(prefix="vantrove-dask-") as folder:
        names = []
        code = v.XMLfileToArray(os.path.join(folder, "blocks.xml"), vantrove.dwgBlocksAndAttributes, names, True,
                                varFields=["Name"])
    if code != 1:
        raise RuntimeError("the description could not be read")
    return list(dict.fromkeys(cell_text(row[0]) for row in names[1:]))


def extract_drawing(v, path, block, drawing_field):
    """The attribute rows of one drawing, as dicts of column to text."""
    import vantrove
    status = v.OpenDrawing(path)
    if status != "OK":
        raise RuntimeError(status)
    try:
        rows = []
        for name in [block] if block else block_names(v, vantrove):
            table = []
            if v.CreateBlockAttributeArray(table, strBlock=name, lngDrawingField=drawing_field) == -1:
                raise RuntimeError("the drawing's description could not be written")
            if not table:  # a block without the wanted tags: no table
                continue
            heading, *values = table
            leading = {} if block else {"Block": name}
            for row in values:
                record = dict(leading)
                record.update((cell_text(h), cell_text(c)) for h, c in zip(heading, row) if cell_text(h))
                rows.append(record)
        return rows
    finally:
        v.CloseDrawing()


def extract_batch(paths, block, drawing_field):
    """[(path, rows, error)] for a batch of drawings, one Vantrove object for all."""
    import vantrove
    v = vantrove.Vantrove()
    out = []
    for path in paths:
        try:
            out.append((path, extract_drawing(v, path, block, drawing_field), None))
        except Exception as e:  # one drawing's failure is its own row, never the batch's
            out.append((path, [], str(e) or type(e).__name__))
    return out


# ---- the list of drawings, the cluster, the table -------------------------------------

def find_drawings(items, recursive, listing):
    found = []
    if listing:
        with open(listing, encoding="utf-8") as f:
            found += [line.strip() for line in f if line.strip()]
    for item in items:
        p = pathlib.Path(item)
        if p.is_dir():
            walk = p.rglob("*") if recursive else p.glob("*")
            found += sorted(str(x) for x in walk if x.is_file() and x.suffix.lower() in SUFFIXES)
        elif p.exists() or not any(ch in item for ch in "*?["):
            found.append(item)
        else:
            found += sorted(str(x) for x in pathlib.Path().glob(item) if x.suffix.lower() in SUFFIXES)
    # Workers may run elsewhere: paths go out absolute (on a cluster, on a file system all of them see).
    return [os.path.abspath(f) for f in found]


def connect(args):
    from dask.distributed import Client, LocalCluster
    if args.scheduler:
        return Client(args.scheduler), None
    cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True, dashboard_address=None)
    return Client(cluster), cluster


def run(client, drawings, args, drawing_field):
    """[(path, rows, error)] for every drawing, in the order given."""
    threads = max(1, sum(client.nthreads().values()))
    size = args.batch_size or max(1, min(64, math.ceil(len(drawings) / (4 * threads))))
    batches = [drawings[i:i + size] for i in range(0, len(drawings), size)]
    futures = client.map(extract_batch, batches, block=args.block, drawing_field=drawing_field, pure=False)
    results = []
    for batch, future in zip(batches, futures):
        try:
            results += future.result()
        except Exception as e:  # the worker died on this batch: every drawing of it is reported
            results += [(path, [], f"the worker failed: {type(e).__name__}: {e}") for path in batch]
    return results


def write_csv(path, header, rows):
    out = sys.stdout if path == "-" else open(path, "w", newline="", encoding="utf-8")
    try:
        table = csv.DictWriter(out, fieldnames=header, restval="", lineterminator="\r\n")
        table.writeheader()
        table.writerows(rows)
    finally:
        if out is not sys.stdout:
            out.close()


def main(argv=None):
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0],
                                 formatter_class=argparse.RawDescriptionHelpFormatter,
                                 epilog="\n\n".join(__doc__.split("\n\n")[1:]))
    ap.add_argument("drawings", nargs="*", help="drawings, folders or patterns (*.dwg)")
    ap.add_argument("--list", help="a file with one drawing path per line")
    ap.add_argument("-r", "--recursive", action="store_true", help="look for drawings in sub-folders too")
    ap.add_argument("-b", "--block", default="", help="only references of this block")
    ap.add_argument("--drawing-column", choices=["auto", "name", "full", "none"], default="auto",
                    help="add the drawing's name, full path or nothing (default: name for many drawings)")
    ap.add_argument("-o", "--output", default="-", help="the attribute table, CSV (default: standard output)")
    ap.add_argument("--errors", help="the errors table, CSV (default: OUTPUT with -errors, or standard error)")
    ap.add_argument("--scheduler", help="address of a running scheduler, e.g. tcp://host:8786 (default: a local cluster)")
    ap.add_argument("--workers", type=int, default=os.cpu_count() or 1, help="workers of the local cluster")
    ap.add_argument("--batch-size", type=int, default=0, help="drawings per task (default: from the count)")
    args = ap.parse_args(argv)
    drawings = find_drawings(args.drawings, args.recursive, args.list)
    if not drawings:
        ap.print_usage(sys.stderr)
        print("dask_extract.py: no drawings given", file=sys.stderr)
        return 2
    import vantrove
    choice = args.drawing_column if args.drawing_column != "auto" else ("name" if len(drawings) > 1 else "none")
    drawing_field = {"name": vantrove.dwgDrawingName, "full": vantrove.dwgDrawingFullName, "none": vantrove.dwgNone}[choice]

    client, cluster = connect(args)
    try:
        results = run(client, drawings, args, int(drawing_field))
    finally:
        client.close()
        if cluster is not None:
            cluster.close()

    header, rows, errors = {}, [], []
    for path, records, error in results:
        if error is not None:
            errors.append({"Drawing": path, "Error": error})
        for record in records:
            header.update(dict.fromkeys(record))
            rows.append(record)
    if rows or args.output == "-":
        write_csv(args.output, list(header), rows)
    if errors:
        target = args.errors or (str(pathlib.Path(args.output).with_suffix("")) + "-errors.csv"
                                 if args.output != "-" else None)
        if target:
            write_csv(target, ["Drawing", "Error"], errors)
        for e in errors:
            print(f"dask_extract.py: {e['Drawing']}: {e['Error']}", file=sys.stderr)
    print(f"dask_extract.py: {len(drawings)} drawings, {len(drawings) - len(errors)} done, {len(errors)} failed",
          file=sys.stderr)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())

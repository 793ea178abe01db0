#!/usr/bin/env python3
"""Converts every DXF drawing under a folder to its text with Dask, the way
`vessik batch` does on one machine.

    python3 examples/dask_batch.py [--scheduler ADDRESS] [--workers N] FOLDER OUTDIR

Each drawing FOLDER/a/b.dxf becomes OUTDIR/a/b.txt, written atomically, byte for
byte the text of `vessik batch -o OUTDIR FOLDER` (and of `vessik a/b.dxf`), at the
tool's default settings. Without --scheduler the work runs on a LocalCluster of N
worker processes on this machine (default: one per core); with it, on the
cluster that scheduler runs. Workers read the drawings themselves, so every
worker must see FOLDER at the same path (a shared file system); the texts come
back to this process, which writes them.

A drawing that fails does not stop the others; each failure is printed at the
end, and the exit status is 1 if any drawing failed."""

import argparse
import os
import sys
import tempfile

import vessik


def find_drawings(folder):
    """Relative paths of the .dxf files under folder (any case), sorted."""
    found = []
    for root, dirs, files in os.walk(folder):
        dirs.sort()
        for name in files:
            if name.lower().endswith(".dxf"):
                found.append(os.path.relpath(os.path.join(root, name), folder))
    return sorted(found)


def convert(path):
    """Runs on a worker: ("text", text) or ("error", number, description)."""
    try:
        return ("text", vessik.read_text(path))
    except vessik.VessikError as e:
        return ("error", e.number, e.description)


def write_atomically(path, text):
    os.makedirs(os.path.dirname(path) or ".", exist_ok=True)
    fd, temporary = tempfile.mkstemp(dir=os.path.dirname(path) or ".", prefix=".vessik-")
    try:
        with os.fdopen(fd, "wb") as f:
            # The text keeps the drawing's bytes: names that are no UTF-8 included.
            f.write(text.encode("utf-8", "surrogateescape"))
        os.replace(temporary, path)
    except BaseException:
        os.unlink(temporary)
        raise


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("folder", help="folder of drawings, searched recursively")
    parser.add_argument("outdir", help="folder for the texts")
    parser.add_argument("--scheduler", help="address of a running Dask scheduler, "
                        "e.g. tcp://10.0.0.5:8786 (default: a LocalCluster here)")
    parser.add_argument("--workers", type=int, default=os.cpu_count() or 1,
                        help="worker processes of the LocalCluster (default: one per core)")
    args = parser.parse_args(argv)

    from dask.distributed import Client, LocalCluster, as_completed

    drawings = find_drawings(args.folder)
    cluster = None
    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                               dashboard_address=None)
        client = Client(cluster)
    failures = {}
    try:
        paths = [os.path.abspath(os.path.join(args.folder, d)) for d in drawings]
        futures = client.map(convert, paths, pure=False)
        where = {f.key: d for f, d in zip(futures, drawings)}
        for future in as_completed(futures):
            drawing = where[future.key]
            result = future.result()
            if result[0] == "text":
                write_atomically(os.path.join(args.outdir, os.path.splitext(drawing)[0] + ".txt"),
                                 result[1])
            else:
                failures[drawing] = result[1:]
    finally:
        # The client goes first: a cluster closed under it makes it reconnect.
        client.close()
        if cluster is not None:
            cluster.close()
    for drawing in drawings:
        if drawing in failures:
            number, description = failures[drawing]
            print("dask_batch: %s: error %d (0x%08X): %s" %
                  (os.path.join(args.folder, drawing), number, number & 0xFFFFFFFF, description),
                  file=sys.stderr)
    print("dask_batch: %d drawings: %d converted, %d failed" %
          (len(drawings), len(drawings) - len(failures), len(failures)), file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

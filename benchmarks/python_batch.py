#!/usr/bin/env python3
"""Measures batches: in memory, from a store by threads, from a store by a cluster of dask.

usage: python_batch.py [--quick] [FOLDER]

Problems have n = m = 10, each with a P of its own. The stores are made in FOLDER, by default the folder
of temporary files. For the model of the overhead each task of the cluster is one chunk:

    seconds per task of c problems = a + b c,

with a and b fitted to the times of one worker. PYTHONPATH has to lead to the package.
"""

import argparse
import os
import shutil
import tempfile
import time
from statistics import median

os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")

import numpy as np  # noqa: E402

import activeset  # noqa: E402


OUTPUTS = ["x", "obj", "certificate"]


def parts_of(count, n=10):
    rng = np.random.default_rng(0)
    roots = rng.normal(size=(1000, n, n))
    P = roots @ roots.transpose(0, 2, 1) + np.eye(n)
    return {"P": np.resize(P, (count, n, n)), "q": rng.normal(size=(count, n)),
            "G": rng.normal(size=(n, n)), "h": rng.random((count, n))}


def timed(call):
    begin = time.perf_counter()
    call()
    return time.perf_counter() - begin


def store_of(folder, count, chunk):
    place = os.path.join(folder, f"{count}-{chunk}.zarr")
    return activeset.batch.create(place, **parts_of(count), chunk=chunk, outputs=OUTPUTS)


def in_memory(count):
    parts = parts_of(count)
    shared = {**parts, "P": parts["P"][0]}
    print(f"{count} problems in memory; x, objective, certificate, status")
    for name, given in (("own P", parts), ("shared P", shared)):
        for threads in (1, 2):
            seconds = min(timed(lambda: activeset.solve_batch(
                **given, out=OUTPUTS, threads=threads, progress=False))
                for _ in range(3))
            print(f"  {name:9} {threads} threads  {seconds:7.3f} s "
                  f"{1e6 * seconds / count:8.2f} us each")


def compare(folder, client, count, chunk):
    job = store_of(folder, count, chunk)
    here, there = [], []
    options = {"restart": True, "progress": False}
    job.solve(client, **options)
    for _ in range(5):
        here.append(timed(lambda: job.solve(threads=2, **options)))
        there.append(timed(lambda: job.solve(client, **options)))
    alone = timed(lambda: job.store.solve(job.store.parts(0), 1))
    print(f"{count} problems in a store, chunks of {chunk} ({1e3 * alone:.0f} ms), medians: two "
          f"threads {median(here):.3f} s, two workers {median(there):.3f} s, "
          f"{median(here) / median(there):.2f} of the throughput")
    shutil.rmtree(job.store.location)


def scaling(folder, clusters, sizes, tasks, most):
    print(f"\n{'chunk':>6} {'problems':>9} {'threads: 1':>12} {'2':>10} {'workers: 1':>12} "
          f"{'2':>10}   us each")
    options = {"restart": True, "progress": False}
    points = []
    for chunk in sizes:
        count = min(tasks * chunk, most)
        job = store_of(folder, count, chunk)
        row = [timed(lambda: job.solve(threads=k, **options)) for k in (1, 2)]
        row += [timed(lambda: job.solve(client, chunk=chunk, **options)) for client in clusters]
        points.append((chunk, row[2] * chunk / count))
        each = [1e6 * seconds / count for seconds in row]
        print(f"{chunk:6} {count:9} {each[0]:12.2f} {each[1]:10.2f} {each[2]:12.2f} "
              f"{each[3]:10.2f}")
        shutil.rmtree(job.store.location)
    chunks, seconds = np.array(points).T
    weights = 1 / seconds
    a, b = np.linalg.lstsq(np.c_[weights, weights * chunks], np.ones(len(chunks)), rcond=None)[0]
    print(f"one worker: {1e3 * a:.2f} ms per task and {1e6 * b:.2f} us per problem")
    return a, b


def dispatch(client, count):
    """Seconds of the scheduler and the client for an empty task."""
    begin = time.perf_counter()
    client.gather([client.submit(int, k, pure=False) for k in range(count)])
    return (time.perf_counter() - begin) / count


def main():
    from distributed import Client, LocalCluster

    parser = argparse.ArgumentParser(description=__doc__.split("\n", 1)[0])
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("folder", nargs="?")
    given = parser.parse_args()
    in_memory(100_000 if given.quick else 1_000_000)
    options = {"threads_per_worker": 1, "dashboard_address": ":0"}
    with tempfile.TemporaryDirectory(dir=given.folder) as folder, \
            LocalCluster(n_workers=1, **options) as one, Client(one) as first, \
            LocalCluster(n_workers=2, **options) as two, Client(two) as second:
        compare(folder, second, 280_000 if given.quick else 2_240_000, 28_000)
        a, b = scaling(folder, (first, second), (1, 10, 100, 1000, 10_000),
                       20 if given.quick else 60, 300_000)
        s = dispatch(second, 200 if given.quick else 1000)
        print(f"scheduler and client: {1e3 * s:.2f} ms per empty task")
        for workers in (2, 100):
            least = max(workers * s - a, 0) / b
            print(f"{workers} workers are busy from {least:.0f} problems per task on; 95 % of their "
                  f"time is solving from {max(19 * a / b, least):.0f} on")


if __name__ == "__main__":
    main()

"""Batches in a store: resumed, distributed, damaged, killed; with threads and with a real cluster."""

import os
import shutil
import signal
import subprocess
import sys
import time

import numpy as np
import pytest

import activeset

zarr = pytest.importorskip("zarr")
from activeset import batch  # noqa: E402
from activeset.__main__ import main  # noqa: E402


def parts_of(count, n=3, seed=0):
    rng = np.random.default_rng(seed)
    root = rng.normal(size=(count, n, n))
    return {"P": root @ root.transpose(0, 2, 1) + np.eye(n), "q": rng.normal(size=(count, n)),
            "G": rng.normal(size=(n, n)), "h": rng.random((count, n)), "lb": np.full(n, -1.0)}


def make(folder, count=50, chunk=8, n=3, **options):
    parts = parts_of(count, n)
    return batch.create(str(folder), **parts, chunk=chunk, **options), parts


def outputs(job):
    return {name: array[:] for name, array in job.store.outputs.items()}


def assert_same(left, right):
    assert left.keys() == right.keys()
    for name, array in left.items():
        np.testing.assert_array_equal(array, right[name])


@pytest.mark.parametrize("kind", ["folder", "dictionary", "memory://activeset", "file://"])
def test_a_store_gives_what_memory_gives(tmp_path, kind):
    place = str(tmp_path / "s.zarr")
    if kind == "dictionary":
        place = zarr.MemoryStore()  # this store might keep arrays that are used again
    elif kind != "folder":
        pytest.importorskip("fsspec")
        place = kind + place
    parts = parts_of(50)
    job = batch.create(place, **parts, chunk=8)
    assert job.progress() == (0, 7) and (job.status == -1).all()
    r = job.solve(threads=2).result()
    plain = activeset.solve_batch(**parts)
    for name in ("x", "y", "z", "z_box", "obj", "status", "certificate", "iterations"):
        np.testing.assert_array_equal(getattr(r, name), getattr(plain, name))
    assert batch.open(place).summary() == plain.summary()
    np.testing.assert_array_equal(job.problem(-1).solve().x, plain.problem(49).solve().x)
    assert "7 done, 50 optimal" in repr(job)
    for ask, text in ((lambda: job.problem(50), "no problem 50"),
                      (lambda: job.result([7]), "no chunk 7, only 7")):
        with pytest.raises(IndexError, match=text):
            ask()


def test_inputs_may_be_dask_arrays_memory_maps_and_zarr_arrays(tmp_path):
    dask_array = pytest.importorskip("dask.array")
    parts = parts_of(20)
    np.save(tmp_path / "q.npy", parts["q"])
    given = {**parts, "P": dask_array.from_array(parts["P"], chunks=(7, 3, 3)),
             "q": np.load(tmp_path / "q.npy", mmap_mode="r"), "h": zarr.array(parts["h"])}
    r = batch.create(str(tmp_path / "s.zarr"), **given, chunk=6).solve().result()
    np.testing.assert_array_equal(r.x, activeset.solve_batch(**parts).x)
    np.testing.assert_array_equal(
        activeset.solve_batch(**{**given, "P": parts["P"], "h": parts["h"]}).x, r.x)


def test_only_what_is_missing_is_done(tmp_path, capsys):
    job, _ = make(tmp_path / "s.zarr", chain=4, outputs=["x"])
    job.solve(shard=(2, 3))
    assert job.store.done() == [1, 4]
    marked = job.store.outputs["x"]
    marked[8:16] = 7.0  # chunk 1, which must not be touched
    for wrong in ("2/3", (0, 3), (1.5, 3), (1, 2, 3)):
        with pytest.raises(ValueError, match="expected .i, N."):
            job.solve(shard=wrong)
    with pytest.raises(batch.BatchError, match="2 of 7 chunks are done"):
        job.solve(resume=False)
    assert main(["batch", str(tmp_path / "s.zarr")]) == 2
    assert "2 of 7" in capsys.readouterr().err
    assert main(["batch", str(tmp_path / "s.zarr"), "--resume", "--jobs", "1"]) == 0
    assert "50 optimal" in capsys.readouterr().out
    assert (marked[8:16] == 7.0).all() and (marked[:8] != 7.0).all()
    assert main(["batch", str(tmp_path / "s.zarr"), "--restart"]) == 0
    assert (marked[8:16] != 7.0).all()


def test_damage_is_said_and_nothing_is_overwritten(tmp_path):
    job, _ = make(tmp_path / "s.zarr")
    folder = tmp_path / "s.zarr"
    with pytest.raises(batch.BatchError, match="exists"):
        make(folder)
    (folder / "inputs" / "q" / "2.0").write_bytes(b"short")
    with pytest.raises(batch.BatchError, match="inputs/q, chunk 2, is cut short"):
        job.solve()
    assert job.store.done() == [0, 1]
    (folder / "inputs" / "q" / "2.0").unlink()
    with pytest.raises(batch.BatchError, match="inputs/q has no chunk 2"):
        job.solve()
    mark = dict(zarr.open_group(str(folder)).attrs["activeset_batch"])
    zarr.open_group(str(folder)).attrs["activeset_batch"] = {**mark, "version": 2}
    with pytest.raises(batch.BatchError, match="version 2"):
        batch.open(str(folder))
    zarr.open_group(str(tmp_path / "other.zarr"))
    for name in ("other.zarr", "none.zarr"):
        with pytest.raises(batch.BatchError, match=f"no .*{name}|{name} is no"):
            batch.open(str(tmp_path / name))
        assert main(["batch", str(tmp_path / name)]) == 2
    for wrong in ({"chunk": 0}, {"chunk": 6, "chain": 4}, {"outputs": ["w"]}):
        with pytest.raises(ValueError):
            make(tmp_path / "wrong.zarr", **{"chunk": 8, **wrong})


class FullDisk(zarr.storage.DirectoryStore):
    """A store on a disk that is full after twelve arrays of outputs."""

    room = 12

    def __setitem__(self, key, value):
        if key.startswith("outputs") and key[-1].isdigit():
            self.room -= 1
            if self.room < 0:
                raise OSError(28, "No space left on device")
        super().__setitem__(key, value)


def test_a_full_disk_leaves_what_is_done(tmp_path):
    whole, _ = make(tmp_path / "whole.zarr")
    make(tmp_path / "s.zarr")
    job = batch.open(FullDisk(str(tmp_path / "s.zarr")))
    with pytest.raises(batch.BatchError, match="No space left.*stay done"):
        job.solve()
    assert job.store.done() == [0]  # eight arrays per chunk
    assert_same(outputs(batch.open(str(tmp_path / "s.zarr")).solve()), outputs(whole.solve()))


def run_until(done, folder, job):
    """Starts the command line on a store; returns the process when a number of chunks are done."""
    child = subprocess.Popen([sys.executable, "-m", "activeset", "batch", str(folder), "--jobs", "1",
                              "--resume"], stdout=subprocess.DEVNULL)
    while len(job.store.done()) < done and child.poll() is None:
        time.sleep(0.005)
    return child


def test_a_driver_that_is_killed_is_resumed(tmp_path):
    whole, _ = make(tmp_path / "whole.zarr", 10_000, 20, 8)
    job, _ = make(tmp_path / "s.zarr", 10_000, 20, 8)
    child = run_until(10, tmp_path / "s.zarr", job)
    child.kill()
    child.wait()
    done = len(job.store.done())
    assert 10 <= done < 500
    assert_same(outputs(job.solve()), outputs(whole.solve()))


@pytest.fixture
def cluster():
    distributed = pytest.importorskip("distributed")
    options = {"n_workers": 2, "threads_per_worker": 1, "dashboard_address": None}
    with distributed.LocalCluster(**options) as cluster, distributed.Client(cluster) as client:
        yield cluster, client


def test_a_cluster_gives_the_same_bits_though_a_worker_is_killed(tmp_path, cluster):
    _, client = cluster
    whole, _ = make(tmp_path / "whole.zarr", 30_000, 100, 10)
    job, _ = make(tmp_path / "s.zarr", 30_000, 100, 10)
    first, second = client.run(os.getpid).values()
    assert first != second
    killer = killer_of(first, job)
    job.solve(client)
    assert 5 <= int(killer.communicate()[0]) < 300
    assert_same(outputs(job), outputs(whole.solve()))
    for seed in (0, 1):  # the workers know the first problem; the second has another G
        shutil.rmtree(tmp_path / "again.zarr", ignore_errors=True)
        parts = parts_of(50, seed=seed)
        again = batch.create(str(tmp_path / "again.zarr"), **parts, chunk=8).solve(client, chunk=20)
        np.testing.assert_array_equal(again.result().x, activeset.solve_batch(**parts).x)
    (tmp_path / "s.zarr" / "outputs" / "status" / "5").unlink()
    (tmp_path / "s.zarr" / "inputs" / "q" / "5.0").write_bytes(b"")
    with pytest.raises(batch.BatchError, match="cut short"):
        job.solve(client)


@pytest.mark.parametrize("seconds", [1e-5, 0.08, 3.0])
def test_chunks_are_dealt_out_once_and_so_that_no_worker_waits_for_another(seconds):
    pytest.importorskip("distributed")
    from activeset.batch._cluster import _Shares

    chunks = list(range(3, 1003))
    shares, tasks = _Shares(chunks, None), []
    while shares.left:
        tasks.append(shares.take(4))
        if shares.wants_times(4):
            shares.times.append(seconds)
    assert sum(tasks, []) == chunks
    for at, task in enumerate(tasks[1:], 1):
        assert len(task) == 1 or len(task) * seconds <= 1.0 + seconds
        # The other threads are busy for as long with the rest, except for 50 ms.
        assert len(task) * seconds <= 0.05 + seconds + seconds * len(sum(tasks[at + 1:], [])) / 3


KILLER = """
import os, pathlib, signal, sys, time
status = pathlib.Path(sys.argv[1], "outputs", "status")
print("ready", flush=True)
while sum(name.name.isdigit() for name in status.iterdir()) < 5:
    time.sleep(0.002)
os.kill(int(sys.argv[2]), signal.SIGKILL)
print(len(list(status.iterdir())))
"""


def killer_of(process, job):
    """A process, already watching, that kills another one when five chunks are done."""
    killer = subprocess.Popen([sys.executable, "-c", KILLER, job.store.location, str(process)],
                              stdout=subprocess.PIPE)
    assert killer.stdout.readline() == b"ready\n"
    return killer


def test_without_its_scheduler_a_job_ends_with_an_error(tmp_path):
    distributed = pytest.importorskip("distributed")
    job, _ = make(tmp_path / "s.zarr", 50_000, 50, 10)
    module = [sys.executable, "-m", "distributed.cli"]
    scheduler = subprocess.Popen(
        [*module[:2], "distributed.cli.dask_scheduler", "--port", "0", "--no-dashboard",
         "--scheduler-file", str(tmp_path / "scheduler.json")],
        stderr=subprocess.DEVNULL)
    while not (tmp_path / "scheduler.json").exists():
        assert scheduler.poll() is None
        time.sleep(0.05)
    worker = subprocess.Popen(
        [*module[:2], "distributed.cli.dask_worker", "--no-nanny", "--no-dashboard", "--nthreads",
         "1", "--scheduler-file", str(tmp_path / "scheduler.json"), "--death-timeout", "5",
         "--local-directory", str(tmp_path)], stderr=subprocess.DEVNULL)
    client = distributed.Client(scheduler_file=str(tmp_path / "scheduler.json"))
    try:
        client.wait_for_workers(1)
        killer = killer_of(scheduler.pid, job)
        with pytest.raises(batch.BatchError, match="scheduler has gone"):
            job.solve(client)
        killer.communicate()
        assert killer.returncode == 0
    finally:
        client.close(timeout=1)  # otherwise it waits for the scheduler to come back
        for child in (worker, scheduler):
            child.send_signal(signal.SIGKILL)
            child.wait()
    assert 5 <= len(job.store.done()) < job.store.chunks
    assert job.solve().progress() == (1000, 1000)

"""Signals, callbacks, processes and memory, during one solve and after many."""

import gc
import multiprocessing
import os
import subprocess
import sys
import textwrap
import threading
import weakref

import numpy as np
import pytest

import activeset
from conftest import problem

LONG = """
    import os, signal, threading, time
    import numpy as np
    import activeset

    def long_problem(n):
        rng = np.random.default_rng(0)
        root = rng.normal(size=(n, n))
        return activeset.Problem(root @ root.T / n + 1e-6 * np.eye(n), rng.normal(size=n),
                                 rng.normal(size=(2 * n, n)), rng.random(2 * n))

    sent = []
    def send():
        sent.append(time.monotonic())
        os.kill(os.getpid(), signal.SIGINT)

    def interrupted(work, after=0.1):
        timer = threading.Timer(after, send)
        timer.start()
        try:
            work()
        except KeyboardInterrupt:
            print(time.monotonic() - sent[-1])
            return True
        timer.cancel()
        return False
"""


def run(body, *options, **environment):
    """The lines that a child process prints."""
    code = textwrap.dedent(LONG) + textwrap.dedent(body)
    child = subprocess.run([sys.executable, *options, "-c", code], capture_output=True, text=True,
                           timeout=300, env={**os.environ, **environment}, check=False)
    assert child.returncode == 0, child.stderr
    return child.stdout.split()


@pytest.mark.parametrize("work", [
    "activeset.solve_qp(p.P, p.q, p.G, p.h, settings=cold)",
    "activeset.Solver(p, settings=cold).solve()",
    "activeset.solve_many([p] * 50, settings=cold, progress=False)",
    "activeset.solve_many([small] * 100000, progress=False)",
    "activeset.solve_batch(small.P, many, small.G, small.h, progress=False)",
    "activeset.nnls(np.tile(p.P, (9, 1)), np.arange(8100.0))",
    "activeset.solve_qp(p.P, p.q, p.G, p.h, settings=cold, callback=lambda _: None)",
])
def test_ctrl_c_ends_a_long_solve_within_50_ms(work):
    times = run(f"""
        p, cold = long_problem(900), activeset.Settings(start="cold")
        small = long_problem(40)  # 100000 of them take seconds
        many = np.broadcast_to(small.q, (200000, 40))
        for _ in range(4):
            assert interrupted(lambda: {work}), "was too short"
        r = activeset.solve_qp(np.eye(2), [-2.0, -3.0], [1.0, 1.0], [3.0])
        assert r.found and r.x[0] == 1.0
    """)
    assert min(map(float, times)) < 0.05


def test_a_solver_goes_on_after_ctrl_c():
    run("""
        s = activeset.Solver(long_problem(700), settings=activeset.Settings(start="cold"))
        assert interrupted(s.solve)
        s.update(lb=np.zeros(700), ub=np.zeros(700))
        assert abs(s.solve().x).max() == 0.0
    """)


def test_a_handler_that_does_not_raise_lets_the_solve_go_on():
    assert run("""
        heard = []
        signal.signal(signal.SIGINT, lambda *_: heard.append(1))
        p = long_problem(400)
        threading.Timer(0.02, send).start()
        r = p.solve(settings=activeset.Settings(start="cold"))
        time.sleep(0.05)
        print(r.status, len(heard))
    """) == ["optimal", "1"]


@pytest.mark.parametrize("n", [4, 200])  # on this thread, and on another one
def test_a_callback_hears_of_passes_may_stop_and_may_raise(n):
    assert (n * n > activeset._core.LONG_SOLVE) == (n == 200)
    parts = problem(1, n, 5, 1)
    heard = []
    r = activeset.solve_qp(**parts, callback=heard.append)
    assert r.found and heard and threading.current_thread() is threading.main_thread()
    assert [p.iteration for p in heard] == sorted(p.iteration for p in heard)
    assert heard[-1].objective == pytest.approx(r.obj)
    stopped = activeset.solve_qp(**parts, callback=lambda p: p.iteration < 2)
    assert stopped.status == "interrupted"

    class Mine(Exception):
        pass

    raised = Mine("whole")

    def fail(_):
        raise raised

    with pytest.raises(Mine) as caught:
        activeset.solve_qp(**parts, callback=fail)
    assert caught.value is raised and caught.traceback[-1].name == "fail"

    def nested(_):
        activeset.solve_qp([[1.0]], [1.0])

    with pytest.raises(RuntimeError, match="callback"):
        activeset.solve_qp(**parts, callback=nested)
    s = activeset.Solver(activeset.Problem(**parts), callback=fail)
    for _ in range(2):
        with pytest.raises(Mine):
            s.solve()
    assert activeset.solve_qp(**parts).found


def test_what_a_progress_function_raises_ends_solve_many():
    def fail(done, of):
        raise LookupError("enough")

    with pytest.raises(LookupError, match="enough"):
        activeset.solve_many([activeset.Problem(**problem(1))] * 20000, progress=fail)


def solved(seed):
    return activeset.solve_qp(**problem(seed))


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_processes_work_after_a_solve(method):
    activeset.solve_qp(**problem(0, 200, 5, 1))  # now a thread waits in this process
    activeset.solve_many([activeset.Problem(**problem(1))] * 4)
    context = multiprocessing.get_context(method)
    with context.Pool(2) as pool:
        results = pool.map(solved, range(6))
    for seed, r in enumerate(results):
        np.testing.assert_array_equal(r.x, solved(seed).x)
    child = os.fork()
    if child == 0:
        found = activeset.solve_qp(**problem(0, 200, 5, 1)).found
        activeset._core.end_tasks()
        os._exit(0 if found else 1)
    assert os.waitpid(child, 0)[1] == 0


def resident():
    with open("/proc/self/statm", encoding="ascii") as file:
        return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def test_many_calls_leave_neither_references_nor_memory():
    parts = problem(1, 3, 2, 1)
    wrong = {**parts, "q": np.full(3, np.nan)}
    p = activeset.Problem(**parts)
    s = activeset.Solver(p)

    def calls(count):
        for _ in range(count):
            r = activeset.solve_qp(**parts, x0=parts["lb"])
            r.x, r.z, r.working_set, r.certificate, r.message
            s.update(q=parts["q"])
            s.solve()
        for _ in range(count // 50):
            repr(r)
            activeset.solve_many([p, p])
            p.solve(warm_start=r, names=["a", "b", "c"])
            for call in (lambda: activeset.solve_qp(**wrong), lambda: s.update(h=3, q=None),
                         lambda: activeset.solve_qp(parts["P"], 1j)):
                with pytest.raises(activeset.ProblemError):
                    call()

    calls(5000)
    gc.collect()
    counts, before = [sys.getrefcount(part) for part in parts.values()], resident()
    calls(50000)
    gc.collect()
    assert [sys.getrefcount(part) for part in parts.values()] == counts
    assert resident() - before < 4 << 20


def test_a_solver_in_a_cycle_is_collected():
    class Listener:
        def __call__(self, _):
            return None

    listener = Listener()
    listener.solver = activeset.Solver(activeset.Problem([[1.0]], [1.0]), callback=listener)
    gone = weakref.ref(listener)
    del listener
    gc.collect()
    assert gone() is None


def test_the_debug_allocator_finds_nothing():
    assert run("""
        p = long_problem(20)
        for _ in range(200):
            r = activeset.solve_qp(p.P, p.q, p.G, p.h)
            x, f = r.x, r.working_set
            repr(r), r.to_dict()
            s = activeset.Solver(p); s.solve(); s.update(q=-p.q); s.solve()
            try:
                activeset.solve_qp(p.P, p.q * np.nan)
            except activeset.ProblemError:
                pass
        long_problem(150).solve(callback=lambda _: None)
        print(len(activeset.solve_many([p] * 50)))
    """, "-X", "dev", PYTHONMALLOC="debug") == ["50"]


def test_another_interpreter_of_the_process_is_refused():
    pytest.importorskip("_xxsubinterpreters")
    printed = run("""
        import _xxsubinterpreters as interpreters
        other = interpreters.create()
        try:
            interpreters.run_string(other, "import activeset")
        except interpreters.RunFailedError as error:
            print("refused" if "ImportError" in str(error) else error)
        print(activeset.solve_qp([[1.0]], [-1.0]).x[0])
    """)
    assert printed[0] == "refused" and printed[-1] == "1.0"

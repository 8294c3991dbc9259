"""Calls everything public with arguments of all kinds: fuzz_arguments.py SECONDS [SEED]

A crash is a defect, and so is an exception that is not one of Python's for bad arguments. Runs of more
than a minute write each call to fuzz_arguments.last in the folder for temporary files before they make it.
"""

import functools
import pathlib
import random
import sys
import tempfile
import time
import warnings

import numpy as np
import scipy.sparse

import activeset
from activeset.compat import qpsolvers, quadprog

EXPECTED = (ValueError, TypeError, AttributeError, OverflowError, activeset.SolveError, RuntimeError,
            MemoryError, IndexError, KeyError, np.linalg.LinAlgError)
SMALL = activeset.Settings(max_iterations=200, time_limit=0.2)


class Odd:
    """An object whose special methods all return or raise something strange."""

    def __array__(self, dtype=None):
        raise random.choice(EXPECTED)("odd")

    def __float__(self):
        return float("nan")

    def __getattr__(self, name):
        if name.startswith("__"):
            raise AttributeError(name)
        return random.choice([None, 3, [], self, np.ones(2)])


def number(rng):
    return rng.choice([0.0, 1.0, -1.0, 0.5, 1e-300, 1e300, np.inf, -np.inf, np.nan, 1e20,
                       rng.normalvariate(0, 1)])


def array(rng, n):
    shape = rng.choice([(n, n), (n,), (rng.randint(0, 3), n), (rng.randint(0, 3),), (),
                        (1, n), (n, 1), (0, n), (n, 0), (2, 2, 2)])
    size = int(np.prod(shape))
    if rng.random() < 0.2:
        values = np.array([number(rng) for _ in range(size)]).reshape(shape)
    else:
        values = np.array([rng.normalvariate(0, 1) for _ in range(size)]).reshape(shape)
    if len(shape) == 2 and shape[0] == shape[1] and rng.random() < 0.7:
        values = values @ values.T
    kind = rng.randrange(14)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        if kind < 5:
            return values
        if kind == 5:
            return np.asfortranarray(values)
        if kind == 6:
            return values[..., ::-1]
        if kind == 7:
            return values.astype(rng.choice([np.float32, np.complex128, object, ">f8", np.float16]))
        if kind == 8:
            return np.ma.masked_array(values)
        if kind == 9:
            return values.tolist()
        if kind == 10:
            return scipy.sparse.csr_matrix(values) if len(shape) == 2 else values
        if kind == 11:
            return np.broadcast_to(np.float64(number(rng)), shape)
        if kind == 12:
            return np.lib.stride_tricks.as_strided(
                values, shape, [8 * rng.choice([0, 1]) for _ in shape])
        return np.nan_to_num(values).astype(rng.choice([np.int64, np.uint8, bool]))


def thing(rng, n):
    return rng.choice([
        None, 0, 1, -1, 2**70, 1.5, "text", b"bytes", (), [], {}, object(), Odd(), np.float64(1),
        np.array(["a"]), float, lambda *_: False, iter([1]), slice(1), np.ones(3).data, SMALL,
        activeset.WarmStart(np.ones(n)), activeset.Settings(rng.choice(["x", None, 2.0, 1e-3])),
        range(3), [[1, 2], [3]], [None] * n, True, np.datetime64("now"), np.empty((n, n), "V8")])


def value(rng, n):
    return array(rng, n) if rng.random() < 0.8 else thing(rng, n)


def problem(rng, n):
    """The parts of a solvable problem, some of which are replaced by anything."""
    root = np.random.default_rng(rng.randrange(10**6)).normal(size=(n, n))
    parts = {"P": root @ root.T, "q": root[0], "G": root[:2], "h": np.ones(len(root[:2])),
             "lb": -np.ones(n), "ub": np.ones(n)}
    if rng.random() < 0.3:
        parts["A"], parts["b"] = root[-1], 0.0
    for _ in range(rng.choice([0, 1, 1, 2])):
        parts[rng.choice(["P", "q", "G", "h", "A", "b", "lb", "ub", "l", "x0", "constant", "names",
                          "row_names", "soft"])] = value(rng, n)
    if rng.random() < 0.2:
        side = rng.choice(["h", "l", "b", "lb", "ub", "x"])
        parts["soft"] = {side: rng.choice([1.0, (0.5, 1.0), value(rng, n), (value(rng, n), None)])}
    return parts


def options(rng, n):
    given = {"settings": SMALL}
    for name in ("warm_start", "settings", "callback"):
        if rng.random() < 0.15:
            given[name] = thing(rng, n)
    return given


def use(result):
    if isinstance(result, activeset.Result):
        for name in dir(result):
            if not name.startswith("__") and not callable(getattr(result, name)):
                getattr(result, name)
        repr(result), result.to_dict(), result._repr_html_()


def one_problem(rng, n, parts):
    yield "solve_qp", parts
    use(activeset.solve_qp(**{"P": None, "q": None, **parts, **options(rng, n)}))


def positions(rng, n, _):
    function = rng.choice([activeset.solve_qp, activeset.linprog, activeset.nnls, activeset.lsq_linear,
                           activeset.solve_ls, quadprog.solve_qp, qpsolvers.solve_qp,
                           qpsolvers.solve_problem])
    given = [value(rng, n) for _ in range(rng.randint(1, 8))]
    yield function.__name__, given
    if function is activeset.solve_qp:
        function = functools.partial(function, settings=SMALL)
    use(function(*given))


def restored(rng, n, _):
    state = activeset.solve_qp(np.eye(2), np.ones(2), lb=np.zeros(2)).__reduce__()[1][1]
    state[rng.choice(list(state))] = value(rng, n)
    yield "restore", state
    use(activeset._core.restore(state))


def batch(rng, n, parts):
    count = rng.randint(0, 3)
    given = {name: np.stack([part] * count) if count and rng.random() < 0.4 and isinstance(
        part, np.ndarray) else part for name, part in parts.items() if name != "names"}
    out = rng.choice([None, ["x", "z"], {"x": value(rng, n)}, value(rng, n)])
    yield "solve_batch", (given, out)
    r = activeset.solve_batch(**{"P": None, "q": None, **given}, out=out, settings=SMALL,
                              threads=rng.choice([1, 2]), chain=rng.choice([0, 2]))
    repr(r), r.summary(), r.failed, r.problem(0)
    changes = [value(rng, n) for _ in range(rng.randint(1, 4))]
    yield "BatchResult.backward", (given, changes)
    r.backward(*changes, threads=rng.choice([1, 2]))


def kept(parts):
    p = activeset.Problem(**{"P": None, "q": None, **parts})
    p.faults()
    return p


def sequence(rng, n, parts):
    yield "Problem", parts
    s = activeset.Solver(kept(parts), settings=SMALL)
    for _ in range(4):
        name = rng.choice(["P", "q", "G", "h", "A", "b", "lb", "ub", "l", "constant"])
        change = value(rng, n)
        yield name, change
        try:
            s.update(**{name: change})
            use(s.solve())
            s.restart(thing(rng, n))
        except EXPECTED:
            pass


def analysis(rng, n, parts):
    yield "Problem", parts
    p = kept(parts)
    function = rng.choice([activeset.relax, activeset.diagnose, activeset.path,
                           activeset.ranges, activeset.regions, activeset.Sensitivity])
    r = activeset.solve_qp(**{"P": None, "q": None, **parts}, settings=SMALL)
    first = [r, p] if function in (activeset.ranges, activeset.Sensitivity) else [p]
    more = [value(rng, n) for _ in range(rng.randint(0, 3))]
    if function is activeset.regions:
        more = [value(rng, n), (value(rng, n), value(rng, n)), *more]
    elif function is activeset.path and rng.random() < 0.7:
        more = [0.0, rng.choice([1.0, 1e3, number(rng)])]
        function = functools.partial(function, **{rng.choice(["q", "h", "lb"]): value(rng, n)})
    yield str(function), (parts, more)
    found = function(*first, *more)
    if isinstance(found, activeset.Sensitivity):
        found.backward(*[value(rng, n) for _ in range(rng.randint(1, 4))])


def many(rng, n, parts):
    yield "Problem", parts
    p = kept(parts)
    activeset.explain_infeasibility(p, settings=SMALL)
    results = activeset.solve_many([p, p.replace(q=value(rng, n)), p], rng.choice([0, 1, 2]),
                                   rng.choice([0, 2]), settings=SMALL)
    for r in results:
        use(r)


def once(rng):
    """Makes one call; first yields its description, to be reported after a crash."""
    n = rng.randint(1, 5)
    parts = problem(rng, n)
    call = rng.choice([one_problem, one_problem, one_problem, positions, positions, restored, batch,
                       sequence, analysis, many])
    yield from call(rng, n, parts)


def fuzz(seconds, seed):
    last = pathlib.Path(tempfile.gettempdir()) / "fuzz_arguments.last"
    end, count = time.monotonic() + seconds, 0
    np.seterr(all="ignore")
    warnings.simplefilter("ignore")
    while time.monotonic() < end:
        rng = random.Random(f"{seed} {count}")
        random.seed(count)
        try:
            for call in once(rng):
                if seconds > 60:
                    last.write_text(f"{seed} {count} {call!r}", encoding="utf-8")
        except EXPECTED as error:
            if isinstance(error, RuntimeError) and "conversion" in str(error):
                raise
        count += 1
    return count


if __name__ == "__main__":
    print(fuzz(float(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 1), "calls")

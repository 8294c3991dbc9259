"""Derivatives compared with differences, ranges and paths compared with solves."""

import ctypes
import subprocess

import numpy as np
import pytest

import activeset
from conftest import problem

NAMES = ("P", "q", "G", "h", "A", "b", "lb", "ub", "l")


def change(parts, seed):
    rng = np.random.default_rng(seed)
    moved = {name: rng.normal(size=np.shape(value)) for name, value in parts.items()}
    moved["P"] = moved["P"] + moved["P"].T
    return moved


def test_derivatives_are_those_of_differences():
    compared = 0
    for seed in range(60):
        parts = problem(seed)
        p = activeset.Problem(**parts)
        r = p.solve(settings=activeset.Settings(keep_factors=seed % 2 == 0))
        s = activeset.Sensitivity(r, p)
        d = change(parts, seed)
        step = 1e-5
        near = [activeset.Problem(**{k: parts[k] + t * d[k] for k in parts}).solve()
                for t in (-step, step)]
        if s.derivative != "full" or any(o.working_set != r.working_set for o in near):
            continue
        compared += 1
        loss = change({"x": r.x, "z": r.z, "y": r.y, "z_box": r.z_box, "P": np.eye(1)}, seed)
        difference = sum(loss[k] @ (getattr(near[1], k) - getattr(near[0], k)) / (2 * step)
                         for k in ("x", "z", "y", "z_box"))
        g = s.backward(loss["x"], loss["z"], loss["y"], loss["z_box"])
        assert sum(np.sum(getattr(g, k) * d[k]) for k in NAMES) == pytest.approx(difference, 1e-6)
        x, z, y, z_box = s.forward(**d)
        both = loss["x"] @ x + loss["z"] @ z + loss["y"] @ y + loss["z_box"] @ z_box
        assert both == pytest.approx(difference, 1e-6)
        many = s.backward(np.column_stack((loss["x"], 2 * loss["x"])))
        np.testing.assert_allclose(many.G[..., 1], 2 * s.backward(loss["x"]).G, atol=1e-12)
    assert compared >= 40


def test_derivatives_beside_weakly_held_and_dependent_rows():
    met = set()
    step = 1e-6
    for seed in range(200):
        rng = np.random.default_rng(seed)
        root = rng.integers(-2, 3, size=(5, 5)).astype(float)
        P = root @ root.T + np.eye(5)
        x0, row = rng.integers(-3, 4, size=5), rng.integers(1, 4, size=5).astype(float)
        loss, dq = rng.normal(size=(2, 5))
        is_weak = seed % 2 == 0
        # The free minimum x0 is on the side of the row, or beyond an equality that is given twice.
        G, h = (row[None], np.array([row @ x0])) if is_weak else (None, None)
        db = np.array([1.0, 2])
        A, b = (None, None) if is_weak else (np.outer(db, row), (row @ x0 - 2) * db)

        def moved(t):
            return activeset.solve_qp(P, t * dq - P @ x0, G, h, A, None if is_weak else b + t * db)

        r = moved(0.0)
        s = activeset.Sensitivity(r, activeset.Problem(P, -P @ x0, G, h, A, b))
        g = s.backward(loss)
        met.add(s.derivative)
        if is_weak:  # in the direction in which the active constraints stay active
            ends = [(t, moved(t)) for t in (-step, step)]
            t, end = next(e for e in ends if e[1].working_set == r.working_set)
            assert g.q @ dq == pytest.approx(loss @ (end.x - r.x) / t, rel=1e-6, abs=1e-6)
        else:
            difference = loss @ (moved(step).x - moved(-step).x) / (2 * step)
            assert g.q @ dq + g.b @ db == pytest.approx(difference, rel=1e-6, abs=1e-6)
    assert met == {"one-sided", "least-squares"}


def shared_batch(count=7):
    """Problems that share G and A; one of them is infeasible."""
    first = problem(3)
    rng = np.random.default_rng(3)
    parts = {name: first[name] for name in ("G", "A", "lb")}
    for name in ("P", "q", "h", "b", "ub"):
        parts[name] = np.stack([first[name]] * count)
    parts["q"] = parts["q"] + rng.normal(size=parts["q"].shape)
    parts["ub"][-2] = parts["lb"] - 1.0
    return parts, rng


def test_a_batch_has_the_derivatives_of_its_problems():
    parts, rng = shared_batch()
    r = activeset.solve_batch(**parts, progress=False)
    loss = {name: rng.normal(size=getattr(r, name).shape) for name in ("x", "z", "y", "z_box")}
    g = r.backward(loss["x"], loss["z"], loss["y"], loss["z_box"], threads=3)
    good = r.found
    assert good.sum() == len(r) - 1 and np.all(np.isnan(g.q[~good]))
    alone = []
    for k in np.flatnonzero(good):
        p = r.problem(k)
        alone.append(p.solve().backward(p, *(loss[name][k] for name in loss)))
    for name in ("P", "q", "h", "b", "ub"):
        own = np.stack([getattr(a, name) for a in alone])
        np.testing.assert_allclose(getattr(g, name)[good], own, atol=1e-9)
    all_good = {name: part[good] if len(part) == len(r) else part for name, part in parts.items()}
    g = activeset.solve_batch(**all_good, progress=False).backward(
        *(loss[name][good] for name in loss))
    for name in ("G", "A", "lb"):
        own = np.sum([getattr(a, name) for a in alone], axis=0)
        np.testing.assert_allclose(getattr(g, name), own, atol=1e-9)


def test_a_path_is_the_optimum_everywhere(parts):
    p = activeset.Problem(**parts)
    dq = 3 * np.arange(4.0)
    found = activeset.path(p, 0.0, 5.0, q=dq)
    assert found.status == "optimal" and found.end == 5.0
    t = np.linspace(0.0, 5.0, 50)
    for k, x, value in zip(t, found.x_at(t), found.objective_at(t)):
        r = p.replace(q=parts["q"] + k * dq).solve()
        np.testing.assert_allclose(x, r.x, atol=1e-9)
        assert value == pytest.approx(r.obj, 1e-9)
    pytest.importorskip("matplotlib").use("Agg")
    assert len(found.plot().lines) == 4


def test_an_explicit_law_is_the_optimum_everywhere(parts, tmp_path):
    p = activeset.Problem(**parts)
    rng = np.random.default_rng(1)
    F, rows = rng.normal(size=(4, 2)), 0.1 * rng.normal(size=(5, 2))
    law = activeset.regions(p, F, ([-2.0, -2.0], [2.0, 2.0]), h=rows)
    assert law.is_complete and len(law) > 3
    thetas = rng.uniform(-2.0, 2.0, size=(300, 2))
    for theta, k, x in zip(thetas, law.find(thetas), law.x(thetas)):
        r = p.replace(q=parts["q"] + F @ theta, h=parts["h"] + rows @ theta,
                      l=parts["l"] + rows @ theta).solve()
        assert r.found == (k >= 0)
        if r.found:
            np.testing.assert_allclose(x, r.x, atol=1e-8)
            np.testing.assert_allclose(law[k].gain @ theta + law[k].offset, x, atol=1e-12)
            assert np.all(law[k].E @ theta <= law[k].e + 1e-9)
    assert np.all(np.isnan(law.x([3.0, 0.0]))) and law.find([3.0, 0.0]) == -1
    (tmp_path / "both.c").write_text(law.to_c("law") + p.to_c("at_once"))
    subprocess.run(["cc", "-std=c99", "-shared", "-fPIC", "-o", tmp_path / "both.so",
                    tmp_path / "both.c", "-lm"], check=True)
    library = ctypes.CDLL(str(tmp_path / "both.so"))
    vector = np.ctypeslib.ndpointer(float, flags="C")
    library.law.argtypes, library.at_once.argtypes = [vector] * 2, [vector] * 6
    x = np.empty(4)
    assert library.law(thetas[0].copy(), x) == law.find(thetas[0])
    np.testing.assert_allclose(x, law.x(thetas[0]), atol=1e-12)
    sides = [np.concatenate((parts[side], parts["b"])) for side in ("l", "h")]
    assert library.at_once(parts["q"], *sides, parts["lb"], parts["ub"], x) == 0
    np.testing.assert_allclose(x, p.solve().x, atol=1e-9)


def test_wrong_arguments_are_named(parts):
    p = activeset.Problem(**parts)
    s = activeset.Sensitivity(p.solve(), p)
    with pytest.raises(ValueError, match="dx has 3 entries, expected 4"):
        s.backward(np.ones(3))
    with pytest.raises(ValueError, match="stop is 0, below start, 1"):
        activeset.path(p, 1, 0, q=np.ones(4))
    with pytest.raises(ValueError, match="q has the shape"):
        activeset.path(p, q=[1.0])
    r = p.solve()
    for call in (r.backward, r.sensitivity, activeset.explain_infeasibility, activeset.relax,
                 activeset.diagnose, activeset.path):
        with pytest.raises(TypeError, match=f"{call.__name__} takes a Problem first, not this Res"):
            call(r)
    with pytest.raises(ValueError, match="another problem"):
        activeset.Sensitivity(p.solve(), activeset.Problem(**problem(2)))
    with pytest.raises(ValueError, match="another problem"):
        p.solve().backward(activeset.Problem(**problem(2)), np.ones(4))
    batch = activeset.solve_batch(P=np.eye(2), q=np.ones((3, 2)), progress=False)
    with pytest.raises(ValueError, match=r"dx has the shape \(2,\), expected \(3, 2\)"):
        batch.backward(np.ones(2))
    with pytest.raises(ValueError, match="needs z, y, z_box"):
        activeset.solve_batch(P=np.eye(2), q=np.ones((3, 2)), out=["x"]).backward(np.ones((3, 2)))
    law = activeset.regions(p, np.ones((4, 1)), ([0.0], [1.0]))
    with pytest.raises(ValueError, match=r"expected \(1,\) or \(count, 1\)"):
        law.x([0.0, 1.0])
    with pytest.raises(ValueError, match="identifier"):
        law.to_c("1 2")
    with pytest.raises(ValueError, match=r"F has the shape \(3, 1\)"):
        activeset.regions(p, np.ones((3, 1)), ([0.0], [1.0]))
    with pytest.raises(ValueError, match="positive definite"):
        activeset.regions(activeset.Problem(None, [1.0], lb=[0.0]), [[1.0]], ([0.0], [1.0]))
    with pytest.raises(ValueError, match="not optimal"):
        bad = activeset.Problem(None, [0.0], lb=[1.0], G=[[1.0]], h=[0.0])
        activeset.ranges(bad.solve(), bad)


def test_a_layer_of_torch_passes_gradcheck():
    torch = pytest.importorskip("torch")
    from activeset.torch import QPFunction

    solve = QPFunction()
    torch.manual_seed(1)
    for seed in range(5):
        parts = problem(seed)
        given = [torch.tensor(parts[k][None].repeat(2, 0), requires_grad=True)
                 for k in ("P", "q", "G", "h", "A", "b")]
        symmetric = lambda P, *rest: solve((P + P.transpose(1, 2)) / 2, *rest)  # noqa: E731
        assert torch.autograd.gradcheck(symmetric, given, eps=1e-6, atol=1e-6)
    shared, _ = shared_batch(4)  # without lower bounds: they are no argument of the layer
    given = [torch.tensor(shared[k], requires_grad=True) for k in ("P", "q", "G", "h", "A", "b")]
    assert torch.autograd.gradcheck(symmetric, given, eps=1e-6, atol=1e-6)
    empty = torch.empty(0, dtype=torch.float64)
    P = torch.eye(2, dtype=torch.float64)
    q = torch.tensor([-1.0, 0.5], dtype=torch.float64, requires_grad=True)
    x = solve(P, q, empty, empty, empty, empty)
    (first,) = torch.autograd.grad(x.pow(2).sum(), q, create_graph=True)
    with pytest.raises(NotImplementedError, match="double backward"):
        torch.autograd.grad(first.sum(), q)

"""A backtest of minimum-variance portfolios: 500 rolling windows of 200 simulated markets.

Each day of each market is a problem of its own: the weights of ten assets, between 0 and 40 %, with
the least variance over the last 60 days. The 100 000 problems share their constraints and are one
call of `solve_batch`. The picture shows the weights in the first market and how fast the run went.

usage: /usr/bin/python3 examples/backtest.py [PICTURE.png]
"""

from __future__ import annotations

import sys
import time

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import activeset  # noqa: E402

MARKETS, DAYS, WINDOW, ASSETS, MOST = 200, 500, 60, 10, 0.4


def returns(rng: np.random.Generator) -> np.ndarray:
    """(markets, days, assets): one common factor and noise, whose sizes drift from day to day."""
    shape = (MARKETS, DAYS + WINDOW - 1)
    factor = rng.normal(size=(*shape, 1))
    exposure = rng.uniform(0.2, 1.2, size=(MARKETS, 1, ASSETS))
    volatility = np.exp(np.cumsum(0.05 * rng.normal(size=(*shape, ASSETS)), axis=1))
    return 0.01 * (exposure * factor + volatility * rng.normal(size=(*shape, ASSETS)))


def covariances(r: np.ndarray) -> np.ndarray:
    """(markets * days, assets, assets): those of the windows that end on each day."""
    products = np.cumsum(r[..., :, None] * r[..., None, :], axis=1)
    products[:, WINDOW:] = products[:, WINDOW:] - products[:, :-WINDOW]
    sums = np.cumsum(r, axis=1)
    sums[:, WINDOW:] = sums[:, WINDOW:] - sums[:, :-WINDOW]
    second, first = products[:, WINDOW - 1:] / WINDOW, sums[:, WINDOW - 1:] / WINDOW
    covariance = second - first[..., :, None] * first[..., None, :]
    return 1e4 * covariance.reshape(-1, ASSETS, ASSETS)  # in per cent, squared


def main(picture: str) -> None:
    P = covariances(returns(np.random.default_rng(0)))
    begin, told = time.perf_counter(), [(0.0, 0)]

    def progress(done: int, of: int) -> None:
        told.append((time.perf_counter() - begin, done))

    r = activeset.solve_batch(P, None, A=np.ones((1, ASSETS)), b=[1.0], lb=np.zeros(ASSETS),
                              ub=np.full(ASSETS, MOST), out=["x", "obj", "certificate"],
                              progress=progress)
    seconds = time.perf_counter() - begin
    told.append((seconds, len(r)))
    assert r.found.all(), r.summary()
    assert r.x is not None and np.allclose(r.x.sum(axis=1), 1)
    print(f"{len(r)} problems in {seconds:.2f} s, {1e6 * seconds / len(r):.1f} us each, all proved; "
          f"largest gap {r.residuals[:, 2].max():.1e}")

    figure, (left, right) = plt.subplots(1, 2, figsize=(11, 4))
    left.stackplot(np.arange(DAYS), r.x[:DAYS].T)
    left.set(title="Weights in the first market", xlabel="day", xlim=(0, DAYS - 1), ylim=(0, 1))
    times, done = np.array(told).T
    right.plot(times, done)
    right.set(title="Problems solved", xlabel="seconds", ylim=0, xlim=0)
    figure.tight_layout()
    figure.savefig(picture, dpi=120)
    print(f"the picture is {picture}")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "backtest.png")

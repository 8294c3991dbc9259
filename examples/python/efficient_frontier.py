"""The efficient frontier of forty assets, all of it, cell by cell.

    minimise x'Sx/2 - t mu'x   subject to   sum(x) = 1, 0 <= x <= 0.2

for every appetite t for return, from the least risk to the most return.
"""

# %% Assets: five common factors, and what is each asset's own
import numpy as np

import activeset

rng = np.random.default_rng(0)
loads = rng.normal(size=(40, 5))
S = loads @ loads.T + np.diag(0.5 + rng.random(40))
mu = 0.1 + 0.05 * rng.normal(size=40)
portfolio = activeset.Problem(S, np.zeros(40), A=np.ones((1, 40)), b=[1.0], lb=np.zeros(40),
                              ub=np.full(40, 0.2))

# %% The frontier: shares are linear in t between the breakpoints
frontier = activeset.path(portfolio, 0.0, 1000.0, q=-mu)
print(frontier)

# %% Risk and return along it, at every fifth breakpoint
t = frontier.breakpoints[:-1:5]
shares = frontier.x_at(t)
for appetite, x in zip(t, shares):
    print(f"t {appetite:8.2f}   return {mu @ x:.4f}   risk {np.sqrt(x @ S @ x):.4f}   "
          f"{np.count_nonzero(x > 1e-9)} assets")

# %% At the end, the five assets of most return are at their limits
assert np.allclose(np.sort(frontier.x[-1])[-5:], 0.2)

# %% How the least-risk portfolio follows the covariances: the gradient of its first share in S
least = portfolio.solve()
gradient = activeset.Sensitivity(least, portfolio).backward(np.eye(40)[0]).P
print(f"the first share loses most by the risk of asset {np.argmin(np.diag(gradient))}")

# %% A picture, where matplotlib is there
try:
    import matplotlib

    matplotlib.use("Agg")
    frontier.plot().figure.savefig("frontier.png")
except ImportError:
    pass

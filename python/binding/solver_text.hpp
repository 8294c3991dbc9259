// The documentation of Solver and its methods.
#ifndef ACTIVESET_PYTHON_SOLVER_TEXT_HPP
#define ACTIVESET_PYTHON_SOLVER_TEXT_HPP

namespace activeset::python {

inline constexpr const char* SolverText =
    R"(Solver(problem, *, settings=None, callback=None)
--

Solves a sequence of similar problems of the same shape.

Keeps copies of all data. Each solve starts at the last optimum with its working set. Scaling,
factors and the test of convexity are kept as long as the matrices are the same. Only one thread at
a time may use a Solver: a call during another one raises RuntimeError.

Parameters
----------
problem : Problem
settings : Settings, optional
    For every solve.
callback : callable, optional
    As in `solve_qp`.

Examples
--------
>>> import numpy as np, activeset
>>> s = activeset.Solver(activeset.Problem(np.eye(2), [-2.0, -3.0], [1.0, 1.0], [3.0]))
>>> s.solve().x
array([1., 2.])
>>> s.update(h=[2.0])
>>> s.solve().x
array([0.5, 1.5])
)";

inline constexpr const char* UpdateText =
    R"(update($self, /, *, P=None, q=None, G=None, h=None, A=None, b=None, lb=None, ub=None, l=None, constant=None, soft=None)
--

Replace parts of the problem by others of the same shape; None keeps a part. `soft` replaces all
penalties; an empty mapping makes all sides hard.

Raises
------
ProblemError
    Shapes or types differ; nothing is replaced. The next solve checks the entries, and raises
    until a faulty part is replaced.)";

inline constexpr const char* SolveText = R"(solve($self, /)
--

Solve the current problem from the last optimum. Returns a Result.

Raises
------
ProblemError
    A part has faults.)";

inline constexpr const char* RestartText = R"(restart($self, /, warm_start=None)
--

Start the next solve from a WarmStart or a Result instead of the last optimum; None means from
zero with an empty working set.)";

}  // namespace activeset::python

#endif

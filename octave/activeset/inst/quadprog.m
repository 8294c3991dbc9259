## -*- texinfo -*-
## @deftypefn  {} {[@var{x}, @var{fval}, @var{exitflag}, @var{output}, @var{lambda}] =} quadprog (@var{H}, @var{f}, @var{A}, @var{b}, @var{Aeq}, @var{beq}, @var{lb}, @var{ub}, @var{x0}, @var{options})
## @deftypefnx {} {[@dots{}] =} quadprog (@var{problem})
## Minimise @code{x'*H*x/2 + f'*x} subject to @code{A*x <= b}, @code{Aeq*x = beq} and
## @code{lb <= x <= ub}, for a positive semidefinite @var{H}.
##
## Arguments after @var{f} may be left out or @code{[]}. @var{H} may be @code{[]} for a linear program,
## @var{f} for zeros. @var{problem} is a struct with fields of these names, except that A and b are called Aineq
## and bineq. @var{options} is a struct from @code{optimset}, of which @code{MaxIter}, @code{OptimalityTolerance}
## (relative, default 1e-9) and @code{MaxTime} (seconds) are used. Logical, integer, single and sparse parts are
## turned into full matrices of doubles first.
##
## @var{exitflag} is 1 for an optimum, 0 at the limit of iterations, -1 at the limit of time or after an interrupt,
## -2 if the problem is infeasible, -3 if it is unbounded, -6 if it is not convex, -8 if no answer was accurate
## enough. 1, -2, -3 and -6 are proved: if it is -2, @code{output.farkas} has nonnegative weights with which the
## constraints contradict one another (free ones for @code{eqlin}), in the fields of @var{lambda}; if it is -3 or -6,
## @code{output.direction} is the direction in which the objective falls for ever, or has negative curvature.
## @var{fval} is NaN if there is no optimum to speak of, that is for -2 and -6. @var{lambda} has the multipliers @code{ineqlin},
## @code{eqlin}, @code{lower} and @code{upper}:
## @code{H*x + f + A'*ineqlin + Aeq'*eqlin - lower + upper = 0}.
## @seealso{lsqlin, qp}
## @end deftypefn
function [x, fval, exitflag, output, lambda] = quadprog (H, f = [], A = [], b = [], Aeq = [], beq = [], lb = [], ub = [], x0 = [], options = struct ())
  if (nargin < 1)
    print_usage ();
  endif
  if (isstruct (H))
    parts = parts_of (H);
    [x, fval, exitflag, output, lambda] = quadprog (parts{:});
    return;
  endif
  [r, rows] = as_solve (H, f, A, b, Aeq, beq, lb, ub, x0, options);
  x = r.x;
  fval = r.obj;
  if (any (strcmp (r.status, {"infeasible", "not convex"})))
    fval = NaN;
  endif
  [exitflag, output, lambda] = as_answer (r, rows);
endfunction

## The arguments that are the fields of a struct. A field of another name is an error: its data would be missed.
function parts = parts_of (p)
  names = {"H", "f", "Aineq", "bineq", "Aeq", "beq", "lb", "ub", "x0", "options"};
  if (! isscalar (p))
    error ("activeset: the problem must be one struct");
  endif
  unknown = setdiff (fieldnames (p), [names, {"solver"}]);
  if (! isempty (unknown))
    error ("activeset: a problem has no field %s; its fields are %s", unknown{1}, strjoin (names, ", "));
  endif
  parts = cell (1, numel (names));
  given = isfield (p, names);
  parts(given) = cellfun (@(name) p.(name), names(given), "UniformOutput", false);
endfunction

%!test <*hand arithmetic>
%! [x, fval, flag, out, l] = quadprog (eye (2), [-2; -3], [1 1], 3);
%! assert (x, [1; 2], 1e-15);
%! assert (fval, -5.5, 1e-14);
%! assert (flag, 1);
%! assert (l.ineqlin, 1, 1e-14);
%! assert ({l.eqlin, l.lower, l.upper}, {zeros(0,1), [0;0], [0;0]});

%!test
%! ## Each kind of constraint is active for one variable.
%! H = diag ([1 2 3 4]);  f = [0; -5; 9; 0];
%! A = [0 1 0 0];  Aeq = [0 0 0 2];
%! [x, ~, flag, ~, l] = quadprog (H, f, A, 1, Aeq, 4, [0.5 -Inf -1 -Inf], [Inf Inf 7 Inf]);
%! assert (x, [0.5; 1; -1; 2], 1e-15);
%! assert (H*x + f + A'*l.ineqlin + Aeq'*l.eqlin - l.lower + l.upper, zeros (4, 1), 1e-14);
%! assert (l.ineqlin, 3, 1e-14);
%! assert (l.eqlin, -4, 1e-14);
%! assert (l.lower, [0.5; 0; 6; 0], 1e-14);
%! assert (l.upper, zeros (4, 1));

%!test
%! ## A struct, integers, sparse matrices, and one bound for all variables.
%! p = struct ("H", speye (3), "f", int8 ([-5; 0; 5]), "lb", -1, "ub", 1);
%! assert (quadprog (p), [1; 0; -1]);

%!test
%! ## Integers next to doubles and singles do not round them.
%! H = eye (2);  f = [500; 0];
%! assert (quadprog (H, f, [1 0], 600, [0 1], int8 (1)), [-500; 1]);
%! assert (quadprog (H, f, int8 ([1 0]), -600, [0 0.5], single (1)), [-600; 2]);

%!test
%! ## The weights of an infeasible problem contradict: A'*ineqlin - lower + upper = 0, and their sides add up to less than 0.
%! [~, fval, flag, out] = quadprog (eye (2), [1; 1], [1 1], -1, [], [], 0);
%! w = out.farkas;
%! assert (flag, -2);
%! assert (fval, NaN);
%! assert ([1; 1] * w.ineqlin - w.lower + w.upper, [0; 0], 1e-14);
%! assert (w.ineqlin > 0 && all ([w.lower; w.upper] >= 0));
%! [~, ~, ~, out] = quadprog ([], [1; -1], [], [], [], [], [0; 0]);
%! assert (out.direction / norm (out.direction), [0; 1], 1e-9);

%!test
%! ## A linear program, and the flags of problems without a solution.
%! assert (quadprog ([], [1; -1], [], [], [], [], [0; 0], [4; 2]), [0; 2]);
%! [~, ~, flag] = quadprog ([], [1; -1], [], [], [], [], [0; 0]);
%! assert (flag, -3);
%! [~, ~, flag] = quadprog (eye (2), [0; 0], [1 1], -1, [], [], [0; 0]);
%! assert (flag, -2);
%! [~, ~, flag] = quadprog (diag ([1 -1]), [0; 0], [], [], [], [], [-1; -1], [1; 1]);
%! assert (flag, -6);

%!test
%! ## Random problems satisfy the optimality conditions, including degenerate and singular ones.
%! rand ("state", 1);  randn ("state", 1);
%! for k = 1:60
%!   n = randi (9);  m = randi (12);  rank_ = randi (n);
%!   R = randn (rank_, n);  H = R'*R;  f = R'*randn (rank_, 1);
%!   inside = randn (n, 1);  A = randn (m, n);  b = A*inside + rand (m, 1).*(rand (m, 1) > 0.4);
%!   Aeq = randn (1, n);  beq = Aeq*inside;  ub = inside + rand (n, 1);
%!   [x, fval, flag, ~, l] = quadprog (H, f, A, b, Aeq, beq, [], ub);
%!   assert (flag, 1);
%!   scale = 1 + norm (H)*norm (x) + norm (f) + norm (A)*norm (l.ineqlin);
%!   assert (norm (H*x + f + A'*l.ineqlin + Aeq'*l.eqlin - l.lower + l.upper) < 1e-9 * scale);
%!   assert (all (A*x <= b + 1e-9) && abs (Aeq*x - beq) < 1e-9 && all (x <= ub + 1e-12));
%!   assert (all (l.ineqlin >= 0) && abs (l.ineqlin' * (A*x - b)) < 1e-8 * scale);
%! endfor

%!test
%! [~, ~, flag] = quadprog (eye (20), -ones (20, 1), [], [], [], [], [], [], [], optimset ("MaxIter", 30));
%! assert (flag, 1);

%!error <^activeset: f\(2\) = nan> quadprog (eye (2), [1; NaN])
%!error <Aeq\(1,2\) = inf> quadprog (eye (2), [1; 1], [1 1], 1, [1 Inf], 1)
%!error <A has 3 columns, expected 2> quadprog (eye (2), [1; 1], [1 2 3], 1)
%!error <b has 2 entries, expected 1> quadprog (eye (2), [1; 1], [1 2], [1 1])
%!error <^activeset: H is not symmetric: H\(1,2\) = 2, H\(2,1\) = 3> quadprog ([1 2; 3 4], [1; 1])
%!error <lb\(1\) = 3 is above ub\(1\) = 1> quadprog (1, 1, [], [], [], [], 3, 1)
%!error <and 10 more$> quadprog (diag (NaN (20, 1)), ones (20, 1))
%!error <b must be numeric> quadprog (1, 1, 1, "a")
%!error <no field A; its fields are H, f, Aineq> quadprog (struct ("H", 1, "A", 1, "b", 1))
%!error <MaxIter must be a whole number from 1 up> quadprog (1, 1, [], [], [], [], [], [], [], struct ("MaxIter", 0))
%!error <options must be a struct> quadprog (1, 1, [], [], [], [], [], [], [], 7)
%!error <H must have two dimensions> quadprog (ones (2, 2, 2), [1; 1])
%!error <H is 3x3> quadprog (eye (3), [1; 1])
%!error <must be real> quadprog (eye (2), [1; i])
%!error <must be numeric> quadprog ({1}, 1)
%!error quadprog ()

%!test <*interrupt>
%! ## A solve of many seconds ends within a second after the signal. It runs in another Octave process.
%! script = [tempname(), ".m"];
%! unwind_protect
%!   file = fopen (script, "w");
%!   fprintf (file, "addpath ('%s', '%s'); n = 1200; randn ('state', 3);\n", ...
%!            fileparts (which ("quadprog")), fileparts (which ("__activeset__")));
%!   fprintf (file, "R = randn (n); H = R'*R; A = randn (3*n, n); b = ones (3*n, 1);\n");
%!   fprintf (file, "disp (getpid ()); fflush (stdout); quadprog (H, 1e3*randn (n, 1), A, b); disp ('solved');\n");
%!   fclose (file);
%!   [~, text] = system (sprintf (["%s -q --no-gui --norc %s >%s.out 2>/dev/null & p=$!;", ...
%!     " while ! grep -q . %s.out; do sleep 0.1; done; sleep 0.5; date +%%s%%N; kill -INT $p; wait $p; date +%%s%%N; cat %s.out"], ...
%!     fullfile (OCTAVE_HOME (), "bin", "octave"), script, script, script, script));
%!   numbers = str2num (text(1:index (text, "\n", "last")));
%!   assert (index (text, "solved"), 0);
%!   assert ((numbers(2) - numbers(1)) / 1e9 < 1.5);
%! unwind_protect_cleanup
%!   unlink (script);  unlink ([script, ".out"]);
%! end_unwind_protect

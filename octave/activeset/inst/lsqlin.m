## -*- texinfo -*-
## @deftypefn {} {[@var{x}, @var{resnorm}, @var{residual}, @var{exitflag}, @var{output}, @var{lambda}] =} lsqlin (@var{C}, @var{d}, @var{A}, @var{b}, @var{Aeq}, @var{beq}, @var{lb}, @var{ub}, @var{x0}, @var{options})
## Minimise @code{norm (C*x - d)^2 / 2} subject to @code{A*x <= b}, @code{Aeq*x = beq} and @code{lb <= x <= ub}.
##
## @var{C} is m x n, @var{d} has m entries. @var{resnorm} is @code{norm (C*x - d)^2} and @var{residual} is
## @code{C*x - d}. Everything else is as in @code{quadprog}, with the multipliers of the objective above.
##
## The active constraints come from a solve of the normal equations. The fit on them is then computed from an
## orthogonal factorisation of @var{C}, so that its error depends on the condition of @var{C}, not on its square.
## @seealso{quadprog}
## @end deftypefn
function [x, resnorm, residual, exitflag, output, lambda] = lsqlin (C, d, A = [], b = [], Aeq = [], beq = [], lb = [], ub = [], x0 = [], options = struct ())
  if (nargin < 2)
    print_usage ();
  endif
  C = as_number (C, "C");
  d = as_number (d, "d")(:);
  if (rows (C) != numel (d))
    error ("Octave:nonconformant-args", "lsqlin: C has %d rows, d %d entries", rows (C), numel (d));
  endif
  if (! all (isfinite (C)(:)) || ! all (isfinite (d)))
    error ("activeset: C and d must be finite");
  endif
  R = C;  e = d;
  if (rows (C) > columns (C))
    [Q, R] = qr (C, 0);
    e = Q' * e;
  endif
  A = as_number (A, "A");      b = as_number (b, "b");
  Aeq = as_number (Aeq, "Aeq");  beq = as_number (beq, "beq");
  lb = as_number (lb, "lb");    ub = as_number (ub, "ub");
  [r, m] = as_solve (R'*R, -R'*e, A, b, Aeq, beq, lb, ub, x0, options);
  if (strcmp (r.status, "optimal"))
    r.x = refit (R, e, r, A, b, Aeq, beq, lb, ub);
  endif
  x = r.x;
  residual = C*x - d;
  resnorm = residual' * residual;
  [exitflag, output, lambda] = as_answer (r, m);
endfunction

## The least-squares solution on the constraints that are active at r, if it satisfies all others.
function x = refit (R, e, r, A, b, Aeq, beq, lb, ub)
  x = r.x;
  n = numel (x);
  lb = as_bounds (lb, n);  ub = as_bounds (ub, n);
  m = rows (A) * ! isempty (A);
  held = r.row_sides(1:m) != 0;
  at_lower = r.bound_sides == -1;
  at_upper = r.bound_sides > 0;
  I = eye (n);
  W = [zeros(0, n); A(held,:); I(at_lower | at_upper,:)];
  side = x;
  side(at_lower) = lb(at_lower);
  side(at_upper) = ub(at_upper);
  w = [zeros(0, 1); b(held)(:); side(at_lower | at_upper)];
  if (! isempty (Aeq))
    W = [Aeq; W];
    w = [beq(:); w];
  endif
  Z = I;
  fit = zeros (n, 1);
  if (! isempty (W))
    Z = null (W);
    fit = W \ w;
  endif
  if (! isempty (Z))
    fit += Z * ((R*Z) \ (e - R*fit));
  endif
  fit(at_lower | at_upper) = side(at_lower | at_upper);
  if (is_feasible (fit, x, A, b, Aeq, beq, lb, ub) && norm (R*fit - e) <= norm (R*x - e) * (1 + 1e-9))
    x = fit;
  endif
endfunction

## Whether fit violates no constraint by more than x does, or by rounding.
function yes = is_feasible (fit, x, A, b, Aeq, beq, lb, ub)
  slack = 1e-10 * (1 + norm (fit, Inf));
  yes = all (isfinite (fit));
  if (! isempty (A))
    yes = yes && all (A*fit - b(:) <= max (A*x - b(:), 0) + slack * (1 + norm (A, Inf)));
  endif
  if (! isempty (Aeq))
    yes = yes && all (abs (Aeq*fit - beq(:)) <= abs (Aeq*x - beq(:)) + slack * (1 + norm (Aeq, Inf)));
  endif
  if (! isempty (lb))
    yes = yes && all (fit >= lb(:));
  endif
  if (! isempty (ub))
    yes = yes && all (fit <= ub(:));
  endif
endfunction

%!test
%! [x, resnorm, residual, flag, ~, l] = lsqlin ([1 0; 0 1; 1 1], [1; -1; 0], [], [], [], [], [0; 0]);
%! assert (x, [0.5; 0], 1e-14);
%! assert (residual, [-0.5; 1; 0.5], 1e-14);
%! assert (resnorm, 1.5, 1e-13);
%! assert (flag, 1);
%! assert (l.lower, [0; 1.5], 1e-14);

%!test
%! ## Without active constraints the result is C \ d, even if C'*C has no correct digit.
%! t = (0:20)' / 20;
%! C = t .^ (0:7);
%! d = sin (3*t);
%! assert (lsqlin (C, d), C \ d, 1e-9);
%! assert (lsqlin (C, d, [], [], [], [], -1e3, 1e3), C \ d, 1e-9);

%!test
%! ## Equalities, rows and bounds at once: the optimality conditions hold.
%! randn ("state", 5);
%! for k = 1:20
%!   C = randn (12, 6);  d = randn (12, 1);  A = randn (3, 6);  Aeq = randn (1, 6);
%!   [x, ~, residual, flag, ~, l] = lsqlin (C, d, A, [0.1; 0.1; 0.1], Aeq, 0, -0.3, 0.3);
%!   assert (flag, 1);
%!   assert (C'*residual + A'*l.ineqlin + Aeq'*l.eqlin - l.lower + l.upper, zeros (6, 1), 1e-12);
%!   assert (all (A*x <= 0.1 + 1e-12) && abs (Aeq*x) < 1e-12 && all (abs (x) <= 0.3));
%! endfor

%!test
%! ## More unknowns than equations.
%! x = lsqlin ([1 1 1], 3, [], [], [], [], 0, 2);
%! assert (sum (x), 3, 1e-12);

%!test
%! [~, ~, ~, flag] = lsqlin (eye (2), [1; 1], [1 1; -1 -1], [0; -1]);
%! assert (flag, -2);

%!assert (lsqlin (int8 (eye (2)), single ([1; 2]), int8 ([1 1]), 1), [0; 1], 1e-12)
%!error <C and d must be finite> lsqlin (eye (2), [1; NaN])
%!error <C must be real> lsqlin (eye (2) * i, [1; 2])
%!error <C has 2 rows, d 3 entries> lsqlin (eye (2), 1:3)
%!error <b has 0 entries> lsqlin (eye (2), 1:2, [1 1])

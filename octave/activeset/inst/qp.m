## -*- texinfo -*-
## @deftypefn {} {[@var{x}, @var{obj}, @var{info}, @var{lambda}] =} qp (@var{x0}, @var{H}, @var{q}, @var{A}, @var{b}, @var{lb}, @var{ub}, @var{A_lb}, @var{A_in}, @var{A_ub}, @var{options})
## Minimise @code{x'*H*x/2 + x'*q} subject to @code{A*x = b}, @code{lb <= x <= ub} and
## @code{A_lb <= A_in*x <= A_ub}. Has the interface of Octave's own @code{qp} and replaces it.
##
## The argument list may end after any argument, @var{options} may follow any of them, and all arguments may be
## @code{[]}. Without @var{H} the problem is a linear program. Of @var{options}, only @code{MaxIter} is used.
##
## @var{info.info} is 0 for an optimum, 1 if the problem is not convex, 2 if it is unbounded, 3 at the limit of iterations
## or if no answer was accurate enough, 6 if it is infeasible. @var{lambda} has the multipliers of @var{A}, of
## variables with equal bounds, of rows of @var{A_in} with equal sides, then of the finite lower and upper bound of
## each variable in turn, then of the finite sides of each row of @var{A_in}. The gradient of the objective is the sum
## of the constraints' gradients (negated for upper sides) times these multipliers.
## @seealso{quadprog}
## @end deftypefn
function [x, obj, info, lambda] = qp (x0, H, varargin)
  if (nargin < 2)
    print_usage ();
  endif
  options = struct ();
  if (! isempty (varargin) && isstruct (varargin{end}))
    options = varargin{end};
    varargin(end) = [];
  endif
  if (! any (numel (varargin) == [0, 1, 3, 5, 8]))
    print_usage ();
  endif
  varargin(end+1:8) = {[]};
  names = {"q", "A", "b", "lb", "ub", "A_lb", "A_in", "A_ub"};
  varargin = cellfun (@as_number, varargin, names, "UniformOutput", false);
  [q, A, b, lb, ub, A_lb, A_in, A_ub] = varargin{:};
  H = as_number (H, "H");
  x0 = as_number (x0, "x0");
  n = max ([rows(H), numel(x0), numel(q)]);
  if (isempty (A_in))
    A_in = A_lb = A_ub = [];
  endif
  lb = filled (lb, n, -Inf, "lb");
  ub = filled (ub, n, Inf, "ub");
  A_lb = filled (A_lb, rows (A_in), -Inf, "A_lb");
  A_ub = filled (A_ub, rows (A_in), Inf, "A_ub");
  equalities = as_rows ("A", "b", A, b, n);
  as_rows ("A_in", "A_lb", A_in, A_lb, n);
  r = __activeset__ (n, equalities + rows (A_in), H, q(:), joined (A, A_in), [b(:); A_lb], [b(:); A_ub], ...
                     lb, ub, x0, as_options (options), ...
                     {equalities, "q", "A", "b", "b", "A_in", "A_lb", "A_ub"});
  x = r.x;
  obj = r.obj;
  info = struct ("solveiter", r.iterations, "info", code_of (r.status));
  y = r.y(equalities+1:end);
  lambda = [-r.y(1:equalities); -r.z(lb == ub); -y(A_lb == A_ub); ...
            of_sides(lb, ub, r.z); of_sides(A_lb, A_ub, y)];
endfunction

function v = filled (v, n, absent, name)
  if (isempty (v))
    v = repmat (absent, n, 1);
  elseif (isscalar (v))
    v = repmat (v, n, 1);
  elseif (numel (v) != n)
    error ("Octave:nonconformant-args", "qp: %s has %d entries, expected %d", name, numel (v), n);
  endif
  v = v(:);
endfunction

function both = joined (A, B)
  if (isempty (A))
    both = B;
  elseif (isempty (B))
    both = A;
  else
    both = [A; B];
  endif
endfunction

## Multipliers of the finite sides that are no equality, in the order lower, upper, lower, upper, ...
function lambda = of_sides (lower, upper, y)
  apart = (lower != upper)';
  pairs = [max(-y, 0), max(y, 0)]';
  lambda = pairs([isfinite(lower)'; isfinite(upper)'] & apart);
endfunction

function code = code_of (status)
  switch (status)
    case "optimal"
      code = 0;
    case "not convex"
      code = 1;
    case "unbounded"
      code = 2;
    case "infeasible"
      code = 6;
    otherwise
      code = 3;
  endswitch
endfunction

%!test
%! ## Every kind of multiplier is in its place. The optimum without constraints is 10:10:60.
%! H = eye (6);  q = -[10; 20; 30; 40; 50; 60];
%! lb = [-Inf; -Inf; 100; -1; -Inf; -Inf];  ub = [Inf; 3; 200; Inf; Inf; Inf];
%! A_in = [0 0 0 0 1 0; 0 0 0 0 0 1; 0 0 0 1 0 0];
%! [x, obj, info, lambda] = qp ([], H, q, [1 0 0 0 0 0], 1, lb, ub, [-Inf; 500; -9], A_in, [7; 600; Inf]);
%! assert (x, [1; 3; 100; 40; 7; 500], 1e-13);
%! assert (obj, x'*x/2 + q'*x, 1e-9);
%! assert (info.info, 0);
%! assert (lambda, [-9; 17; 70; 0; 0; 43; 440; 0; 0], 1e-12);

%!test
%! ## A variable with equal bounds counts as an equality.
%! [x, ~, ~, lambda] = qp ([], eye (2), [-10; -20], [], [], [1; -5], [1; 3]);
%! assert (x, [1; 3]);
%! assert (lambda, [-9; 0; 17], 1e-14);

%!test
%! ## The result is that of Octave's own qp, which is in the folder of fminsearch.
%! own = fullfile (fileparts (which ("fminsearch")), "qp.m");
%! here = pwd ();
%! rand ("state", 2);  randn ("state", 2);
%! for k = 1:20
%!   n = 2 + randi (6);  R = randn (n);  H = R'*R + eye (n);  q = 3*randn (n, 1);
%!   p = {zeros(n, 1), H, q, randn(1, n), 0, -rand(n, 1), rand(n, 1), -rand(2, 1), randn(2, n), rand(2, 1)};
%!   [x, obj, info, lambda] = qp (p{:});
%!   unwind_protect
%!     cd (fileparts (own));
%!     [x_, obj_, info_, lambda_] = qp (p{:});
%!   unwind_protect_cleanup
%!     cd (here);
%!   end_unwind_protect
%!   assert (info.info, info_.info);
%!   assert (x, x_, 1e-7);
%!   assert (obj, obj_, 1e-8);
%!   assert (lambda, lambda_, 1e-6);
%! endfor

%!test
%! assert (qp ([0; 0], eye (2)), [0; 0]);
%! assert (qp ([], eye (2), [-1; -1], optimset ("MaxIter", 50)), [1; 1]);
%! assert (qp ([], eye (2), [-1; -1], [], [], 0, 0.5), [0.5; 0.5]);
%! assert (qp ([], [], [1; -1], [], [], [0; 0], [4; 2]), [0; 2]);
%! [~, ~, info] = qp ([], eye (2), [1; 1], [1 1; 1 1], [1; 2]);
%! assert (info.info, 6);
%! [~, ~, info] = qp ([], zeros (2), [1; 1]);
%! assert (info.info, 2);
%! [~, ~, info] = qp ([], -eye (2), [1; 1], [], [], [-1; -1], [1; 1]);
%! assert (info.info, 1);
%!test
%! ## Octave's sqp takes its steps with this function. It finds the point of x1 + x2 = 1 that is nearest to (1, 2).
%! assert (sqp ([0; 0], @(x) sumsq (x - [1; 2]), @(x) sum (x) - 1), [0; 1], 1e-6);
%!error qp ([0; 0])
%!error qp ([0; 0], eye (2), [1; 1], [1 1])
%!error <^activeset: A_ub\(2\) = nan> qp ([], eye (2), [1; 1], 1:2, 3, [], [], [1 1], eye (2), [2 NaN])
%!assert (qp ([], eye (2), [0; 0], int8 ([1 1]), 1, [], [], 0.75, [1 0.5], 2), [0.5; 0.5], 1e-14)
%!assert (qp ([], eye (2), [0; 0], [1 1], int8 (1), [], [], 0.875, [1 0.5], 2), [0.75; 0.25], 1e-14)
%!error <A_in has 3 columns, expected 2> qp ([], eye (2), [1; 1], [1 1], 1, [], [], 0, 1:3, 1)
%!error <b has 1 entries, expected 0> qp ([], eye (2), [1; 1], [], 1)
%!error <lb has 3 entries, expected 2> qp ([], eye (2), [1; 1], [], [], 1:3, [])

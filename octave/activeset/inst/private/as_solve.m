## [r, rows] = as_solve (H, f, A, b, Aeq, beq, lb, ub, x0, options)
## Solves for quadprog and lsqlin. The rows of the result are those of A*x <= b, `rows` of them, then Aeq*x = beq.
function [r, rows] = as_solve (H, f, A, b, Aeq, beq, lb, ub, x0, options)
  n = numel (f);
  if (n == 0)
    n = max ([columns(H), columns(A), columns(Aeq), numel(lb), numel(ub)]);
  endif
  rows = rows_of ("A", "b", A, b, n);
  equalities = rows_of ("Aeq", "beq", Aeq, beq, n);
  lower = [-Inf(rows, 1); beq(:)];
  upper = [b(:); beq(:)];
  if (rows == 0)
    A = [];
  endif
  if (equalities == 0)
    Aeq = [];
  endif
  r = __activeset__ (n, rows + equalities, H, f, [A; Aeq], lower, upper,
                     as_bounds (lb, n), as_bounds (ub, n), x0, as_options (options), ...
                     {rows, "f", "A", "b", "b", "Aeq", "beq", "beq"});
endfunction

function m = rows_of (name, side, A, b, n)
  m = rows (A) * ! isempty (A);
  if (m > 0 && columns (A) != n)
    error ("Octave:nonconformant-args", "%s has %d columns, expected %d", name, columns (A), n);
  endif
  if (numel (b) != m)
    error ("Octave:nonconformant-args", "%s has %d entries, expected %d", side, numel (b), m);
  endif
endfunction

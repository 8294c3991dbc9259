## [r, rows] = as_solve (H, f, A, b, Aeq, beq, lb, ub, x0, options)
## Solves for quadprog and lsqlin. The rows of the result are those of A*x <= b, `rows` of them, then Aeq*x = beq.
function [r, rows] = as_solve (H, f, A, b, Aeq, beq, lb, ub, x0, options)
  H = as_number (H, "H");
  f = as_number (f, "f")(:);
  A = as_number (A, "A");
  b = as_number (b, "b");
  Aeq = as_number (Aeq, "Aeq");
  beq = as_number (beq, "beq");
  lb = as_number (lb, "lb");
  ub = as_number (ub, "ub");
  n = numel (f);
  if (n == 0)
    n = max ([columns(H), columns(A), columns(Aeq), numel(lb), numel(ub)]);
  endif
  rows = as_rows ("A", "b", A, b, n);
  equalities = as_rows ("Aeq", "beq", Aeq, beq, n);
  lower = [-Inf(rows, 1); beq(:)];
  upper = [b(:); beq(:)];
  if (rows == 0)
    A = [];
  endif
  if (equalities == 0)
    Aeq = [];
  endif
  r = __activeset__ (n, rows + equalities, H, f, [A; Aeq], lower, upper, ...
                     as_bounds (lb, n), as_bounds (ub, n), as_number (x0, "x0"), as_options (options), ...
                     {rows, "f", "A", "b", "b", "Aeq", "beq", "beq"});
endfunction

## [exitflag, output, lambda] = as_answer (r, rows)
## The outputs exitflag, output and lambda of quadprog and lsqlin.
function [exitflag, output, lambda] = as_answer (r, rows)
  switch (r.status)
    case "optimal"
      exitflag = 1;
    case "iteration limit"
      exitflag = 0;
    case {"time limit", "interrupted"}
      exitflag = -1;
    case "infeasible"
      exitflag = -2;
    case "unbounded"
      exitflag = -3;
    case "not convex"
      exitflag = -6;
    otherwise
      exitflag = -8;
  endswitch
  output = struct ("iterations", r.iterations, "algorithm", "active-set",
                   "constrviolation", r.primal, "firstorderopt", r.dual,
                   "message", [r.status, r.message]);
  lambda = struct ("ineqlin", r.y(1:rows)(:), "eqlin", r.y(rows+1:end)(:),
                   "lower", max (-r.z, 0), "upper", max (r.z, 0));
endfunction

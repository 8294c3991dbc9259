## [exitflag, output, lambda] = as_answer (r, rows)
## The outputs exitflag, output and lambda of quadprog and lsqlin.
function [exitflag, output, lambda] = as_answer (r, rows)
  output = struct ("iterations", r.iterations, "algorithm", "active-set",
                   "constrviolation", r.primal, "firstorderopt", r.dual,
                   "message", [r.status, r.message]);
  lambda = multipliers (r.y, r.z, rows);
  switch (r.status)
    case "optimal"
      exitflag = 1;
    case "iteration limit"
      exitflag = 0;
    case {"time limit", "interrupted"}
      exitflag = -1;
    case "infeasible"
      exitflag = -2;
      output.farkas = multipliers (r.farkas_y, r.farkas_z, rows);
    case "unbounded"
      exitflag = -3;
      output.direction = r.direction;
    case "not convex"
      exitflag = -6;
      output.direction = r.direction;
    otherwise
      exitflag = -8;
  endswitch
endfunction

function lambda = multipliers (y, z, rows)
  lambda = struct ("ineqlin", y(1:rows)(:), "eqlin", y(rows+1:end)(:), "lower", max (-z, 0), "upper", max (z, 0));
endfunction

## o = as_options (options)
## Options of __activeset__ from those of optimset; others are ignored.
function o = as_options (options)
  o = struct ();
  for field = {"MaxIter", "MaxIterations"}
    if (isfield (options, field{1}) && ! isempty (options.(field{1})))
      o.max_iterations = options.(field{1});
    endif
  endfor
  if (isfield (options, "OptimalityTolerance") && ! isempty (options.OptimalityTolerance))
    o.tolerance = options.OptimalityTolerance;
  endif
  if (isfield (options, "MaxTime") && ! isempty (options.MaxTime))
    o.time_limit = options.MaxTime;
  endif
endfunction

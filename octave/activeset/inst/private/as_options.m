## o = as_options (options)
## Options of __activeset__ from those of optimset; others are ignored.
function o = as_options (options)
  o = struct ();
  if (isempty (options))
    return;
  elseif (! isstruct (options) || ! isscalar (options))
    error ("activeset: options must be a struct, as from optimset");
  endif
  for field = {"MaxIter", "MaxIterations"}
    o = taken (o, "max_iterations", options, field{1}, @(v) v >= 1 && (v == fix (v)), "a whole number from 1 up");
  endfor
  o = taken (o, "tolerance", options, "OptimalityTolerance", @(v) v > 0 && v <= 1, "a number above 0 and at most 1");
  o = taken (o, "time_limit", options, "MaxTime", @(v) v >= 0, "a number of seconds from 0 up");
endfunction

function o = taken (o, name, options, field, is_sound, expected)
  if (isfield (options, field) && ! isempty (options.(field)))
    v = options.(field);
    if (! (isnumeric (v) && isreal (v) && isscalar (v) && is_sound (v)))
      error ("activeset: %s must be %s", field, expected);
    endif
    o.(name) = double (v);
  endif
endfunction

## v = as_number (v, name)
## A part of a problem as a full matrix of doubles, whatever its class and storage. Parts are joined later: an integer
## among doubles would make integers of them all.
function v = as_number (v, name)
  if (isempty (v))
    v = zeros (rows (v), columns (v));
    return;
  endif
  if (! isnumeric (v) && ! islogical (v))
    error ("activeset: %s must be numeric", name);
  elseif (! isreal (v))
    error ("activeset: %s must be real", name);
  elseif (ndims (v) != 2)
    error ("activeset: %s must have two dimensions", name);
  endif
  v = full (double (v));
endfunction

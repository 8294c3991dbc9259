## v = as_bounds (v, n)
## Bounds of n variables: a single number counts for all, [] means none.
function v = as_bounds (v, n)
  if (isscalar (v) && n != 1)
    v = repmat (v, n, 1);
  endif
endfunction

## v = as_bounds (v, n)
## One number stands for all n; [] for none.
function v = as_bounds (v, n)
  if (isscalar (v) && n != 1)
    v = repmat (v, n, 1);
  endif
endfunction

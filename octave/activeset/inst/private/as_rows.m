## m = as_rows (name, side, A, b, n)
## The number of rows of A, after a look at its columns and at the number of its sides b.
function m = as_rows (name, side, A, b, n)
  m = rows (A) * ! isempty (A);
  if (m > 0 && columns (A) != n)
    error ("Octave:nonconformant-args", "%s has %d columns, expected %d", name, columns (A), n);
  endif
  if (numel (b) != m)
    error ("Octave:nonconformant-args", "%s has %d entries, expected %d", side, numel (b), m);
  endif
endfunction

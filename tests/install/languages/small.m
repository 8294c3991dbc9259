% The problem of small.c in Octave.
pkg load activeset
[x, fval] = quadprog ([3 1; 1 7], [-2; -3], [1 3], 1);
printf ("%.17g %.17g %.17g\n", x(1), x(2), fval);

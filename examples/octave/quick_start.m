% Minimise ½(x1² + x2²) - 2 x1 - 3 x2 subject to x1 + x2 <= 3. At x = (1, 2) the gradient is (-1, -1).
pkg load activeset
[x, fval, exitflag, output, lambda] = quadprog (eye (2), [-2; -3], [1 1], 3);
printf ("%s, x = (%.3f, %.3f), objective %.3f, multiplier %.3f\n", output.message, x(1), x(2), fval, lambda.ineqlin);

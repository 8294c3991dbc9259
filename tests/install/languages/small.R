# The problem of small.c in R.
r <- activeset::solve_qp(matrix(c(3, 1, 1, 7), 2), c(-2, -3), G = c(1, 3), h = 1)
cat(sprintf("%.17g %.17g %.17g\n", r$x[1], r$x[2], r$obj))

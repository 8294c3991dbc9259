# Minimise ½(x1² + x2²) - 2 x1 - 3 x2 subject to x1 + x2 <= 3. At x = (1, 2) the gradient is (-1, -1).
library(activeset)

r <- solve_qp(diag(2), c(-2, -3), G = c(1, 1), h = 3)
cat(sprintf("%s, x = (%.3f, %.3f), objective %.3f, multiplier %.3f\n", r$status, r$x[1], r$x[2], r$obj, r$z))

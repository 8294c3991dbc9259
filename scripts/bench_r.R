# Times solve.QP, solve_qp and quadprog: Rscript scripts/bench_r.R [LIBRARY_FOLDER]
# Prints microseconds per call: the best of many runs of at least 50 ms.
folder <- commandArgs(TRUE)
if (length(folder)) .libPaths(c(folder[1], .libPaths()))

best_time <- function(call, seconds = 1.4) {
    call()
    count <- 1
    timed <- function() system.time(for (i in seq_len(count)) call())[["elapsed"]]
    while (timed() < 0.05) count <- 2 * count
    end <- Sys.time() + seconds
    best <- Inf
    while (Sys.time() < end) best <- min(best, timed() / count)
    1e6 * best
}

cat("   n      m  solve.QP  quadprog  solve_qp\n")
for (n in c(3, 10, 50, 200)) {
    set.seed(n)
    m <- 2 * n
    root <- matrix(rnorm(n * n), n)
    D <- crossprod(root) / n + diag(n)
    d <- 5 * rnorm(n)
    A <- matrix(rnorm(n * m), n)
    b <- drop(crossprod(A, rnorm(n))) - rexp(m) * rbinom(m, 1, 0.7)
    q <- -d
    G <- -t(A)
    h <- -b
    stopifnot(all.equal(activeset::solve.QP(D, d, A, b)$solution, quadprog::solve.QP(D, d, A, b)$solution))
    cat(sprintf("%4d %6d %9.1f %9.1f %9.1f\n", n, m, best_time(function() activeset::solve.QP(D, d, A, b)),
                best_time(function() quadprog::solve.QP(D, d, A, b)),
                best_time(function() activeset::solve_qp(D, q, G, h))))
}

# Solves the problems of a folder with the dual active-set method of the package quadprog.
# usage: Rscript quadprog.R FOLDER SECONDS
# Prints the processor seconds per problem, without those for reading and stacking, then the objectives.
suppressPackageStartupMessages(library(quadprog))
arguments <- commandArgs(trailingOnly = TRUE)
budget <- as.numeric(arguments[2])

read_problem <- function(path) {
    file <- file(path, "rb")
    on.exit(close(file))
    numbers <- function(count) readBin(file, "double", count)
    block <- function(rows, cols) matrix(numbers(rows * cols), rows, cols)
    sizes <- numbers(3)
    n <- sizes[1]
    H <- block(n, n)
    c <- numbers(n)
    A <- block(sizes[2], n)
    b <- numbers(sizes[2])
    Aeq <- block(sizes[3], n)
    beq <- numbers(sizes[3])
    lb <- numbers(n)
    ub <- numbers(n)
    lower <- is.finite(lb)
    upper <- is.finite(ub)
    # columns·x >= bvec, equalities first
    list(H = H, d = -c, meq = sizes[3],
         columns = cbind(t(Aeq), -t(A), diag(n)[, lower, drop = FALSE], -diag(n)[, upper, drop = FALSE]),
         bvec = c(beq, -b, lb[lower], -ub[upper]))
}

problems <- lapply(seq_along(list.files(arguments[1])) - 1,
                   function(k) read_problem(file.path(arguments[1], paste0(k, ".bin"))))
solve_all <- function()
    vapply(problems, function(p) solve.QP(p$H, p$d, p$columns, p$bvec, p$meq)$value, 0)
processor_time <- function() sum(proc.time()[c("user.self", "sys.self")])
timed <- function(repetitions) {
    start <- processor_time()
    for (k in seq_len(repetitions)) solve_all()
    (processor_time() - start) / repetitions
}

values <- solve_all()
repetitions <- 1
while ((once <- timed(repetitions)) * repetitions < 0.05) repetitions <- 2 * repetitions  # at least 50 ms, which the clock resolves
samples <- once
while (length(samples) < 7 && sum(samples) * repetitions < budget) samples <- c(samples, timed(repetitions))
cat(sprintf("%.17g", c(median(samples) / length(problems), values)), "\n")

random_problem <- function(n, m, meq) {
    root <- matrix(rnorm(n * n), n)
    inside <- rnorm(n)
    A <- matrix(rnorm(n * m), n)
    slack <- c(double(meq), rexp(m - meq) * rbinom(m - meq, 1, 0.7))
    list(D = crossprod(root) + diag(n), d = 5 * rnorm(n), A = A,
         b = drop(crossprod(A, inside)) - slack, meq = meq)
}

test_that("solve.QP gives what quadprog gives", {
    skip_if_not_installed("quadprog")
    for (seed in 1:30) {
        set.seed(seed)
        n <- sample(1:12, 1)
        m <- sample(1:15, 1)
        p <- random_problem(n, m, sample(0:min(m, n %/% 2), 1))
        theirs <- quadprog::solve.QP(p$D, p$d, p$A, p$b, p$meq)
        ours <- solve.QP(p$D, p$d, p$A, p$b, p$meq)
        info <- paste("seed", seed)
        expect_named(ours, names(theirs))
        for (part in c("solution", "value", "unconstrained.solution"))
            expect_equal(ours[[part]], theirs[[part]], tolerance = 1e-8, info = info)
        # Unlike quadprog, activeset keeps the sign of equality multipliers.
        expect_equal(abs(ours$Lagrangian), theirs$Lagrangian, tolerance = 1e-7, info = info)
        expect_equal(2 * ours$value + 0, sum(ours$Lagrangian * p$b) - sum(p$d * ours$solution),
                     tolerance = 1e-8, info = info)
        expect_type(ours$iact, typeof(theirs$iact))
        expect_setequal(ours$iact[ours$iact > 0 & ours$Lagrangian[pmax(ours$iact, 1)] != 0],
                        theirs$iact[theirs$iact > 0 & theirs$Lagrangian[pmax(theirs$iact, 1)] != 0])
        factor <- solve(chol(p$D))
        again <- solve.QP(factor, p$d, p$A, p$b, p$meq, factorized = TRUE)
        expect_equal(again$solution, theirs$solution, tolerance = 1e-7, info = info)
    }
})

test_that("its errors are quadprog's", {
    skip_if_not_installed("quadprog")
    wrong <- list(
        list(diag(2), 1:3, diag(2), 1:2), list(matrix(1, 2, 3), 1:2, diag(2), 1:2),
        list(diag(2), 1:2, diag(3), 1:3), list(diag(2), 1:2, diag(2), 1:3),
        list(diag(2), 1:2, diag(2), 1:2, 3), list(diag(c(1, -1)), 1:2, diag(2), c(0, 0)),
        list(diag(2), 1:2, cbind(c(1, 0), c(-1, 0)), c(1, 1)))
    for (arguments in wrong) {
        theirs <- tryCatch(do.call(quadprog::solve.QP, arguments), error = conditionMessage)
        ours <- tryCatch(do.call(solve.QP, arguments), error = conditionMessage)
        expect_identical(ours, theirs)
    }
    expect_error(solve.QP(diag(2), c(NaN, 1), diag(2), 1:2), "dvec[1]", fixed = TRUE)
    expect_error(solve.QP(diag(2), 1:2, cbind(1:2, c(1, Inf)), 1:2), "Amat[2, 2]", fixed = TRUE)
})

test_that("only the upper triangle of Dmat counts, and no active constraint is 0", {
    r <- solve.QP(rbind(c(2, 1), c(99, 2)), c(3, 3), diag(2), c(-9, -9))
    expect_equal(r$solution, c(1, 1), tolerance = 1e-15)
    expect_identical(r$iact, 0L)
})

test_that("a singular Dmat is solved", {
    r <- solve.QP(diag(c(1, 0)), c(1, -1), cbind(c(0, 1)), 2)
    expect_equal(r$solution, c(1, 2), tolerance = 1e-14)
    expect_true(all(is.na(r$unconstrained.solution)))
    r <- solve.QP(matrix(1, 2, 2), c(2, 2), cbind(c(1, 0)), 5)
    expect_equal(sum(r$unconstrained.solution), 2, tolerance = 1e-14)
    expect_error(solve.QP(diag(c(1, 0)), c(1, 1), cbind(c(0, 1)), 2), "unbounded")
})

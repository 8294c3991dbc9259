test_that("a solver gives what single solves give", {
    set.seed(4)
    n <- 8L
    P <- crossprod(matrix(rnorm(n * n), n)) + diag(n)
    G <- matrix(rnorm(3 * n), 3)
    A <- matrix(rnorm(n), 1)
    q <- rnorm(n)
    solver <- activeset_solver(P, q, G, c(1, 1, 1), A, 0.5, lb = -1)
    expect_equal(solve(solver)$x, solve_qp(P, q, G, c(1, 1, 1), A, 0.5, lb = -1)$x,
                 tolerance = 1e-12)
    for (step in 1:20) {
        q <- q + rnorm(n)
        update(solver, q = q)
        expect_equal(solve(solver)$x, solve_qp(P, q, G, c(1, 1, 1), A, 0.5, lb = -1)$x,
                     tolerance = 1e-10)
    }
    update(solver, P = 2 * P, h = c(0, 0, 0), b = 0, A = 2 * A, lb = NULL, ub = 3)
    expect_equal(solve(solver)$x, solve_qp(2 * P, q, G, c(0, 0, 0), 2 * A, 0, ub = 3)$x,
                 tolerance = 1e-10)
    restart(solver)
    restart(solver, solve(solver))
    expect_identical(solve(solver)$status, "optimal")
})

test_that("an update that does not fit changes nothing", {
    solver <- activeset_solver(diag(2), c(-1, -1), G = c(1, 1), h = 1)
    expect_error(update(solver, q = 1:3), "expected")
    expect_error(update(solver, Q = 2 * diag(2)), "no part 'Q'")
    expect_error(update(solver, q = c(-9, 0), G = diag(2), h = 1:2), "keeps its sizes")
    expect_equal(solve(solver)$x, c(0.5, 0.5), tolerance = 1e-15)
    update(solver, q = c(NaN, 1))
    expect_error(solve(solver), "q[1]", fixed = TRUE)
})

test_that("a solver that was saved does not come back to life", {
    solver <- unserialize(serialize(activeset_solver(diag(2), c(1, 1)), NULL))
    expect_error(solve(solver), "not alive")
    expect_error(update(solver, q = c(1, 1)), "not alive")
})

test_that("solvers are freed", {
    for (i in 1:200) activeset_solver(diag(50), double(50))
    expect_silent(gc())
})

# minimise ½|x|² - 2x1 - 3x2 with x1 + x2 <= 3: x = (1, 2), multiplier 1, objective -5.5.
test_that("a small problem has the answer of hand arithmetic", {
    r <- solve_qp(diag(2), c(-2, -3), G = c(1, 1), h = 3)
    expect_identical(r$status, "optimal")
    expect_equal(r$x, c(1, 2), tolerance = 1e-15)
    expect_equal(r$z, 1, tolerance = 1e-14)
    expect_equal(r$obj, -5.5, tolerance = 1e-15)
    expect_identical(r$working_set$G, 1L)
    expect_identical(r$y, double())
})

test_that("rows of G stand above those of A, and bounds hold", {
    # A fixes x3 at 2, x1 is at its bound 0.5, and G limits x2 to 1.
    r <- solve_qp(diag(3), c(0, -5, 0), G = rbind(c(0, 1, 0), c(1, 1, 1)), h = c(1, 90),
                  A = c(0, 0, 1), b = 2, lb = c(0.5, -Inf, -Inf))
    expect_equal(r$x, c(0.5, 1, 2), tolerance = 1e-15)
    expect_equal(r$z, c(4, 0), tolerance = 1e-14)
    expect_equal(r$y, -2, tolerance = 1e-14)
    expect_equal(r$z_box, c(-0.5, 0, 0), tolerance = 1e-14)
    expect_identical(r$working_set, list(G = c(1L, 0L), A = 2L, box = c(-1L, 0L, 0L)))
})

test_that("one number stands for the bounds of all variables, and integers are numbers", {
    r <- solve_qp(diag(3L), c(-5L, 0L, 5L), lb = -1L, ub = 1L)
    expect_identical(r$x, c(1, 0, -1))
})

test_that("a linear program is solved, and one without a limit has a direction", {
    expect_identical(solve_qp(q = c(1, -1), lb = 0, ub = c(4, 2))$x, c(0, 2))
    r <- solve_qp(q = c(1, -1), lb = 0)
    expect_identical(r$status, "unbounded")
    expect_lt(sum(r$direction * c(1, -1)), 0)
})

test_that("what contradicts itself has a proof", {
    r <- solve_qp(q = c(1, 1), G = c(1, 1), h = 3, lb = c(2, 1.5))
    expect_identical(r$status, "infeasible")
    expect_equal(r$farkas$z * c(1, 1) + r$farkas$z_box, c(0, 0), tolerance = 1e-15)
    expect_identical(r$obj, NaN)
    expect_lt(r$farkas$z * 3 + sum(r$farkas$z_box * c(2, 1.5)), 0)
})

test_that("wrong data are errors that name the part and count from 1", {
    expect_error(solve_qp(diag(2), c(0, NaN)), "q[2]", fixed = TRUE)
    expect_error(solve_qp(diag(2), c(0, 0), G = rbind(c(1, 1), c(1, NA)), h = c(1, 1)),
                 "G[2, 2]", fixed = TRUE)
    expect_error(solve_qp(diag(2), c(0, 0), G = c(1, 1), h = 1, A = c(1, Inf), b = 1),
                 "A[1, 2]", fixed = TRUE)
    expect_error(solve_qp(diag(2), 1:3), "P is 2 x 2, expected 3 x 3")
    expect_error(solve_qp(diag(2), 1:2, G = diag(2), h = 1:3), "h has 3 entries, expected 2")
    expect_error(solve_qp(diag(2), 1:2, G = diag(2)), "G without h or l")
    expect_error(solve_qp(diag(2), 1:2, A = diag(2)), "A and b belong together")
    expect_error(solve_qp(diag(2), c("a", "b")), "q must be a numeric vector")
    expect_error(solve_qp(diag(2), factor(1:2)), "q must be a numeric vector")
    expect_error(solve_qp(), "at least one")
    expect_error(solve_qp(diag(2), 1:2, x0 = 1), "x0 has 1 entries")
    expect_error(solve_qp(diag(2), 1:2, settings = list(tolerance = 1)), "activeset_settings")
    expect_error(solve_qp(diag(2), 1:2, warm_start = 3), "warm_start must be a result")
    expect_error(solve_qp(diag(2), 1:2, x0 = c("1", "2")), "x0 must be a numeric vector")
    expect_error(solve_qp(diag(2), 1:2, h = 1), "h or l without G")
    expect_error(solve_qp(diag(2), 1:2, b = 1), "A and b belong together")
    expect_error(solve_qp(matrix(1:4, 2), 1:2), "P is not symmetric: P[1, 2] = 3", fixed = TRUE)
    expect_error(solve_qp(diag(20), rep(NaN, 20)), "q\\[10\\] = nan.*and 10 more$")
    expect_error(solve_qp(diag(2), 1:2, settings = activeset_settings(time_limit = -1)), "^time_limit = -1")
    expect_error(activeset_settings(max_iterations = 0.5), "max_iterations must be at least 1")
    call <- conditionCall(tryCatch(solve_qp(diag(2), 1:3), error = identity))
    expect_identical(call[[1L]], quote(solve_qp))
})

test_that("matrices without rows are no constraints", {
    none <- matrix(0, 0, 2)
    expect_equal(solve_qp(diag(2), c(-1, 1), G = none, h = double(), A = none, b = double())$x, c(1, -1))
})

test_that("what is passed in stays as it is", {
    P <- diag(3); q <- c(-1, 2, 3); G <- diag(3); h <- c(0.5, 1, 1)
    before <- serialize(list(P, q, G, h), NULL)
    solve_qp(P, q, G, h)
    expect_identical(serialize(list(P, q, G, h), NULL), before)
})

test_that("a solve goes on from where another one ended", {
    set.seed(1)
    n <- 150L
    P <- crossprod(matrix(rnorm(n * n), n)) / n + diag(n)
    q <- rnorm(n)
    cold <- solve_qp(P, q, lb = -0.1, ub = 0.1)
    warm <- solve_qp(P, q, lb = -0.1, ub = 0.1, warm_start = cold)
    expect_equal(warm$x, cold$x, tolerance = 1e-12)
    expect_lt(warm$iterations, cold$iterations)
    only_x <- solve_qp(P, q, lb = -0.1, ub = 0.1, warm_start = list(x = cold$x))
    expect_equal(only_x$x, cold$x, tolerance = 1e-12)
})

test_that("settings arrive", {
    set.seed(2)
    n <- 60L
    P <- crossprod(matrix(rnorm(n * n), n))
    r <- solve_qp(P, rnorm(n), lb = -0.01, ub = 0.01,
                  settings = activeset_settings(start = "cold", max_iterations = 1))
    expect_identical(r$status, "iteration limit")
    r <- solve_qp(diag(c(1, -1)), c(0, 0), lb = -1, ub = 1,
                  settings = activeset_settings(convexity_tolerance = 1))
    expect_gt(r$hessian_shift, 0)
    expect_identical(solve_qp(diag(c(1, -1)), c(0, 0), lb = -1, ub = 1)$status, "not convex")
    expect_error(activeset_settings(tolerance = "small"), "tolerance must be a number")
    expect_error(solve_qp(diag(2), c(0, 0), settings = activeset_settings(tolerance = 7)),
                 "tolerance")
})

test_that("Ctrl-C ends a long solve and is R's interrupt, and the next solve runs", {
    skip_on_os("windows")
    set.seed(3)
    n <- 1500L
    P <- diag(n) + tcrossprod(rnorm(n))
    q <- rnorm(n)
    G <- matrix(rnorm(2 * n * n), 2 * n)
    kill <- sprintf("(sleep 0.7; kill -INT %d) >/dev/null 2>&1 &", Sys.getpid())
    system(kill)
    outcome <- tryCatch(repeat solve_qp(P, q, G, rep(1, 2 * n)), interrupt = function(i) "ended")
    expect_identical(outcome, "ended")
    expect_identical(solve_qp(diag(2), c(-1, -1))$x, c(1, 1))
})

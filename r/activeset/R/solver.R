# Sequences of similar problems.

activeset_solver <- function(P = NULL, q = NULL, G = NULL, h = NULL, A = NULL, b = NULL,
                             lb = NULL, ub = NULL, l = NULL, settings = NULL) {
    pointer <- .Call(C_solver_new, list(P, q, G, h, A, b, lb, ub, l), settings)
    structure(list(pointer = pointer,
                   inequalities = if (is.matrix(G)) nrow(G) else as.integer(!is.null(G))),
              class = "activeset_solver")
}

solve.activeset_solver <- function(a, b, ...) {
    result <- .Call(C_solver_solve, a$pointer)
    sound(result, a$inequalities)
}

update.activeset_solver <- function(object, P, q, G, h, A, b, lb, ub, l, ...) {
    if (...length() > 0L)
        stop("a solver has no part ", sQuote(c(names(list(...)), "")[1L], FALSE), call. = FALSE)
    replaced <- !c(missing(P), missing(q), missing(G), missing(h), missing(A), missing(b),
                   missing(lb), missing(ub), missing(l))
    parts <- vector("list", 9L)
    if (replaced[1L] && !is.null(P)) parts[[1L]] <- P
    if (replaced[2L] && !is.null(q)) parts[[2L]] <- q
    if (replaced[3L] && !is.null(G)) parts[[3L]] <- G
    if (replaced[4L] && !is.null(h)) parts[[4L]] <- h
    if (replaced[5L] && !is.null(A)) parts[[5L]] <- A
    if (replaced[6L] && !is.null(b)) parts[[6L]] <- b
    if (replaced[7L] && !is.null(lb)) parts[[7L]] <- lb
    if (replaced[8L] && !is.null(ub)) parts[[8L]] <- ub
    if (replaced[9L] && !is.null(l)) parts[[9L]] <- l
    .Call(C_solver_update, object$pointer, parts, replaced)
    invisible(object)
}

restart <- function(solver, warm_start = NULL) {
    stopifnot(inherits(solver, "activeset_solver"))
    .Call(C_solver_restart, solver$pointer, warm_start)
    invisible(solver)
}

print.activeset_solver <- function(x, ...) {
    cat("a solver for a sequence of problems\n")
    invisible(x)
}

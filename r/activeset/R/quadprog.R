# solve.QP(), with the interface of the package quadprog.

solve.QP <- function(Dmat, dvec, Amat, bvec, meq = 0, factorized = FALSE) {
    n <- nrow(Dmat)
    m <- ncol(Amat)
    if (missing(bvec))
        bvec <- double(m)
    if (n != ncol(Dmat))
        stop("Dmat is not symmetric!")
    if (n != length(dvec))
        stop("Dmat and dvec are incompatible!")
    if (n != nrow(Amat))
        stop("Amat and dvec are incompatible!")
    if (m != length(bvec))
        stop("Amat and bvec are incompatible!")
    if (meq > m || meq < 0)
        stop("Value of meq is invalid!")
    if (!is.double(Dmat)) storage.mode(Dmat) <- "double"
    if (!is.double(Amat)) storage.mode(Amat) <- "double"
    result <- .Call(C_solve_quadprog, Dmat, as.double(dvec), Amat, as.double(bvec), meq, factorized)
    if (is.character(result))
        stop_for(result, function(name, at) {
            names <- c(H = "Dmat", c = "dvec", A = "Amat", rowLower = "bvec", rowUpper = "bvec")
            label(names[[name]], if (name == "A") rev(at) else at)
        })
    result
}

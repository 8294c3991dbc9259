# solve_qp(), settings and results.

solve_qp <- function(P = NULL, q = NULL, G = NULL, h = NULL, A = NULL, b = NULL,
                     lb = NULL, ub = NULL, l = NULL, x0 = NULL, warm_start = NULL,
                     settings = NULL) {
    result <- .Call(C_solve_qp, list(P, q, G, h, A, b, lb, ub, l), x0, warm_start, settings)
    sound(result, if (is.matrix(G)) nrow(G) else as.integer(!is.null(G)))
}

activeset_settings <- function(tolerance = 1e-9, start = c("automatic", "predict", "cold"),
                               max_iterations = Inf, time_limit = Inf,
                               convexity_tolerance = NULL) {
    number <- function(value, name) {
        if (!is.numeric(value) || length(value) != 1L || is.na(value))
            stop(name, " must be a number", call. = FALSE)
        as.double(value)
    }
    if (number(max_iterations, "max_iterations") < 1)
        stop("max_iterations must be at least 1", call. = FALSE)
    settings <- list(tolerance = number(tolerance, "tolerance"),
                     start = match(match.arg(start), c("automatic", "predict", "cold")) - 1,
                     max_iterations = number(max_iterations, "max_iterations"),
                     time_limit = number(time_limit, "time_limit"))
    if (!is.null(convexity_tolerance))
        settings$convexity_tolerance <- number(convexity_tolerance, "convexity_tolerance")
    structure(settings, class = "activeset_settings")
}

activeset_version <- function() .Call(C_version)

# Turns what C_solve_qp returns into a result, or raises the text of faults that it returns instead. The library
# counts from 0, and has one matrix with the rows of G above those of A.
sound <- function(result, inequalities) {
    if (is.character(result))
        stop_for(result, function(name, at) {
            plain <- c(H = "P", c = "q", lower = "lb", upper = "ub", start = "x0")
            if (name %in% names(plain))
                return(label(plain[[name]], at))
            if (at[1L] <= inequalities)
                return(label(c(A = "G", rowLower = "l", rowUpper = "h")[[name]], at))
            at[1L] <- at[1L] - as.integer(inequalities)
            label(if (name == "A") "A" else "b", at)
        })
    result
}

label <- function(name, at) sprintf("%s[%s]", name, paste(at, collapse = ", "))

# Raises the text of faults. `rename` maps the name and position of each entry in them, such as c(0).
stop_for <- function(text, rename) {
    text <- gsub("settings.timeLimit", "time_limit", text, fixed = TRUE)
    text <- gsub("settings.convexityTolerance", "convexity_tolerance", text, fixed = TRUE)
    text <- gsub("settings.", "", text, fixed = TRUE)
    text <- gsub("(^|\n)H is", "\\1P is", text)
    entry <- "\\b(H|c|A|rowLower|rowUpper|lower|upper|start)\\((\\d+)(, (\\d+))?\\)"
    found <- gregexpr(entry, text, perl = TRUE)
    regmatches(text, found) <- lapply(regmatches(text, found), function(labels) {
        vapply(labels, function(one) {
            rename(sub("\\(.*", "", one),
                   as.integer(regmatches(one, gregexpr("\\d+", one))[[1L]]) + 1L)
        }, "")
    })
    stop(text, call. = FALSE)
}

print.activeset_result <- function(x, ...) {
    cat(x$status, if (nzchar(x$message)) paste0(" (", x$message, ")"), "\n", sep = "")
    if (!is.nan(x$obj) && !anyNA(x$x)) {
        cat("objective", format(x$obj, digits = 7), "\n")
        cat("x", format(head(x$x, 10L), digits = 5), if (length(x$x) > 10L) "...", "\n")
    }
    invisible(x)
}

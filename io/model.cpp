// A model seen as a problem of the front end.
#include "io/model.hpp"

namespace activeset::io {

namespace {

Penalty viewOf(const Penalties& penalty) {
    return {penalty.lowerLinear, penalty.upperLinear, penalty.lowerQuadratic,
            penalty.upperQuadratic};
}

}  // namespace

Problem viewsOf(const Model& model) {
    const std::size_t n = model.n();
    const std::size_t m = model.m();
    Problem views;
    views.H = {model.H, n, n};
    views.c = model.c;
    views.A = {model.A, m, m == 0 ? 0 : n};
    views.rowLower = model.rowLower;
    views.rowUpper = model.rowUpper;
    views.lower = model.lower;
    views.upper = model.upper;
    views.constant = model.constant;
    views.rowPenalty = viewOf(model.rowPenalty);
    views.boundPenalty = viewOf(model.boundPenalty);
    return views;
}

}  // namespace activeset::io

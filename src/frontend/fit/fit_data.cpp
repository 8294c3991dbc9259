// Checks the data of a fit, takes in weights, and forms the QR factors.
#include "frontend/fit/fit_data.hpp"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include "frontend/problem/problem_data.hpp"
#include "host/lapack.hpp"

namespace activeset::frontend {

namespace {

/// The text with `name` in the place of a part's name of one letter.
std::string renamed(const std::string& text, char from, const char* name) {
    const auto isPartOfWord = [&](std::size_t place) {
        return place < text.size() && std::isalnum(static_cast<unsigned char>(text[place])) != 0;
    };
    std::string result;
    for (std::size_t k = 0; k < text.size(); ++k) {
        const bool isName =
            text[k] == from && !isPartOfWord(k + 1) && (k == 0 || !isPartOfWord(k - 1));
        isName ? result.append(name) : result.append(1, text[k]);
    }
    return result;
}

/// Adds the faults of one part of a stand-in problem, under the name that the part has in a fit.
void addFaults(std::vector<Fault>& faults,
               const Problem& standIn,
               std::size_t n,
               std::size_t m,
               Part part,
               const char* name) {
    for (Fault& fault : faultsIn(standIn, n, m, part)) {
        fault.text = renamed(fault.text, fault.name.front(), name);
        fault.name = name;
        faults.push_back(std::move(fault));
    }
}

Dense denseOf(const MatrixView& matrix) {
    Dense copy(matrix.rows(), matrix.cols());
    for (std::size_t j = 0; j < copy.cols; ++j) {
        for (std::size_t i = 0; i < copy.rows; ++i) {
            copy(i, j) = matrix(i, j);
        }
    }
    return copy;
}

Fault lengthFault(const char* name, std::size_t size, std::size_t expected) {
    return {name,
            size,
            0,
            0.0,
            std::string(name) + " has " + std::to_string(size) + " entries, expected " +
                std::to_string(expected) + ", one per row of R",
            1};
}

/// The columns from `col` on, `cols` of them, from row `row` down.
Block part(Dense& matrix, std::size_t row, std::size_t col, std::size_t cols) {
    return {matrix.column(col) + row, matrix.rows - row, cols, matrix.rows};
}

}  // namespace

Problem constraintsOf(const LeastSquares& problem, const Vector& zeros) {
    Problem constraints;
    constraints.c = zeros;
    constraints.A = problem.A;
    constraints.rowLower = problem.rowLower;
    constraints.rowUpper = problem.rowUpper;
    constraints.lower = problem.lower;
    constraints.upper = problem.upper;
    return constraints;
}

std::vector<Fault> faultsOfFit(const LeastSquares& problem) {
    const std::size_t n = problem.R.cols();
    const std::size_t k = problem.R.rows();
    Problem standIn;
    standIn.A = problem.R;
    standIn.c = problem.s;
    standIn.H = problem.W;
    std::vector<Fault> faults;
    addFaults(faults, standIn, n, k, Part::Rows, "R");
    if (problem.s.size() != k) {
        faults.push_back(lengthFault("s", problem.s.size(), k));
    } else {
        addFaults(faults, standIn, k, 0, Part::Linear, "s");
    }
    if (problem.weights.size() != k && !problem.weights.empty()) {
        faults.push_back(lengthFault("weights", problem.weights.size(), k));
        return faults;
    }
    standIn.c = problem.weights;
    addFaults(faults, standIn, k, 0, Part::Linear, "weights");
    for (std::size_t i = 0; i < problem.weights.size(); ++i) {
        if (problem.weights[i] < 0.0) {
            faults.push_back({"weights", i, 0, problem.weights[i],
                              "weights(" + std::to_string(i) + ") is negative", 1});
            break;
        }
    }
    addFaults(faults, standIn, k, 0, Part::Hessian, "W");
    return faults;
}

bool takeIn(const LeastSquares& problem, Fit& fit) {
    fit.R = denseOf(problem.R);
    fit.s.assign(problem.s.data(), problem.s.data() + problem.s.size());
    for (std::size_t i = 0; i < problem.weights.size(); ++i) {
        const double root = std::sqrt(problem.weights[i]);
        for (std::size_t j = 0; j < fit.R.cols; ++j) {
            fit.R(i, j) *= root;
        }
        fit.s[i] *= root;
    }
    if (problem.W.empty()) {
        return true;
    }
    Dense root = denseOf(problem.W);
    if (lapack::potrf(part(root, 0, 0, root.cols)) != 0) {
        return false;
    }
    for (std::size_t j = 0; j < root.cols; ++j) {
        std::fill(root.column(j) + j + 1, root.column(j) + root.rows, 0.0);
    }
    fit.R = product(root, fit.R);
    fit.s = product(root.values, root.rows, fit.s);
    return true;
}

void PanelFactor::factorise(Dense matrix, std::size_t count, Control& control) {
    constexpr std::size_t Operations = 50'000'000;  // for a panel: some milliseconds
    packed_ = std::move(matrix);
    scales_.assign(count, 0.0);
    const std::size_t ofColumn = 4 * packed_.rows * packed_.cols;
    width_ = std::clamp<std::size_t>(Operations / ofColumn, 32, count + 32);
    for (std::size_t first = 0; first < count && !control.mustEnd(); first += width_) {
        const std::size_t size = std::min(width_, count - first);
        const Block panel = part(packed_, first, first, size);
        lapack::geqrf(panel, scales_.data() + first);
        lapack::ormqr(Op::Transpose, panel, scales_.data() + first,
                      part(packed_, first, first + size, packed_.cols - first - size));
        control.poll();
    }
}

void PanelFactor::applyPanel(std::size_t first, bool isTransposed, Vector& v) const {
    const std::size_t size = std::min(width_, scales_.size() - first);
    const ConstBlock panel(packed_.column(first) + first, packed_.rows - first, size, packed_.rows);
    lapack::ormqr(isTransposed ? Op::Transpose : Op::None, panel, scales_.data() + first,
                  {v.data() + first, v.size() - first, 1});
}

void PanelFactor::applyTransposed(Vector& v) const {
    for (std::size_t first = 0; first < scales_.size(); first += width_) {
        applyPanel(first, true, v);
    }
}

void PanelFactor::apply(Vector& v) const {
    const std::size_t panels = scales_.empty() ? 0 : (scales_.size() - 1) / width_ + 1;
    for (std::size_t k = panels; k-- > 0;) {
        applyPanel(k * width_, false, v);
    }
}

void reduce(Fit& fit, Control& control) {
    const std::size_t k = fit.R.rows;
    const std::size_t n = fit.R.cols;
    if (k <= n) {
        fit.T = fit.R;
        fit.t = fit.s;
        return;
    }
    Dense joined(k, n + 1);
    std::ranges::copy(fit.R.values, joined.values.begin());
    std::ranges::copy(fit.s, joined.column(n));
    fit.Q.factorise(std::move(joined), n, control);
    const Dense& packed = fit.Q.packed();
    fit.T = Dense(n, n);
    for (std::size_t j = 0; j < n; ++j) {
        std::copy_n(packed.column(j), j + 1, fit.T.column(j));
    }
    const double* turned = packed.column(n);
    fit.t.assign(turned, turned + n);
    fit.rest = 0.5 * dot(turned + n, turned + n, k - n);
}

}  // namespace activeset::frontend

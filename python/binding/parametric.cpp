// Derivatives, ranges and paths: the functions of the front end with plain arrays under its names.
// Python code splits rows into those of G and of A.
#include "parametric.hpp"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "activeset/path.hpp"
#include "activeset/ranges.hpp"
#include "activeset/sensitivity.hpp"
#include "arrays.hpp"
#include "parametric_arrays.hpp"
#include "problem_holder.hpp"
#include "result.hpp"
#include "task.hpp"

namespace activeset::python {

namespace {

struct Derivatives {
    std::unique_ptr<const Sensitivity> sensitivity;
    py::ssize_t n = 0;
    py::ssize_t m = 0;
};

Derivatives derivativesOf(py::handle result, py::handle given) {
    const ProblemHolder problem = holderOf(given);
    const Problem& views = problem.data->views();
    const Result& solved = resultIn(result);
    return translated([&] {
        const WithoutGil released;
        return Derivatives{std::make_unique<const Sensitivity>(solved, views),
                           static_cast<py::ssize_t>(problem.data->variables()),
                           static_cast<py::ssize_t>(views.A.rows())};
    });
}

py::dict smoothnessOf(const Derivatives& self) {
    const Smoothness& smoothness = self.sensitivity->smoothness();
    py::dict all;
    all["derivative"] = textOf(smoothness.derivative);
    all["weakRows"] = arrayOf(smoothness.weakRows);
    all["weakBounds"] = arrayOf(smoothness.weakBounds);
    all["dependent"] = smoothness.dependent;
    all["flat"] = smoothness.flat;
    return all;
}

py::dict backward(const Derivatives& self,
                  const Columns& dx,
                  const Columns& dy,
                  const Columns& dz) {
    const py::ssize_t n = self.n, m = self.m, count = dx.shape(1);
    const MatrixView x = viewOf(dx), y = viewOf(dy), z = viewOf(dz);
    const Gradients gradients = translated([&] {
        const WithoutGil released;
        return self.sensitivity->backward(x, y, z);
    });
    py::dict all;
    all["H"] = arrayOf(gradients.H, {n, n, count});
    all["c"] = arrayOf(gradients.c, {n, count});
    all["A"] = arrayOf(gradients.A, {m, n, count});
    all["rowLower"] = arrayOf(gradients.rowLower, {m, count});
    all["rowUpper"] = arrayOf(gradients.rowUpper, {m, count});
    all["lower"] = arrayOf(gradients.lower, {n, count});
    all["upper"] = arrayOf(gradients.upper, {n, count});
    return all;
}

py::tuple forward(const Derivatives& self,
                  const Columns& H,
                  const Vector& c,
                  const Columns& A,
                  const Vector& rowLower,
                  const Vector& rowUpper,
                  const Vector& lower,
                  const Vector& upper) {
    const SolutionChange change = translated([&] {
        return self.sensitivity->forward({viewOf(H), vectorIn(c), viewOf(A), vectorIn(rowLower),
                                          vectorIn(rowUpper), vectorIn(lower), vectorIn(upper)});
    });
    return py::make_tuple(vectorFrom(change.x), vectorFrom(change.y), vectorFrom(change.z));
}

/// One row per number: value, least, most, the objective at both, whether it is degenerate.
py::array tableOf(const std::vector<Range>& ranges) {
    std::vector<double> values;
    for (auto part : {&Range::value, &Range::least, &Range::most, &Range::objectiveAtLeast,
                      &Range::objectiveAtMost}) {
        for (const Range& range : ranges) {
            values.push_back(range.*part);
        }
    }
    for (const Range& range : ranges) {
        values.push_back(range.isDegenerate ? 1.0 : 0.0);
    }
    return arrayOf(values, {static_cast<py::ssize_t>(ranges.size()), 6});
}

py::dict rangesIn(py::handle result, py::handle given) {
    const ProblemHolder problem = holderOf(given);
    const Result& solved = resultIn(result);
    const Ranges all = translated([&] {
        const WithoutGil released;
        return ranges(solved, problem.data->views());
    });
    py::dict tables;
    tables["c"] = tableOf(all.c);
    tables["rowLower"] = tableOf(all.rowLower);
    tables["rowUpper"] = tableOf(all.rowUpper);
    tables["lower"] = tableOf(all.lower);
    tables["upper"] = tableOf(all.upper);
    return tables;
}

/// One vector of every piece, one piece per row.
template <class Part>
py::array rowsOf(const std::vector<Piece>& pieces, std::size_t length, Part part) {
    py::array_t<double> table(
        {static_cast<py::ssize_t>(pieces.size()), static_cast<py::ssize_t>(length)});
    double* target = table.mutable_data();
    for (const Piece& piece : pieces) {
        target = std::copy((piece.*part).begin(), (piece.*part).end(), target);
    }
    return table;
}

template <class Part>
py::array columnOf(const std::vector<Piece>& pieces, Part part) {
    std::vector<double> values;
    for (const Piece& piece : pieces) {
        values.push_back(piece.*part);
    }
    return vectorFrom(values);
}

py::dict pathOf(py::handle given,
                const Vector& c,
                const Vector& rowLower,
                const Vector& rowUpper,
                const Vector& lower,
                const Vector& upper,
                double from,
                double to) {
    const ProblemHolder problem = holderOf(given);
    const Direction direction{vectorIn(c), vectorIn(rowLower), vectorIn(rowUpper), vectorIn(lower),
                              vectorIn(upper)};
    // By value: a task that is left behind still reads these.
    const auto traced = std::make_shared<std::optional<Path>>();
    const auto task = std::make_shared<FunctionTask>(
        [traced, problem, direction, from, to, c, rowLower, rowUpper, lower, upper](auto stop) {
            Settings settings;
            settings.stop = std::move(stop);
            traced->emplace(problem.data->views(), direction, from, to, settings);
        });
    translated([&] { runAttended(task); });
    const Path& path = **traced;
    const std::vector<Piece>& pieces = path.pieces();
    const std::size_t n = problem.data->variables(), m = problem.data->views().A.rows();
    py::dict all;
    all["status"] = textOf(path.status());
    all["message"] = path.message();
    all["end"] = path.end();
    all["farkas_y"] = vectorFrom(path.farkas().y);
    all["farkas_z"] = vectorFrom(path.farkas().z);
    all["direction"] = vectorFrom(path.direction());
    all["from"] = columnOf(pieces, &Piece::from);
    all["to"] = columnOf(pieces, &Piece::to);
    all["objective"] = columnOf(pieces, &Piece::objective);
    all["slope"] = columnOf(pieces, &Piece::slope);
    all["curvature"] = columnOf(pieces, &Piece::curvature);
    all["x"] = rowsOf(pieces, n, &Piece::x);
    all["y"] = rowsOf(pieces, m, &Piece::y);
    all["z"] = rowsOf(pieces, n, &Piece::z);
    all["dx"] = rowsOf(pieces, n, &Piece::dx);
    all["dy"] = rowsOf(pieces, m, &Piece::dy);
    all["dz"] = rowsOf(pieces, n, &Piece::dz);
    return all;
}

}  // namespace

void addParametric(py::module_& module) {
    py::class_<Derivatives>(module, "Derivatives")
        .def(py::init(&derivativesOf))
        .def("smoothness", &smoothnessOf)
        .def("backward", &backward)
        .def("forward", &forward);
    module.def("ranges", &rangesIn);
    module.def("path", &pathOf);
}

}  // namespace activeset::python

// Explicit laws: enumerated without the GIL, evaluated for many parameters at once.
#include "regions.hpp"

#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "activeset/regions.hpp"
#include "control.hpp"
#include "parametric_arrays.hpp"
#include "problem_holder.hpp"
#include "result.hpp"
#include "task.hpp"

namespace activeset::python {

namespace {

/// The numbers of a matrix by rows, as the front end has them.
py::array tableOf(const std::vector<double>& values, std::size_t rows, std::size_t cols) {
    py::array_t<double> table({static_cast<py::ssize_t>(rows), static_cast<py::ssize_t>(cols)});
    std::copy(values.begin(), values.end(), table.mutable_data());
    return table;
}

struct Law {
    Regions regions;
    std::size_t n = 0;
};

Law lawOf(py::handle given,
          const Columns& c,
          const Columns& rows,
          const Columns& bounds,
          const Vector& least,
          const Vector& most,
          std::size_t limit,
          std::size_t samples) {
    requireNoCallback();
    const ProblemHolder problem = holderOf(given);
    const Parameters parameters{viewOf(c), viewOf(rows), viewOf(bounds), vectorIn(least),
                                vectorIn(most)};
    // By value: a task that is left behind still reads these.
    const auto law = std::make_shared<std::optional<Law>>();
    const auto task = std::make_shared<FunctionTask>(
        [law, problem, parameters, limit, samples, c, rows, bounds, least, most](auto stop) {
            RegionSettings settings{.most = limit, .samples = samples};
            settings.each.stop = std::move(stop);
            law->emplace(Law{Regions(problem.data->views(), parameters, settings),
                             problem.data->variables()});
        });
    translated([&] { runAttended(task); });
    return std::move(**law);
}

/// For each row of a C-ordered array of parameters: the region, −1 for none, and x.
py::tuple look(const Law& law, const Vector& thetas) {
    const std::size_t p = law.regions.parameters();
    if (thetas.ndim() != 2 || static_cast<std::size_t>(thetas.shape(1)) != p) {
        throw py::value_error("expected one column for each parameter");
    }
    const auto count = static_cast<std::size_t>(thetas.shape(0));
    py::array_t<std::int64_t> found(static_cast<py::ssize_t>(count));
    py::array_t<double> points({static_cast<py::ssize_t>(count), static_cast<py::ssize_t>(law.n)});
    std::fill_n(points.mutable_data(), count * law.n, std::numeric_limits<double>::quiet_NaN());
    for (std::size_t k = 0; k < count; ++k) {
        const VectorView theta{thetas.data() + k * p, p};
        const auto place = law.regions.find(theta);
        found.mutable_data()[k] = place ? static_cast<std::int64_t>(*place) : -1;
        const std::vector<double> x = law.regions.x(theta);
        std::copy(x.begin(), x.end(), points.mutable_data() + k * law.n);
    }
    return py::make_tuple(found, points);
}

py::tuple regionOf(const Law& law, std::size_t k) {
    const CriticalRegion& region = law.regions.all().at(k);
    const std::size_t p = law.regions.parameters();
    return py::make_tuple(tableOf(region.E, region.e.size(), p), vectorFrom(region.e),
                          tableOf(region.gain, law.n, p), vectorFrom(region.offset),
                          tupleOf(region.workingSet));
}

std::string solverCodeOf(py::handle given, const std::string& name) {
    const ProblemHolder problem = holderOf(given);
    return translated([&] { return solverCode(problem.data->views(), name); });
}

}  // namespace

void addRegions(py::module_& module) {
    py::class_<Law>(module, "Law")
        .def(py::init(&lawOf))
        .def("__len__", [](const Law& law) { return law.regions.all().size(); })
        .def("is_complete", [](const Law& law) { return law.regions.isComplete(); })
        .def("look", &look)
        .def("region", &regionOf)
        .def("code", [](const Law& law, const std::string& name) {
            return translated([&] { return law.regions.code(name); });
        });
    module.def("solver_code", &solverCodeOf);
}

}  // namespace activeset::python

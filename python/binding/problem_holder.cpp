// The class ProblemData of the extension module.
#include "problem_holder.hpp"

#include "arrays.hpp"
#include "result.hpp"
#include "solve.hpp"

namespace activeset::python {

namespace {

ProblemHolder create(const py::dict& parts, const ProblemHolder* like) {
    return {std::make_shared<const ProblemData>(partsOf(parts),
                                                like == nullptr ? nullptr : like->data.get()),
            {}};
}

/// An array, or None for an absent part.
py::object partOf(const ProblemHolder& holder, const std::string& name) {
    for (std::size_t part = 0; part < Parts; ++part) {
        if (name == PartNames[part]) {
            const py::object& owner = holder.data->owners()[part];
            return owner ? owner : py::none();
        }
    }
    throw py::key_error(name);
}

py::tuple viewOf(const MatrixView& view) {
    return py::make_tuple(reinterpret_cast<std::uintptr_t>(view.data()), view.rows(), view.cols(),
                          view.leading(), view.order() == Order::RowMajor ? "C" : "F");
}

py::tuple viewOf(const VectorView& view) {
    return py::make_tuple(reinterpret_cast<std::uintptr_t>(view.data()), view.size());
}

/// The addresses and sizes that the front end reads, by the names of its members.
py::dict viewsOf(const ProblemHolder& holder) {
    const Problem& problem = holder.data->views();
    py::dict views;
    views["H"] = viewOf(problem.H);
    views["c"] = viewOf(problem.c);
    views["A"] = viewOf(problem.A);
    views["rowLower"] = viewOf(problem.rowLower);
    views["rowUpper"] = viewOf(problem.rowUpper);
    views["lower"] = viewOf(problem.lower);
    views["upper"] = viewOf(problem.upper);
    return views;
}

}  // namespace

void addProblemHolder(py::module_& module) {
    py::class_<ProblemHolder>(module, "ProblemData")
        .def(py::init(&create), py::arg("parts"), py::arg("like") = nullptr)
        .def("part", &partOf)
        .def("views", &viewsOf)
        .def("faults",
             [](const ProblemHolder& holder) { return listOf(faultsOf(holder.data->views())); })
        .def("set_names",
             [](ProblemHolder& holder, py::object names) {
                 holder.names = names.is_none() ? py::object() : std::move(names);
             })
        .def_property_readonly(
            "constant", [](const ProblemHolder& holder) { return holder.data->views().constant; })
        .def_property_readonly("sizes", [](const ProblemHolder& holder) {
            return py::make_tuple(holder.data->variables(), holder.data->inequalities(),
                                  holder.data->equalities());
        });
}

ProblemHolder holderOf(py::handle problem) {
    if (!py::hasattr(problem, "_data")) {
        throw py::type_error("expected a Problem");
    }
    const py::object data = problem.attr("_data");
    if (!py::isinstance<ProblemHolder>(data)) {
        throw py::type_error("expected a Problem");
    }
    return data.cast<const ProblemHolder&>();
}

}  // namespace activeset::python

// The extension module activeset._reader: problem files and reports. It is loaded when the first
// file is read or written.
#include <pybind11/stl.h>

#include "io/reader.hpp"
#include "python.hpp"
#include "report/page.hpp"

namespace activeset::python {
namespace {

py::array_t<double> matrixOf(const std::vector<double>& values,
                             std::size_t rows,
                             std::size_t cols) {
    const auto m = static_cast<py::ssize_t>(rows);
    const auto n = static_cast<py::ssize_t>(cols);
    constexpr py::ssize_t Entry = sizeof(double);
    return py::array_t<double>({m, n}, {Entry, Entry * m}, values.data());
}

py::array_t<double> vectorOf(const std::vector<double>& values) {
    return py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data());
}

/// The parts of the problem in the file, by the names of the members of io::Problem.
py::dict read(const std::string& path) {
    io::Problem problem;
    {
        const WithoutGil released;
        problem = io::readProblem(path);
    }
    py::dict parts;
    parts["name"] = problem.name;
    parts["maximise"] = problem.maximise;
    parts["H"] = matrixOf(problem.H, problem.n, problem.n);
    parts["c"] = vectorOf(problem.c);
    parts["constant"] = problem.constant;
    parts["A"] = matrixOf(problem.A, problem.mIneq, problem.n);
    parts["b"] = vectorOf(problem.b);
    parts["Aeq"] = matrixOf(problem.Aeq, problem.mEq, problem.n);
    parts["beq"] = vectorOf(problem.beq);
    parts["lb"] = vectorOf(problem.lb);
    parts["ub"] = vectorOf(problem.ub);
    parts["names"] = problem.variableNames;
    parts["equality_names"] = problem.equalityNames;
    py::list inequalities;
    for (const io::InequalityOrigin& origin : problem.inequalities) {
        inequalities.append(py::make_tuple(origin.row, origin.upper));
    }
    parts["inequalities"] = inequalities;
    py::list notes;
    for (const io::Note& note : problem.notes) {
        notes.append(py::make_tuple(note.line, note.text));
    }
    parts["notes"] = notes;
    return parts;
}

}  // namespace
}  // namespace activeset::python

PYBIND11_MODULE(_reader, module) {
    namespace py = pybind11;
    using namespace activeset;
    module.doc() = "Reads problem files and makes reports for the package activeset.";
    py::register_exception<io::ReadError>(module, "ReadError", PyExc_ValueError).doc() =
        "A problem file that is missing, malformed or too large; the text has file and line.";
    module.def("read", &python::read);
    module.def("page", &report::pageOf);
}

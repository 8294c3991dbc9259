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

/// The four arrays of a penalty in the order of PenaltyParts; None for absent ones.
py::list penaltyOf(const io::Penalties& penalty) {
    py::list parts;
    for (const io::PenaltyPart& part : io::PenaltyParts) {
        const std::vector<double>& values = penalty.*part.values;
        parts.append(values.empty() ? py::object(py::none()) : vectorOf(values));
    }
    return parts;
}

/// The parts of the problem in the file; each row has two sides.
py::dict read(const std::string& path) {
    io::Model model;
    {
        const WithoutGil released;
        model = io::readModel(path);
    }
    py::dict parts;
    parts["name"] = model.name;
    parts["maximise"] = model.maximise;
    parts["H"] = matrixOf(model.H, model.n(), model.n());
    parts["c"] = vectorOf(model.c);
    parts["constant"] = model.constant;
    parts["A"] = matrixOf(model.A, model.m(), model.n());
    parts["row_lower"] = vectorOf(model.rowLower);
    parts["row_upper"] = vectorOf(model.rowUpper);
    parts["lower"] = vectorOf(model.lower);
    parts["upper"] = vectorOf(model.upper);
    parts["row_penalty"] = penaltyOf(model.rowPenalty);
    parts["bound_penalty"] = penaltyOf(model.boundPenalty);
    parts["names"] = model.variables;
    parts["row_names"] = model.rows;
    py::list notes;
    for (const io::Note& note : model.notes) {
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

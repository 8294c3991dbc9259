// The extension module activeset._core, the base of the package.
#include "batch.hpp"
#include "control.hpp"
#include "kept_solver.hpp"
#include "least_squares.hpp"
#include "many.hpp"
#include "parametric.hpp"
#include "problem_holder.hpp"
#include "python.hpp"
#include "regions.hpp"
#include "relax.hpp"
#include "result.hpp"
#include "result_state.hpp"
#include "solve.hpp"
#include "task.hpp"

namespace activeset::python {
namespace {

/// The module has one set of classes and threads, so only one interpreter may load it.
void requireMainInterpreter() {
    if (PyInterpreterState_Get() != PyInterpreterState_Main()) {
        throw py::import_error("activeset works in the main interpreter of a process only");
    }
}

void configure(py::type resultClass, py::tuple statuses) {
    requireMainInterpreter();
    configureResults(std::move(resultClass), std::move(statuses));
}

}  // namespace
}  // namespace activeset::python

PYBIND11_MODULE(_core, module) {
    using namespace activeset::python;
    module.doc() = "The solver behind the package activeset.";
    addResultType(module);
    addSolve(module);
    addLeastSquares(module);
    addSolverType(module);
    addProblemHolder(module);
    addMany(module);
    addBatch(module);
    addParametric(module);
    addRegions(module);
    addRelax(module);
    module.def("configure", &configure);
    module.def("restore", &restore);
    module.def("end_tasks", &endTasks);
    module.attr("LONG_SOLVE") = LongSolve;
}

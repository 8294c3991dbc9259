// solve_qp and other functions of one problem. solve_qp is called often for small problems, so it
// reads its arguments without a tuple or a dictionary.
#include "solve.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "arguments.hpp"
#include "control.hpp"
#include "result.hpp"
#include "solve_text.hpp"

namespace activeset::python {

namespace {

/// One problem, with the arrays that its solve reads.
struct OneSolve {
    ProblemData data;
    WarmStart warmStart;
    bool isWarm = false;

    Result operator()(const Settings& settings) const {
        if (!isWarm) {
            return solve(data.views(), settings);
        }
        Problem problem = data.views();
        problem.warmStart = &warmStart;
        return solve(problem, settings);
    }
};

enum Parameter : std::size_t {
    Warm = Parts,
    SettingsAt,
    Verbose,
    Callback,
    Names,
    RowNames,
    Count
};

using Given = std::array<PyObject*, Count>;

py::object namesOf(PyObject* names, PyObject* rowNames, const ProblemData& data) {
    if (names == nullptr && rowNames == nullptr) {
        return {};
    }
    const auto orNone = [](PyObject* given) { return given == nullptr ? Py_None : given; };
    return packaged("activeset._convert", "all_names")(
        py::handle(orNone(names)), py::handle(orNone(rowNames)), data.variables(),
        data.inequalities() + data.equalities());
}

PyObject* solveGiven(OneSolve solve, Control control, py::object names) {
    ResultLayout layout{solve.data.inequalities(), solve.data.equalities(), std::move(names)};
    const std::size_t entries = solve.data.entries();
    Result result = perform(entries, control, std::move(solve));
    if (result.status == Status::Invalid) {
        raiseInvalid(result.faults, layout);
    }
    auto made = py::reinterpret_steal<py::object>(makeResult(std::move(result), std::move(layout)));
    if (control.printer) {
        control.printer.attr("finish")(made);
    }
    return made.release().ptr();
}

PyObject* solveQp(PyObject* /*module*/,
                  PyObject* const* args,
                  Py_ssize_t positional,
                  PyObject* keywords) noexcept {
    static const Signature<Count> signature(
        "solve_qp", 2, 8,
        {"P", "q", "G", "h", "A", "b", "lb", "ub", "l", "constant", "x0", "soft", "warm_start",
         "settings", "verbose", "callback", "names", "row_names"});
    return guarded([&] {
        const Given given = signature.read(args, positional, keywords);
        GivenParts parts{};
        std::copy_n(given.begin(), Parts, parts.begin());
        OneSolve solve{ProblemData(parts), {}};
        if (given[Warm] != nullptr) {
            solve.warmStart = warmStartOf(given[Warm]);
            solve.isWarm = true;
        }
        py::object names = namesOf(given[Names], given[RowNames], solve.data);
        return solveGiven(std::move(solve),
                          controlOf(given[SettingsAt], given[Verbose], given[Callback]),
                          std::move(names));
    });
}

PyMethodDef solveQpMethod{"solve_qp",
                          reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&solveQp)),
                          METH_FASTCALL | METH_KEYWORDS, nullptr};

}  // namespace

void raiseInvalid(const std::vector<Fault>& faults, const ResultLayout& layout) {
    const py::object names = layout.names ? layout.names : py::none();
    packaged("activeset._faults", "raise_invalid")(listOf(faults), layout.inequalities,
                                                   layout.equalities, names);
    throw py::value_error("the problem is invalid");
}

GivenParts partsOf(const py::dict& parts) {
    GivenParts given{};
    for (const auto& [key, value] : parts) {
        const auto name = key.cast<std::string_view>();
        const auto part = std::find(PartNames.begin(), PartNames.end(), name);
        if (part == PartNames.end()) {
            throw py::type_error("a problem has no part '" + std::string(name) + "'");
        }
        given[static_cast<std::size_t>(part - PartNames.begin())] =
            value.is_none() ? nullptr : value.ptr();
    }
    return given;
}

void addSolve(py::module_& module) {
    solveQpMethod.ml_doc = SolveQpText;
    module.attr("solve_qp") = py::reinterpret_steal<py::object>(
        PyCFunction_NewEx(&solveQpMethod, nullptr, py::str("activeset").release().ptr()));
}

}  // namespace activeset::python

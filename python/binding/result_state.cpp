// Conversions between Result and a dictionary.
#include "result_state.hpp"

#include <pybind11/stl.h>

#include <algorithm>
#include <string>

#include "arrays.hpp"
#include "result.hpp"

namespace activeset::python {

namespace {

py::object copyOf(const std::vector<double>& values) {
    return py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data());
}

py::tuple pair(const Residual& residual) {
    return py::make_tuple(residual.absolute, residual.relative);
}

Residual residualOf(const py::handle& given) {
    const auto [absolute, relative] = given.cast<std::pair<double, double>>();
    return {absolute, relative};
}

std::vector<Fault> faultsOf(const py::handle& given) {
    std::vector<Fault> faults;
    for (const py::handle item : given) {
        const auto fields = py::reinterpret_borrow<py::sequence>(item);
        faults.push_back({fields[0].cast<std::string>(), fields[1].cast<std::size_t>(),
                          fields[2].cast<std::size_t>(), fields[3].cast<double>(),
                          fields[4].cast<std::string>(), fields[5].cast<std::size_t>()});
    }
    return faults;
}

/// Calls `read` with the entry if it exists.
template <class Read>
void readEntry(const py::dict& state, const char* name, Read read) {
    if (state.contains(name) && !state[name].is_none()) {
        read(py::object(state[name]));
    }
}

Status statusOf(const std::string& text) {
    for (int k = 0; k <= static_cast<int>(Status::Failed); ++k) {
        const auto status = static_cast<Status>(k);
        if (text == textOf(status)) {
            return status;
        }
    }
    throw py::value_error("no status is called '" + text + "'");
}

}  // namespace

py::object tupleOf(const ViolatedSides& sides) {
    if (sides.size() == 0) {
        return py::none();
    }
    return py::make_tuple(arrayOf(sides.rowsAtLower), arrayOf(sides.rowsAtUpper),
                          arrayOf(sides.atLower), arrayOf(sides.atUpper));
}

py::tuple tupleOf(const WorkingSet& set) {
    return py::make_tuple(arrayOf(set.equalities), arrayOf(set.rowsAtLower),
                          arrayOf(set.rowsAtUpper), arrayOf(set.atLower), arrayOf(set.atUpper),
                          arrayOf(set.fixed), tupleOf(set.softViolated));
}

WorkingSet workingSetOf(const py::sequence& arrays) {
    if (arrays.size() != 6 && arrays.size() != 7) {
        throw py::value_error("a working set has six parts, or seven");
    }
    const auto list = [&](std::size_t k) { return indicesOf(arrays[k]); };
    WorkingSet set{list(0), list(1), list(2), list(3), list(4), list(5)};
    if (arrays.size() == 7 && !py::object(arrays[6]).is_none()) {
        const py::sequence soft = arrays[6];
        if (soft.size() != 4) {
            throw py::value_error("violated sides have four parts");
        }
        const auto sides = [&](std::size_t k) { return indicesOf(soft[k]); };
        set.softViolated = {sides(0), sides(1), sides(2), sides(3)};
    }
    return set;
}

WarmStart warmStartOf(py::handle given) {
    WarmStart start;
    if (py::hasattr(given, "_state")) {
        return resultIn(given).warmStart();
    }
    if (!py::hasattr(given, "x") || !py::hasattr(given, "working_set")) {
        throw py::type_error("warm_start has to be a WarmStart or a Result");
    }
    start.x = numbersOf(given.attr("x"));
    const py::object set = given.attr("working_set");
    if (!set.is_none()) {
        start.workingSet = workingSetOf(set);
    }
    return start;
}

py::list listOf(const std::vector<Fault>& faults) {
    py::list list;
    for (const Fault& fault : faults) {
        list.append(
            py::make_tuple(fault.name, fault.row, fault.col, fault.value, fault.text, fault.count));
    }
    return list;
}

py::dict stateOf(const Result& result) {
    py::dict state;
    state["status"] = textOf(result.status);
    state["exit_code"] = result.exitCode;
    state["x"] = copyOf(result.x);
    state["obj"] = result.objective;
    state["row_duals"] = copyOf(result.y);
    state["z_box"] = copyOf(result.z);
    state["working_set"] = tupleOf(result.workingSet);
    const Certificate& proof = result.certificate;
    state["certificate"] = py::make_tuple(pair(proof.primal), pair(proof.dual), pair(proof.gap));
    if (const auto& farkas = result.farkas) {
        state["farkas"] = py::make_tuple(copyOf(farkas->y), copyOf(farkas->z),
                                         pair(farkas->residual), farkas->value, farkas->radius);
    }
    state["hessian_shift"] = result.hessianShift;
    state["direction"] = copyOf(result.direction);
    state["direction_residual"] = pair(result.directionResidual);
    state["faults"] = listOf(result.faults);
    state["message"] = result.message;
    state["was_predicted"] = result.wasPredicted;
    const Iterations& count = result.iterations;
    state["iterations"] = py::make_tuple(count.phaseOne, count.main, count.prediction, count.dual,
                                         count.proximal, count.refinement);
    const Times& seconds = result.times;
    state["times"] = py::make_tuple(seconds.setup, seconds.solve, seconds.polish, seconds.total);
    return state;
}

namespace {

void readProof(const py::dict& state, Result& result) {
    readEntry(state, "certificate", [&](const py::object& given) {
        const auto parts = py::reinterpret_borrow<py::sequence>(given);
        result.certificate = {residualOf(parts[0]), residualOf(parts[1]), residualOf(parts[2])};
    });
    readEntry(state, "farkas", [&](const py::object& given) {
        const auto parts = py::reinterpret_borrow<py::sequence>(given);
        result.farkas = Farkas{numbersOf(parts[0]), numbersOf(parts[1]), residualOf(parts[2]),
                               parts[3].cast<double>()};
        if (parts.size() > 4) {
            result.farkas->radius = parts[4].cast<double>();
        }
    });
    readEntry(state, "direction_residual",
              [&](const py::object& given) { result.directionResidual = residualOf(given); });
}

void readEffort(const py::dict& state, Result& result) {
    readEntry(state, "iterations", [&](const py::object& given) {
        const auto count = given.cast<std::array<std::size_t, 6>>();
        result.iterations = {count[0], count[1], count[2], count[3], count[4], count[5]};
    });
    readEntry(state, "times", [&](const py::object& given) {
        const auto seconds = given.cast<std::array<double, 4>>();
        result.times = {seconds[0], seconds[1], seconds[2], seconds[3]};
    });
}

}  // namespace

py::object restore(const py::dict& state) {
    Result result;
    ResultLayout layout;
    const auto entry = [&](const char* name, auto read) { readEntry(state, name, read); };
    const auto numbers = [&](const char* name, std::vector<double>& to) {
        entry(name, [&](const py::object& given) { to = numbersOf(given); });
    };
    const auto number = [&](const char* name, auto& to) {
        entry(name, [&](const py::object& given) {
            to = given.cast<std::remove_reference_t<decltype(to)>>();
        });
    };
    entry("status", [&](const py::object& given) {
        result.status = statusOf(py::str(given).cast<std::string>());
    });
    number("exit_code", result.exitCode);
    numbers("x", result.x);
    number("obj", result.objective);
    numbers("row_duals", result.y);
    numbers("z_box", result.z);
    entry("working_set", [&](const py::object& given) {
        result.workingSet = workingSetOf(py::reinterpret_borrow<py::sequence>(given));
    });
    readProof(state, result);
    number("hessian_shift", result.hessianShift);
    numbers("direction", result.direction);
    entry("faults", [&](const py::object& given) { result.faults = faultsOf(given); });
    number("message", result.message);
    number("was_predicted", result.wasPredicted);
    readEffort(state, result);
    entry("rows", [&](const py::object& given) {
        const auto [inequalities, equalities] = given.cast<std::pair<std::size_t, std::size_t>>();
        layout.inequalities = inequalities;
        layout.equalities = equalities;
    });
    entry("names", [&](const py::object& given) { layout.names = given; });
    return py::reinterpret_steal<py::object>(makeResult(std::move(result), std::move(layout)));
}

}  // namespace activeset::python

// Reads Settings, calls callbacks.
#include "control.hpp"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

#include "result.hpp"

namespace activeset::python {

namespace {

/// Whether this thread is inside a callback. `tell` sets and restores it; every solve reads it.
bool& isInCallback() noexcept {
    static thread_local bool is = false;
    return is;
}

class InCallback {
public:
    InCallback() noexcept { isInCallback() = true; }
    ~InCallback() { isInCallback() = false; }
    InCallback(const InCallback&) = delete;
    InCallback(InCallback&&) = delete;
    InCallback& operator=(const InCallback&) = delete;
    InCallback& operator=(InCallback&&) = delete;
};

Start startOf(py::handle given) {
    const auto text = py::str(given).cast<std::string>();
    if (text == "automatic") {
        return Start::Automatic;
    }
    if (text == "predict") {
        return Start::Predict;
    }
    if (text == "cold") {
        return Start::Cold;
    }
    throw py::value_error("settings.start is '" + text +
                          "', expected 'automatic', 'predict' or 'cold'");
}

template <class Number>
Number numberOf(const py::object& field, const char* name) {
    try {
        return field.cast<Number>();
    } catch (const py::cast_error&) {
        const char* kind = std::is_integral_v<Number> ? "a whole number" : "a number";
        throw py::type_error(std::string("settings.") + name + " is " +
                             py::repr(field).cast<std::string>() + ", expected " + kind);
    }
}

}  // namespace

Settings settingsOf(PyObject* given) {
    Settings settings;
    if (given == nullptr) {
        return settings;
    }
    if (!py::isinstance(given, packaged("activeset._records", "Settings"))) {
        throw py::type_error("settings has to be a Settings");
    }
    const auto fields = py::reinterpret_borrow<py::tuple>(given);
    if (fields.size() != 6) {
        throw py::type_error("settings has to be a Settings");
    }
    settings.tolerance = numberOf<double>(fields[0], "tolerance");
    settings.startMode = startOf(fields[1]);
    if (!fields[2].is_none()) {
        const auto passes = numberOf<long long>(fields[2], "max_iterations");
        if (passes < 1) {
            throw py::value_error("settings.max_iterations has to be at least 1, or None");
        }
        settings.maxIterations = static_cast<std::size_t>(passes);
    }
    if (!fields[3].is_none()) {
        const auto seconds = numberOf<double>(fields[3], "time_limit");
        if (seconds < std::numeric_limits<double>::infinity()) {
            settings.timeLimit = std::chrono::duration<double>(seconds);
        } else if (std::isnan(seconds)) {
            throw py::value_error("settings.time_limit is nan, expected seconds or None");
        }
    }
    if (!fields[4].is_none()) {
        settings.convexityTolerance = numberOf<double>(fields[4], "convexity_tolerance");
    }
    if (!py::isinstance<py::bool_>(fields[5])) {
        throw py::type_error("settings.keep_factors is " + py::repr(fields[5]).cast<std::string>() +
                             ", expected a bool");
    }
    settings.keepFactors = fields[5].ptr() == Py_True;
    return settings;
}

Control controlOf(PyObject* settings, PyObject* verbose, PyObject* callback) {
    Control control;
    control.settings = settingsOf(settings);
    if (callback != nullptr) {
        if (PyCallable_Check(callback) == 0) {
            throw py::type_error("callback has to be callable");
        }
        control.callback = py::reinterpret_borrow<py::object>(callback);
    }
    const int isVerbose = verbose == nullptr ? 0 : PyObject_IsTrue(verbose);
    if (isVerbose < 0) {
        throw py::error_already_set();
    }
    if (isVerbose > 0) {
        // An error while printing must not change the solve.
        if (callback == nullptr && control.settings.startMode == Start::Automatic &&
            control.settings.maxIterations == 0) {
            control.settings.startMode = Start::Predict;
        }
        control.printer = packaged("activeset._verbose",
                                   "Printer")(callback == nullptr ? py::none() : control.callback);
        control.callback = control.printer;
    }
    return control;
}

std::chrono::duration<double> timeLimitOf(const py::object& given) {
    const auto seconds = given.is_none() ? Infinity : given.cast<double>();
    if (!(seconds >= 0.0)) {
        throw py::value_error("time_limit has to be a number of seconds from 0 up, or None");
    }
    return seconds < Infinity ? std::chrono::duration<double>(seconds)
                              : std::chrono::duration<double>::max();
}

void requireNoCallback() {
    if (isInCallback()) {
        throw std::logic_error("a callback must not start another solve");
    }
}

bool tell(const py::object& callback, const Progress& progress) {
    const InCallback guard;
    try {
        const py::object record = packaged("activeset._records", "Progress")(
            progress.iteration, progress.phaseOne, progress.objective, progress.violation,
            progress.active, progress.step,
            packaged("activeset._records", "WorkingSet").attr("of")(tupleOf(progress.workingSet)));
        return !callback(record).is(py::bool_(false));
    } catch (...) {
        setPythonError();
        return false;
    }
}

}  // namespace activeset::python

// The type ResultBase and its getters.
#include "result.hpp"

#include <array>
#include <new>

#include "arrays.hpp"
#include "heap_type.hpp"
#include "result_state.hpp"

namespace activeset::python {

namespace {

constexpr std::size_t Statuses = static_cast<std::size_t>(Status::Failed) + 1;

/// The classes of the only interpreter that may load the module. Only configureResults sets them,
/// when the package is imported.
struct Classes {
    PyTypeObject* base = nullptr;
    PyTypeObject* result = nullptr;
    std::array<PyObject*, Statuses> statuses{};
};
Classes& classes() noexcept {
    static Classes instance;
    return instance;
}

struct ResultObject {
    PyObject base;
    Result result;
    ResultLayout layout;
};

ResultObject& objectOf(PyObject* self) noexcept {
    return *reinterpret_cast<ResultObject*>(self);
}

void destroy(PyObject* self) {
    PyTypeObject* const type = Py_TYPE(self);
    objectOf(self).result.~Result();
    objectOf(self).layout.~ResultLayout();
    type->tp_free(self);
    Py_DECREF(type);
}

PyObject* refuse(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
    PyErr_Format(PyExc_TypeError, "%s objects are made by solves only", type->tp_name);
    return nullptr;
}

/// The entries [first, first + size) of `values`, or as many of them as there are.
py::object part(const std::vector<double>& values,
                std::size_t first,
                std::size_t size,
                PyObject* self) {
    const std::size_t begin = std::min(first, values.size());
    return arrayOf(values.data() + begin, std::min(size, values.size() - begin), self);
}

using Getter = py::object (*)(const ResultObject&, PyObject* self);

template <Getter get>
PyObject* getter(PyObject* self, void* /*closure*/) noexcept {
    return guarded([&] { return get(objectOf(self), self).release().ptr(); });
}

py::object status(const ResultObject& object, PyObject* /*self*/) {
    return py::reinterpret_borrow<py::object>(
        classes().statuses[static_cast<std::size_t>(object.result.status)]);
}

py::object isFound(const ResultObject& object, PyObject* /*self*/) {
    return py::bool_(object.result.status == Status::Optimal);
}

py::object x(const ResultObject& object, PyObject* self) {
    return arrayOf(object.result.x, self);
}

py::object y(const ResultObject& object, PyObject* self) {
    return part(object.result.y, object.layout.inequalities, object.layout.equalities, self);
}

py::object z(const ResultObject& object, PyObject* self) {
    return part(object.result.y, 0, object.layout.inequalities, self);
}

py::object zBox(const ResultObject& object, PyObject* self) {
    return arrayOf(object.result.z, self);
}

py::object objective(const ResultObject& object, PyObject* /*self*/) {
    return py::float_(object.result.objective);
}

py::object workingSet(const ResultObject& object, PyObject* /*self*/) {
    return tupleOf(object.result.workingSet);
}

py::object certificate(const ResultObject& object, PyObject* /*self*/) {
    const Certificate& proof = object.result.certificate;
    return py::make_tuple(proof.primal.absolute, proof.primal.relative, proof.dual.absolute,
                          proof.dual.relative, proof.gap.absolute, proof.gap.relative);
}

py::object farkas(const ResultObject& object, PyObject* self) {
    const auto& found = object.result.farkas;
    if (!found) {
        return py::none();
    }
    const std::size_t rows = object.layout.inequalities;
    return py::make_tuple(part(found->y, rows, object.layout.equalities, self),
                          part(found->y, 0, rows, self), arrayOf(found->z, self),
                          found->residual.absolute, found->residual.relative, found->value,
                          found->radius);
}

py::object direction(const ResultObject& object, PyObject* self) {
    const auto& found = object.result.direction;
    return found.empty() ? py::none() : arrayOf(found, self);
}

py::object directionResidual(const ResultObject& object, PyObject* /*self*/) {
    return py::make_tuple(object.result.directionResidual.absolute,
                          object.result.directionResidual.relative);
}

py::object iterations(const ResultObject& object, PyObject* /*self*/) {
    const Iterations& count = object.result.iterations;
    return py::make_tuple(count.phaseOne, count.main, count.prediction, count.dual, count.proximal,
                          count.refinement);
}

py::object times(const ResultObject& object, PyObject* /*self*/) {
    const Times& seconds = object.result.times;
    return py::make_tuple(seconds.setup, seconds.solve, seconds.polish, seconds.total);
}

py::object message(const ResultObject& object, PyObject* /*self*/) {
    return py::str(object.result.message);
}

py::object faults(const ResultObject& object, PyObject* /*self*/) {
    return listOf(object.result.faults);
}

py::object hessianShift(const ResultObject& object, PyObject* /*self*/) {
    return py::float_(object.result.hessianShift);
}

py::object exitCode(const ResultObject& object, PyObject* /*self*/) {
    return py::int_(object.result.exitCode);
}

py::object wasPredicted(const ResultObject& object, PyObject* /*self*/) {
    return py::bool_(object.result.wasPredicted);
}

py::object rows(const ResultObject& object, PyObject* /*self*/) {
    return py::make_tuple(object.layout.inequalities, object.layout.equalities);
}

py::object names(const ResultObject& object, PyObject* /*self*/) {
    return object.layout.names ? object.layout.names : py::make_tuple(py::none(), py::none());
}

template <Getter get>
constexpr PyGetSetDef property(const char* name, const char* text) {
    return {name, &getter<get>, nullptr, text, nullptr};
}

std::array<PyGetSetDef, 24> properties{{
    property<status>("status", "How the solve ended, a Status."),
    property<isFound>("found", "True for a proved optimum."),
    property<isFound>("success", "As `found`."),
    property<x>("x", "The point, n; empty if there is none. Read only."),
    property<y>("y", "Multipliers of A x = b, one per row, of any sign. Read only."),
    property<z>("z", "Multipliers of l <= G x <= h, positive at h, negative at l. Read only."),
    property<zBox>("z_box", "Multipliers of lb <= x <= ub, positive at ub, negative at lb."),
    property<objective>(
        "obj",
        "The objective at x with the constant; NaN for infeasible, not convex, invalid, failed."),
    property<objective>("fun", "As `obj`."),
    property<workingSet>("_working_set", nullptr),
    property<certificate>("_certificate", nullptr),
    property<farkas>("_farkas", nullptr),
    property<direction>("direction", "For unbounded and not convex: the direction, else None."),
    property<directionResidual>("_direction_residual", nullptr),
    property<iterations>("_iterations", nullptr),
    property<times>("_times", nullptr),
    property<message>("_message", nullptr),
    property<faults>("_faults", nullptr),
    property<hessianShift>("hessian_shift", "The multiple of the identity that was added to P."),
    property<exitCode>("exit_code", "Of the last run of the core; -5 without one."),
    property<wasPredicted>("was_predicted", "True if the solve began at a prediction."),
    property<rows>("_rows", nullptr),
    property<names>("_names", nullptr),
    {},
}};

PyObject* state(PyObject* self, PyObject* /*unused*/) {
    return guarded([&] {
        const ResultObject& object = objectOf(self);
        py::dict state = stateOf(object.result);
        state["rows"] = rows(object, self);
        state["names"] = names(object, self);
        return state.release().ptr();
    });
}

std::array<PyMethodDef, 2> methods{{
    {"_state", &state, METH_NOARGS, "The parts as plain data, for pickles."},
    {},
}};

}  // namespace

void addResultType(py::module_& module) {
    std::array<PyType_Slot, 6> slots{{
        {Py_tp_dealloc, reinterpret_cast<void*>(&destroy)},
        {Py_tp_new, reinterpret_cast<void*>(&refuse)},
        {Py_tp_getset, properties.data()},
        {Py_tp_methods, methods.data()},
        {Py_tp_doc, const_cast<char*>("What a solve found; the base of Result.")},
        {},
    }};
    const py::object type = addType(module, "activeset._core.ResultBase", sizeof(ResultObject),
                                    Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE, slots.data());
    classes().base = reinterpret_cast<PyTypeObject*>(type.inc_ref().ptr());
}

void configureResults(py::type resultClass, py::tuple statuses) {
    auto* const type = reinterpret_cast<PyTypeObject*>(resultClass.ptr());
    if (PyType_IsSubtype(type, classes().base) == 0 || type->tp_basicsize != sizeof(ResultObject) ||
        statuses.size() != Statuses) {
        throw py::type_error("configure() needs a subclass of ResultBase without attributes");
    }
    classes().result = reinterpret_cast<PyTypeObject*>(resultClass.release().ptr());
    for (std::size_t k = 0; k < Statuses; ++k) {
        classes().statuses[k] = py::object(statuses[k]).release().ptr();
    }
}

PyObject* makeResult(Result&& result, ResultLayout layout) {
    PyTypeObject* const type = classes().result;
    if (type == nullptr) {
        throw py::import_error("activeset._core is part of the package activeset");
    }
    PyObject* const self = type->tp_alloc(type, 0);
    if (self == nullptr) {
        throw py::error_already_set();
    }
    new (&objectOf(self).result) Result(std::move(result));
    new (&objectOf(self).layout) ResultLayout(std::move(layout));
    return self;
}

const Result& resultIn(py::handle object) {
    if (PyObject_TypeCheck(object.ptr(), classes().base) == 0) {
        throw py::type_error("expected a Result");
    }
    return objectOf(object.ptr()).result;
}

}  // namespace activeset::python

// The type Solver. Only one call at a time may use it: a second call raises instead of waiting. But
// it waits for a solve that a signal has ended and that has not stopped yet.
#include "kept_solver.hpp"

#include <algorithm>
#include <chrono>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include "arguments.hpp"
#include "control.hpp"
#include "heap_type.hpp"
#include "problem_holder.hpp"
#include "result.hpp"
#include "sequence.hpp"
#include "solve.hpp"
#include "solver_text.hpp"

namespace activeset::python {

namespace {

struct Kept {
    std::shared_ptr<Sequence> sequence;
    Settings settings;
    py::object callback;
    py::object names;
};

struct SolverObject {
    PyObject base;
    std::unique_ptr<Kept> kept;  ///< null until __init__ has run
};

std::unique_ptr<Kept>& slotOf(PyObject* self) noexcept {
    return reinterpret_cast<SolverObject*>(self)->kept;
}

Kept& keptIn(PyObject* self) {
    if (!slotOf(self)) {
        throw std::logic_error("the Solver was not initialised");
    }
    return *slotOf(self);
}

/// While this lives, the call has exclusive use of the sequence.
class Turn {
public:
    explicit Turn(std::shared_ptr<Sequence> sequence) : sequence_(std::move(sequence)) {
        bool isBusy = false;
        if (!sequence_->isBusy.compare_exchange_strong(isBusy, true)) {
            throw std::runtime_error(
                "the Solver is at work already: in another thread, in its own callback, or ending "
                "a solve that was interrupted");
        }
    }
    ~Turn() {
        if (sequence_) {
            sequence_->isBusy = false;
        }
    }
    Turn(Turn&&) noexcept = default;
    Turn(const Turn&) = delete;
    Turn& operator=(Turn&&) = delete;
    Turn& operator=(const Turn&) = delete;

    [[nodiscard]] Sequence& operator*() const noexcept { return *sequence_; }

private:
    std::shared_ptr<Sequence> sequence_;
};

/// The data of a solve that may outlive its call.
struct OneStep {
    Turn turn;
    Result operator()(const Settings& settings) {
        const Turn ended = std::move(turn);  // released with the solve, not with the task
        return (*ended).solve(settings);
    }
};

/// Waits until a solve that was left behind has ended. Does not wait for a solve for which another
/// call waits.
void awaitLeftBehind(const Kept& kept) {
    while (kept.sequence->isLeft && kept.sequence->isBusy) {
        {
            const WithoutGil released;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
    }
    kept.sequence->isLeft = false;
}

PyObject* solve(PyObject* self, PyObject* /*unused*/) noexcept {
    return guarded([&] {
        Kept& kept = keptIn(self);
        awaitLeftBehind(kept);
        const std::shared_ptr<Sequence> sequence = kept.sequence;
        Control control{kept.settings, kept.callback, {}};
        ResultLayout layout{sequence->inequalities(), sequence->equalities(), kept.names};
        Result result;
        try {
            result = perform(sequence->entries(), control, OneStep{Turn(sequence)});
        } catch (py::error_already_set&) {
            sequence->isLeft = sequence->isBusy.load();
            throw;
        }
        if (result.status == Status::Invalid) {
            raiseInvalid(result.faults, layout);
        }
        return makeResult(std::move(result), std::move(layout));
    });
}

PyObject* update(PyObject* self,
                 PyObject* const* args,
                 Py_ssize_t positional,
                 PyObject* keywords) noexcept {
    static const Signature<Parts - 1> signature(
        "update", 0, 0, {"P", "q", "G", "h", "A", "b", "lb", "ub", "l", "constant", "soft"});
    return guarded([&] {
        const auto values = signature.read(args, positional, keywords);
        GivenParts given{};
        std::copy(values.begin(), values.end() - 1, given.begin());
        given[Soft] = values.back();
        const Kept& kept = keptIn(self);
        awaitLeftBehind(kept);
        (*Turn(kept.sequence)).update(given);
        return py::none().release().ptr();
    });
}

PyObject* restart(PyObject* self,
                  PyObject* const* args,
                  Py_ssize_t positional,
                  PyObject* keywords) noexcept {
    static const Signature<1> signature("restart", 0, 1, {"warm_start"});
    return guarded([&] {
        const auto values = signature.read(args, positional, keywords);
        const Kept& kept = keptIn(self);
        awaitLeftBehind(kept);
        WarmStart start = values[0] == nullptr ? WarmStart() : warmStartOf(values[0]);
        (*Turn(kept.sequence)).restartFrom(std::move(start));
        return py::none().release().ptr();
    });
}

int initialise(PyObject* self, PyObject* args, PyObject* keywords) noexcept {
    PyObject* const done = guarded([&] {
        std::array<char*, 4> names{const_cast<char*>("problem"), const_cast<char*>("settings"),
                                   const_cast<char*>("callback"), nullptr};
        PyObject* problem = nullptr;
        PyObject* settings = Py_None;
        PyObject* callback = Py_None;
        if (PyArg_ParseTupleAndKeywords(args, keywords, "O|$OO:Solver", names.data(), &problem,
                                        &settings, &callback) == 0) {
            throw py::error_already_set();
        }
        const auto orNull = [](PyObject* given) { return Py_IsNone(given) != 0 ? nullptr : given; };
        const Control control = controlOf(orNull(settings), nullptr, orNull(callback));
        const ProblemHolder holder = holderOf(problem);
        auto kept = std::make_unique<Kept>();
        kept->sequence = std::make_shared<Sequence>(*holder.data, control.settings);
        kept->settings = control.settings;
        kept->callback = control.callback;
        kept->names = holder.names;
        if (slotOf(self)) {
            throw std::logic_error("the Solver has been initialised before");
        }
        slotOf(self) = std::move(kept);
        return py::none().release().ptr();
    });
    Py_XDECREF(done);
    return done == nullptr ? -1 : 0;
}

PyObject* create(PyTypeObject* type, PyObject* /*args*/, PyObject* /*keywords*/) {
    PyObject* const self = type->tp_alloc(type, 0);
    if (self != nullptr) {
        new (&slotOf(self)) std::unique_ptr<Kept>();
    }
    return self;
}

int traverse(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    if (slotOf(self)) {
        Py_VISIT(slotOf(self)->callback.ptr());
    }
    return 0;
}

int clear(PyObject* self) {
    if (slotOf(self)) {
        slotOf(self)->callback = py::object();
    }
    return 0;
}

void destroy(PyObject* self) {
    PyTypeObject* const type = Py_TYPE(self);
    PyObject_GC_UnTrack(self);
    slotOf(self).~unique_ptr();
    type->tp_free(self);
    Py_DECREF(type);
}

template <class Function>
PyCFunction method(Function function) {
    return reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(function));
}

std::array<PyMethodDef, 4> methods{{
    {"solve", method(&solve), METH_NOARGS, SolveText},
    {"update", method(&update), METH_FASTCALL | METH_KEYWORDS, UpdateText},
    {"restart", method(&restart), METH_FASTCALL | METH_KEYWORDS, RestartText},
    {},
}};

}  // namespace

void addSolverType(py::module_& module) {
    std::array<PyType_Slot, 8> slots{{
        {Py_tp_dealloc, reinterpret_cast<void*>(&destroy)},
        {Py_tp_new, reinterpret_cast<void*>(&create)},
        {Py_tp_init, reinterpret_cast<void*>(&initialise)},
        {Py_tp_traverse, reinterpret_cast<void*>(&traverse)},
        {Py_tp_clear, reinterpret_cast<void*>(&clear)},
        {Py_tp_methods, methods.data()},
        {Py_tp_doc, const_cast<char*>(SolverText)},
        {},
    }};
    static_cast<void>(addType(module, "activeset.Solver", sizeof(SolverObject),
                              Py_TPFLAGS_DEFAULT | Py_TPFLAGS_HAVE_GC, slots.data()));
}

}  // namespace activeset::python

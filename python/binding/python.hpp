// The Python header and what every file of the binding needs: errors between C++ and Python, the
// GIL.
#ifndef ACTIVESET_PYTHON_PYTHON_HPP
#define ACTIVESET_PYTHON_PYTHON_HPP

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <exception>
#include <new>

namespace activeset::python {

namespace py = pybind11;

/// Releases the GIL while an object lives.
class WithoutGil {
public:
    WithoutGil() noexcept : state_(PyEval_SaveThread()) {}
    ~WithoutGil() { PyEval_RestoreThread(state_); }
    WithoutGil(const WithoutGil&) = delete;
    WithoutGil(WithoutGil&&) = delete;
    WithoutGil& operator=(const WithoutGil&) = delete;
    WithoutGil& operator=(WithoutGil&&) = delete;

private:
    PyThreadState* state_;
};

/// Takes the GIL while an object lives, whether or not this thread is inside a WithoutGil.
class WithGil {
public:
    WithGil() noexcept : state_(PyGILState_Ensure()) {}
    ~WithGil() { PyGILState_Release(state_); }
    WithGil(const WithGil&) = delete;
    WithGil(WithGil&&) = delete;
    WithGil& operator=(const WithGil&) = delete;
    WithGil& operator=(WithGil&&) = delete;

private:
    PyGILState_STATE state_;
};

/// Sets the Python error for the C++ exception that is being handled. Call it in a catch block.
inline void setPythonError() noexcept {
    try {
        throw;
    } catch (py::error_already_set& error) {
        error.restore();
    } catch (const py::builtin_exception& error) {
        error.set_error();
    } catch (const std::bad_alloc&) {
        PyErr_NoMemory();
    } catch (const std::exception& error) {
        PyErr_SetString(PyExc_RuntimeError, error.what());
    } catch (...) {
        PyErr_SetString(PyExc_RuntimeError, "an exception of an unknown type");
    }
}

/// The new reference that `body` returns. If `body` throws: null, with a Python error set.
template <class Body>
PyObject* guarded(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        setPythonError();
        return nullptr;
    }
}

/// A function of a module of the package. The module is imported at the first use.
inline py::object packaged(const char* module, const char* name) {
    return py::module_::import(module).attr(name);
}

}  // namespace activeset::python

#endif

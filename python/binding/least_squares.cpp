// solve_ls, which the other fits of the package use.
#include "least_squares.hpp"

#include "activeset/least_squares.hpp"
#include "arguments.hpp"
#include "arrays.hpp"
#include "control.hpp"
#include "problem_data.hpp"
#include "result.hpp"
#include "solve.hpp"

namespace activeset::python {

namespace {

enum Parameter : std::size_t { R, S, GAt, HAt, AAt, BAt, Lb, Ub, W, L, SettingsAt, Verbose, Count };

using Given = std::array<PyObject*, Count>;

constexpr std::array<const char*, Count> Names{"R",  "s",  "G", "h", "A",        "b",
                                               "lb", "ub", "W", "l", "settings", "verbose"};

/// One fit, with the arrays that its solve reads.
class OneFit {
public:
    /// @raises ProblemError, which lists all arrays that do not fit
    explicit OneFit(const Given& given) {
        bool isRead = false;
        try {
            isRead = read(given);
        } catch (py::error_already_set& error) {
            if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_TypeError)) {
                throw;
            }
        }
        if (!isRead) {
            raiseMisfit(given);  // lists all faults, not only the first
        }
    }

    Result operator()(const Settings& settings) const {
        const Problem& given = constraints_.views();
        LeastSquares problem = fit_;
        problem.A = given.A;
        problem.rowLower = given.rowLower;
        problem.rowUpper = given.rowUpper;
        problem.lower = given.lower;
        problem.upper = given.upper;
        return solveLeastSquares(problem, settings);
    }

    [[nodiscard]] ResultLayout layout() const {
        return {constraints_.inequalities(), constraints_.equalities(), {}};
    }
    /// The number of entries, which measures how long a solve may take.
    [[nodiscard]] std::size_t entries() const {
        return constraints_.entries() + fit_.R.rows() * (fit_.R.cols() + fit_.W.cols());
    }

private:
    bool read(const Given& given) {
        fit_.R = matrixOf(argument(given, R), Names[R], owners_[0]);
        fit_.s = vectorOf(argument(given, S), Names[S], owners_[1]);
        if (given[W] != nullptr) {
            fit_.W = matrixOf(given[W], Names[W], owners_[2]);
            if (py::detail::array_proxy(owners_[2].ptr())->nd == 1) {
                fit_.weights = vectorOf(given[W], Names[W], owners_[2]);
                fit_.W = {};
            }
        }
        GivenParts parts{};
        parts[Part::G] = given[GAt];
        parts[Part::h] = given[HAt];
        parts[Part::A] = given[AAt];
        parts[Part::b] = given[BAt];
        parts[Part::lb] = given[Lb];
        parts[Part::ub] = given[Ub];
        parts[Part::l] = given[L];
        const std::size_t k = fit_.R.rows();
        const bool isWeighted = given[W] != nullptr;
        const bool areWeights = fit_.weights.size() == k && fit_.W.empty();
        return fit_.s.size() == k &&
               (!isWeighted || areWeights || (fit_.W.rows() == k && fit_.W.cols() == k)) &&
               constraints_.readConstraints(parts, fit_.R.cols());
    }

    static PyObject* argument(const Given& given, Parameter parameter) {
        return given[parameter] == nullptr ? Py_None : given[parameter];
    }

    [[noreturn]] static void raiseMisfit(const Given& given) {
        py::dict parts;
        for (std::size_t k = R; k <= L; ++k) {
            if (given[k] != nullptr || k <= S) {
                parts[Names[k]] = py::handle(argument(given, static_cast<Parameter>(k)));
            }
        }
        packaged("activeset._faults", "raise_fit_misfit")(parts);
        throw py::value_error("the parts of the fit do not fit together");
    }

    std::array<py::object, 3> owners_;
    LeastSquares fit_;
    ProblemData constraints_;
};

PyObject* solveLs(PyObject* /*module*/,
                  PyObject* const* args,
                  Py_ssize_t positional,
                  PyObject* keywords) noexcept {
    static const Signature<Count> signature("solve_ls", 2, W + 1, Names);
    return guarded([&] {
        const Given given = signature.read(args, positional, keywords);
        OneFit fit(given);
        Control control = controlOf(given[SettingsAt], nullptr, nullptr);
        const int isVerbose = given[Verbose] == nullptr ? 0 : PyObject_IsTrue(given[Verbose]);
        if (isVerbose < 0) {
            throw py::error_already_set();
        }
        ResultLayout layout = fit.layout();
        const std::size_t entries = fit.entries();
        Result result = perform(entries, control, std::move(fit));
        if (result.status == Status::Invalid) {
            raiseInvalid(result.faults, layout);
        }
        auto made =
            py::reinterpret_steal<py::object>(makeResult(std::move(result), std::move(layout)));
        if (isVerbose > 0) {
            py::print(made);
        }
        return made.release().ptr();
    });
}

PyMethodDef solveLsMethod{"solve_ls",
                          reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&solveLs)),
                          METH_FASTCALL | METH_KEYWORDS, nullptr};

}  // namespace

void addLeastSquares(py::module_& module) {
    module.attr("solve_ls") = py::reinterpret_steal<py::object>(
        PyCFunction_NewEx(&solveLsMethod, nullptr, py::str("activeset").release().ptr()));
}

}  // namespace activeset::python

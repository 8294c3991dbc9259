// The nearest feasible point, and findings about data. Rows are those of G, then those of A.
#include "relax.hpp"

#include <pybind11/stl.h>

#include <utility>
#include <vector>

#include "activeset/diagnose.hpp"
#include "activeset/relax.hpp"
#include "arrays.hpp"
#include "control.hpp"
#include "problem_holder.hpp"
#include "result.hpp"
#include "task.hpp"

namespace activeset::python {

namespace {

class RelaxTask : public Task {
public:
    RelaxTask(ProblemHolder holder,
              Norm norm,
              std::vector<double> rowWeights,
              std::vector<double> boundWeights,
              Settings settings)
        : holder_(std::move(holder)),
          rowWeights_(std::move(rowWeights)),
          boundWeights_(std::move(boundWeights)) {
        settings_.norm = norm;
        settings_.rowWeights = rowWeights_;
        settings_.boundWeights = boundWeights_;
        settings_.solve = std::move(settings);
    }

    void run() override {
        settings_.solve.stop = stop().get_token();
        relaxation_ = activeset::relax(holder_.data->views(), settings_);
    }

    [[nodiscard]] const Relaxation& relaxation() const noexcept { return relaxation_; }

private:
    ProblemHolder holder_;
    std::vector<double> rowWeights_;
    std::vector<double> boundWeights_;
    RelaxSettings settings_;
    Relaxation relaxation_;
};

/// Runs to its end: the work cannot be stopped.
class DiagnoseTask : public Task {
public:
    explicit DiagnoseTask(ProblemHolder holder) : holder_(std::move(holder)) {}

    void run() override { diagnosis_ = activeset::diagnose(holder_.data->views()); }

    [[nodiscard]] const Diagnosis& diagnosis() const noexcept { return diagnosis_; }

private:
    ProblemHolder holder_;
    Diagnosis diagnosis_;
};

py::array vectorOf(const std::vector<double>& values) {
    return py::array_t<double>(static_cast<py::ssize_t>(values.size()), values.data());
}

/// `norm`: 1, 2, or 0 for the largest violation.
py::tuple relax(const py::object& problem,
                int norm,
                std::vector<double> rowWeights,
                std::vector<double> boundWeights,
                const py::object& settings) {
    requireNoCallback();
    const auto task =
        std::make_shared<RelaxTask>(holderOf(problem),
                                    norm == 1   ? Norm::L1
                                    : norm == 2 ? Norm::L2
                                                : Norm::LInf,
                                    std::move(rowWeights), std::move(boundWeights),
                                    settingsOf(settings.is_none() ? nullptr : settings.ptr()));
    runAttended(task);
    const Relaxation& found = task->relaxation();
    return py::make_tuple(textOf(found.status), vectorOf(found.x), vectorOf(found.rowViolation),
                          vectorOf(found.boundViolation), found.distance, listOf(found.faults));
}

py::tuple diagnose(const py::object& problem) {
    const auto task = std::make_shared<DiagnoseTask>(holderOf(problem));
    runAttended(task);
    const Diagnosis& found = task->diagnosis();
    py::list findings;
    for (const Finding& finding : found.findings) {
        findings.append(py::make_tuple(finding.name, arrayOf(finding.members), finding.text));
    }
    const auto pair = [](const double* values) { return py::make_tuple(values[0], values[1]); };
    return py::make_tuple(found.equalities, found.equalityRank,
                          pair(static_cast<const double*>(found.smallestEigenvalue)),
                          pair(static_cast<const double*>(found.largestEigenvalue)),
                          py::make_tuple(found.smallestCoefficient, found.largestCoefficient),
                          found.freeVariables, found.fixedVariables, findings,
                          listOf(found.faults));
}

}  // namespace

void addRelax(py::module_& module) {
    module.def("relax", &relax);
    module.def("diagnose", &diagnose);
}

}  // namespace activeset::python

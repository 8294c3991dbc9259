// Solves of many problems, and the explanation of one. A signal can end them.
#include "many.hpp"

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "arrays.hpp"
#include "control.hpp"
#include "problem_holder.hpp"
#include "result.hpp"
#include "task.hpp"

namespace activeset::python {

namespace {

/// Raises what a signal's handler has raised, while problems are read or results are made.
void serveSignals(std::size_t count) {
    constexpr std::size_t BetweenChecks = 1024;
    if (count % BetweenChecks == 0 && PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
    }
}

class ManyTask : public Task {
public:
    ManyTask(const py::sequence& problems, ManySettings settings, py::object progress)
        : settings_(std::move(settings)), progress_(std::move(progress)) {
        for (const py::handle problem : problems) {
            serveSignals(holders_.size());
            const ProblemHolder holder = holderOf(problem);
            holders_.push_back(holder);
            views_.push_back(holder.data->views());
        }
    }

    void run() override {
        settings_.each.stop = stop().get_token();
        settings_.onDone = [this](std::size_t done, std::size_t) { done_ = done; };
        results_ = solveMany(views_, settings_);
    }

    bool attend() override {
        const std::size_t done = done_;
        if (progress_.is_none() || done == told_) {
            return true;
        }
        told_ = done;
        try {
            progress_(done, views_.size());
            return true;
        } catch (...) {
            setPythonError();
            return false;
        }
    }

    py::list takeResults() {
        py::list list;
        for (std::size_t k = 0; k < results_.size(); ++k) {
            serveSignals(k);
            const ProblemData& data = *holders_[k].data;
            list.append(py::reinterpret_steal<py::object>(
                makeResult(std::move(results_[k]),
                           {data.inequalities(), data.equalities(), holders_[k].names})));
        }
        return list;
    }

private:
    std::vector<ProblemHolder> holders_;
    std::vector<Problem> views_;
    ManySettings settings_;
    py::object progress_;
    std::vector<Result> results_;
    std::atomic<std::size_t> done_ = 0;
    std::size_t told_ = 0;
};

class ExplainTask : public Task {
public:
    ExplainTask(ProblemHolder holder, Settings settings)
        : holder_(std::move(holder)), settings_(std::move(settings)) {}

    void run() override {
        settings_.stop = stop().get_token();
        conflict_ = explainInfeasibility(holder_.data->views(), settings_);
    }

    [[nodiscard]] const Conflict& conflict() const noexcept { return conflict_; }

private:
    ProblemHolder holder_;
    Settings settings_;
    Conflict conflict_;
};

py::list solveAll(const py::sequence& problems,
                  unsigned threads,
                  std::size_t chain,
                  const py::object& settings,
                  const py::object& timeLimit,
                  const py::object& progress) {
    requireNoCallback();
    ManySettings many;
    many.each = settingsOf(settings.is_none() ? nullptr : settings.ptr());
    many.threads = threads;
    many.chain = chain;
    many.timeLimit = timeLimitOf(timeLimit);
    const auto task = std::make_shared<ManyTask>(problems, std::move(many), progress);
    runAttended(task);
    return task->takeResults();
}

py::tuple explain(const py::object& problem, const py::object& settings) {
    requireNoCallback();
    const auto task = std::make_shared<ExplainTask>(
        holderOf(problem), settingsOf(settings.is_none() ? nullptr : settings.ptr()));
    runAttended(task);
    const Conflict& conflict = task->conflict();
    return py::make_tuple(conflict.isFound, conflict.isMinimal, arrayOf(conflict.rowsAtLower),
                          arrayOf(conflict.rowsAtUpper), arrayOf(conflict.atLower),
                          arrayOf(conflict.atUpper));
}

}  // namespace

void addMany(py::module_& module) {
    module.def("solve_many", &solveAll);
    module.def("explain", &explain);
}

}  // namespace activeset::python

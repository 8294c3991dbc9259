// Batches: arrays with a leading axis in, arrays out. They run without the GIL, and a signal can
// end them.
#include "batch.hpp"

#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "activeset/batch_sensitivity.hpp"
#include "batch_arrays.hpp"
#include "control.hpp"
#include "task.hpp"

namespace activeset::python {

namespace {

class BatchTask : public Task {
public:
    BatchTask(std::size_t count,
              py::dict inputs,
              py::dict outputs,
              ManySettings settings,
              py::object progress)
        : inputs_(count, std::move(inputs)),
          outputs_(count, std::move(outputs)),
          batch_(problemsIn(inputs_)),
          settings_(std::move(settings)),
          progress_(std::move(progress)) {
        const std::size_t n = variablesOf(batch_);
        out_.x = outputs_.vectorsOut("x", n);
        out_.y = outputs_.vectorsOut("y", batch_.A.first.rows());
        out_.z = outputs_.vectorsOut("z", n);
        out_.objective = outputs_.numbers<double>("objective", 1);
        out_.status = reinterpret_cast<Status*>(outputs_.numbers<std::int32_t>("status", 1));
        static_assert(sizeof(Status) == sizeof(std::int32_t));
        out_.certificate = reinterpret_cast<Certificate*>(
            outputs_.numbers<double>("certificate", CertificateSize));
        out_.iterations = reinterpret_cast<Iterations*>(
            outputs_.numbers<std::uint64_t>("iterations", IterationsSize));
    }

    void run() override {
        settings_.each.stop = stop().get_token();
        settings_.onDone = [this](std::size_t done, std::size_t) { done_ = done; };
        solveBatch(batch_, out_, settings_);
    }

    bool attend() override {
        const std::size_t done = done_;
        if (progress_.is_none() || done == told_) {
            return true;
        }
        told_ = done;
        try {
            progress_(done, batch_.count);
        } catch (...) {
            setPythonError();
            return false;
        }
        return true;
    }

private:
    static constexpr std::size_t CertificateSize = sizeof(Certificate) / sizeof(double);
    static constexpr std::size_t IterationsSize = sizeof(Iterations) / sizeof(std::uint64_t);

    BatchArrays inputs_;
    BatchArrays outputs_;
    ProblemBatch batch_;
    BatchOut out_;
    ManySettings settings_;
    py::object progress_;
    std::atomic<std::size_t> done_ = 0;
    std::size_t told_ = 0;
};

void solve(std::size_t count,
           const py::dict& inputs,
           const py::dict& outputs,
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
    const auto task = std::make_shared<BatchTask>(count, py::dict(inputs), py::dict(outputs),
                                                  std::move(many), progress);
    runAttended(task);
}

/// The gradients of a loss with respect to the vectors of solved problems.
class BackwardTask : public Task {
public:
    BackwardTask(std::size_t count,
                 py::dict inputs,
                 py::dict solution,
                 py::dict loss,
                 py::dict outputs,
                 unsigned threads)
        : inputs_(count, std::move(inputs)),
          given_(count, std::move(solution)),
          losses_(count, std::move(loss)),
          outputs_(count, std::move(outputs)),
          batch_(problemsIn(inputs_)),
          solution_{given_.vector("x"), given_.vector("y"), given_.vector("z"),
                    reinterpret_cast<const Status*>(given_.numbers<std::int32_t>("status", 1))},
          loss_{losses_.vector("x"), losses_.vector("y"), losses_.vector("z")} {
        const std::size_t n = variablesOf(batch_);
        const std::size_t m = batch_.A.first.rows();
        out_.c = outputs_.vectorsOut("c", n);
        out_.rowLower = outputs_.vectorsOut("rowLower", m);
        out_.rowUpper = outputs_.vectorsOut("rowUpper", m);
        out_.lower = outputs_.vectorsOut("lower", n);
        out_.upper = outputs_.vectorsOut("upper", n);
        out_.derivative = outputs_.numbers<std::int8_t>("derivative", 1);
        settings_.threads = threads;
    }

    void run() override {
        settings_.each.stop = stop().get_token();
        backwardBatch(batch_, solution_, loss_, out_, settings_);
    }

private:
    BatchArrays inputs_;
    BatchArrays given_;
    BatchArrays losses_;
    BatchArrays outputs_;
    ProblemBatch batch_;
    BatchSolution solution_;
    BatchLoss loss_;
    BatchGradients out_;
    ManySettings settings_;
};

void backward(std::size_t count,
              const py::dict& inputs,
              const py::dict& solution,
              const py::dict& loss,
              const py::dict& outputs,
              unsigned threads) {
    requireNoCallback();
    runAttended(std::make_shared<BackwardTask>(count, py::dict(inputs), py::dict(solution),
                                               py::dict(loss), py::dict(outputs), threads));
}

}  // namespace

void addBatch(py::module_& module) {
    module.def("solve_batch", &solve);
    module.def("backward_batch", &backward);
}

}  // namespace activeset::python

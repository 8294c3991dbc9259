// Batches: arrays with a leading axis in, arrays out, without the GIL, where a signal can end them.
#include "batch.hpp"

#include <atomic>
#include <memory>
#include <string>
#include <utility>

#include "activeset/batch.hpp"
#include "control.hpp"
#include "task.hpp"

namespace activeset::python {

namespace {

constexpr py::ssize_t Entry = sizeof(double);

/// An array of the caller's by name, or null.
py::object named(const py::dict& arrays, const char* name) {
    return arrays.contains(name) ? py::object(arrays[name]) : py::object();
}

[[noreturn]] void refuse(const char* name) {
    throw py::value_error(std::string(name) + " has no layout that a batch can have");
}

/// A float64 array whose last `dimensions` axes have no gaps. One axis more is that of the batch.
/// The distance of neighbours on it, 0 where there is none.
py::array arrayOf(const py::object& given,
                  const char* name,
                  std::size_t count,
                  py::ssize_t dimensions,
                  std::size_t& stride) {
    if (!py::isinstance<py::array_t<double>>(given)) {
        refuse(name);
    }
    auto array = py::reinterpret_borrow<py::array>(given);
    const bool isBatched = array.ndim() == dimensions + 1;
    if (!isBatched && array.ndim() != dimensions) {
        refuse(name);
    }
    py::ssize_t distance = Entry;
    for (py::ssize_t axis = array.ndim() - 1; axis >= (isBatched ? 1 : 0); --axis) {
        if (array.shape(axis) > 1 && array.strides(axis) != distance) {
            refuse(name);
        }
        distance *= std::max<py::ssize_t>(array.shape(axis), 1);
    }
    stride = 0;
    if (isBatched) {
        const bool fits = static_cast<std::size_t>(array.shape(0)) == count &&
                          (count < 2 || (array.strides(0) % Entry == 0 && array.strides(0) >= 0));
        if (!fits) {
            refuse(name);
        }
        stride = count < 2 ? 0 : static_cast<std::size_t>(array.strides(0) / Entry);
    }
    return array;
}

std::size_t sizeOf(const py::array& array, py::ssize_t fromLast) {
    return static_cast<std::size_t>(array.shape(array.ndim() - fromLast));
}

class BatchTask : public Task {
public:
    BatchTask(std::size_t count,
              py::dict inputs,
              py::dict outputs,
              ManySettings settings,
              py::object progress)
        : inputs_(std::move(inputs)),
          outputs_(std::move(outputs)),
          settings_(std::move(settings)),
          progress_(std::move(progress)) {
        batch_.count = count;
        batch_.H = matrix("H");
        batch_.A = matrix("A");
        batch_.c = vector("c");
        batch_.rowLower = vector("rowLower");
        batch_.rowUpper = vector("rowUpper");
        batch_.lower = vector("lower");
        batch_.upper = vector("upper");
        batch_.constant = vector("constant");
        batch_.start = vector("start");
        const Problem first = batch_[0];
        const std::size_t n = !first.c.empty()   ? first.c.size()
                              : !first.H.empty() ? first.H.cols()
                                                 : first.A.cols();
        out_.x = vectors("x", n);
        out_.y = vectors("y", first.A.rows());
        out_.z = vectors("z", n);
        out_.objective = numbers<double>("objective", 1);
        out_.status = reinterpret_cast<Status*>(numbers<std::int32_t>("status", 1));
        static_assert(sizeof(Status) == sizeof(std::int32_t));
        out_.certificate =
            reinterpret_cast<Certificate*>(numbers<double>("certificate", CertificateSize));
        out_.iterations =
            reinterpret_cast<Iterations*>(numbers<std::uint64_t>("iterations", IterationsSize));
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

    MatrixBatch matrix(const char* name) const {
        const py::object given = named(inputs_, name);
        if (!given) {
            return {};
        }
        MatrixBatch matrices;
        const py::array array = arrayOf(given, name, batch_.count, 2, matrices.stride);
        matrices.first = MatrixView(static_cast<const double*>(array.data()), sizeOf(array, 2),
                                    sizeOf(array, 1), 0, Order::RowMajor);
        return matrices;
    }

    VectorBatch vector(const char* name) const {
        const py::object given = named(inputs_, name);
        if (!given) {
            return {};
        }
        VectorBatch vectors;
        const py::array array = arrayOf(given, name, batch_.count, 1, vectors.stride);
        vectors.first = VectorView(static_cast<const double*>(array.data()), sizeOf(array, 1));
        return vectors;
    }

    VectorsOut vectors(const char* name, std::size_t size) const {
        const py::object given = named(outputs_, name);
        if (!given) {
            return {};
        }
        VectorsOut vectors;
        py::array array = arrayOf(given, name, batch_.count, 1, vectors.stride);
        const bool hasRoom = batch_.count < 2 || vectors.stride >= size;
        if (array.ndim() != 2 || sizeOf(array, 1) != size || !array.writeable() || !hasRoom) {
            refuse(name);
        }
        vectors.data = static_cast<double*>(array.mutable_data());
        return vectors;
    }

    template <class Number>
    Number* numbers(const char* name, std::size_t each) const {
        const py::object given = named(outputs_, name);
        if (!given) {
            return nullptr;
        }
        if (!py::isinstance<py::array_t<Number, py::array::c_style>>(given)) {
            refuse(name);
        }
        auto array = py::reinterpret_borrow<py::array>(given);
        if (static_cast<std::size_t>(array.size()) != batch_.count * each || !array.writeable()) {
            refuse(name);
        }
        return static_cast<Number*>(array.mutable_data());
    }

    py::dict inputs_;   // the arrays live as long as the task
    py::dict outputs_;  // likewise
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

}  // namespace

void addBatch(py::module_& module) {
    module.def("solve_batch", &solve);
}

}  // namespace activeset::python

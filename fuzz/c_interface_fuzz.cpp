// The C interface under any calls: it returns a code, writes what it was given room for and nothing
// else, a call that fails changes nothing, and a solve gives the bits of the front end's.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "activeset/activeset.h"
#include "c_interface_data.hpp"
#include "c_interface_room.hpp"
#include "frontend_problem.hpp"
#include "judge.hpp"
#include "support/exact/judge.hpp"

namespace activeset::fuzz {
namespace {

using test::Style;

template <auto Function>
struct Frees {
    template <class Handle>
    void operator()(Handle* handle) const {
        Function(handle);
    }
};
using ProblemHandle = std::unique_ptr<activeset_problem, Frees<activeset_problem_free>>;
using SolverHandle = std::unique_ptr<activeset_solver, Frees<activeset_solver_free>>;

void succeed(int code) {
    require(code == ACTIVESET_OK, "a sound call has an error");
}
void refuse(int code) {
    require(code == ACTIVESET_BAD_ARGUMENT, "a call without sense is not refused");
}

ProblemHandle problemOf(const Data& data) {
    activeset_problem* made = nullptr;
    succeed(activeset_problem_new(static_cast<std::int64_t>(data.n),
                                  static_cast<std::int64_t>(data.m), &made));
    ProblemHandle problem(made);
    succeed(activeset_problem_set_hessian(made, data.H.data, data.H.leading, data.H.order));
    succeed(activeset_problem_set_linear(made, data.c.data(), 0.0));
    succeed(activeset_problem_set_rows(made, data.A.data, data.A.leading, data.A.order));
    succeed(activeset_problem_set_row_sides(made, data.rowLower.data(), data.rowUpper.data()));
    succeed(activeset_problem_set_bounds(made, data.lower.data(), data.upper.data()));
    if (data.start.size() == data.n) {
        succeed(activeset_problem_set_start(made, data.start.data()));
    }
    return problem;
}

/// Makes invalid calls on a handle, which must not change.
void misuse(activeset_problem* problem, Bytes& bytes) {
    constexpr std::array<std::int64_t, 4> NoLeading{-1, INT64_MIN, INT64_MAX,
                                                    std::int64_t{1} << 40};
    const double one = 1.0;
    activeset_problem* none = nullptr;
    activeset_result result;
    activeset_result_init(&result);
    std::int64_t count = 0;
    activeset_penalty unknown;
    activeset_penalty_init(&unknown);
    unknown.struct_size = 1;
    switch (bytes.below(9)) {
        case 0:
            return refuse(activeset_problem_set_hessian(problem, &one, NoLeading.at(bytes.below(4)),
                                                        ACTIVESET_COLUMN_MAJOR));
        case 1:
            return refuse(
                activeset_problem_set_rows(problem, &one, 0, 2 + static_cast<int>(bytes.below(9))));
        case 2:
            return refuse(activeset_problem_new(NoLeading.at(bytes.below(4)), 1, &none));
        case 3:
            return refuse(activeset_problem_set_bounds(nullptr, &one, &one));
        case 4:
            return refuse(activeset_faults(problem, nullptr,
                                           1 + static_cast<std::int64_t>(bytes.below(9)), &count));
        case 5:
            result.struct_size = bytes.below(200);
            return refuse(activeset_solve(problem, nullptr, &result));
        case 6:
            return refuse(activeset_problem_set_penalties(problem, nullptr, &unknown));
        case 7: {
            activeset_options options;
            activeset_options_init(&options);
            options.start_mode = 3 + static_cast<std::int32_t>(bytes.below(99));
            return refuse(activeset_solve(problem, &options, &result));
        }
        default:
            return refuse(activeset_solve(problem, nullptr, nullptr));
    }
}

/// Whether the data suit the judge's absolute limits, and no side is so large that it is absent.
bool isTame(const test::Sample& sample) {
    constexpr double Smallest = 1e-6;
    constexpr double Largest = 1e6;
    const auto areTame = [](const std::vector<double>& values) {
        return std::ranges::all_of(values, [](double value) {
            const double size = std::abs(value);
            return size == 0.0 || std::isinf(size) || (size >= Smallest && size <= Largest);
        });
    };
    return areTame(sample.H) && areTame(sample.c) && areTame(sample.A) &&
           areTame(sample.rowLower) && areTame(sample.rowUpper) && areTame(sample.lower) &&
           areTame(sample.upper);
}

void runSolve(const Data& data, Bytes& bytes) {
    const ProblemHandle problem = problemOf(data);
    const bool isSoft = bytes.oneIn(3);
    Problem view = data.view;
    std::list<Prices> prices;
    if (isSoft) {
        const Prices& rows = prices.emplace_back(data.m, bytes);
        const Prices& bounds = prices.emplace_back(data.n, bytes);
        succeed(activeset_problem_set_penalties(problem.get(), &rows.told, &bounds.told));
        view.rowPenalty = rows.view;
        view.boundPenalty = bounds.view;
    }
    for (std::size_t k = bytes.below(4); k > 0; --k) {
        misuse(problem.get(), bytes);
    }
    Room room(data.n, data.m, bytes);
    succeed(activeset_solve(problem.get(), nullptr, room.get()));
    const Result expected = activeset::solve(view);
    room.judge(expected);
    if (expected.status != Status::Invalid && !isSoft && isTame(data.sample)) {
        const std::string wrong = test::exact::falseClaim(data.sample, expected, 1e-9, 0.0);
        require(wrong.empty(), wrong);
    }
    std::array<activeset_fault, 3> faults{};
    for (activeset_fault& fault : faults) {
        fault.struct_size = sizeof fault;
    }
    std::int64_t count = -1;
    succeed(activeset_faults(problem.get(), faults.data(), 3, &count));
    require(count == static_cast<std::int64_t>(faultsOf(view).size()), "other faults");
}

/// The same replacements in a sequence of C and in one of the front end.
void runSequence(const Data& first, Style style, Bytes& bytes) {
    const ProblemHandle problem = problemOf(first);
    activeset_solver* made = nullptr;
    succeed(activeset_solver_new(problem.get(), nullptr, &made));
    const SolverHandle solver(made);
    Solver expected(first.view);
    std::list<Data> others;
    std::list<Prices> prices;
    for (std::size_t step = 1 + bytes.below(5); step > 0; --step) {
        ByteChoices choices(bytes);
        const Data& next = others.emplace_back(test::caseOf(style, choices, 4).sample, bytes);
        if (next.n == first.n && next.m == first.m) {
            if (bytes.oneIn(2) && next.A.data != nullptr) {
                succeed(activeset_solver_set_rows(made, next.A.data, next.A.leading, next.A.order));
                expected.setRows(next.view.A);
            }
            succeed(activeset_solver_set_linear(made, next.c.data(), 0.0));
            expected.setLinear(next.view.c, 0.0);
            succeed(activeset_solver_set_bounds(made, next.lower.data(), next.upper.data()));
            expected.setBounds(next.view.lower, next.view.upper);
        }
        if (bytes.oneIn(3)) {
            const Prices& rows = prices.emplace_back(first.m, bytes);
            const Prices& bounds = prices.emplace_back(first.n, bytes);
            succeed(activeset_solver_set_penalties(made, &rows.told, &bounds.told));
            expected.setPenalties(rows.view, bounds.view);
        }
        refuse(activeset_solver_set_linear(nullptr, next.c.data(), 0.0));
        Room room(first.n, first.m, bytes);
        succeed(activeset_solver_solve(made, room.get()));
        room.judge(expected.solve());
    }
}

/// A batch whose problems have the matrices of one problem, each a copy of its own: with shared
/// ones the last digits may differ. Costs differ.
class Batch {
public:
    Batch(const Data& data, std::size_t count, Bytes& bytes)
        : data_(data),
          count_(count),
          H_(repeated(data.H.data, data.n * data.n)),
          A_(repeated(data.A.data, data.m * data.n)),
          x_(count * data.n),
          y_(count * data.m),
          status_(count) {
        for (std::size_t k = 0; k < count; ++k) {
            for (std::size_t j = 0; j < data.n; ++j) {
                costs_.push_back(data.c.empty() || k == 0 ? bytes.small() : data.c[j]);
            }
        }
    }
    /// A batch has one order of storage and no gaps.
    static bool canHold(const Data& data) {
        const bool isByColumn = data.A.order == ACTIVESET_COLUMN_MAJOR;
        return data.H.leading <= static_cast<std::int64_t>(data.n) &&
               data.H.order == data.A.order &&
               data.A.leading <= static_cast<std::int64_t>(isByColumn ? data.m : data.n) &&
               (data.A.data != nullptr || data.m == 0);
    }
    [[nodiscard]] bool isEmpty() const { return H_.empty() && A_.empty(); }

    activeset_batch inC() {
        activeset_batch batch;
        activeset_batch_init(&batch);
        batch.count = static_cast<std::int64_t>(count_);
        batch.n = static_cast<std::int64_t>(data_.n);
        batch.m = static_cast<std::int64_t>(data_.m);
        batch.order = data_.H.order;
        batch.H = H_.empty() ? nullptr : H_.data();
        batch.H_stride = batch.n * batch.n;
        batch.A = A_.empty() ? nullptr : A_.data();
        batch.A_stride = batch.m * batch.n;
        batch.c = costs_.data();
        batch.c_stride = batch.n;
        batch.row_lower = data_.rowLower.data();
        batch.row_upper = data_.rowUpper.data();
        batch.lower = data_.lower.data();
        batch.upper = data_.upper.data();
        batch.x = x_.data();
        batch.y = y_.data();
        batch.status = status_.data();
        return batch;
    }

    /// Each problem has the bits that it has alone.
    void judge() const {
        for (std::size_t k = 0; k < count_; ++k) {
            Problem one = data_.view;
            one.start = {};
            one.c = VectorView(costs_.data() + k * data_.n, data_.n);
            const Result alone = activeset::solve(one);
            require(status_[k] == static_cast<std::int32_t>(alone.status),
                    "a batch has another status");
            for (std::size_t j = 0; j < data_.n && alone.x.size() == data_.n; ++j) {
                require(isSame(x_[k * data_.n + j], alone.x[j]), "a batch has other bits");
            }
        }
    }

private:
    [[nodiscard]] std::vector<double> repeated(const double* matrix, std::size_t size) const {
        std::vector<double> copies;
        for (std::size_t k = 0; k < count_ && matrix != nullptr; ++k) {
            copies.insert(copies.end(), matrix, matrix + size);
        }
        return copies;
    }

    const Data& data_;
    std::size_t count_;
    std::vector<double> H_, A_, costs_{}, x_, y_;
    std::vector<std::int32_t> status_;
};

void runBatch(const Data& data, Bytes& bytes) {
    const std::size_t count = 1 + bytes.below(3);
    if (!Batch::canHold(data)) {
        return;
    }
    Batch all(data, count, bytes);
    if (all.isEmpty()) {
        return;
    }
    activeset_batch batch = all.inC();
    batch.threads = 1 + static_cast<std::int32_t>(bytes.below(2));
    succeed(activeset_solve_batch(&batch, nullptr));
    all.judge();
    batch.threads = -1;
    refuse(activeset_solve_batch(&batch, nullptr));
}

void run(Bytes& bytes) {
    const auto style = static_cast<Style>(bytes.below(test::StyleNames.size()));
    const std::size_t kind = bytes.below(4);
    ByteChoices choices(bytes);
    const Data data(test::caseOf(style, choices, 4).sample, bytes);
    if (kind < 2) {
        runSolve(data, bytes);
    } else if (kind == 2) {
        runSequence(data, style, bytes);
    } else {
        runBatch(data, bytes);
    }
}

}  // namespace
}  // namespace activeset::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    Bytes bytes(data, size);
    const LeakCheck leaks;
    run(bytes);
    leaks.judge();
    return 0;
}

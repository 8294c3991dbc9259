// A sequence of problems: what did not change is not formed again.
#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <utility>

#include "frontend/algebra/dense.hpp"
#include "frontend/sequence.hpp"
#include "frontend/soft/penalties.hpp"
#include "host/floating_point.hpp"

namespace activeset {

using frontend::Part;
using frontend::ProblemData;

namespace {

bool hasLength(const VectorView& vector, std::size_t size) {
    return vector.size() == size && vector.data() != nullptr;
}

bool areSides(const VectorView& lower, const VectorView& upper, std::size_t size) {
    bool areSound = hasLength(lower, size) && hasLength(upper, size);
    for (std::size_t i = 0; i < size && areSound; ++i) {
        areSound = lower[i] <= upper[i] && lower[i] < AbsentSide && upper[i] > -AbsentSide;
    }
    return areSound;
}

/// Penalties of sides that are there, as far as checks see it: sides may come and go, so that
/// prices of absent ones are no fault.
Problem pricesOf(const Penalty& rows, const Penalty& bounds) {
    // A static inside an exported class would keep the library from being unloaded.
    static constexpr double AnySide = 0.0;
    const VectorView there(&AnySide, 1);
    return {.rowLower = there,
            .rowUpper = there,
            .lower = there,
            .upper = there,
            .rowPenalty = rows,
            .boundPenalty = bounds};
}

}  // namespace

class Solver::Kept {
public:
    Kept(const Problem& problem, Settings chosen) : settings(std::move(chosen)) {
        const FloatingPointGuard environment;
        data_.n = frontend::variablesOf(problem);
        data_.m = problem.A.rows();
        for (const Part part : frontend::AllParts) {
            change(part == Part::Penalties ? pricesOf(problem.rowPenalty, problem.boundPenalty)
                                           : problem,
                   part);
        }
        if (problem.warmStart != nullptr) {
            sequence_.restartFrom(*problem.warmStart);
        } else if (faultsOf(Part::Start).empty()) {
            sequence_.beginAt(problem.start);
        }
    }

    // A part with faults is not copied, whatever sizes it speaks of; they stay until it is replaced
    // by one without.
    void change(const Problem& problem, Part part) {
        const FloatingPointGuard environment;
        requireRest();
        faultsOf(part).clear();
        if (!isPlainlySound(problem, part)) {
            faultsOf(part) = frontend::faultsIn(problem, data_.n, data_.m, part);
            if (!faultsOf(part).empty()) {
                return;
            }
        }
        frontend::copyPart(problem, part, data_);
        if (part == Part::Penalties) {
            rowPenalty_.copy(problem.rowPenalty);
            boundPenalty_.copy(problem.boundPenalty);
        } else if (part == Part::Hessian || part == Part::Rows) {
            sequence_.changeMatrices();
        } else {
            sequence_.changeVectors();
        }
    }

    void changePenalties(const Penalty& rows, const Penalty& bounds) {
        change(pricesOf(rows, bounds), Part::Penalties);
    }

    void solve(Result& result) {
        const FloatingPointGuard environment;
        frontend::requireNoSolve();
        // A callback may set others for the solves to come.
        const std::optional<Settings> copy =
            settings.onPass ? std::optional(settings) : std::nullopt;
        const Settings& chosen = copy ? *copy : settings;
        const Working working(isWorking_);
        frontend::Control control(chosen, frontend::automaticLimit(data_.n, data_.m));
        std::vector<Fault> faults;
        for (const auto& found : faults_) {
            faults.insert(faults.end(), found.begin(), found.end());
        }
        std::ranges::move(frontend::faultsIn(chosen), std::back_inserter(faults));
        if (!faults.empty()) {
            result = frontend::invalid(std::move(faults));
            return;
        }
        frontend::complete(data_);
        Problem problem = frontend::viewOf(data_);
        problem.rowPenalty = rowPenalty_.view();
        problem.boundPenalty = boundPenalty_.view();
        sequence_.solve(problem, &data_, chosen, control, result);
    }

    void restart(WarmStart start) {
        requireRest();
        sequence_.restartFrom(std::move(start));
    }

    Settings settings;

private:
    /// Keeps callbacks from changing the data beneath their own solve.
    class Working {
    public:
        explicit Working(bool& flag) : flag_(flag) { flag_ = true; }
        ~Working() { flag_ = false; }
        Working(const Working&) = delete;
        Working& operator=(const Working&) = delete;

    private:
        bool& flag_;
    };

    void requireRest() const {
        if (isWorking_) {
            throw std::logic_error("activeset: a Solver was changed inside its own solve");
        }
    }

    /// Whether a part has no faults at a quick look, which only full vectors pass.
    [[nodiscard]] bool isPlainlySound(const Problem& problem, Part part) const {
        switch (part) {
            case Part::Linear:
                return hasLength(problem.c, data_.n) &&
                       frontend::areFinite(problem.c.data(), problem.c.size()) &&
                       std::isfinite(problem.constant);
            case Part::RowSides:
                return areSides(problem.rowLower, problem.rowUpper, data_.m);
            case Part::Bounds:
                return areSides(problem.lower, problem.upper, data_.n);
            default:
                return false;
        }
    }

    [[nodiscard]] std::vector<Fault>& faultsOf(Part part) {
        return faults_.at(static_cast<std::size_t>(part));
    }

    ProblemData data_;
    frontend::PenaltyCopy rowPenalty_;
    frontend::PenaltyCopy boundPenalty_;
    std::array<std::vector<Fault>, frontend::AllParts.size()> faults_;
    frontend::Sequence sequence_;
    bool isWorking_ = false;
};

Solver::Solver(const Problem& problem, Settings settings)
    : kept_(std::make_unique<Kept>(problem, std::move(settings))) {}

Solver::Solver(Solver&&) noexcept = default;
Solver& Solver::operator=(Solver&&) noexcept = default;
Solver::~Solver() = default;

void Solver::setHessian(const MatrixView& H) {
    Problem part;
    part.H = H;
    kept_->change(part, Part::Hessian);
}

void Solver::setLinear(const VectorView& c, double constant) {
    Problem part;
    part.c = c;
    part.constant = constant;
    kept_->change(part, Part::Linear);
}

void Solver::setRows(const MatrixView& A) {
    Problem part;
    part.A = A;
    kept_->change(part, Part::Rows);
}

void Solver::setRowSides(const VectorView& lower, const VectorView& upper) {
    Problem part;
    part.rowLower = lower;
    part.rowUpper = upper;
    kept_->change(part, Part::RowSides);
}

void Solver::setBounds(const VectorView& lower, const VectorView& upper) {
    Problem part;
    part.lower = lower;
    part.upper = upper;
    kept_->change(part, Part::Bounds);
}

void Solver::setPenalties(const Penalty& rows, const Penalty& bounds) {
    kept_->changePenalties(rows, bounds);
}

void Solver::restartFrom(WarmStart start) {
    kept_->restart(std::move(start));
}

Settings& Solver::settings() noexcept {
    return kept_->settings;
}

void Solver::solve(Result& result) {
    kept_->solve(result);
}

Result Solver::solve() {
    Result result;
    solve(result);
    return result;
}

}  // namespace activeset

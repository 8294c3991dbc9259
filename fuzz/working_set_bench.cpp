#include "working_set_bench.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <optional>

#include "activeset/sizes.hpp"
#include "judge.hpp"
#include "support/test_access.hpp"
#include "thread_state.hpp"

namespace activeset::fuzz {

namespace {

using Matrix = OPTMatrix<double>;

constexpr double Inf = std::numeric_limits<double>::infinity();
constexpr double Eps = std::numeric_limits<double>::epsilon();

constexpr std::array<KnownError, 9> KnownErrors{
    {{"optim:optimHstError:unhandledError", ""},
     {AssertionIdentifier, ""},
     {"optim:activesetqp:ActiveInequalitySizeError", ""},
     {"optim:activesetqp:ActiveLowerBoundSizeError", ""},
     {"optim:activesetqp:ActiveUpperBoundSizeError", ""},
     {"optim:src:activesetqp:ActiveConstraintSizeError", ""},
     {"optim:src:activesetqp:setWsetIndicesError", ""},
     {"optim:src:activesetqp:elementNotFound", ""},
     {"optim:src:activesetqp:problemNullPointer", ""}}};

double largest(const Matrix& matrix, std::size_t cols) {
    double value = 1.0;
    for (std::size_t j = 0; j < cols; ++j) {
        for (std::size_t i = 0; i < matrix.getRows(); ++i) {
            value = std::max(value, std::abs(matrix(i, j)));
        }
    }
    return value;
}

Matrix columnOf(const std::vector<double>& values) {
    Matrix column(values.size(), 1);
    for (std::size_t i = 0; i < values.size(); ++i) {
        column(i, 0) = values[i];
    }
    return column;
}

/// A constraint outside the working set, as _addConstraint wants it named.
struct Candidate {
    std::size_t number;
    std::size_t kindIndex;
    const char* kind;
};

std::vector<Candidate> candidatesOf(LinearConstraint& constraint, ActiveSet& active) {
    std::vector<Candidate> all;
    const std::size_t firstIneq = OPTsizes::getmEq();
    const std::size_t firstLower = firstIneq + OPTsizes::getmIneq();
    const std::size_t firstUpper = firstLower + OPTsizes::getnVar();
    for (std::size_t i = 0; i < OPTsizes::getmIneq(); ++i) {
        all.push_back({firstIneq + i, i, "ineq"});
    }
    for (std::size_t i = 0; i < OPTsizes::getmLB(); ++i) {
        all.push_back({firstLower + constraint.getindexLB()[i], i, "lower"});
    }
    for (std::size_t i = 0; i < OPTsizes::getmUB(); ++i) {
        all.push_back({firstUpper + constraint.getindexUB()[i], i, "upper"});
    }
    std::erase_if(all, [&](const Candidate& one) {
        std::size_t place = 0;
        return active.findConstraint(active.getWset(), ActiveSet::getmaConstr(), one.number,
                                     place) == 1;
    });
    return all;
}

}  // namespace

Example::Example(Bytes& bytes, bool anyStorage) {
    n = bytes.below(9) + 1;
    mIneq = bytes.below(9);
    mEq = bytes.oneIn(2) ? bytes.below(std::min<std::size_t>(n, 3) + 1) : 0;
    isQuadratic_ = !bytes.oneIn(4);
    const auto make = [&](std::size_t rows, std::size_t cols) {
        ArrayPlan plan{.rows = rows, .cols = cols, .values = std::vector<double>(rows * cols)};
        for (double& value : plan.values) {
            value = bytes.small();
        }
        return plan;
    };
    ArrayPlan H{.rows = n, .cols = n, .values = std::vector<double>(n * n)};
    const bool isDefinite = !bytes.oneIn(4);
    for (std::size_t j = 0; j < n; ++j) {
        for (std::size_t i = 0; i < j; ++i) {
            H.values[j * n + i] = H.values[i * n + j] = bytes.small() / 8.0;
        }
        H.values[j * n + j] = isDefinite ? 5.0 : bytes.small();  // dominates its row, or not
    }
    std::vector<ArrayPlan> plans{
        H,          make(n, 1), make(mIneq, n), make(mIneq, 1), make(mEq, n), make(mEq, 1),
        make(n, 1), make(n, 1)};
    for (std::size_t j = 0; j < n; ++j) {
        const std::size_t kind = bytes.below(4);
        plans[6].values[j] = kind % 2 == 0 ? -Inf : plans[6].values[j];
        plans[7].values[j] = kind < 2 ? Inf : std::max(plans[7].values[j], plans[6].values[j]);
    }
    for (ArrayPlan& plan : plans) {
        if (anyStorage && bytes.oneIn(8)) {
            plan.storage = static_cast<Storage>(bytes.below(6));
            plan.structureSeed = static_cast<std::uint32_t>(bytes.word());
        }
        arrays_.push_back(std::make_unique<LiveArray>(plan));
    }
    start_ = std::make_unique<LiveArray>(make(n, 1));
    options_.setDisplay("testing");
    options_.setMaxIter(60);
    rebuild();
}

void Example::rebuild() {
    const auto get = [this](std::size_t k) { return arrays_[k]->get(); };
    if (isQuadratic_) {
        objectives_.push_back(std::make_unique<QPobjective>(get(0), get(1)));
    } else {
        objectives_.push_back(std::make_unique<LPobjective>(get(1)));
    }
    constraints_.push_back(
        std::make_unique<LinearConstraint>(get(2), get(3), get(4), get(5), get(6), get(7)));
}

void WorkingSetBench::takeExample(bool anyStorage) {
    example_ = examples_.emplace_back(std::make_unique<Example>(bytes_, anyStorage)).get();
}

void WorkingSetBench::init(bool anyStorage) {
    takeExample(anyStorage);
    std::vector<double> equalities;
    for (std::size_t i = 0; i < example_->mEq; ++i) {
        equalities.push_back(static_cast<double>(i + 1));
    }
    std::vector<double> rows;
    const std::size_t wanted = bytes_.below(4);
    for (std::size_t i = 0; i < std::min(wanted, example_->mIneq); ++i) {
        if (equalities.size() + rows.size() < example_->n) {
            rows.push_back(static_cast<double>(i + 1));
        }
    }
    const LiveArray eq(columnPlan(equalities));
    const LiveArray ineq(columnPlan(rows));
    Matrix x(example_->start());
    solver_.init(example_->objective(), &example_->constraint(), &example_->options(), x, nullptr,
                 eq.get(), ineq.get(), nullptr, nullptr);
    solver_.initializeFactorization();
    solver_._setactivesetChangeIndicator(IsolverAS::NoIncrementalChange);
    direct();
}

void WorkingSetBench::followChanges() {
    const SilencedStream console(std::cout);
    init(false);
    while (!bytes_.isEmpty()) {
        change();
        releaseMatrixPool();
    }
}

void WorkingSetBench::change() {
    switch (bytes_.below(16)) {
        case 0:
            init(false);
            break;
        case 1:
            solver_._setactivesetChangeIndicator(IsolverAS::NoIncrementalChange);
            direct();
            break;
        case 2: {
            const NullSpaceAS copy(solver_);
            NullSpaceAS assigned;
            assigned = copy;
            break;
        }
        case 3:
        case 4:
            multiply();
            break;
        case 5:
        case 6:
        case 7:
        case 8:
        case 9:
            remove();
            break;
        default:
            add();
            break;
    }
    judgeFactors();
}

void WorkingSetBench::add() {
    const std::vector<Candidate> candidates =
        candidatesOf(example_->constraint(), solver_.getActiveSet());
    if (candidates.empty()) {
        return;
    }
    const Candidate& one = candidates[bytes_.below(candidates.size())];
    const std::size_t before = ActiveSet::getmaConstr();
    const Counts counts = countsOfThread();
    try {
        TestAccess::add(solver_, one.number, one.kindIndex, one.kind);
    } catch (const HostError& error) {
        require(before == example_->n && countsOfThread() == counts, "no room, but there is");
        return;
    }
    require(before < example_->n, "more constraints than variables");
    direct();
}

void WorkingSetBench::remove() {
    const std::size_t count = ActiveSet::getmaConstr();
    const std::size_t position = bytes_.below(count + 1);
    const bool canLeave = position >= example_->mEq && position < count;
    const Counts counts = countsOfThread();
    try {
        solver_.removeConstraint(position);
    } catch (const HostError& error) {
        require(!canLeave && countsOfThread() == counts, "it can leave");
        return;
    }
    require(canLeave, "an equality left the working set, or what is not there");
    solver_._setindexOfDepartingConstraint(position);
    direct();
}

void WorkingSetBench::direct() {
    Matrix g = columnOf(gradient());
    Matrix p(example_->n, 1);
    solver_.getSolution().setSolutionState(ASQP::Undecided);
    solver_.getSearchDirection(g, p);
    const bool isPositiveDefinite =
        solver_.getSolution().getSolutoinState() != ASQP::HessianNotPositiveDefinite;
    judgeFactors();
    judgeDirection(g, p, isPositiveDefinite);
}

std::vector<double> WorkingSetBench::gradient() const {
    std::vector<double> values;
    const Matrix g = example_->objective()->grad(Matrix(example_->start()));
    for (std::size_t i = 0; i < g.getRows(); ++i) {
        values.push_back(g(i, 0));
    }
    return values;
}

// Aw = Q·R over the working set, QᵀQ = I, R upper triangular.
void WorkingSetBench::judgeFactors() {
    const std::size_t n = example_->n;
    const std::size_t m = ActiveSet::getmaConstr();
    const Matrix& Q = solver_.getQ();
    const Matrix& R = solver_.getQRwset();
    const Matrix& Aw = solver_.getAw();
    // Rounding adds up from change to change; there are at most a few hundred.
    const double tolerance = 1e5 * static_cast<double>(n) * Eps;
    const double scale = largest(Aw, m);
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            double dot = 0.0;
            for (std::size_t k = 0; k < n; ++k) {
                dot += Q(k, i) * Q(k, j);
            }
            require(std::abs(dot - (i == j ? 1.0 : 0.0)) <= tolerance, "Q is not orthogonal");
        }
        for (std::size_t j = 0; j < m; ++j) {
            double product = 0.0;
            for (std::size_t k = 0; k <= j; ++k) {
                product += Q(i, k) * R(k, j);
            }
            require(std::abs(product - Aw(i, j)) <= tolerance * scale, "Q·R is not Aw");
            require(i <= j || i >= m || R(i, j) == 0.0, "R is not triangular");
        }
    }
}

// p lies in the null space and, where the reduced Hessian is positive definite, is the step to the
// minimum there: Zᵀ(H·p + g) = 0, as far as rounding lets see.
void WorkingSetBench::judgeDirection(Matrix& g, Matrix& p, bool isPositiveDefinite) {
    const std::size_t n = example_->n;
    const std::size_t m = ActiveSet::getmaConstr();
    const double size = largest(p, 1);
    const double tolerance = 1e-8 * size * largest(solver_.getAw(), m);
    for (std::size_t j = 0; j < m; ++j) {
        double rate = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            // Null space of the factors: columns of Q, since Aw may be rank deficient.
            rate += solver_.getQ()(i, j) * p(i, 0);
        }
        require(std::abs(rate) <= tolerance, "the direction leaves the working set");
    }
    double descent = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
        descent += g(i, 0) * p(i, 0);
    }
    require(descent <= tolerance * largest(g, 1), "the direction ascends");
    if (!example_->isQuadratic() || !isPositiveDefinite || m >= n) {
        return;
    }
    auto* quadratic = dynamic_cast<QPobjective*>(example_->objective());
    for (std::size_t k = m; k < n; ++k) {
        double residual = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            double sum = g(i, 0);
            for (std::size_t j = 0; j < n; ++j) {
                sum += quadratic->getHessian()(i, j) * p(j, 0);
            }
            residual += solver_.getQ()(i, k) * sum;
        }
        require(std::abs(residual) <= 1e-7 * (size + largest(g, 1)),
                "the direction does not lead to the minimum");
    }
}

// The multipliers minimise the norm of g + Aw·lambda: the residual is orthogonal to Aw.
void WorkingSetBench::multiply() {
    const std::size_t n = example_->n;
    const std::size_t m = ActiveSet::getmaConstr();
    const Matrix& R = solver_.getQRwset();
    const Matrix& Aw = solver_.getAw();
    Matrix g = columnOf(gradient());
    Matrix lambda(n + 1, 1);
    bool isSingular = false;
    bool isPoor = false;
    for (std::size_t k = 0; k < m; ++k) {
        isSingular = isSingular || R(k, k) == 0.0;
        isPoor = isPoor || std::abs(R(k, k)) < 1e-3;
    }
    try {
        solver_.computeLambda(g, lambda);
    } catch (const HostError& error) {
        require(isSingular, std::string("no multipliers: ") + error.what());
        return;
    }
    require(!isSingular, "multipliers from a singular matrix");
    const double size = largest(g, 1) + largest(lambda, 1) * largest(Aw, m);
    for (std::size_t j = 0; !isPoor && j < m; ++j) {
        double product = 0.0;
        for (std::size_t i = 0; i < n; ++i) {
            double residual = g(i, 0);
            for (std::size_t k = 0; k < m; ++k) {
                residual += Aw(i, k) * lambda(k, 0);
            }
            product += Aw(i, j) * residual;
        }
        require(std::abs(product) <= 1e-9 * size * largest(Aw, m), "other multipliers");
    }
    require(lambda(n, 0) == 0.0 || m > n, "a multiplier behind the working set");
}

void WorkingSetBench::callInAnyOrder() {
    const SilencedStream console(std::cout);
    while (!bytes_.isEmpty()) {
        try {
            callAny();
        } catch (const HostError& error) {
            if (!isAmong(KnownErrors, error)) {
                condemnError(error);
            }
        }
        releaseMatrixPool();
    }
}

void WorkingSetBench::callAny() {
    const std::size_t height = bytes_.oneIn(4) ? bytes_.below(12) : OPTsizes::getnVar();
    Matrix first(height, 1);
    first.fill(bytes_.small());
    Matrix second(height, 1);
    switch (bytes_.below(24)) {
        case 0:
            init(true);
            break;
        case 1:
            takeExample(true);
            break;
        case 2:
            solver_.resetIsolverAS();
            break;
        case 3:
            solver_.getSearchDirection(first, second);
            break;
        case 4:
            solver_.computeLambda(first, second);
            break;
        case 5:
            if (solver_.getConstraint() != nullptr) {
                static_cast<void>(solver_.feasibleWorkingSetX0(first, *solver_.getConstraint()));
            }
            break;
        case 6:
            solver_.initializeFactorization();
            break;
        case 7:
            solver_.resetFactorization();
            break;
        case 8:
            solver_.PrintSizes();
            break;
        case 9:
            static_cast<void>(solver_._createAw());
            break;
        case 10:
            solver_.ASiterations();
            break;
        case 11:
            static_cast<void>(solver_._isLambdaNonNeg());
            break;
        case 12: {
            double alpha = 1.0;
            static_cast<void>(solver_._unboundedOrIllPosed(first, alpha));
            break;
        }
        case 13:
            solver_.removeConstraint(bytes_.below(16));
            break;
        case 14:
            solver_.setLambdaForAllConstraints(first);
            break;
        case 15:
            solver_.setnewActiveConstraint(first);
            break;
        case 16: {
            constexpr std::array<IsolverAS::workingSetChange, 3> Changes{
                IsolverAS::NoIncrementalChange, IsolverAS::ConstraintAdded,
                IsolverAS::ConstraintRemoved};
            solver_._setactivesetChangeIndicator(Changes.at(bytes_.below(Changes.size())));
            solver_._setindexOfDepartingConstraint(bytes_.below(16));
            break;
        }
        case 17: {
            NullSpaceAS copy(solver_);
            solver_ = NullSpaceAS();
            solver_ = copy;
            break;
        }
        case 18:
            if (example_ != nullptr) {
                example_->rebuild();
                static_cast<void>(solver_(*example_->objective(), example_->constraint(),
                                          example_->start(), example_->options(), nullptr, nullptr,
                                          nullptr));
            }
            break;
        case 19:
            copyConstraints(first);
            break;
        case 20:
            relaxConstraints(first);
            break;
        case 21:
            TestAccess::reportRank(solver_);
            break;
        case 22:
            ActiveSet::printActiveSetInfo();
            OPTsizes::printConstrInfo();
            break;
        default:
            static_cast<void>(solver_.getErrorNorm());
            break;
    }
}

void WorkingSetBench::copyConstraints(Matrix& x) {
    if (example_ == nullptr) {
        return;
    }
    LinearConstraint copy(example_->constraint());
    copy = examples_[bytes_.below(examples_.size())]->constraint();
    static_cast<void>(copy.getAlb());
    static_cast<void>(copy.getAub());
    static_cast<void>(copy.constrViolation(x));
    static_cast<void>(copy.AlbRow(bytes_.below(8)));
}

// What phase one makes of a set, while the sizes may be those of another problem.
void WorkingSetBench::relaxConstraints(Matrix& y) {
    if (example_ == nullptr) {
        return;
    }
    const CountsGuard counts;  // puts them back, also where nothing is raised
    if (bytes_.oneIn(2)) {
        example_->rebuild();
    }
    OPTsizes::setnVar(OPTsizes::getnVar() + 1);
    PhaseOneConstraint relaxed(&example_->constraint());
    const std::size_t k = bytes_.below(8);
    for (Matrix* matrix : {&relaxed.getA(), &relaxed.getAeq(), &relaxed.getAlb(), &relaxed.getAub(),
                           &relaxed.getAfixed()}) {
        require(matrix->getRows() == 0 || matrix->getCols() == OPTsizes::getnVar(),
                "a relaxed row of another length");
    }
    static_cast<void>(relaxed.AubRow(k));
    static_cast<void>(relaxed.ARow(k));
    static_cast<void>(relaxed.constrViolation(y));
    const PhaseOneConstraint copy(relaxed);
    relaxed = copy;
}

}  // namespace activeset::fuzz

// Pieces of a convex function that is quadratic on each: as its minimum on a piece lies in all
// neighbours with which it shares a side that is held there, going on with those that the
// multipliers ask for never raises the objective.
#include "frontend/soft_walk.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frontend/loop/best_point.hpp"

namespace activeset::frontend {

namespace {

constexpr std::size_t MostPieces = 100;
constexpr std::size_t MostWithoutFall = 8;
constexpr double PenaltyRounding = 1e-13;  // of a multiplier, in proportion to the penalty

}  // namespace

SoftWalk::SoftWalk(const ProblemData& data,
                   const Penalties& penalties,
                   Sequence& pieces,
                   const Settings& settings,
                   Control& control)
    : data_(data),
      penalties_(penalties),
      pieces_(pieces),
      settings_(settings),
      control_(control),
      piece_(data, penalties) {}

SoftWalk::~SoftWalk() {
    if (hasChangedMatrices_) {
        pieces_.changeMatrices();
    } else {
        pieces_.changeVectors();
    }
}

std::optional<Result> SoftWalk::solve(const WarmStart& start, const Result* first) {
    if (begin(start, first) && walk()) {
        result_.iterations = iterations_;
        result_.iterations.phaseOne = control_.phaseOnePasses();
        result_.iterations.main = control_.mainPasses();
        Times& times = result_.times;
        times.setup = setup_;
        times.polish += polish_;
        times.total = control_.seconds();
        times.solve = std::max(0.0, times.total - times.setup - times.polish);
        return std::move(result_);
    }
    return std::nullopt;
}

// Passes of the core are those of the whole call. The other result took the walk for its setup.
void SoftWalk::addWorkTo(Result& result, double seconds) const {
    result.iterations.prediction += iterations_.prediction;
    result.iterations.dual += iterations_.dual;
    result.iterations.proximal += iterations_.proximal;
    result.iterations.refinement += iterations_.refinement;
    Times& times = result.times;
    times.setup = std::max(0.0, times.setup - seconds) + std::max(0.0, setup_);
    times.polish += polish_;
    times.solve = std::max(0.0, times.total - times.setup - times.polish);
}

// Whether all is said but for the judgement: there is no feasible point, or no time.
bool SoftWalk::hasEnded() const {
    const Status status = result_.status;
    return status == Status::Infeasible || status == Status::IterationLimit ||
           status == Status::TimeLimit || status == Status::Interrupted;
}

// Whether there is something to go on from, or to end with.
bool SoftWalk::isGood() const {
    return result_.status == Status::Optimal ||
           (hasEnded() && result_.status != Status::Infeasible);
}

// Leaves result_ at the solution of a piece, or at what has ended the solve. Where that warm start
// leads to a piece without points, it is forgotten.
bool SoftWalk::begin(const WarmStart& start, const Result* first) {
    if (first != nullptr) {
        pieces_.restartFrom(first->warmStart());
        take(*first);
    } else {
        piece_.placeBy(start.workingSet.softViolated);
        pieces_.restartFrom({start.x, piece_.ofPiece(start.workingSet)});
        solvePiece();
    }
    return isGood() || beginWithoutSoftSides(start.x);
}

// The solution without soft sides lies in the piece beyond those that it violates.
bool SoftWalk::beginWithoutSoftSides(const Vector& x) {
    piece_.placeBy(ViolatedSides{});
    pieces_.beginAt(x);
    solvePiece(piece_.problemWithoutSoftSides());
    if (hasEnded()) {
        piece_.placeBy(result_.x);
        return true;
    }
    if (result_.status == Status::Optimal) {
        piece_.placeBy(result_.x);
        solvePiece();
    }
    return isGood();
}

// All sides move at once as long as the objective falls. It does where they move one by one and
// are independent of one another.
bool SoftWalk::walk() {
    std::size_t withoutFall = 0;
    for (std::size_t count = 0; count < MostPieces; ++count) {
        if (hasEnded()) {
            take(proof());
            return true;
        }
        if (result_.status != Status::Optimal) {
            return false;
        }
        const std::vector<Move> next = moves();
        if ((next.empty() || withoutFall > 0) && isProved()) {
            return true;
        }
        if (next.empty() || withoutFall > MostWithoutFall) {
            return false;
        }
        const double before = result_.objective;
        make(next, withoutFall > 0);
        solvePiece();
        if (result_.status == Status::Infeasible) {
            return false;  // by rounding: the point before lies in this piece, too
        }
        withoutFall = result_.objective < before ? 0 : withoutFall + 1;
    }
    return false;
}

void SoftWalk::solvePiece(const Problem& problem) {
    if (piece_.hasOtherHessian()) {
        pieces_.changeMatrices();
        hasChangedMatrices_ = true;
    } else {
        pieces_.changeVectors();
    }
    Result result;
    pieces_.solve(problem, nullptr, settings_, control_, result);
    take(std::move(result));
}

void SoftWalk::take(Result result) {
    result_ = std::move(result);
    iterations_.prediction += result_.iterations.prediction;
    iterations_.dual += result_.iterations.dual;
    iterations_.proximal += result_.iterations.proximal;
    iterations_.refinement += result_.iterations.refinement;
    setup_ = setup_ < 0.0 ? result_.times.setup : setup_;
}

std::vector<SoftWalk::Move> SoftWalk::moves() const {
    const std::vector<Side> held = piece_.heldBy(result_.workingSet);
    std::vector<Move> moves;
    for (const std::size_t k : penalties_.constraints()) {
        if (const std::optional<Move> move = moveOf(k, held[k])) {
            moves.push_back(*move);
        }
    }
    return moves;
}

// At a side that is held, the multiplier may be anything from 0 to the linear penalty. More asks
// for the piece beyond the side, less for that within; where sides are equal, for that beyond the
// other.
std::optional<SoftWalk::Move> SoftWalk::moveOf(std::size_t k, Side held) const {
    if (held == Side::None) {
        return std::nullopt;
    }
    const Side beyond = piece_.beyond(k);
    const bool isEqual = lowerOf(data_, k) == upperOf(data_, k);
    const bool isAtLower = isEqual || held == Side::Lower;
    const bool isAtUpper = isEqual || held == Side::Upper;
    const double ofLower = penalties_.of(k, Side::Lower).linear;
    const double ofUpper = penalties_.of(k, Side::Upper).linear;
    const double largest = std::max(ofLower < Infinity ? ofLower : 0.0,  //
                                    ofUpper < Infinity ? ofUpper : 0.0);
    double multiplier = k < data_.m ? result_.y[k] : result_.z[k - data_.m];
    multiplier += beyond == Side::Upper ? ofUpper : beyond == Side::Lower ? -ofLower : 0.0;
    const double above = multiplier - (isAtUpper ? ofUpper : 0.0);
    const double below = (isAtLower ? -ofLower : 0.0) - multiplier;
    Move move{k, beyond, std::max(above, below) / largest};
    if (above > PenaltyRounding * largest) {
        move.to = isAtUpper ? Side::Upper : Side::None;
    } else if (below > PenaltyRounding * largest) {
        move.to = isAtLower ? Side::Lower : Side::None;
    }
    return move.to == beyond ? std::nullopt : std::optional(move);
}

void SoftWalk::make(const std::vector<Move>& moves, bool onlyOne) {
    const auto largest = std::max_element(
        moves.begin(), moves.end(), [](const Move& a, const Move& b) { return a.gain < b.gain; });
    if (onlyOne) {
        piece_.place(largest->constraint, largest->to);
        return;
    }
    for (const Move& move : moves) {
        piece_.place(move.constraint, move.to);
    }
}

// The objective is that of H itself, whatever was added to it.
SoftProof SoftWalk::proof() {
    const double begin = control_.seconds();
    Point point{result_.x, result_.y, result_.z};
    point.x.resize(data_.n, 0.0);
    point.y.resize(data_.m, 0.0);
    point.z.resize(data_.n, 0.0);
    point = piece_.unfolded(std::move(point));
    const std::vector<Side> held = piece_.heldBy(result_.workingSet);
    SoftProof proof = proveSoft(data_, penalties_, piece_, held, point);
    if (result_.hessianShift != 0.0) {
        const double objective = proof.judgement.objective;
        const ProblemData shifted = frontend::shifted(data_, result_.hessianShift);
        proof = proveSoft(shifted, penalties_, piece_, held, std::move(point));
        proof.judgement.objective = objective;
        proof.areCapped = proof.areCapped && !piece_.isCurved();  // which needs less of a shift
    }
    polish_ += control_.seconds() - begin;
    return proof;
}

bool SoftWalk::isProved() {
    SoftProof found = proof();
    // What a soft side is missed by costs its penalty, however little that is.
    if (!found.areCapped || !found.judgement.certificate.holds(settings_.tolerance) ||
        !(found.judgement.certificate.primal.relative <= FeasibleToRounding)) {
        return false;
    }
    take(std::move(found));
    return true;
}

// The result of the last piece becomes one of the soft problem.
void SoftWalk::take(SoftProof proof) {
    const std::vector<Side> held = piece_.heldBy(result_.workingSet);
    result_.workingSet = listed(data_, held, proof.beyond);
    result_.x = std::move(proof.point.x);
    result_.y = std::move(proof.point.y);
    result_.z = std::move(proof.point.z);
    result_.objective = proof.judgement.objective;
    result_.certificate = proof.judgement.certificate;
}

}  // namespace activeset::frontend

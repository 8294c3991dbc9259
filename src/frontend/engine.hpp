// From a scaled problem to an answer with its proof: runs of the core, the proximal-point loop
// around them, refinement, and what to do when a run does not end as it should.
#ifndef ACTIVESET_SRC_FRONTEND_ENGINE_HPP
#define ACTIVESET_SRC_FRONTEND_ENGINE_HPP

#include <optional>

#include "frontend/core/control.hpp"
#include "frontend/core/core_run.hpp"
#include "frontend/loop/problem_cache.hpp"
#include "frontend/proof/certificate.hpp"

namespace activeset::frontend {

/// What the engine has found, in scaled variables but for the proofs, which are the caller's.
struct Answer {
    Status status = Status::Inaccurate;  ///< never Optimal, of which statusOf() decides
    int exitCode = -5;
    Point point;
    WorkingSet set;
    Judgement judgement;
    std::optional<Farkas> farkas;
    Vector direction;
    Residual directionResidual;
    bool wasPredicted = false;
    std::size_t prediction = 0;
    std::size_t dual = 0;
    std::size_t proximal = 0;
    std::size_t refinement = 0;
};

/// The one place that says optimal: of a point whose certificate holds, unless something else is
/// proved.
[[nodiscard]] Status statusOf(const Answer& answer, double tolerance);

struct Zoomed;

/// How much an engine may call upon others like it.
enum class Depth { Whole, Auxiliary };

class Engine {
public:
    Engine(Prepared& problem, const Settings& settings, Control& control, Depth depth);
    Engine(const Engine&) = delete;
    Engine(Engine&&) = delete;
    Engine& operator=(const Engine&) = delete;
    Engine& operator=(Engine&&) = delete;
    ~Engine();

    /// Solves from a point and a working set in scaled variables.
    [[nodiscard]] Answer solve(Vector x, const WorkingSet& set);

private:
    enum class Next { Again, Done };

    void begin();
    void iterate();
    void considerReached(const Run& run);
    void considerStart();
    [[nodiscard]] Next stop();
    [[nodiscard]] bool provesWorkingSet();
    [[nodiscard]] bool isWatched() const;
    [[nodiscard]] bool mayPredict() const;
    [[nodiscard]] std::optional<Next> followPrediction();
    [[nodiscard]] bool provesContradiction(Point multipliers);
    [[nodiscard]] Run runSubproblem();
    [[nodiscard]] Run run(Vector& H, Vector& c);
    [[nodiscard]] Next follow(const Run& run);
    [[nodiscard]] Next followRun(const Run& run);
    [[nodiscard]] Next followMinimum(Point point, const WorkingSet& set);
    [[nodiscard]] Next followInfeasible(const Run& run);
    [[nodiscard]] Next followTrouble(const Run& run);
    [[nodiscard]] Next recentre(const Vector& x);
    [[nodiscard]] bool prolong(const Vector& last);
    void lookCloser();
    void doubt(const Zoomed& zoomed);
    [[nodiscard]] bool isUnbounded(const Vector& x, double pull);
    [[nodiscard]] bool findsRay();
    [[nodiscard]] bool provesRay(const Vector& direction);
    void consider(Point point, const WorkingSet& set);
    [[nodiscard]] Judgement judged(const Point& point, const WorkingSet& set);
    void refineAlongFlat();
    void polish(Point point, const WorkingSet& set);
    [[nodiscard]] bool isProved() const;
    [[nodiscard]] bool isExact() const;
    [[nodiscard]] bool isUndecided() const;
    [[nodiscard]] Vector origin() const;
    void perturb();
    void restoreLowering() noexcept;

    Prepared& problem_;
    const Settings& settings_;
    Control& control_;
    Depth depth_;
    Precision precision_;
    double rho_ = 0.0;  ///< weight of the proximal term; 0 for the problem itself
    Vector start_;
    WorkingSet startSet_;
    Vector centre_;
    WorkingSet set_;
    double lastPull_ = Infinity;  ///< ρ·‖step‖ of the last proximal step
    int troubles_ = 0;
    int inexactProofs_ = 0;           ///< within the tolerance, not within rounding
    int unchecked_ = 0;               ///< proximal steps that pulled no less than the one before
    std::optional<Vector> feasible_;  ///< a feasible point; empty where none was found
    bool hasSoughtRay_ = false;
    bool hasFailedToPredict_ = false;
    std::optional<Lowering> unperturbed_;  ///< while the core's copy is perturbed
    Answer answer_;
};

}  // namespace activeset::frontend

#endif

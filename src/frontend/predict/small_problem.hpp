// The road of small problems, from the caller's views to a proved result.
#ifndef ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROBLEM_HPP
#define ACTIVESET_SRC_FRONTEND_PREDICT_SMALL_PROBLEM_HPP

#include <functional>

#include "frontend/core/control.hpp"
#include "frontend/predict/small_data.hpp"
#include "frontend/predict/small_dual.hpp"
#include "frontend/predict/small_guess.hpp"

namespace activeset::frontend {

/// Solves what it can prove; all else, whatever the reason, is for the general road.
class SmallProblem {
public:
    SmallProblem() = default;
    SmallProblem(const SmallProblem&) = delete;
    SmallProblem& operator=(const SmallProblem&) = delete;
    ~SmallProblem() = default;

    /// What is unchanged since the last solve, and is used again.
    struct Kept {
        bool matrices = false;
        bool set = false;  ///< the working set it has ended with, if that was here
        /// Where bounds prevail: how many members may come and go; none means no solve.
        std::size_t mostChanges = 0;
    };

    // True if the optimum, or infeasibility, was proved. Then `result` is written; it may be new or
    // that of another solve here, and allocates only where its vectors have too little room.

    /// A problem by itself.
    [[nodiscard]] bool solve(const Problem& problem,
                             const Settings& settings,
                             Control& control,
                             Result& result);

    /// The next one of a sequence.
    /// @param start  where to begin, unless at a kept working set
    [[nodiscard]] bool solveNext(const Problem& problem,
                                 const Kept& kept,
                                 const WarmStart& start,
                                 const Settings& settings,
                                 Control& control,
                                 Result& result);
    enum class SoftEnd {
        Proved,     ///< no soft side is violated, and `result` is the optimum
        Predicted,  ///< what holds and what is violated, likely
        GivenUp
    };
    /// The next one of a sequence, with linear penalties, which have no faults.
    /// @param predicted  written where it is predicted
    [[nodiscard]] SoftEnd solveNextSoft(const Problem& problem,
                                        bool areMatricesKept,
                                        const WarmStart& start,
                                        const Settings& settings,
                                        Control& control,
                                        Result& result,
                                        WorkingSet& predicted);
    /// The members of an optimum that the last solve has found and not proved; else none.
    [[nodiscard]] WorkingSet reached() const {
        return hasReached_ ? dual_.softSet() : WorkingSet();
    }
    /// Of the dual method, in the last solve.
    [[nodiscard]] std::size_t steps() const { return dual_.steps(); }
    /// Of the working set, in the last solve, but for members to begin with.
    [[nodiscard]] std::size_t changes() const { return dual_.changes(); }
    /// Whether bounds prevail in a problem of this shape.
    [[nodiscard]] static bool needsFewChanges(const Problem& problem);
    /// For problems to come with these matrices. Their results are the same whichever comes first.
    void keepMatrices(const Problem& problem);
    /// Whether results have the working set, as they do unless told otherwise.
    void listSets(bool areListed) { areSetsListed_ = areListed; }

    /// Of an optimum that was proved last: H = LLᵀ, L⁻ᵀ, and the orthogonal factor of its members;
    /// LLᵀ is H + ρI where the solve was proximal.
    [[nodiscard]] const SmallMemory& memory() const { return memory_; }
    [[nodiscard]] const SmallDual& dual() const { return dual_; }
    [[nodiscard]] bool isProximal() const { return extent_.isProximal(); }

    /// Gives the memory back, and forgets all.
    void release() noexcept;

    /// That of the thread; its memory, at most 4.5 mebibytes, goes with the thread.
    [[nodiscard]] static SmallProblem& ofThread();
    /// Whether settings leave it to the front end how it solves.
    [[nodiscard]] static bool suits(const Settings& settings);

private:
    /// Forgets what the last solve left; loads the problem if it is wanted here and fits.
    [[nodiscard]] bool loadNext(const Problem& problem, bool areMatricesKept, bool isWanted);
    [[nodiscard]] bool load(const Problem& problem);
    [[nodiscard]] bool formImagesOnce();
    /// @param isSetKept  whether to begin with the members that the dual method ended with
    /// @param set        else, the working set to begin with
    [[nodiscard]] bool solveLoaded(const Problem& problem,
                                   bool isSetKept,
                                   const WorkingSet& set,
                                   const WarmStart& start,
                                   const Settings& settings,
                                   Control& control,
                                   Result& result);
    [[nodiscard]] bool provesFreeMinimum(double setup,
                                         const Problem& problem,
                                         const Settings& settings,
                                         Control& control,
                                         Result& result);
    void begin(bool isSetKept, const WorkingSet& set);
    [[nodiscard]] bool minimise(double setup,
                                const Problem& problem,
                                const WarmStart& start,
                                const Settings& settings,
                                Control& control,
                                Result& result);
    void finish(double setup, double begin, const Control& control, Result& result) const;
    [[nodiscard]] bool isWellConditioned() const;
    [[nodiscard]] bool solveByGuess(const Problem& problem,
                                    const WarmStart& start,
                                    const Settings& settings,
                                    Control& control,
                                    Result& result);
    enum class Proof {
        None,
        Found,
        Missed,   ///< all is proved but that the point meets its sides
        Delicate  ///< that it does so to within rounding might not be enough
    };
    /// @param mayBeExact     whether the point is looked at before it is corrected
    /// @param mayBeDelicate  whether what may be so by rounding alone is taken for a proof, sides
    ///                       being missed or not
    [[nodiscard]] Proof proveOptimum(const Problem& problem,
                                     double tolerance,
                                     SmallRefinement& refinement,
                                     bool mayBeExact,
                                     const std::function<bool(bool isMissed)>& mayBeDelicate,
                                     Result& result);
    [[nodiscard]] bool settlesDelicate(Control& control);
    [[nodiscard]] bool proveDual(const Problem& problem,
                                 double tolerance,
                                 Control& control,
                                 Result& result);

    SmallMemory memory_;
    SmallExtent extent_;
    SmallDual dual_{memory_};
    SmallGuess guess_{memory_};
    WorkingSet descended_{};  ///< where the guess gave way
    enum class Matrices { Unknown, Unfit, Ready };
    Matrices matrices_ = Matrices::Unknown;
    bool areSetsListed_ = true;
    bool hasEnded_ = false;    ///< at an optimum, whose working set is still factorised
    bool hasReached_ = false;  ///< at one that is not proved
    bool isSetKept_ = false;   ///< the solve began with that
};

}  // namespace activeset::frontend

#endif

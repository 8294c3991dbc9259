// The working set as lists of constraints by kind.
#ifndef ACTIVESET_ACTIVE_SET_HPP
#define ACTIVESET_ACTIVE_SET_HPP

#include <cstddef>

#include "activeset/export.hpp"
#include "activeset/host.hpp"
#include "activeset/internal/index_list.hpp"

/// Which constraints are active: six lists of 0-based indices. How many entries of each are in
/// use is counted per thread, like the sizes in OPTsizes, so one working set is live per thread.
///
/// `Wset` holds constraint numbers in working-set order; the number of a constraint is its place
/// in: fixed variables (mFixed of them), equalities (mEq), inequalities (mIneq), lower bounds by
/// variable (nVar), upper bounds by variable (nVar). The other lists hold, kind by kind, the
/// entry of the fixed list, the row, or the bounded variable. Additions go to the end of a list,
/// a removed entry is replaced by the last one.
///
/// Assignment is shallow: two working sets then share their lists and see each other's edits.
class ACTIVESET_API ActiveSet {
public:
    ActiveSet() = default;
    ActiveSet(const ActiveSet&) = default;
    ActiveSet& operator=(const ActiveSet&) = default;
    ~ActiveSet() = default;

    static void setmaFixed(size_t count);
    [[nodiscard]] static size_t getmaFixed();
    static void setmaEq(size_t count);
    [[nodiscard]] static size_t getmaEq();
    static void setmaIneq(size_t count);
    [[nodiscard]] static size_t getmaIneq();
    static void setmaLB(size_t count);
    [[nodiscard]] static size_t getmaLB();
    static void setmaUB(size_t count);
    [[nodiscard]] static size_t getmaUB();
    /// Entries of Wset in use; the sum of the five others while the working set is consistent.
    static void setmaConstr(size_t count);
    [[nodiscard]] static size_t getmaConstr();

    /// The lists; null while nothing was ever allocated for them.
    [[nodiscard]] size_t* getWset() const noexcept { return Wset.get(); }
    [[nodiscard]] size_t* getWfixed() const noexcept { return Wfixed.get(); }
    [[nodiscard]] size_t* getWeq() const noexcept { return Weq.get(); }
    [[nodiscard]] size_t* getWineq() const noexcept { return Wineq.get(); }
    [[nodiscard]] size_t* getWlower() const noexcept { return Wlower.get(); }
    [[nodiscard]] size_t* getWupper() const noexcept { return Wupper.get(); }

    /// Allocates the list for the sizes of OPTsizes and copies from `source`, unless null, nVar
    /// (Wset) or the kind's number of entries. Nothing is done for a kind of size 0, except that
    /// Wupper is always allocated.
    void _setWset(const size_t* source);
    void _setWfixed(const size_t* source);
    void _setWeq(const size_t* source);
    void _setWineq(const size_t* source);
    void _setWlower(const size_t* source);
    void _setWupper(const size_t* source);

    /// Reads the initial working set from host columns of 1-based indices and sets all six counts.
    ///
    /// An array's count is its row count; null and empty arrays count 0. An index is the entry
    /// minus 1, truncated toward zero and taken modulo 2⁶⁴; whether it exists is not tested here.
    ///
    /// @return 1
    /// @raises "optim:activesetqp:ActiveInequalitySizeError", then ...ActiveLowerBoundSizeError,
    ///         then ...ActiveUpperBoundSizeError, when a list is longer than its kind (as long is
    ///         accepted)
    int setWsetIndices(const vxArray* fixed,
                       const vxArray* eq,
                       const vxArray* ineq,
                       const vxArray* lower,
                       const vxArray* upper);

    /// New host column of the entries in use, 1-based; 0 × 1 when there are none.
    [[nodiscard]] vxArray* getWeqVxArray() const;
    [[nodiscard]] vxArray* getWineqVxArray() const;
    [[nodiscard]] vxArray* getWlowerVxArray() const;
    [[nodiscard]] vxArray* getWupperVxArray() const;
    /// The same as getWupperVxArray; phase one asks under this name.
    [[nodiscard]] vxArray* getWupperVxArrayPhaseOne() const;

    /// First position of `value` among the first n entries: sets pos and returns 1; otherwise pos
    /// is 0 and the result −1.
    int findConstraint(const size_t* list, size_t n, size_t value, size_t& pos) const;
    /// list[pos] := list[n − 1]; the caller decrements its count.
    void replaceElementByLast(size_t* list, size_t n, size_t pos) const;
    /// list[n] := value; the caller increments its count and vouches for the room.
    void addToBottom(size_t* list, size_t n, size_t value) const;

    /// Prints n entries (0-based), a tab after each, then a line end.
    void printWindex(const size_t* list, size_t n) const;
    /// Prints a title and the five counts.
    static void printActiveSetInfo();

    /// Whether every list has as many entries as this thread's counts say are in use. They may
    /// count another working set.
    [[nodiscard]] bool holdsWhatIsCounted() const;

    /// Appends one entry to the list of a kind, raising its count and making room if need be.
    void appendIneq(size_t row);
    void appendLower(size_t variable);
    void appendUpper(size_t variable);
    /// Appends a constraint number to Wset and raises maConstr.
    void appendToWset(size_t constraintNumber);

private:
    void _allocateLists();

    activeset::IndexList Wset;    // nVar + 1 entries: phase one has a variable more
    activeset::IndexList Wfixed;  // mFixed
    activeset::IndexList Weq;     // mEq
    activeset::IndexList Wineq;   // mIneq
    activeset::IndexList Wlower;  // mLB
    activeset::IndexList Wupper;  // mUB + 1: phase one has a bound more
};

#endif

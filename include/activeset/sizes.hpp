// How many variables and constraints the problem being solved has.
#ifndef ACTIVESET_SIZES_HPP
#define ACTIVESET_SIZES_HPP

#include <cstddef>

#include "activeset/export.hpp"

/// The sizes of the problem that this thread is setting up or solving, one set per thread.
///
/// The counts are the single truth about how many constraints of each kind exist. An objective's
/// construction sets nVar; a constraint set's construction, which must come after it, sets the
/// rest; phase one raises nVar, mUB and mConstr by one and puts them back.
class ACTIVESET_API OPTsizes {
public:
    OPTsizes() = default;
    OPTsizes(const OPTsizes&) = default;
    OPTsizes(OPTsizes&&) = default;
    /// There is no state of an instance: does nothing.
    OPTsizes& operator=(const OPTsizes&) = default;
    OPTsizes& operator=(OPTsizes&&) = default;
    ~OPTsizes() = default;

    /// Number of constraints: mFixed + mEq + mIneq + mLB + mUB.
    static void setmConstr(size_t count);
    [[nodiscard]] static size_t getmConstr();
    /// General inequalities, the rows of A.
    static void setmIneq(size_t count);
    [[nodiscard]] static size_t getmIneq();
    /// Equalities, the rows of Aeq.
    static void setmEq(size_t count);
    [[nodiscard]] static size_t getmEq();
    /// Equalities as supplied; kept beside mEq and not printed.
    static void setnEq(size_t count);
    [[nodiscard]] static size_t getnEq();
    /// Fixed-variable constraints; the bound split always sets 0.
    static void setmFixed(size_t count);
    [[nodiscard]] static size_t getmFixed();
    /// Finite lower bounds.
    static void setmLB(size_t count);
    [[nodiscard]] static size_t getmLB();
    /// Finite upper bounds.
    static void setmUB(size_t count);
    [[nodiscard]] static size_t getmUB();
    /// Variables.
    static void setnVar(size_t count);
    [[nodiscard]] static size_t getnVar();

    /// Prints seven lines on standard output: a label and a count each.
    static void printConstrInfo();
};

#endif

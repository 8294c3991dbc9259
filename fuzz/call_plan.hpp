// A call of the entry function, decoded from a fuzzer's bytes: a sensible problem, mostly, with a
// few arrays damaged afterwards.
#ifndef ACTIVESET_FUZZ_CALL_PLAN_HPP
#define ACTIVESET_FUZZ_CALL_PLAN_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "array_plan.hpp"
#include "bytes.hpp"

namespace activeset::fuzz {

/// Places of the inputs in the signature.
struct Input {
    enum : std::size_t {
        H,
        c,
        A,
        b,
        Aeq,
        beq,
        lb,
        ub,
        x0,
        Wineq,
        Wlower,
        Wupper,
        MaxIter,
        TolCon,
        TolFun,
        TolX,
        Display,
        Count
    };
};

struct CallPlan {
    std::array<ArrayPlan, Input::Count> in{};

    // What is known of the problem; all false once an array is damaged.
    bool isSound = false;           ///< shapes and lists fit, numbers are small
    bool isFeasible = false;        ///< a point satisfies every constraint exactly
    bool isStrictlyConvex = false;  ///< H is FFᵀ + I

    std::uint8_t outMask = 0;  ///< bit k: the caller does not want result k
    bool hasScope = false;     ///< the caller has a scope open
    bool interrupt = false;    ///< the interrupt flag is pending
    bool repeat = false;       ///< call a second time and compare
    std::uint64_t failAt = 0;  ///< then again, with this request for memory refused; 0: not
    std::uint64_t failures = 0;
};

/// Every sequence of bytes gives a call; the sizes are at most 12, give or take what damage adds.
[[nodiscard]] CallPlan decodeCall(Bytes& bytes);

}  // namespace activeset::fuzz

#endif

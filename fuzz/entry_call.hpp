// A call of the entry function, decoded from a fuzzer's bytes: a sensible problem, mostly, with a
// few arrays damaged afterwards.
#ifndef ACTIVESET_FUZZ_ENTRY_CALL_HPP
#define ACTIVESET_FUZZ_ENTRY_CALL_HPP

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "any_array.hpp"

namespace activeset::fuzz {

struct EntryCall {
    test::Problem problem{};
    test::Limits limits{};
    std::string display = "off";

    // What is known of the problem; all false once an array is damaged.
    bool isSound = true;            ///< shapes and lists fit, numbers are small
    bool isFeasible = true;         ///< a point satisfies every constraint exactly
    bool isStrictlyConvex = false;  ///< H is FFᵀ + I

    std::uint8_t outMask = 0;  ///< bit k: the caller does not want result k
    bool interrupt = false;    ///< the interrupt flag is pending
    bool repeat = false;       ///< call a second time and compare
    std::uint64_t failAt = 0;  ///< then again, with this request for memory refused; 0: not
    std::uint64_t failures = 0;
};

/// The arrays of a call while they exist.
struct EntryArrays {
    explicit EntryArrays(const EntryCall& call);
    /// Makes one array unusual in one way.
    void damage(Bytes& bytes);
    [[nodiscard]] std::vector<std::string> contents() const;
    [[nodiscard]] bool hasImmense() const;  ///< asks for memory that does not exist

    test::Inputs in{};

private:
    std::array<AnyArray, 17> owned_;
};

/// Every sequence of bytes gives a call; the sizes are at most 12.
[[nodiscard]] EntryCall decodeCall(Bytes& bytes);

}  // namespace activeset::fuzz

#endif

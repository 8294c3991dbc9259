// Decodes a call of the entry function from a fuzzer's bytes: usually a sensible problem, a few
// arrays of which are damaged afterwards.
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

    // Known facts about the problem. Damage to any array makes all of them false.
    bool isSound = true;            ///< shapes and lists fit, numbers are small
    bool isFeasible = true;         ///< a point satisfies every constraint exactly
    bool isStrictlyConvex = false;  ///< H is FFᵀ + I

    std::uint8_t outMask = 0;  ///< bit k: the caller passes no pointer for result k
    bool interrupt = false;    ///< the interrupt flag is pending
    bool repeat = false;       ///< call a second time and compare
    std::uint64_t failAt = 0;  ///< if not 0, repeat the call with this request for memory refused
    std::uint64_t failures = 0;
};

/// The arrays of a call, as long as they exist.
struct EntryArrays {
    explicit EntryArrays(const EntryCall& call);
    /// Makes one array unusual in one way.
    void damage(Bytes& bytes);
    [[nodiscard]] std::vector<std::string> contents() const;
    [[nodiscard]] bool hasImmense() const;  ///< whether it requests memory that does not exist

    test::Inputs in{};

private:
    std::array<AnyArray, 17> owned_;
};

/// Decodes a call from any bytes. Sizes are at most 12.
[[nodiscard]] EntryCall decodeCall(Bytes& bytes);

}  // namespace activeset::fuzz

#endif

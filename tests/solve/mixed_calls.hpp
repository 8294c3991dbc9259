// Calls of the entry function of every kind, for tests with many calls: optimal or not, refused as
// misuse, ended by the interrupt flag or by lack of memory.
#ifndef ACTIVESET_TESTS_SOLVE_MIXED_CALLS_HPP
#define ACTIVESET_TESTS_SOLVE_MIXED_CALLS_HPP

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "fuzz/entry_call.hpp"
#include "solve/examples.hpp"

namespace activeset::test {

/// How a call ended. Two are equal if the errors or the bits are.
struct Ending {
    std::string error;
    Result result;

    friend bool operator==(const Ending&, const Ending&) = default;
    [[nodiscard]] std::string kind() const {
        return error.empty() ? std::to_string(result.state) : error.substr(0, error.find(' '));
    }
};

/// A call with its arrays, which no scope owns. Several threads may read them.
class MixedCall {
public:
    explicit MixedCall(const fuzz::EntryCall& call) : call_(call), arrays_(call) {}

    /// Makes the arrays unusual in a way that depends on `bytes`.
    void damage(fuzz::Bytes& bytes) {
        for (size_t count = bytes.below(3); count > 0; --count) {
            arrays_.damage(bytes);
        }
    }
    /// Whether it uses the interrupt flag, which all threads share.
    [[nodiscard]] bool isInterrupted() const { return call_.interrupt; }
    /// Whether it prints nothing and requests no more memory than there is.
    [[nodiscard]] bool isModest() const {
        return vxArrayToStdString(arrays_.in[Input::Display]) == "off" && !arrays_.hasImmense();
    }

    [[nodiscard]] Ending make() const {
        const CallScope scope;
        Outputs out{};
        Ending ending;
        if (call_.interrupt) {
            utInterruptState::flags_pending = 1;
        }
        try {
            const AllocationFaults faults(call_.failAt, call_.failures);
            invoke(arrays_.in, out);
        } catch (const HostError& error) {
            ending.error = error.identifier() + ' ' + error.what();
        }
        if (call_.interrupt) {
            utInterruptState::flags_pending = 0;
        }
        if (ending.error.empty()) {
            ending.result = resultOf(out);
        }
        return ending;
    }

private:
    fuzz::EntryCall call_;
    fuzz::EntryArrays arrays_;
};

/// The examples of all outcomes, larger problems, and `count` calls decoded from random bytes.
inline std::vector<MixedCall> mixedCalls(size_t count, std::uint32_t seed) {
    std::vector<MixedCall> calls;
    for (const Example& example : examples()) {
        calls.emplace_back(fuzz::EntryCall{.problem = example.problem,
                                           .limits = example.limits,
                                           .interrupt = example.isInterrupted});
    }
    calls.emplace_back(fuzz::EntryCall{.problem = box(40)});
    calls.emplace_back(fuzz::EntryCall{.problem = longWay(seed, 40, 420)});
    std::mt19937 generator(seed);
    while (calls.size() < count + examples().size() + 2) {
        std::vector<std::uint8_t> random(2000);
        std::generate(random.begin(), random.end(),
                      [&] { return static_cast<std::uint8_t>(generator()); });
        fuzz::Bytes bytes(random.data(), random.size());
        fuzz::EntryCall call = fuzz::decodeCall(bytes);
        call.display = "off";
        MixedCall mixed(call);
        mixed.damage(bytes);
        if (mixed.isModest()) {
            calls.push_back(std::move(mixed));
        }
    }
    return calls;
}

}  // namespace activeset::test

#endif

// The class interface in any order: matrices beside a plain model, a solver's factors beside its
// working set, public members called before and after anything else.
#include <cstdint>

#include "activeset/sizes.hpp"
#include "array_bench.hpp"
#include "judge.hpp"
#include "matrix_model.hpp"
#include "thread_state.hpp"
#include "working_set_bench.hpp"

namespace activeset::fuzz {
namespace {

void run(Bytes& bytes) {
    const std::size_t mode = bytes.below(5);
    if (mode == 4) {
        tryArrays(bytes);
        return;
    }
    if (mode < 2) {
        MatrixBench bench(bytes);
        for (int steps = 0; !bytes.isEmpty() && steps < 200; ++steps) {
            bench.step();
        }
        return;
    }
    const CallScope scope;
    WorkingSetBench bench(bytes);
    if (mode == 2) {
        bench.followChanges();
    } else {
        bench.callInAnyOrder();
    }
}

}  // namespace
}  // namespace activeset::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    activeset::threadState().sizes = {};
    activeset::threadState().workingSet = {};
    Bytes bytes(data, size);
    const LeakCheck leaks;
    run(bytes);
    activeset::releaseMatrixPool();
    leaks.judge();
    return 0;
}

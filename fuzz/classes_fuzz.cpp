// The class interface in any order: matrices compared with a plain model, a solver's factors
// compared with its working set, and public members called before and after anything else.
#include "benches.hpp"
#include "judge.hpp"
#include "thread_state.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace activeset::fuzz;
    activeset::threadState().sizes = {};
    activeset::threadState().workingSet = {};
    Bytes bytes(data, size);
    const LeakCheck leaks;
    {
        const SilencedStream console(std::cout);
        const std::size_t mode = bytes.below(4);
        if (mode < 2) {
            tryMatrices(bytes);
        } else if (mode == 2) {
            followWorkingSet(bytes);
        } else {
            callInAnyOrder(bytes);
        }
    }
    activeset::releaseMatrixPool();
    leaks.judge();
    return 0;
}

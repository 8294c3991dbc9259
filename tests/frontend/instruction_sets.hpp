// The instruction sets that this processor has.
#ifndef ACTIVESET_TESTS_FRONTEND_INSTRUCTION_SETS_HPP
#define ACTIVESET_TESTS_FRONTEND_INSTRUCTION_SETS_HPP

#include <vector>

#include "frontend/algebra/instruction_set.hpp"

namespace activeset::frontend {

inline std::vector<InstructionSet> instructionSets() {
    std::vector<InstructionSet> result;
    for (const auto set :
         {InstructionSet::Baseline, InstructionSet::Avx2, InstructionSet::Avx512}) {
        if (set <= instructionSet()) {
            result.push_back(set);
        }
    }
    return result;
}

}  // namespace activeset::frontend

#endif

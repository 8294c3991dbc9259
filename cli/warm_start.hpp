// Points and working sets of results, moved to another model by names.
#ifndef ACTIVESET_CLI_WARM_START_HPP
#define ACTIVESET_CLI_WARM_START_HPP

#include <string>
#include <vector>

#include "activeset/qp.hpp"
#include "io/model.hpp"

namespace activeset::cli {

/// What a file with a result has of its point.
struct StoredPoint {
    std::vector<std::string> variables{};
    std::vector<std::string> rows{};
    std::vector<double> x{};  ///< as many as there are variables
    WorkingSet workingSet{};  ///< may have any members
};

/// The same for a model: names that it lacks are left out, variables without a value start at 0.
/// False where the set has members without a name.
[[nodiscard]] bool moveTo(const io::Model& model, const StoredPoint& stored, WarmStart& warm);

/// How much of its working set the result has, in words.
[[nodiscard]] std::string warmStartText(const std::string& file,
                                        const WarmStart& warm,
                                        const Result& result);

}  // namespace activeset::cli

#endif

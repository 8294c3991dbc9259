// The arrays of a result under the names that they have in JSON.
#include "cli/npz_result.hpp"

#include <vector>

#include "io/npy_array.hpp"
#include "io/zip_archive.hpp"

namespace activeset::cli {

std::string npzText(const io::Model& model, const Solution& solution) {
    const Result& result = solution.result;
    std::vector<io::ZipMember> members;
    const auto add = [&](const char* name, const std::vector<double>& values) {
        members.push_back({std::string(name) + ".npy", io::npyBytes(values, {values.size()})});
    };
    members.push_back({"outcome.npy", io::npyBytes({textOf(result.status)}, true)});
    members.push_back({"names.npy", io::npyBytes(model.variables)});
    members.push_back({"row_names.npy", io::npyBytes(model.rows)});
    if (solution.hasPoint()) {
        members.push_back(
            {"objective.npy", io::npyBytes(std::vector<double>{solution.objective}, {})});
        add("x", result.x);
        add("y", result.y);
        add("z", result.z);
    } else if (result.farkas) {
        add("farkas_y", result.farkas->y);
        add("farkas_z", result.farkas->z);
    } else if (!result.direction.empty()) {
        add("direction", result.direction);
    }
    return io::zipped(members);
}

}  // namespace activeset::cli

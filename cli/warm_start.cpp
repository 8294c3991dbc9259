// From the positions of a result to those of a model.
#include "cli/warm_start.hpp"

#include <algorithm>
#include <map>

namespace activeset::cli {

namespace {

constexpr std::size_t Absent = static_cast<std::size_t>(-1);

/// Where the model has each of `names`.
std::vector<std::size_t> positionsOf(const std::vector<std::string>& names,
                                     const std::vector<std::string>& ofModel) {
    std::map<std::string, std::size_t> known;
    for (std::size_t k = 0; k < ofModel.size(); ++k) {
        known.emplace(ofModel[k], k);
    }
    std::vector<std::size_t> positions;
    positions.reserve(names.size());
    for (const std::string& name : names) {
        const auto found = known.find(name);
        positions.push_back(found == known.end() ? Absent : found->second);
    }
    return positions;
}

/// False for a member that is no position.
bool move(std::vector<std::size_t>& members, const std::vector<std::size_t>& positions) {
    std::vector<std::size_t> moved;
    for (const std::size_t member : members) {
        if (member >= positions.size()) {
            return false;
        }
        if (positions[member] != Absent) {
            moved.push_back(positions[member]);
        }
    }
    std::sort(moved.begin(), moved.end());
    members = std::move(moved);
    return true;
}

}  // namespace

bool moveTo(const io::Model& model, const StoredPoint& stored, WarmStart& warm) {
    const auto columns = positionsOf(stored.variables, model.variables);
    const auto rows = positionsOf(stored.rows, model.rows);
    if (stored.x.size() != columns.size()) {
        return false;
    }
    warm.x.assign(model.n(), 0.0);
    for (std::size_t j = 0; j < columns.size(); ++j) {
        if (columns[j] != Absent) {
            warm.x[columns[j]] = stored.x[j];
        }
    }
    WorkingSet& set = warm.workingSet;
    ViolatedSides& soft = set.softViolated;
    set = stored.workingSet;
    bool isSound = true;
    for (auto* const members : {&set.equalities, &set.rowsAtLower, &set.rowsAtUpper,
                                &soft.rowsAtLower, &soft.rowsAtUpper}) {
        isSound = isSound && move(*members, rows);
    }
    for (auto* const members :
         {&set.atLower, &set.atUpper, &set.fixed, &soft.atLower, &soft.atUpper}) {
        isSound = isSound && move(*members, columns);
    }
    return isSound;
}

}  // namespace activeset::cli

// From the positions of a result to those of a model.
#include "cli/warm_start.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>

#include "cli/numbers.hpp"

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

/// How many members two ascending lists share.
std::size_t common(const std::vector<std::size_t>& one, const std::vector<std::size_t>& other) {
    std::vector<std::size_t> both;
    std::set_intersection(one.begin(), one.end(), other.begin(), other.end(),
                          std::back_inserter(both));
    return both.size();
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

std::string warmStartText(const std::string& file, const WarmStart& warm, const Result& result) {
    const WorkingSet& first = warm.workingSet;
    const std::size_t members = first.size() + first.softViolated.size();
    if (members == 0) {
        return file + ": its point, with an empty working set";
    }
    if (first == result.workingSet) {
        return file + ": its working set is that of the solution";
    }
    const WorkingSet& last = result.workingSet;
    const std::size_t kept =
        common(first.equalities, last.equalities) + common(first.rowsAtLower, last.rowsAtLower) +
        common(first.rowsAtUpper, last.rowsAtUpper) + common(first.atLower, last.atLower) +
        common(first.atUpper, last.atUpper) + common(first.fixed, last.fixed) +
        common(first.softViolated.rowsAtLower, last.softViolated.rowsAtLower) +
        common(first.softViolated.rowsAtUpper, last.softViolated.rowsAtUpper) +
        common(first.softViolated.atLower, last.softViolated.atLower) +
        common(first.softViolated.atUpper, last.softViolated.atUpper);
    return fmt::format("{}: {} of the {} in its working set {} in that of the solution", file, kept,
                       counted(members, "member", "members"), kept == 1 ? "is" : "are");
}

}  // namespace activeset::cli

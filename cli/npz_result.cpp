// The arrays of a result under the names that they have in JSON.
#include "cli/npz_result.hpp"

#include <array>
#include <map>
#include <utility>
#include <vector>

#include "activeset/activeset.h"
#include "io/npy_array.hpp"
#include "io/read_error.hpp"
#include "io/zip_archive.hpp"

namespace activeset::cli {

namespace {

/// How a side is written, as in activeset.h, and the constraints that it is said of.
struct SideList {
    double side;
    std::vector<std::size_t>* members;
};

std::array<SideList, 5> rowLists(WorkingSet& set) {
    return {{{ACTIVESET_EQUAL, &set.equalities},
             {ACTIVESET_AT_LOWER, &set.rowsAtLower},
             {ACTIVESET_AT_UPPER, &set.rowsAtUpper},
             {ACTIVESET_BELOW_LOWER, &set.softViolated.rowsAtLower},
             {ACTIVESET_ABOVE_UPPER, &set.softViolated.rowsAtUpper}}};
}

std::array<SideList, 5> boundLists(WorkingSet& set) {
    return {{{ACTIVESET_EQUAL, &set.fixed},
             {ACTIVESET_AT_LOWER, &set.atLower},
             {ACTIVESET_AT_UPPER, &set.atUpper},
             {ACTIVESET_BELOW_LOWER, &set.softViolated.atLower},
             {ACTIVESET_ABOVE_UPPER, &set.softViolated.atUpper}}};
}

std::vector<double> sidesOf(const std::array<SideList, 5>& lists, std::size_t count) {
    std::vector<double> sides(count, ACTIVESET_FREE);
    for (const SideList& list : lists) {
        for (const std::size_t member : *list.members) {
            sides[member] = list.side;
        }
    }
    return sides;
}

void takeSides(const std::vector<double>& sides, const std::array<SideList, 5>& lists) {
    for (std::size_t k = 0; k < sides.size(); ++k) {
        for (const SideList& list : lists) {
            if (sides[k] == list.side) {
                list.members->push_back(k);
            }
        }
    }
}

/// The arrays of an archive by name.
class Archive {
public:
    Archive(std::string_view text, const std::string& path)
        : path_(path), members_(io::unzipped(text, path, LargestArchive)) {
        for (const io::ZipMember& member : members_) {
            bytes_.emplace(member.name, member.bytes);
        }
    }

    [[nodiscard]] std::vector<double> numbers(const std::string& name) const {
        const auto found = bytes_.find(name + ".npy");
        return found == bytes_.end()
                   ? std::vector<double>()
                   : io::numbersOf(io::parseNpy(found->second, place(name)), place(name));
    }
    [[nodiscard]] std::vector<std::string> texts(const std::string& name) const {
        const auto found = bytes_.find(name + ".npy");
        return found == bytes_.end()
                   ? std::vector<std::string>()
                   : io::textsOf(io::parseNpy(found->second, place(name)), place(name));
    }
    [[nodiscard]] bool has(const std::string& name) const { return bytes_.contains(name + ".npy"); }

private:
    static constexpr std::size_t LargestArchive = std::size_t{1} << 30U;

    [[nodiscard]] std::string place(const std::string& name) const {
        return path_ + ": " + name + ".npy";
    }

    const std::string& path_;
    std::vector<io::ZipMember> members_;
    std::map<std::string, std::string_view> bytes_{};  ///< of members_
};

}  // namespace

StoredPoint npzPoint(std::string_view text, const std::string& path) {
    const Archive archive(text, path);
    if (!archive.has("x") || !archive.has("names")) {
        throw io::ReadError(path, 0, "expected a result with a point to start from: x and names");
    }
    StoredPoint stored;
    stored.variables = archive.texts("names");
    stored.rows = archive.texts("row_names");
    stored.x = archive.numbers("x");
    takeSides(archive.numbers("row_sides"), rowLists(stored.workingSet));
    takeSides(archive.numbers("bound_sides"), boundLists(stored.workingSet));
    return stored;
}

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
        WorkingSet set = result.workingSet;
        add("row_sides", sidesOf(rowLists(set), model.m()));
        add("bound_sides", sidesOf(boundLists(set), model.n()));
    } else if (result.farkas) {
        add("farkas_y", result.farkas->y);
        add("farkas_z", result.farkas->z);
    } else if (!result.direction.empty()) {
        add("direction", result.direction);
    }
    return io::zipped(members);
}

}  // namespace activeset::cli

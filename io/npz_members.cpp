// Finds members by name and checks their shapes and numbers.
#include "io/npz_members.hpp"

#include <cmath>
#include <unordered_set>
#include <utility>

#include "io/location.hpp"
#include "io/read_error.hpp"

namespace activeset::io {

namespace {

constexpr std::string_view Suffix = ".npy";

std::string shapeText(const NpyArray& array) {
    std::string text;
    for (const std::size_t size : array.shape) {
        text += (text.empty() ? "" : ", ") + std::to_string(size);
    }
    return "the shape (" + text + ")";
}

}  // namespace

NpzMembers::NpzMembers(const std::vector<ZipMember>& members,
                       const std::string& file,
                       bool (*isKnown)(std::string_view name))
    : file_(file) {
    for (const ZipMember& member : members) {
        std::string_view name = member.name;
        name.remove_suffix(name.ends_with(Suffix) ? Suffix.size() : 0);
        if (!isKnown(name)) {
            throw ReadError(file, 0,
                            "expected a part of a problem, P, q, G, ... (docs/files.md), found " +
                                quoted(member.name));
        }
        if (!isPickledNone(member.bytes)) {
            if (!arrays_.emplace(name, parseNpy(member.bytes, place(std::string(name)))).second) {
                fail(std::string(name), "expected one member of this name, found two");
            }
        }
    }
}

std::string NpzMembers::place(const std::string& name) const {
    return file_ + ": " + name + std::string(Suffix);
}

void NpzMembers::fail(const std::string& name, const std::string& message) const {
    throw ReadError(place(name), 0, message);
}

void NpzMembers::failAt(const std::string& name,
                        std::size_t entry,
                        const std::string& message) const {
    fail(name, "entry " + std::to_string(entry) + ": " + message);
}

const NpyArray* NpzMembers::array(const std::string& name) const {
    const auto found = arrays_.find(name);
    return found == arrays_.end() ? nullptr : &found->second;
}

std::optional<NpzPart> NpzMembers::vector(const std::string& name) const {
    const NpyArray* const found = array(name);
    if (found == nullptr) {
        return {};
    }
    const std::vector<std::size_t>& shape = found->shape;
    if (shape.size() > 2 || (shape.size() == 2 && shape[1] != 1)) {
        fail(name, "expected a vector, found " + shapeText(*found));
    }
    return NpzPart{found->count(), 1, numbersOf(*found, place(name))};
}

std::optional<NpzPart> NpzMembers::matrix(const std::string& name) const {
    const NpyArray* const found = array(name);
    if (found == nullptr) {
        return {};
    }
    if (found->shape.empty() || found->shape.size() > 2) {
        fail(name, "expected a matrix, found " + shapeText(*found));
    }
    const bool isRow = found->shape.size() == 1;
    return NpzPart{isRow ? 1 : found->shape[0], found->shape.back(),
                   finite(name, numbersOf(*found, place(name)))};
}

std::vector<std::string> NpzMembers::names(const std::string& name,
                                           std::size_t count,
                                           char letter) const {
    std::vector<std::string> names;
    const NpyArray* const found = array(name);
    if (found == nullptr) {
        for (std::size_t k = 0; k < count; ++k) {
            names.push_back(letter + std::to_string(k + 1));
        }
        return names;
    }
    requireSize(name, found->count(), count);
    names = textsOf(*found, place(name));
    std::unordered_set<std::string> known;
    for (const std::string& text : names) {
        if (text.empty() || !known.insert(text).second) {
            fail(name, "expected a name that is new, found " + quoted(text));
        }
    }
    return names;
}

std::vector<double> NpzMembers::finite(const std::string& name, std::vector<double> values) const {
    for (std::size_t k = 0; k < values.size(); ++k) {
        if (!std::isfinite(values[k])) {
            failAt(name, k, "expected a finite number");
        }
    }
    return values;
}

void NpzMembers::requireSize(const std::string& name,
                             std::size_t size,
                             std::size_t expected) const {
    if (size != expected) {
        fail(name,
             "has the size " + std::to_string(size) + ", expected " + std::to_string(expected));
    }
}

}  // namespace activeset::io

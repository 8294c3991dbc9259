// The members of an archive with a problem, each read as the vector, matrix or texts that it has to
// be.
#ifndef ACTIVESET_IO_NPZ_MEMBERS_HPP
#define ACTIVESET_IO_NPZ_MEMBERS_HPP

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/npy_array.hpp"
#include "io/zip_archive.hpp"

namespace activeset::io {

/// A part that the archive has. A vector has one column.
struct NpzPart {
    std::size_t rows = 0;
    std::size_t columns = 1;
    std::vector<double> values{};  ///< column-major
};

/// Those of the members that are not None. All functions raise ReadError (line 0) that names the
/// member and what was expected.
class NpzMembers {
public:
    /// @param members, file  outlive this
    /// @param isKnown        whether a problem has a part of that name
    NpzMembers(const std::vector<ZipMember>& members,
               const std::string& file,
               bool (*isKnown)(std::string_view name));

    [[nodiscard]] const std::string& file() const noexcept { return file_; }
    [[nodiscard]] bool has(const std::string& name) const { return arrays_.contains(name); }

    /// Numbers in one dimension; a single one may have none, and a column may be a matrix.
    [[nodiscard]] std::optional<NpzPart> vector(const std::string& name) const;
    /// Finite numbers in two dimensions; one dimension is a row.
    [[nodiscard]] std::optional<NpzPart> matrix(const std::string& name) const;
    /// `count` names, none of them empty or there twice; the letter with a number where the archive
    /// has none.
    [[nodiscard]] std::vector<std::string> names(const std::string& name,
                                                 std::size_t count,
                                                 char letter) const;

    [[noreturn]] void fail(const std::string& name, const std::string& message) const;
    [[noreturn]] void failAt(const std::string& name,
                             std::size_t entry,
                             const std::string& message) const;
    /// The same numbers, all of which are finite.
    [[nodiscard]] std::vector<double> finite(const std::string& name,
                                             std::vector<double> values) const;
    void requireSize(const std::string& name, std::size_t size, std::size_t expected) const;

private:
    [[nodiscard]] std::string place(const std::string& name) const;
    [[nodiscard]] const NpyArray* array(const std::string& name) const;

    const std::string& file_;
    std::map<std::string, NpyArray> arrays_{};
};

}  // namespace activeset::io

#endif

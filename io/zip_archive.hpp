// Archives of named members in the format zip, in memory.
#ifndef ACTIVESET_IO_ZIP_ARCHIVE_HPP
#define ACTIVESET_IO_ZIP_ARCHIVE_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace activeset::io {

struct ZipMember {
    std::string name;
    std::string bytes;
};

/// All members of the archive `text`, in its order, decompressed.
///
/// @param file   for messages
/// @param limit  most bytes of all members together
/// @raises ReadError (line 0) if the text is no archive, a member is damaged or encrypted, has the
///         name of another one, or if there is more than `limit`
[[nodiscard]] std::vector<ZipMember> unzipped(std::string_view text,
                                              const std::string& file,
                                              std::size_t limit);

/// An archive of these members, deflated; the same bytes whenever it is made.
/// @raises ReadError (line 0) without memory
[[nodiscard]] std::string zipped(const std::vector<ZipMember>& members);

}  // namespace activeset::io

#endif

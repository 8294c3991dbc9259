// Reading and writing archives with libzip; nothing touches the file system.
#include "io/zip_archive.hpp"

#include <zip.h>

#include <array>
#include <memory>
#include <unordered_set>

#include "io/location.hpp"

namespace activeset::io {

namespace {

constexpr const char* NoMemory = "out of memory";

struct FreeSource {
    void operator()(zip_source_t* source) const noexcept { zip_source_free(source); }
};
struct CloseMember {
    void operator()(zip_file_t* member) const noexcept { static_cast<void>(zip_fclose(member)); }
};
struct DiscardArchive {
    void operator()(zip_t* archive) const noexcept { zip_discard(archive); }
};
using Source = std::unique_ptr<zip_source_t, FreeSource>;
using Member = std::unique_ptr<zip_file_t, CloseMember>;
using Archive = std::unique_ptr<zip_t, DiscardArchive>;

/// The archive shares `source` with the caller.
Archive opened(const Source& source, int flags, const std::string& file) {
    if (source == nullptr) {
        throw ReadError(file, 0, NoMemory);
    }
    zip_error_t error;
    zip_error_init(&error);
    zip_source_keep(source.get());
    Archive archive(zip_open_from_source(source.get(), flags, &error));
    const bool hasNoMemory = zip_error_code_zip(&error) == ZIP_ER_MEMORY;
    zip_error_fini(&error);
    if (archive == nullptr) {
        zip_source_free(source.get());
        throw ReadError(file, 0,
                        hasNoMemory ? NoMemory : "expected an archive, as numpy.savez writes it");
    }
    return archive;
}

/// @param taken  bytes of the members before this one
std::string bytesOf(zip_t* archive,
                    zip_uint64_t index,
                    const std::string& place,
                    std::size_t taken,
                    std::size_t limit) {
    const Member member(zip_fopen_index(archive, index, 0));
    if (member == nullptr) {
        const int code = zip_error_code_zip(zip_get_error(archive));
        throw ReadError(place, 0,
                        code == ZIP_ER_MEMORY ? NoMemory
                                              : "expected a member that is stored or deflated, "
                                                "without a password");
    }
    std::string bytes;
    std::array<char, 1U << 16U> block{};
    while (true) {
        const zip_int64_t count = zip_fread(member.get(), block.data(), block.size());
        if (count < 0) {
            throw ReadError(place, 0, "the compressed data are damaged or incomplete");
        }
        if (count == 0) {
            return bytes;
        }
        if (static_cast<std::size_t>(count) > limit - taken - bytes.size()) {
            throw ReadError(
                place, 0,
                "the members are longer than the " + std::to_string(limit) + " bytes allowed");
        }
        bytes.append(block.data(), static_cast<std::size_t>(count));
    }
}

void add(zip_t* archive, const ZipMember& member) {
    // 1980-01-01, the first day that the format knows.
    constexpr zip_uint16_t FirstDay = (1U << 5U) | 1U;
    zip_source_t* const source =
        zip_source_buffer(archive, member.bytes.data(), member.bytes.size(), 0);
    const zip_int64_t index =
        source == nullptr ? -1
                          : zip_file_add(archive, member.name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        zip_source_free(source);
        throw ReadError(member.name, 0, NoMemory);
    }
    zip_file_set_dostime(archive, static_cast<zip_uint64_t>(index), 0, FirstDay, 0);
}

}  // namespace

std::vector<ZipMember> unzipped(std::string_view text, const std::string& file, std::size_t limit) {
    const Source source(zip_source_buffer_create(text.data(), text.size(), 0, nullptr));
    const Archive archive = opened(source, ZIP_RDONLY, file);
    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    std::vector<ZipMember> members;
    std::unordered_set<std::string> known;
    std::size_t taken = 0;
    const std::string prefix = file + ": ";
    for (zip_int64_t k = 0; k < count; ++k) {
        const auto index = static_cast<zip_uint64_t>(k);
        const char* const found = zip_get_name(archive.get(), index, ZIP_FL_ENC_GUESS);
        const std::string name = found == nullptr ? "" : found;
        if (!known.insert(name).second) {
            throw ReadError(file, 0, quoted(name) + " is there twice");
        }
        members.push_back({name, bytesOf(archive.get(), index, prefix + name, taken, limit)});
        taken += members.back().bytes.size();
    }
    return members;
}

std::string zipped(const std::vector<ZipMember>& members) {
    const Source source(zip_source_buffer_create(nullptr, 0, 0, nullptr));
    Archive archive = opened(source, ZIP_TRUNCATE, "archive");
    for (const ZipMember& member : members) {
        add(archive.get(), member);
    }
    if (zip_close(archive.get()) != 0) {
        throw ReadError("archive", 0, NoMemory);
    }
    static_cast<void>(archive.release());  // closing has freed it
    zip_stat_t facts;
    if (zip_source_open(source.get()) != 0 || zip_source_stat(source.get(), &facts) != 0) {
        throw ReadError("archive", 0, NoMemory);
    }
    std::string bytes(facts.size, '\0');
    const zip_int64_t count = zip_source_read(source.get(), bytes.data(), bytes.size());
    zip_source_close(source.get());
    if (count < 0 || static_cast<std::size_t>(count) != bytes.size()) {
        throw ReadError("archive", 0, NoMemory);
    }
    return bytes;
}

}  // namespace activeset::io

// From a path to a model: the text, its format, the reader of that format.
#include "io/reader.hpp"

#include <algorithm>
#include <cctype>
#include <new>
#include <utility>

#include "io/dense_form.hpp"
#include "io/file_text.hpp"
#include "io/format_readers.hpp"
#include "io/lp_words.hpp"
#include "io/section_scan.hpp"

namespace activeset::io {

namespace {

bool isStandardInput(const std::string& path) {
    return path == "-";
}

}  // namespace

Format formatOf(const std::string& path) {
    std::string name = lp::lowered(path);
    for (const std::string_view packed : {".gz", ".bz2"}) {
        if (name.ends_with(packed)) {
            name.resize(name.size() - packed.size());
        }
    }
    if (name.ends_with(".lp")) {
        return Format::Lp;
    }
    if (name.ends_with(".json")) {
        return Format::Json;
    }
    if (name.ends_with(".npz")) {
        return Format::Npz;
    }
    return Format::Mps;
}

Model readModelText(std::string_view text,
                    const std::string& file,
                    Format format,
                    const ReadLimits& limits) {
    constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";  // some editors write it
    if (text.starts_with(ByteOrderMark)) {
        text.remove_prefix(ByteOrderMark.size());
    }
    switch (format == Format::Automatic ? formatOf(file) : format) {
        case Format::Lp:
            return readLp(text, file, limits);
        case Format::Json:
            return readJson(text, file, limits);
        case Format::Npz:
            return readNpz(text, file, limits);
        default:
            return readMps(text, file, limits);
    }
}

Model readModel(const std::string& path, Format format, const ReadLimits& limits) {
    const std::string file = isStandardInput(path) ? StandardInput : path;
    try {
        const std::string text = isStandardInput(path) ? readStandardInputText(limits.textBytes)
                                                       : readFileText(path, limits.textBytes);
        return readModelText(text, file, format, limits);
    } catch (const std::bad_alloc&) {
        throw ReadError(file, 0, "out of memory");
    }
}

Model readMps(std::string_view text, const std::string& file, const ReadLimits& limits) {
    ScannedFile scanned = scanFile(text, file);
    LinearPart linear = scanned.deck.read(file);
    return modelOf(std::move(scanned), std::move(linear), limits.denseBytes, file);
}

}  // namespace activeset::io

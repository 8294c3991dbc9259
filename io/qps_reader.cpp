// The road of a file: text, checked cards, linear part, dense form.
#include "io/qps_reader.hpp"

#include <new>
#include <utility>

#include "io/dense_form.hpp"
#include "io/file_text.hpp"
#include "io/section_scan.hpp"

namespace activeset::io {

Problem readProblem(const std::string& path, const ReadLimits& limits) {
    try {
        return readProblemText(readFileText(path, limits.textBytes), path, limits);
    } catch (const std::bad_alloc&) {
        throw ReadError(path, 0, "out of memory");
    }
}

Problem readStandardInput(const ReadLimits& limits) {
    try {
        return readProblemText(readStandardInputText(limits.textBytes), StandardInput, limits);
    } catch (const std::bad_alloc&) {
        throw ReadError(StandardInput, 0, "out of memory");
    }
}

Problem readProblemText(std::string_view text, const std::string& file, const ReadLimits& limits) {
    ScannedFile scanned = scanFile(text, file);
    LinearPart linear = scanned.deck.read(file);
    return denseForm(std::move(scanned), std::move(linear), limits.denseBytes, file);
}

}  // namespace activeset::io

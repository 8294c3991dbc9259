// A page with results, complete in itself.
#ifndef ACTIVESET_REPORT_PAGE_HPP
#define ACTIVESET_REPORT_PAGE_HPP

#include <string>
#include <string_view>

namespace activeset::report {

/// The page in HTML.
/// @param results  JSON: an array of objects as docs/cli.md describes them
[[nodiscard]] std::string pageOf(std::string_view results);

}  // namespace activeset::report

#endif

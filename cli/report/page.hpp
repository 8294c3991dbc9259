// A page with results, complete in itself.
#ifndef ACTIVESET_CLI_REPORT_PAGE_HPP
#define ACTIVESET_CLI_REPORT_PAGE_HPP

namespace activeset::cli {

// What stands before and behind the array of results.
extern const char* const PageBefore;
extern const char* const PageAfter;

}  // namespace activeset::cli

#endif

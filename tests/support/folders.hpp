// Where the tests find their files. Only one source file contains the paths, so that a compiler
// cache can serve checkouts in different places.
#ifndef ACTIVESET_TESTS_SUPPORT_FOLDERS_HPP
#define ACTIVESET_TESTS_SUPPORT_FOLDERS_HPP

#include <string>

namespace activeset::test {

std::string goldenFolder();
std::string examplesFolder();
/// Empty if there is no such folder.
std::string sharedFolder();

}  // namespace activeset::test

#endif

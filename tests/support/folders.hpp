// Where the tests find their files. Only one source file is compiled with the paths, so that a
// cache of compiled files serves checkouts in different places.
#ifndef ACTIVESET_TESTS_SUPPORT_FOLDERS_HPP
#define ACTIVESET_TESTS_SUPPORT_FOLDERS_HPP

#include <string>

namespace activeset::test {

std::string goldenFolder();
std::string examplesFolder();
/// Empty where there is none.
std::string sharedFolder();

}  // namespace activeset::test

#endif

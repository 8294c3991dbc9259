// Texts that printed output must equal to the last blank.
#ifndef ACTIVESET_TESTS_SUPPORT_GOLDEN_HPP
#define ACTIVESET_TESTS_SUPPORT_GOLDEN_HPP

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

namespace activeset::test {

/// The content of tests/golden/`name`.
inline std::string golden(const std::string& name) {
    std::ifstream file(std::string(ACTIVESET_GOLDEN_DIR "/") + name, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << "no golden file " << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace activeset::test

#endif

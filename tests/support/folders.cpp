// The paths of this checkout.
#include "support/folders.hpp"

namespace activeset::test {

std::string goldenFolder() {
    return ACTIVESET_GOLDEN_DIR;
}

std::string examplesFolder() {
    return ACTIVESET_EXAMPLES_DIR;
}

std::string sharedFolder() {
    return ACTIVESET_SHARED_DIR;
}

}  // namespace activeset::test

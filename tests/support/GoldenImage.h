#pragma once

#include "drawing/Image.h"

#include <gtest/gtest.h>
#include <string>

namespace corvane::test {

// Compares a picture with tests/fixtures/golden/NAME.png, allowing for the small differences
// of anti-aliasing. With CVB_UPDATE_GOLDEN=1 in the environment the picture is written there
// instead. A failure leaves the picture drawn beside the test binary as NAME.actual.png.
::testing::AssertionResult matchesGolden(const Image& image, const std::string& name);

} // namespace corvane::test

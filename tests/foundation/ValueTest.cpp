#include "foundation/Value.h"

#include <gtest/gtest.h>

using corvane::Value;

TEST(Value, Placeholder) { EXPECT_EQ(Value(1).integerValue(), 1); }

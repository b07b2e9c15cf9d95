#include "PreferencesFixture.h"

namespace corvane::test {
namespace {

using StartupMigration = PreferencesFixture;

// Every process brings stored values to their current form before its first read.
TEST_F(StartupMigration, OldModeStringsAreListsAtTheFirstRead) {
    storeElsewhere(Value::dict({{"CPU_MenubarMode", "100,6"}}));
    install();
    const Value modes = CVBObjectForKey("CPU_MenubarMode");
    ASSERT_EQ(modes.size(), 2u);
    EXPECT_EQ(modes[0]["key"], Value("100"));
    EXPECT_EQ(modes[1]["key"], Value("6"));
    EXPECT_EQ(modes[0]["uuid"].string().size(), 36u);
    EXPECT_EQ(CVBObjectForKeyWithoutCache("Migrated_6.0"), Value(true));
}

} // namespace
} // namespace corvane::test

#include "foundation/Identifiers.h"

#include "foundation/Paths.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>

using namespace corvane;
using corvane::test::ScopedEnvironment;

namespace {

TEST(Identifiers, UUIDsAreUpperCaseRandomVersionFour) {
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const std::string uuid = newUUIDString();
        EXPECT_TRUE(std::regex_match(
            uuid,
            std::regex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}")))
            << uuid;
        seen.insert(uuid);
    }
    EXPECT_EQ(seen.size(), 100u);
}

TEST(Identifiers, MD5MatchesPublishedDigests) {
    EXPECT_EQ(md5Hex(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5Hex("The quick brown fox jumps over the lazy dog"),
              "9e107d9d372bb6826bd81d3542a419d6");
}

TEST(Paths, FollowXdgAndTheProductsOwnOverrides) {
    ScopedEnvironment home("HOME", "/home/tester");
    ScopedEnvironment config("XDG_CONFIG_HOME", "/xdg/config");
    ScopedEnvironment state("XDG_STATE_HOME", "relative/is/ignored");
    ScopedEnvironment noConfigOverride("CORVANEBAR_CONFIG_DIR", nullptr);
    ScopedEnvironment noStateOverride("CORVANEBAR_STATE_DIR", nullptr);
    ScopedEnvironment noLogOverride("CORVANEBAR_LOG_DIR", nullptr);
    ScopedEnvironment noLibOverride("CORVANEBAR_LIB_DIR", nullptr);

    EXPECT_EQ(Paths::configDirectory(), "/xdg/config/corvanebar");
    EXPECT_EQ(Paths::logDirectory("Status"), "/home/tester/.local/state/corvanebar/logs/Status");
    EXPECT_EQ(Paths::supportDirectory(), "/home/tester/.local/lib/corvanebar6");
    {
        ScopedEnvironment override("CORVANEBAR_CONFIG_DIR", "/tmp/prefs");
        EXPECT_EQ(Paths::configDirectory(), "/tmp/prefs");
    }
    ScopedEnvironment data("CORVANEBAR_DATA_DIR", "/opt/data");
    EXPECT_EQ(Paths::dataDirectory(), "/opt/data");
}

} // namespace

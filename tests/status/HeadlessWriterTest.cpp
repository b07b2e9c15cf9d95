#include "status/HeadlessWriter.h"

#include "foundation/AtomicFile.h"
#include "foundation/Json.h"
#include "support/TemporaryDirectory.h"

#include <gtest/gtest.h>

using namespace corvane;

namespace {

std::string contents(const std::filesystem::path& file) {
    return readFileContents(file).value_or("");
}

// A reader of the files sees a frame's time only where the item changed: an item that holds
// still is not written again, which spares the disk a write a second for each quiet item.
TEST(HeadlessWriter, WritesAnItemAgainOnlyWhenItChanged) {
    const test::TemporaryDirectory directory;
    double now = 100;
    HeadlessWriter writer(directory.path(), [&] { return now; });
    PanelItem item;
    item.id = "memory";
    item.label = "41%";
    item.picture = PanelPicture(2, 1, {0xff000000u, 0xffffffffu});
    const auto json = directory / "memory.json";
    const auto png = directory / "memory.png";
    const auto timeWritten = [&] { return parseJson(contents(json))["time"].doubleValue(); };

    writer.show({item});
    ASSERT_EQ(timeWritten(), 100);
    const std::string firstPicture = contents(png);

    now = 101;
    writer.show({item});
    EXPECT_EQ(timeWritten(), 100);

    now = 102;
    item.label = "42%";
    writer.show({item});
    EXPECT_EQ(timeWritten(), 102);
    EXPECT_EQ(parseJson(contents(json))["label"].stringValue(), "42%");
    EXPECT_EQ(contents(png), firstPicture);

    now = 103;
    item.picture = PanelPicture(2, 1, {0xffffffffu, 0xff000000u});
    writer.show({item});
    EXPECT_EQ(timeWritten(), 103);
    EXPECT_NE(contents(png), firstPicture);
}

} // namespace

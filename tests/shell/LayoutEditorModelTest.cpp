#include "shell/LayoutEditorModel.h"

#include "SectionFixture.h"
#include "foundation/Log.h"
#include "support/RunningProgram.h"

#include <gtest/gtest.h>
#include <map>

namespace corvane::test {
namespace {

using Model = LayoutEditorModel;
using Outcome = Model::Outcome;

// "100 6 101/4": codes in order, a spacer with its width.
std::string codes(const GenericLayoutContainer& row) {
    std::string text;
    for (const auto& item : row.layoutItems()) {
        text += (text.empty() ? "" : " ") + item.itemKey;
        if (item.resizable)
            text += "/" + std::to_string(item.width());
    }
    return text;
}

const std::map<std::string, std::string> kNotifications = {
    {"cpu", "CorvaneBarCPUPreferencesChanged"},
    {"memory", "CorvaneBarMeoryPreferencesChanged"},
    {"battery", "CorvaneBarBatteryPreferencesChanged"},
};

class LayoutEditorModelTest : public PreferencesFixture {
protected:
    void SetUp() override { install(); }
    std::unique_ptr<Model> model(const std::string& section) {
        return std::make_unique<Model>(section, CVBPreferences::sharedPreferences(), distributed);
    }

    DistributedNotificationCenter distributed{nullptr};
    PostLog posts{distributed};
};

enum class Op { Add, AddAt, Remove, Move, Width };

struct DragCase {
    const char* name;
    const char* section;
    Value stored; // null: the built-in default
    Op op;
    int a, b;
    Outcome outcome;
    const char* active;
    const char* available;
};

Model::Result apply(Model& m, const DragCase& c) {
    switch (c.op) {
    case Op::Add:
        return m.add(c.a);
    case Op::AddAt:
        return m.add(c.a, c.b);
    case Op::Remove:
        return m.remove(c.a);
    case Op::Move:
        return m.move(c.a, c.b);
    case Op::Width:
        break;
    }
    return m.setSpacerWidth(c.a, c.b);
}

constexpr const char* kCPUAvailable = "0 1 2 3 4 5 9 10 11 13 101/4";
constexpr const char* kCPUAll = "0 1 2 3 4 5 6 9 10 11 13 101/4";
constexpr Outcome kDone = Outcome::Done, kRefused = Outcome::Refused;

const DragCase kDragCases[] = {
    {"MovesAnElementOutOfTheAvailableRow", "cpu", Value(), Op::Add, 0, 0, kDone, "100 6 0",
     "1 2 3 4 5 9 10 11 13 101/4"},
    {"PlacesAtAPosition", "cpu", Value(), Op::AddAt, 0, 0, kDone, "0 100 6",
     "1 2 3 4 5 9 10 11 13 101/4"},
    {"LeavesACopyOfAnElementAllowedTwice", "cpu", Value(), Op::AddAt, 10, 1, kDone, "100 10 6",
     kCPUAvailable},
    {"LeavesACopyOfTheSpacer", "cpu", Value(), Op::Add, 101, 0, kDone, "100 6 101/4",
     kCPUAvailable},
    {"RefusesASecondOfAnElementThatStandsOnce", "cpu", Value(), Op::Add, 6, 0, kRefused, "100 6",
     kCPUAvailable},
    {"RefusesAnUnknownCode", "cpu", Value(), Op::Add, 12, 0, kRefused, "100 6", kCPUAvailable},
    {"RefusesAPositionPastTheEnd", "cpu", Value(), Op::AddAt, 0, 3, kRefused, "100 6",
     kCPUAvailable},
    {"ReturnsARemovedElementToItsDefaultIndex", "cpu", Value(), Op::Remove, 1, 0, kDone, "100",
     kCPUAll},
    {"ReturnsTheLabelBeforeTheSpacer", "cpu", Value(), Op::Remove, 0, 0, kDone, "6",
     "0 1 2 3 4 5 9 10 11 13 100 101/4"},
    {"DropsARemovedCopy", "cpu", modes({100, 9, 9}), Op::Remove, 1, 0, kDone, "100 9", kCPUAll},
    {"MovesWithinTheRow", "cpu", modes({100, 6, 0}), Op::Move, 0, 2, kDone, "6 0 100",
     "1 2 3 4 5 9 10 11 13 101/4"},
    {"RefusesAMoveOutOfTheRow", "cpu", Value(), Op::Move, 2, 0, kRefused, "100 6", kCPUAvailable},
    {"SetsASpacersWidth", "cpu", modes({100, Value::dict({{"key", 101}, {"width", 4}})}), Op::Width,
     1, 12, kDone, "100 101/12", kCPUAll},
    {"RefusesAWidthOutsideTheSpacersRange", "cpu", modes({100, 101}), Op::Width, 1, 41, kRefused,
     "100 101/0", kCPUAll},
    {"RefusesAWidthForAnElementWithoutOne", "cpu", Value(), Op::Width, 0, 8, kRefused, "100 6",
     kCPUAvailable},
    {"MemoryElements", "memory", Value(), Op::AddAt, 9, 0, kDone, "9 100 1", "0 2 3 6 7 8 101/4"},
    // The combined battery element has no code yet, so it is not offered.
    {"BatteryElements", "battery", Value(), Op::Add, 0, 0, kDone, "2 1 0", "3 4 5 6 7 8 100 101/4"},
};

class DragRules : public LayoutEditorModelTest, public ::testing::WithParamInterface<DragCase> {};

TEST_P(DragRules, ChangeTheRowsAndWhatIsStored) {
    const DragCase& c = GetParam();
    auto m = model(c.section);
    const std::string key = m->layout().modeKey;
    if (!c.stored.isNull())
        storeElsewhere(Value::dict({{key, c.stored}}));
    m->reload();
    const auto result = apply(*m, c);
    EXPECT_EQ(result.outcome, c.outcome) << result.reason;
    EXPECT_EQ(codes(m->active()), c.active);
    EXPECT_EQ(codes(m->available()), c.available);
    if (c.outcome == Outcome::Done) {
        EXPECT_EQ(onDisk(key), m->modeList());
        EXPECT_EQ(posts.names, (std::vector<std::string>{kNotifications.at(c.section),
                                                         "CorvaneBarResetPreferencesApp"}));
        EXPECT_EQ(posts.infos.front(), Value::dict({{"key", key}}));
    } else {
        EXPECT_FALSE(result.reason.empty());
        EXPECT_EQ(onDisk(key), c.stored);
        EXPECT_TRUE(posts.names.empty());
    }
}

INSTANTIATE_TEST_SUITE_P(LayoutEditor, DragRules, ::testing::ValuesIn(kDragCases),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_F(LayoutEditorModelTest, KeepsEachEntrysSettingsThroughAChange) {
    // Codes as text, as older versions stored them, read as the numbers they are.
    storeElsewhere(
        Value::dict({{"CPU_MenubarMode", modes({"100", Value::dict({{"key", 11}, {"display", 0}}),
                                                Value::dict({{"key", 101}, {"width", 7}}), 0})}}));
    auto m = model("cpu");
    ASSERT_TRUE(m->move(3, 0));
    const Value expected = modes({0, 100, Value::dict({{"key", 11}, {"display", 0}}),
                                  Value::dict({{"key", 101}, {"width", 7}})});
    EXPECT_EQ(onDisk("CPU_MenubarMode"), expected);
    // A new element gets the catalogue's settings, not those of one placed before.
    ASSERT_TRUE(m->add(11));
    EXPECT_EQ(onDisk("CPU_MenubarMode")[4], Value::dict({{"key", 11}, {"display", 1}}));
    EXPECT_EQ(model("cpu")->modeList(), onDisk("CPU_MenubarMode"));

    const Value weather = Value::array({Value::dict({{"uuid", "A"}, {"mode", 1}}),
                                        Value::dict({{"uuid", "B"}, {"mode", 0}, {"display", 4}})});
    storeElsewhere(Value::dict({{"Weather_MenubarMode", weather}}));
    auto w = model("weather");
    EXPECT_EQ(codes(w->active()), "1 0");
    EXPECT_EQ(w->active().preferenceValue(), "A,B");
    EXPECT_EQ(w->modeList(), weather);
}

struct DamagedCase {
    const char* name;
    Value stored;
    const char* active;
    std::vector<const char*> logged;
};

const DamagedCase kDamagedCases[] = {
    {"Dictionary", Value::dict({{"key", 0}}), "", {"CPU_MenubarMode holds a dictionary"}},
    {"Number", Value(7), "", {"CPU_MenubarMode holds an integer"}},
    // The comma-joined form of old versions is an empty list, nothing to report.
    {"OldString", Value("100,6"), "", {}},
    {"BadEntries",
     Value::array({5, Value::dict({{"key", "x"}}), Value::dict({{"key", 12}}),
                   Value::dict({{"key", 2.5}}), Value::dict({{"key", "100"}})}),
     "100",
     {"entry 1 is an integer", "entry 2 has the code \"x\"", "entry 3 has the code 12",
      "entry 4 has the code 2.5"}},
};

class DamagedModes : public LayoutEditorModelTest,
                     public ::testing::WithParamInterface<DamagedCase> {};

TEST_P(DamagedModes, ShowWhatCanBeReadAndKeepTheValueUntilTheRowChanges) {
    const DamagedCase& c = GetParam();
    storeElsewhere(Value::dict({{"CPU_MenubarMode", c.stored}}));
    LogCapture log;
    auto m = model("cpu");
    EXPECT_EQ(codes(m->active()), c.active);
    for (const char* line : c.logged)
        EXPECT_TRUE(log.contains(line)) << line << "\n" << log.lines();
    if (c.logged.empty()) {
        EXPECT_FALSE(log.contains("CPU_MenubarMode")) << log.lines();
    }
    EXPECT_EQ(onDisk("CPU_MenubarMode"), c.stored);

    ASSERT_TRUE(m->add(0));
    Value expected = m->active().hasItemWithKey(100) ? modes({100, 0}) : modes({0});
    EXPECT_EQ(onDisk("CPU_MenubarMode"), expected);
}

INSTANTIATE_TEST_SUITE_P(LayoutEditor, DamagedModes, ::testing::ValuesIn(kDamagedCases),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_F(LayoutEditorModelTest, FollowsWritesOfOtherProcessesToItsKeyOnly) {
    auto m = model("cpu");
    int changes = 0;
    m->setChangeHandler([&] { ++changes; });
    ASSERT_TRUE(m->add(0));
    EXPECT_EQ(changes, 1) << "its own post, heard back, changes nothing";

    const auto writeElsewhere = [&](const char* key, const Value& value) {
        storeElsewhere(Value::dict({{key, value}}));
        distributed.postNotificationName("CorvaneBarCPUPreferencesChanged",
                                         Value::dict({{"key", key}}));
    };
    writeElsewhere("CPU_MenubarTextColor", Value("1 0 0 1"));
    EXPECT_EQ(changes, 1);
    writeElsewhere("CPU_MenubarMode", modes({3}));
    EXPECT_EQ(changes, 2);
    EXPECT_EQ(codes(m->active()), "3");
    EXPECT_EQ(codes(m->available()), "0 1 2 4 5 6 9 10 11 13 100 101/4");

    // An import or reset says nothing of which keys it replaced.
    storeElsewhere(Value::dict({{"CPU_MenubarMode", modes({1})}}));
    distributed.postNotificationName("CorvaneBarExternalChange");
    EXPECT_EQ(codes(m->active()), "1");
    EXPECT_EQ(changes, 3);
}

TEST_F(LayoutEditorModelTest, ASettingThatCannotBeWrittenIsNotAnnounced) {
    installUnwritable();
    LogCapture quiet;
    auto m = model("cpu");
    const auto result = m->add(0);
    EXPECT_EQ(result.outcome, Outcome::NotStored);
    EXPECT_EQ(result.reason, "CPU_MenubarMode could not be stored");
    EXPECT_TRUE(posts.names.empty());
}

// The built command, as a script would run it, on settings of its own.
class LayoutCommand : public LayoutEditorModelTest {
protected:
    RunningProgram layout(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "layout");
        return RunningProgram(arguments, {}, dir.path() / "config");
    }
    Value stored() {
        return PreferenceDomain(kExtrasDomain, dir.path() / "config" / "corvanebar" /
                                                   "com.halvorn.corvanebar6.extras.plist")
            .copyAll()["CPU_MenubarMode"];
    }
};

TEST_F(LayoutCommand, PrintsAndChangesTheRows) {
    auto shown = layout({"cpu"});
    EXPECT_EQ(shown.finish(), 0);
    EXPECT_EQ(shown.outputText(),
              "CPU & GPU item (CPU_MenubarMode)\n"
              "Active:     1. Label (100)  2. Vertical Graph of All Cores (6)\n"
              "Available:  History Graph (0), Vertical Graph (1), Percentage (2), Pie "
              "Graph (3), Load Average (4), GPU Icon (5), GPU Vertical Graph (9), GPU "
              "Percentage (10), GPU History Graph (11), Circular Graph (13), Spacer "
              "(101, 4 points)\n");

    auto added = layout({"cpu", "add", "0", "--at", "1"});
    EXPECT_EQ(added.finish(), 0) << added.errorText();
    const std::string output = added.outputText();
    EXPECT_NE(output.find("CPU_MenubarMode: "), std::string::npos) << output;
    EXPECT_NE(output.find("Active:     1. History Graph (0)  2. Label (100)  3. Vertical Graph "
                          "of All Cores (6)\n"),
              std::string::npos)
        << output;
    EXPECT_EQ(stored(), modes({0, 100, 6}));
}

TEST_F(LayoutCommand, RefusesWhatTheRowsDoNotAllow) {
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"gpu"}, "no section \"gpu\" with a panel item; one of: cpu, memory, disks"},
        {{"cpu", "add", "12"}, "the CPU & GPU item has no element 12; nothing changed"},
        {{"cpu", "remove", "3"}, "the row has no element 3, which holds 2 elements (1 to 2)"},
        {{"cpu", "move", "x", "1"}, "\"x\" is not a whole number"},
        {{"cpu", "spacer", "1", "8"}, "layout: cpu: Label has no width to set; nothing changed\n"},
    };
    for (const auto& [arguments, message] : cases) {
        auto run = layout(arguments);
        EXPECT_EQ(run.finish(), 2) << message;
        const std::string errors = run.errorText();
        EXPECT_NE(errors.find(message), std::string::npos) << errors;
    }
    EXPECT_TRUE(stored().isNull());
}

} // namespace
} // namespace corvane::test

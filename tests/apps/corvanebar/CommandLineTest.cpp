#include "support/RunningProgram.h"

#include <gtest/gtest.h>

namespace {

using corvane::test::RunningProgram;

const std::string kRecordedMachine = std::string(CVB_FIXTURES_DIR) + "/sysroot/ht-4c8t";

struct Refusal {
    std::vector<std::string> arguments;
    int status;
    const char* says;
};

TEST(CommandLine, ExitStatusesAndMessagesNameTheProblem) {
    const Refusal cases[] = {
        {{"sky", "--lat", "abc"}, 2, "--lat: \"abc\" is not a number"},
        {{"sky", "--lat", "nan"}, 2, "--lat: \"nan\" is not a finite number"},
        {{"sky", "--lon", "-181"}, 2, "--lon: -181 is outside -180 to 180"},
        {{"render", "cpu", "--out", "x.png", "--scale", "inf"}, 2, "\"inf\" is not a finite"},
        {{"render", "cpu", "--out", "x.png", "--seconds", "1.5"}, 2, "not a whole number"},
        {{"no-such-command"}, 2, "no-such-command"},
        {{"prefs"}, 2, "subcommand"},
        // The machine is an empty folder: nothing to read.
        {{"status"}, 1, "nothing could be read"},
    };
    const corvane::test::TemporaryDirectory emptyMachine;
    for (const auto& c : cases) {
        RunningProgram program(c.arguments, {{"CORVANEBAR_SYSROOT", emptyMachine.path()}});
        ASSERT_TRUE(program.started());
        EXPECT_EQ(program.finish(), c.status) << c.arguments[0] << " " << c.says;
        const std::string error = program.errorText();
        EXPECT_NE(error.find(c.says), std::string::npos) << error;
    }
}

TEST(CommandLine, OutputThatCannotBeWrittenEndsTheCommandWithAFailure) {
    for (const auto& arguments : {std::vector<std::string>{"sky"}, {"status"}, {"--version"}}) {
        RunningProgram program(arguments, {{"CORVANEBAR_SYSROOT", kRecordedMachine}}, {},
                               "/dev/full");
        EXPECT_EQ(program.finish(), 1) << arguments[0];
        EXPECT_NE(program.errorText().find("cannot write the output"), std::string::npos);
    }
    // A reader that leaves after one line ends the running display, without a message.
    RunningProgram watch({"status", "--watch"}, {{"CORVANEBAR_SYSROOT", kRecordedMachine}});
    EXPECT_NE(watch.nextLine().value_or("").find("  CPU "), std::string::npos);
    watch.closeOutput();
    EXPECT_EQ(watch.finish(), 1);
    EXPECT_EQ(watch.errorText().find("cannot write"), std::string::npos);
}

} // namespace

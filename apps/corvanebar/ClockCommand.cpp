#include "ClockCommand.h"

#include "CommandLine.h"
#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/ClockFormatCompiler.h"
#include "clock/ClockTime.h"
#include "clock/ClockTokens.h"
#include "foundation/Log.h"
#include "foundation/MainQueue.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SystemFacts.h"
#include "text/TextContext.h"

#include <iostream>

void addClockCommand(CLI::App& app, ClockOptions& o) {
    o.command =
        app.add_subcommand("clock", "Print the menu-bar clock's lines as the panel shows them");
    o.command->add_option("--at", o.at,
                          "The moment to show: Unix seconds, or YYYY-MM-DDTHH:MM[:SS] in the local "
                          "zone, with Z or +HH:MM for another");
}

int runClock(const ClockOptions& o) {
    corvane::setupLog("App");
    double time = corvane::SystemClock::shared().now();
    if (!o.at.empty()) {
        const auto parsed = corvane::parseClockTime(o.at);
        if (!parsed) {
            std::cerr << "corvanebar clock: --at: \"" << o.at
                      << "\" is neither Unix seconds nor a date and time such as "
                         "2024-03-31T01:30\n";
            return corvane::cli::kUsageError;
        }
        time = *parsed;
    }
    auto& preferences = corvane::CVBPreferences::sharedPreferences();
    corvane::TextCaches caches;
    const corvane::TextContext text = caches.with(preferences);
    const auto languages = text.translations.preferedLocalization(text.language());
    corvane::CVBDateAndTimeUtilities utilities(
        corvane::CVBDateAndTimeUtilities::localeForLanguage(
            languages.empty() ? "" : languages.front(), corvane::formatsLocaleId("LC_TIME")),
        [&text](std::string_view key) {
            return corvane::HLVLocalizedString(text, key, std::nullopt, "time");
        });
    utilities.setWeekNumberFormat(preferences.objectForKey("Time_WeekNumberFormat").integerValue());
    // Separators show: a terminal has no flashing, and their widths do not matter here.
    const corvane::CompiledClock clock = corvane::formattedLocations(
        preferences.objectForKey("Time_MenubarFormat"), {false, nullptr});
    if (clock.locations.empty())
        std::cout << "The menu-bar clock shows no location.\n";
    // One row per line; the second line of a two-line location is indented under the first.
    for (const corvane::ClockLocation& location : clock.locations)
        for (std::size_t line = 0; line < location.lines.size(); ++line)
            std::cout << (line ? "  " : "")
                      << corvane::lineText(utilities, location.lines[line], time, 1) << "\n";
    return 0;
}

#include "RenderCommand.h"

#include "CommandLine.h"
#include "clock/ClockTime.h"
#include "collectors/weather/ForecastSource.h"
#include "drawing/Artwork.h"
#include "drawing/CVBTimeMenuExtraView.h"
#include "drawing/CVBWeatherMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SystemFacts.h"
#include "shell/SectionItems.h"

#include <filesystem>
#include <fstream>
#include <glib.h>
#include <iostream>
#include <sstream>

namespace {

// The record in the file, or null with the reason on standard error.
corvane::Value readForecast(const std::string& file) {
    const std::filesystem::path path =
        file.empty() ? corvane::ForecastSource::defaultStateFile() : std::filesystem::path(file);
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    corvane::Value record = in ? corvane::parseJson(text.str(), path.string()) : corvane::Value();
    if (record["currently"].isDictionary())
        return record;
    std::cerr << "corvanebar render: no forecast in " << path.string()
              << (file.empty() ? " (none kept yet; give one with --record FILE)" : "") << "\n";
    return {};
}

} // namespace

void addRenderCommand(CLI::App& app, RenderOptions& o) {
    std::string names;
    for (const auto& name : corvane::sectionItemNames())
        names += (names.empty() ? "" : ", ") + name;
    o.command = app.add_subcommand(
        "render", "Draw a section's panel item from this machine's readings into a PNG file");
    o.command->add_option("SECTION", o.section, "One of: " + names)
        ->required()
        ->check(CLI::IsMember(corvane::sectionItemNames()));
    o.command->add_flag("--dark", o.dark, "Draw for a dark panel (default: a light one)");
    o.command->add_flag("--background", o.background,
                        "Paint the panel's colour behind the item instead of transparency");
    o.command->add_option("--scale", o.scale, "Pixels per point, 2 for HiDPI")
        ->check(corvane::cli::finiteNumber(1.0, 4.0));
    o.command->add_option("--seconds", o.seconds, "Seconds of readings before drawing")
        ->check(corvane::cli::wholeNumber(1, 600));
    o.command->add_option("--out", o.out, "The PNG file to write")->required();
    o.command->add_option("--at", o.at,
                          "For the time item, the moment to show: Unix seconds, or "
                          "YYYY-MM-DDTHH:MM[:SS] in the local zone, with Z or +HH:MM for another");
    o.command->add_option("--record", o.record,
                          "For the weather item, a forecast record (JSON) to draw instead of "
                          "the one the status program kept");
}

int runRender(const RenderOptions& o) {
    corvane::setupLog("App");
    const auto at = corvane::parseClockTime(o.at);
    if (!o.at.empty() && !at) {
        std::cerr << "corvanebar render: --at: \"" << o.at << "\" is neither Unix seconds nor a "
                  << "date and time such as 2024-03-31T01:30\n";
        return corvane::cli::kUsageError;
    }
    corvane::GLibMainQueue queue;
    auto environment = corvane::CVBPreferences::systemEnvironment(queue);
    environment.appearance = corvane::makeFixedAppearanceSource(o.dark);
    auto preferences = std::make_unique<corvane::CVBPreferences>(std::move(environment));
    corvane::CVBPreferences& settings = *preferences;
    corvane::CVBPreferences::install(std::move(preferences));
    corvane::CVBCache artwork;
    const auto drawing = corvane::DrawingContext::forHost(settings, artwork, o.scale);

    const corvane::EngineContext context{queue, corvane::kSettingsTierCount, nullptr};
    // A record given on the command line is drawn as it stands, not the one the item follows.
    const bool ownRecord = o.section == "weather" && !o.record.empty();
    auto item = ownRecord ? std::nullopt : corvane::makeSectionItem(o.section, context, drawing);
    if (!item && o.section == "weather")
        item = corvane::SectionItem{[] {},
                                    std::make_unique<corvane::CVBWeatherMenuExtraView>(drawing)};
    if (auto* weather =
            dynamic_cast<corvane::CVBWeatherMenuExtraView*>(item ? item->view.get() : nullptr)) {
        if (!o.record.empty() || weather->forecast().isNull())
            weather->setForecast(readForecast(o.record));
        if (weather->forecast().isNull()) {
            item.reset();
            corvane::cleanupSectionItems();
            return 1;
        }
        weather->ready = true;
        weather->setFixedTime(at);
    }
    if (!item) {
        // Only the sensors have no item, on a machine without them.
        std::cerr << "corvanebar render: no sensors were found on this machine\n";
        corvane::cleanupSectionItems();
        return 1;
    }
    if (auto* clock = dynamic_cast<corvane::CVBTimeMenuExtraView*>(item->view.get()))
        clock->setFixedTime(at);
    // Rates and shares need two readings: one now, then one a second for each second asked.
    item->sample();
    const bool timeless = o.section == "time" || o.section == "weather";
    for (int second = 0; second < o.seconds && !timeless; ++second) {
        g_usleep(G_USEC_PER_SEC);
        item->sample();
    }
    using Background = corvane::ItemRenderer::Background;
    const Background background =
        !o.background ? Background::Transparent : (o.dark ? Background::Dark : Background::Light);
    const corvane::Image picture = corvane::ItemRenderer::render(*item->view, drawing, background);
    item.reset();
    corvane::cleanupSectionItems();
    if (!picture.writePng(o.out)) {
        std::cerr << "corvanebar render: cannot write " << o.out << "\n";
        return 1;
    }
    std::cout << "Wrote " << o.out << ": " << o.section << " item, " << picture.size().width
              << " x " << picture.size().height << " points at scale " << o.scale << " ("
              << picture.pixelWidth() << " x " << picture.pixelHeight() << " pixels)\n";
    return 0;
}

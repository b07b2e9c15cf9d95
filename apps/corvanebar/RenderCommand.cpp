#include "RenderCommand.h"

#include "CommandLine.h"
#include "clock/ClockTime.h"
#include "drawing/Artwork.h"
#include "drawing/CVBTimeMenuExtraView.h"
#include "drawing/ItemRenderer.h"
#include "foundation/GLibMainQueue.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/SystemFacts.h"
#include "shell/SectionItems.h"

#include <glib.h>
#include <iostream>

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
    auto item = corvane::makeSectionItem(o.section, context, drawing);
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
    for (int second = 0; second < o.seconds && o.section != "time"; ++second) {
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

#include "LayoutCommand.h"

#include "CommandLine.h"
#include "foundation/DistributedNotificationCenter.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceCommands.h"
#include "shell/LayoutEditorModel.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace {

constexpr long kMostPositions = 1000;

std::string sectionList() {
    std::string names;
    for (const auto& name : corvane::LayoutCatalogue::sectionNames())
        names += (names.empty() ? "" : ", ") + name;
    return names;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return text;
}

// "History Graph (0)", "Spacer (101, 4 points)"
std::string elementText(const corvane::ExtraLayoutItem& item) {
    std::string text = item.title + " (" + item.itemKey;
    if (item.resizable)
        text += ", " + std::to_string(item.width()) + " points";
    return text + ")";
}

void printRows(const corvane::LayoutEditorModel& model, std::ostream& out) {
    const auto& layout = model.layout();
    out << layout.title << " item (" << layout.modeKey << ")\n";
    out << "Active:    ";
    const auto& active = model.active().layoutItems();
    if (active.empty())
        out << " (empty)";
    for (std::size_t i = 0; i < active.size(); ++i)
        out << (i == 0 ? " " : "  ") << i + 1 << ". " << elementText(active[i]);
    out << "\nAvailable: ";
    std::vector<std::string> offered;
    for (const auto& item : model.available().layoutItems())
        offered.push_back(elementText(item));
    if (!model.editable()) {
        // Listed so that a user sees what the item will offer, but none can be placed.
        out << " none; this version does not draw this item yet. Its elements:";
        for (const auto& item : layout.items)
            if (item.hasCode())
                offered.push_back(elementText(item));
    }
    for (std::size_t i = 0; i < offered.size(); ++i)
        out << (i == 0 ? " " : ", ") << offered[i];
    out << "\n";
}

corvane::LayoutEditorModel::Result change(corvane::LayoutEditorModel& model,
                                          const LayoutOptions& o) {
    const auto index = [](long position) { return static_cast<std::size_t>(position - 1); };
    if (o.add->parsed())
        return model.add(o.code, o.at == 0 ? std::nullopt : std::optional(index(o.at)));
    if (o.remove->parsed())
        return model.remove(index(o.position));
    if (o.move->parsed())
        return model.move(index(o.position), index(o.to));
    return model.setSpacerWidth(index(o.position), o.width);
}

} // namespace

void addLayoutCommand(CLI::App& app, LayoutOptions& o) {
    using corvane::cli::wholeNumber;
    o.command = app.add_subcommand(
        "layout", "Print or change the elements a section's panel item shows, in their order");
    o.command->add_option("SECTION", o.section, sectionList())->required();
    o.command->require_subcommand(0, 1);
    o.add = o.command->add_subcommand("add", "Place an element of the available row");
    o.add->add_option("CODE", o.code, "The element's code, as the rows print it")->required();
    o.add->add_option("--at", o.at, "Its position in the row; default the end")
        ->check(wholeNumber(1, kMostPositions));
    o.remove = o.command->add_subcommand(
        "remove", "Take the element at a position out; it goes back to the available row");
    o.remove->add_option("N", o.position)->required()->check(wholeNumber(1, kMostPositions));
    o.move = o.command->add_subcommand("move", "Move an element to another position");
    o.move->add_option("FROM", o.position)->required()->check(wholeNumber(1, kMostPositions));
    o.move->add_option("TO", o.to)->required()->check(wholeNumber(1, kMostPositions));
    o.spacer = o.command->add_subcommand("spacer", "Set the width of the spacer at a position");
    o.spacer->add_option("N", o.position)->required()->check(wholeNumber(1, kMostPositions));
    o.spacer->add_option("WIDTH", o.width, "Points")->required()->check(wholeNumber(1, 1000));
}

int runLayout(const LayoutOptions& o) {
    corvane::setupLog("App");
    const auto names = corvane::LayoutCatalogue::sectionNames();
    if (std::find(names.begin(), names.end(), o.section) == names.end()) {
        std::cerr << "corvanebar layout: no section \"" << o.section << "\" with a panel item; "
                  << "one of: " << sectionList() << "\n";
        return corvane::cli::kUsageError;
    }
    auto& center = corvane::DistributedNotificationCenter::defaultCenter();
    corvane::LayoutEditorModel model(o.section, corvane::CVBPreferences::sharedPreferences(),
                                     center);
    if (!o.add->parsed() && !o.remove->parsed() && !o.move->parsed() && !o.spacer->parsed()) {
        printRows(model, std::cout);
        return 0;
    }
    corvane::StoreFailureReport report;
    const auto result = change(model, o);
    using Outcome = corvane::LayoutEditorModel::Outcome;
    if (result.outcome == Outcome::Refused) {
        std::cerr << "corvanebar layout: " << o.section << ": " << result.reason
                  << "; nothing changed\n";
        return corvane::cli::kUsageError;
    }
    if (result.outcome == Outcome::NotStored) {
        std::cerr << "corvanebar layout: " << result.reason << ": " << report.text() << "\n";
        return corvane::cli::kFailed;
    }
    if (!model.posted().empty()) {
        center.flush();
        const std::string& key = model.layout().modeKey;
        if (center.isConnected())
            std::cout << key << ": posted " << joined(model.posted()) << "\n";
        else
            std::cout << key << ": stored; no session bus, so no running program was told ("
                      << joined(model.posted()) << ")\n";
    }
    printRows(model, std::cout);
    return 0;
}

#include "shell/SectionCommands.h"

#include "shell/CombinedController.h"
#include "shell/SectionController.h"

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <ostream>

namespace corvane {

namespace {

// Pads to a width in characters, not bytes, so translated names line up.
std::string padded(const std::string& text, std::size_t width) {
    const auto characters = static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](unsigned char c) { return (c & 0xC0) != 0x80; }));
    return text + std::string(width > characters ? width - characters : 1, ' ');
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::vector<std::string> without(std::vector<std::string> names,
                                 const std::vector<std::string>& others) {
    std::erase_if(names, [&](const std::string& name) {
        return std::find(others.begin(), others.end(), name) != others.end();
    });
    return names;
}

std::string stateText(const SectionController& section) {
    if (section.xibName() == "General")
        return "-";
    // Its switch turns the rules on and off, not a panel item.
    if (section.xibName() == "Notifications")
        return section.sourceItem().toggle.on ? "rules on" : "rules off";
    if (section.sourceItem().toggle.hidden)
        return "in Combined";
    return section.sourceItem().toggle.on ? "on" : "off";
}

} // namespace

SectionCommands::SectionCommands(SectionManager& manager, std::ostream& out, std::ostream& err,
                                 ApplicationLauncher* launcher, std::filesystem::path logFile)
    : manager_(manager)
    , out_(out)
    , err_(err)
    , launcher_(launcher)
    , logFile_(std::move(logFile)) {}

void SectionCommands::loadSections() {
    if (!manager_.sections().empty())
        return;
    manager_.loadSections();
    manager_.checkCombinedItems();
}

std::string SectionCommands::shortName(const SectionController& section) {
    std::string name = section.xibName();
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

std::vector<std::string> SectionCommands::shortNames() {
    loadSections();
    std::vector<std::string> names;
    for (const auto* section : manager_.sections())
        names.push_back(shortName(*section));
    return names;
}

SectionController* SectionCommands::sectionNamed(std::string_view name, std::string_view command) {
    loadSections();
    for (auto* section : manager_.sections()) {
        if (shortName(*section) == name)
            return section;
    }
    err_ << "corvanebar " << command << ": no section \"" << name
         << "\"; one of: " << joined(shortNames()) << "\n";
    return nullptr;
}

int SectionCommands::list() {
    loadSections();
    for (const auto* section : manager_.sections()) {
        char key[16];
        std::snprintf(key, sizeof key, "%3" PRId64, section->sectionKey());
        out_ << padded(section->sourceItem().label.text, 17) << padded(shortName(*section), 15)
             << key << "  " << stateText(*section) << "\n";
    }
    return 0;
}

int SectionCommands::setEnabled(std::string_view name, bool on) {
    const char* command = on ? "on" : "off";
    auto* section = sectionNamed(name, command);
    if (!section)
        return 2;
    const std::string& title = section->sourceItem().label.text;
    if (section->xibName() == "General") {
        err_ << "corvanebar " << command << ": " << title << " has no panel item\n";
        return 2;
    }
    auto& toggle = section->sourceItem().toggle;
    if (toggle.hidden) {
        err_ << "corvanebar " << command << ": " << title
             << " is shown inside Combined; take it out of Combined's items first\n";
        return 1;
    }
    // What a click does, to the state asked for even when it is already so: the other
    // processes are told either way.
    const auto insideBefore = titlesInsideCombined();
    const auto onBefore = titlesSwitchedOn();
    toggle.on = on;
    StoreFailureReport report(logFile_);
    if (!section->toggle(toggle)) {
        err_ << "corvanebar " << command << ": could not switch " << title << " " << command << ": "
             << report.text() << "\n";
        return 1;
    }
    // Notifications switches its rules, not a panel item.
    const bool rules = section->xibName() == "Notifications";
    out_ << title << (rules ? ": rules are " : " is ") << (on ? "on" : "off") << "\n";
    if (section != manager_.combined())
        return 0;
    // Combined takes the items it shows out of the panel, and gives them back.
    const auto changed =
        on ? without(titlesInsideCombined(), insideBefore) : without(titlesSwitchedOn(), onBefore);
    if (!changed.empty())
        out_ << (on ? "Now inside Combined: " : "Back as items of their own: ") << joined(changed)
             << "\n";
    return 0;
}

std::vector<std::string> SectionCommands::titlesInsideCombined() const {
    std::vector<std::string> titles;
    for (const auto* section : manager_.sections())
        if (section->sourceItem().toggle.hidden)
            titles.push_back(section->sourceItem().label.text);
    return titles;
}

std::vector<std::string> SectionCommands::titlesSwitchedOn() const {
    std::vector<std::string> titles;
    for (const auto* section : manager_.sections())
        if (section->xibName() != "Notifications" && section->sourceItem().toggle.on)
            titles.push_back(section->sourceItem().label.text);
    return titles;
}

int SectionCommands::open(std::string_view name) {
    auto* section = sectionNamed(name, "open");
    if (!section)
        return 2;
    const std::string notification = openNotificationForSection(section->sectionKey());
    if (notification.empty()) {
        std::vector<std::string> openable;
        for (const auto* candidate : manager_.sections()) {
            if (!openNotificationForSection(candidate->sectionKey()).empty())
                openable.push_back(shortName(*candidate));
        }
        err_ << "corvanebar open: " << section->sourceItem().label.text
             << " cannot be opened from outside; one of: " << joined(openable) << "\n";
        return 2;
    }
    auto& center = manager_.distributedCenter();
    if (!center.isConnected()) {
        err_ << "corvanebar open: no session bus, so no settings window can be asked to open "
             << section->sourceItem().label.text << "\n";
        return 1;
    }
    center.postNotificationName(notification);
    out_ << "Asked the settings window to open " << section->sourceItem().label.text << "\n";
    if (launcher_ && !launcher_->isRunning())
        out_ << "(no settings window is running to answer)\n";
    return 0;
}

} // namespace corvane

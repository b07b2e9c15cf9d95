#include "shell/SectionCommands.h"

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
                                 ApplicationLauncher* launcher)
    : manager_(manager)
    , out_(out)
    , err_(err)
    , launcher_(launcher) {}

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
    toggle.on = on;
    section->toggle(toggle);
    // Notifications switches its rules, not a panel item.
    const bool rules = section->xibName() == "Notifications";
    out_ << title << (rules ? ": rules are " : " is ") << (on ? "on" : "off") << "\n";
    return 0;
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
    manager_.distributedCenter().postNotificationName(notification);
    out_ << "Asked the settings window to open " << section->sourceItem().label.text << "\n";
    if (launcher_ && !launcher_->isRunning())
        out_ << "(no settings window is running to answer)\n";
    return 0;
}

} // namespace corvane

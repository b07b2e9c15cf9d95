#pragma once

#include "shell/ProductSite.h"

#include <string>
#include <vector>

namespace corvane {

class MainQueue;
class Menu;
class MenuActions;
struct TextContext;

struct HelpEntry {
    const char* title; // null for a separator
    const char* path;
};

// The Help menu's entries, in order.
const std::vector<HelpEntry>& helpEntries();
std::string helpAddress(const HelpEntry& entry);

// Empties `menu` and fills it with the help entries, titles translated through "prefs". Each
// opens its page one turn of the queue after it was chosen.
void buildHelpMenu(Menu& menu, const TextContext& text, MainQueue& queue, MenuActions& actions);

} // namespace corvane

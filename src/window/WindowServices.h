#pragma once

#include "engine/EngineContext.h"

#include <functional>
#include <string>

namespace corvane {

class CVBCache;
class CVBPreferences;
class DistributedNotificationCenter;

// What the pages are built with, handed down by reference from the application.
struct WindowServices {
    CVBPreferences& preferences;
    CVBCache& artwork;
    EngineContext engine;
    DistributedNotificationCenter& distributed;
    // A text of the window's table in the chosen language.
    std::function<std::string(const std::string&)> translate;
    // The window's own commands that pages offer as buttons.
    std::function<void()> exportSettings;
    std::function<void()> importSettings;
    std::function<void()> resetSettings;
    std::function<void()> showInstall;
};

} // namespace corvane

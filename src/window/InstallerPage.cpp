#include "window/InstallerPage.h"

#include "foundation/Log.h"

#include <glib.h>

namespace corvane {

std::string InstallerPage::enableAndStart() {
    const auto command = InstallState::enableCommand();
    std::vector<char*> argv;
    for (const auto& word : command)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    gchar* errors = nullptr;
    gint status = 0;
    GError* error = nullptr;
    const bool ran = g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr,
                                  nullptr, nullptr, &errors, &status, &error);
    std::string reason;
    if (!ran)
        reason = error ? error->message : "the service manager could not be started";
    else if (!g_spawn_check_wait_status(status, nullptr))
        reason = errors && *errors ? errors : "the service manager refused";
    g_clear_error(&error);
    g_free(errors);
    if (!reason.empty())
        CVBLog("INSTALL - enabling %s failed: %s", InstallState::kUnitName, reason.c_str());
    else if (delegate_)
        delegate_->installSuceeded();
    return reason;
}

} // namespace corvane

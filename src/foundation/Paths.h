#pragma once

#include <filesystem>
#include <string_view>

namespace corvane {

// Where the product keeps its files. Each location follows the XDG variables and can be set
// outright by a CORVANEBAR_* variable, for tests and packaging.
class Paths {
public:
    static std::filesystem::path home();
    // Preference domains: $CORVANEBAR_CONFIG_DIR, else $XDG_CONFIG_HOME/corvanebar.
    static std::filesystem::path configDirectory();
    // $CORVANEBAR_STATE_DIR, else $XDG_STATE_HOME/corvanebar.
    static std::filesystem::path stateDirectory();
    // <state>/logs/<process>, or $CORVANEBAR_LOG_DIR/<process>.
    static std::filesystem::path logDirectory(std::string_view process);
    // $CORVANEBAR_CACHE_DIR, else $XDG_CACHE_HOME/corvanebar.
    static std::filesystem::path cacheDirectory();
    // Resources (string tables, artwork): $CORVANEBAR_DATA_DIR, else <prefix>/share/corvanebar
    // beside the running program, else the source tree's data/ folder.
    static std::filesystem::path dataDirectory();
    // Installed background parts: $CORVANEBAR_LIB_DIR, else ~/.local/lib/corvanebar6.
    static std::filesystem::path supportDirectory();
    // $XDG_RUNTIME_DIR/corvanebar, else <cache>/run.
    static std::filesystem::path runtimeDirectory();
};

} // namespace corvane

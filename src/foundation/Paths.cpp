#include "foundation/Paths.h"

#include "corvane/BuildInfo.h"

#include <cstdlib>
#include <pwd.h>
#include <string>
#include <unistd.h>

namespace corvane {

namespace {

std::filesystem::path fromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    return value && *value ? std::filesystem::path(value) : std::filesystem::path();
}

// An XDG variable counts only when it holds an absolute path, as the basedir rules say.
std::filesystem::path xdg(const char* variable, const char* fallbackUnderHome) {
    auto path = fromEnvironment(variable);
    if (path.is_absolute())
        return path;
    return Paths::home() / fallbackUnderHome;
}

} // namespace

std::filesystem::path Paths::home() {
    if (auto home = fromEnvironment("HOME"); !home.empty())
        return home;
    if (const passwd* pw = getpwuid(getuid()); pw && pw->pw_dir)
        return pw->pw_dir;
    return "/tmp";
}

std::filesystem::path Paths::configDirectory() {
    if (auto p = fromEnvironment("CORVANEBAR_CONFIG_DIR"); !p.empty())
        return p;
    return xdg("XDG_CONFIG_HOME", ".config") / "corvanebar";
}

std::filesystem::path Paths::stateDirectory() {
    if (auto p = fromEnvironment("CORVANEBAR_STATE_DIR"); !p.empty())
        return p;
    return xdg("XDG_STATE_HOME", ".local/state") / "corvanebar";
}

std::filesystem::path Paths::logDirectory(std::string_view process) {
    if (auto p = fromEnvironment("CORVANEBAR_LOG_DIR"); !p.empty())
        return p / process;
    return stateDirectory() / "logs" / process;
}

std::filesystem::path Paths::cacheDirectory() {
    if (auto p = fromEnvironment("CORVANEBAR_CACHE_DIR"); !p.empty())
        return p;
    return xdg("XDG_CACHE_HOME", ".cache") / "corvanebar";
}

std::filesystem::path Paths::dataDirectory() {
    if (auto p = fromEnvironment("CORVANEBAR_DATA_DIR"); !p.empty())
        return p;
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        auto installed = executable.parent_path().parent_path() / "share" / "corvanebar";
        if (std::filesystem::is_directory(installed, error))
            return installed;
    }
    return build::kSourceDataDir;
}

std::filesystem::path Paths::supportDirectory() {
    if (auto p = fromEnvironment("CORVANEBAR_LIB_DIR"); !p.empty())
        return p;
    return home() / ".local" / "lib" / "corvanebar6";
}

std::filesystem::path Paths::runtimeDirectory() {
    if (auto p = fromEnvironment("XDG_RUNTIME_DIR"); p.is_absolute())
        return p / "corvanebar";
    return cacheDirectory() / "run";
}

} // namespace corvane

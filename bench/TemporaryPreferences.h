#pragma once

#include "foundation/ManualMainQueue.h"
#include "preferences/CVBPreferences.h"

#include <filesystem>
#include <string>

namespace corvane::bench {

// Preferences on domains in a temporary directory, installed as the process's shared instance
// so that the free accessors reach them, and removed with the directory at exit.
class TemporaryPreferences {
public:
    explicit TemporaryPreferences(const std::string& name)
        : dir_(std::filesystem::temp_directory_path() / ("cvb-bench-" + name)) {
        std::filesystem::create_directories(dir_);
        CVBPreferences::Environment env;
        env.domain = std::make_shared<PreferenceDomain>(kExtrasDomain, dir_ / "extras.plist");
        env.userDefaults =
            std::make_shared<PreferenceDomain>(kApplicationDomain, dir_ / "app.plist");
        env.previousDomain =
            std::make_shared<PreferenceDomain>(kPreviousExtrasDomain, dir_ / "5.plist");
        env.queue = &queue_;
        CVBPreferences::install(std::make_unique<CVBPreferences>(std::move(env)));
    }
    ~TemporaryPreferences() {
        CVBPreferences::cleanup();
        std::filesystem::remove_all(dir_);
    }
    TemporaryPreferences(const TemporaryPreferences&) = delete;
    TemporaryPreferences& operator=(const TemporaryPreferences&) = delete;

    ManualMainQueue& queue() { return queue_; }

private:
    ManualMainQueue queue_;
    std::filesystem::path dir_;
};

} // namespace corvane::bench

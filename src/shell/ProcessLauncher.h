#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace corvane {

// Starts a program that outlives this process.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    // `arguments` begins with the program's path. False (and a log line) when it could not
    // be started.
    virtual bool launchDetached(const std::vector<std::string>& arguments) = 0;
};

// Through GLib's spawn, in a session of its own, reaped by the system rather than by us.
class GLibProcessLauncher final : public ProcessLauncher {
public:
    bool launchDetached(const std::vector<std::string>& arguments) override;
};

// The path of the running program, from /proc/self/exe; empty when it cannot be read.
std::filesystem::path runningProgramPath();

// Text quoted for a POSIX shell: in single quotes, each single quote written as '\''.
std::string shellQuoted(const std::string& text);

} // namespace corvane

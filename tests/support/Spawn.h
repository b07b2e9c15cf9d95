#pragma once

#include <glib.h>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace corvane::test {

struct Spawned {
    bool ran = false;
    int status = -1;
    std::string output; // standard output, then standard error
};

// Runs a program (found on PATH) to its end.
inline Spawned spawn(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    Spawned run;
    gchar* out = nullptr;
    gchar* err = nullptr;
    gint status = -1;
    run.ran = g_spawn_sync(nullptr, argv.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr,
                           &out, &err, &status, nullptr);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.output = std::string(out ? out : "") + (err ? err : "");
    g_free(out);
    g_free(err);
    return run;
}

// Whether a test program's output says that tests ran and all passed: gtest prints "PASSED"
// also when its filter matched no test at all.
inline bool ranAndPassed(const std::string& output) {
    return output.find("[  PASSED  ] ") != std::string::npos &&
           output.find("[  PASSED  ] 0 tests") == std::string::npos &&
           output.find("[  FAILED  ]") == std::string::npos;
}

} // namespace corvane::test

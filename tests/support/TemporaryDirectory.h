#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace corvane::test {

// A fresh directory under /tmp, removed with everything in it when the object goes.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "cvb-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            std::abort();
        path_ = pattern;
    }
    ~TemporaryDirectory() {
        std::error_code error;
        std::filesystem::remove_all(path_, error);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    friend std::filesystem::path operator/(const TemporaryDirectory& dir,
                                           const std::filesystem::path& rest) {
        return dir.path_ / rest;
    }

private:
    std::filesystem::path path_;
};

// Sets an environment variable for the life of the object.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const char* value)
        : name_(name) {
        if (const char* old = std::getenv(name))
            old_ = old;
        hadOld_ = std::getenv(name) != nullptr;
        if (value)
            ::setenv(name, value, 1);
        else
            ::unsetenv(name);
    }
    ~ScopedEnvironment() {
        if (hadOld_)
            ::setenv(name_.c_str(), old_.c_str(), 1);
        else
            ::unsetenv(name_.c_str());
    }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name_;
    std::string old_;
    bool hadOld_ = false;
};

} // namespace corvane::test

#include "foundation/Log.h"

#include "foundation/FileLogger.h"
#include "foundation/Paths.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <memory>
#include <mutex>
#include <sys/time.h>
#include <syslog.h>

namespace corvane {

namespace {

struct LogState {
    std::mutex mutex;
    std::unique_ptr<FileLogger> file;
    std::function<void(std::string_view)> tap;
    int silenced = 0; // captures that keep lines out of the file and standard error
    std::string syslogIdent = "corvanebar";
};

LogState& state() {
    static LogState s;
    return s;
}

std::string vformat(const char* format, va_list args) {
    va_list copy;
    va_copy(copy, args);
    const int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    if (length <= 0)
        return {};
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, args);
    return text;
}

double wallSeconds() {
    struct timeval tv {};
    gettimeofday(&tv, nullptr);
    return static_cast<double>(tv.tv_sec) + static_cast<double>(tv.tv_usec) / 1e6;
}

} // namespace

void setupLog(std::string_view processName) {
    auto& s = state();
    std::lock_guard lock(s.mutex);
    s.file =
        std::make_unique<FileLogger>(Paths::logDirectory(processName), std::string(processName));
    s.syslogIdent = "corvanebar-" + std::string(processName);
    openlog(s.syslogIdent.c_str(), LOG_PID, LOG_USER);
}

void teardownLog() {
    auto& s = state();
    std::lock_guard lock(s.mutex);
    s.file.reset();
}

void CVBLogMessage(std::string_view message) {
    auto& s = state();
    std::function<void(std::string_view)> tap;
    FileLogger* file = nullptr;
    {
        std::lock_guard lock(s.mutex);
        tap = s.tap;
        file = s.file.get();
        if (s.silenced == 0 && !file)
            std::fprintf(stderr, "%s\n", FileLogger::formatLine(wallSeconds(), message).c_str());
        else if (s.silenced == 0)
            file->log(message);
    }
    if (tap)
        tap(message);
}

void CVBLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const std::string message = vformat(format, args);
    va_end(args);
    CVBLogMessage(message);
}

std::string dlogLine(double seconds, std::string_view message) {
    const double whole = std::floor(seconds);
    const auto t = static_cast<std::time_t>(whole);
    const int millis = std::clamp(static_cast<int>((seconds - whole) * 1000.0), 0, 999);
    std::tm tm{};
    localtime_r(&t, &tm);
    // The pattern's "YYYY" is the week-based year; %G gives the ISO 8601 one.
    char stamp[48];
    std::strftime(stamp, sizeof stamp, "%G-%m-%d %H:%M:%S", &tm);
    char full[96];
    std::snprintf(full, sizeof full, "%s.%03d", stamp, millis);
    return std::string(full) + ": " + std::string(message);
}

void DLog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const std::string message = vformat(format, args);
    va_end(args);
    std::printf("%s\n", dlogLine(wallSeconds(), message).c_str());
    std::fflush(stdout);
}

void BALog(const char* format, ...) {
    va_list args;
    va_start(args, format);
    const std::string message = vformat(format, args);
    va_end(args);
    syslog(LOG_NOTICE, "%s", message.c_str());
}

LogCapture::LogCapture(std::function<void(std::string_view)> tap, LogEcho echo)
    : tap_(std::move(tap))
    , silenced_(echo == LogEcho::Silenced) {
    auto& s = state();
    std::lock_guard lock(s.mutex);
    s.silenced += silenced_ ? 1 : 0;
    previous_ = s.tap;
    s.tap = [this](std::string_view message) {
        tap_(message);
        if (previous_)
            previous_(message);
    };
}

LogCapture::LogCapture()
    : LogCapture([this](std::string_view message) {
        std::lock_guard lock(linesMutex_);
        lines_ += message;
        lines_ += '\n';
    }) {}

std::string LogCapture::lines() const {
    std::lock_guard lock(linesMutex_);
    return lines_;
}

bool LogCapture::contains(std::string_view text) const {
    std::lock_guard lock(linesMutex_);
    return lines_.find(text) != std::string::npos;
}

LogCapture::~LogCapture() {
    auto& s = state();
    std::lock_guard lock(s.mutex);
    s.silenced -= silenced_ ? 1 : 0;
    s.tap = previous_;
}

} // namespace corvane

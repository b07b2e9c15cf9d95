#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>

namespace corvane {

// The process's log. Until setupLog is called, lines go to standard error, so commands and
// tests show them; afterwards to the rolling file of the process.
void setupLog(std::string_view processName);
// Back to standard error; closes the file.
void teardownLog();

// One line in the log, printf-style.
void CVBLog(const char* format, ...) __attribute__((format(printf, 1, 2)));
void CVBLogMessage(std::string_view message);

// "%s: %s" with the time as "YYYY-MM-dd HH:mm:ss.SSS", to standard output, for debugging.
void DLog(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string dlogLine(double seconds, std::string_view message);

// To the system log (syslog, hence the journal).
void BALog(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Whether a captured line still goes where the log goes. Fuzz targets silence it: their
// refusals would otherwise be most of their output and their time.
enum class LogEcho { Kept, Silenced };

// Hands every log message to `tap` as well, while the capture lives. For tests and for the
// diagnostics view; captures nest.
class LogCapture {
public:
    explicit LogCapture(std::function<void(std::string_view)> tap, LogEcho echo = LogEcho::Kept);
    LogCapture(); // collects the messages in lines()
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::string lines() const;
    bool contains(std::string_view text) const;

private:
    std::function<void(std::string_view)> tap_;
    std::function<void(std::string_view)> previous_;
    bool silenced_ = false;
    mutable std::mutex linesMutex_;
    std::string lines_;
};

} // namespace corvane

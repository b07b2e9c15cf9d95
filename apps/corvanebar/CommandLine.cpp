#include "CommandLine.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <poll.h>
#include <unistd.h>

namespace corvane::cli {

namespace {

// The whole text as a number; nothing when it is none. One beyond what the type holds reads as
// the type's extreme, outside any range asked for here.
template <typename Number>
std::optional<Number> parsedNumber(std::string_view text) {
    if (text.starts_with('+') && !text.substr(1).starts_with('-'))
        text.remove_prefix(1);
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || end != text.data() + text.size())
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return text.front() == '-' ? std::numeric_limits<Number>::lowest()
                                   : std::numeric_limits<Number>::max();
    if (error != std::errc{})
        return std::nullopt;
    return value;
}

std::string inQuotes(const std::string& text) {
    return "\"" + text + "\"";
}

std::string range(double min, double max) {
    char text[96];
    std::snprintf(text, sizeof text, "%g to %g", min, max);
    return text;
}

// The read end of a pipe or socket was closed: the kernel reports an error condition on ours.
bool readerLeft(int fd) {
    pollfd descriptor{fd, POLLOUT, 0};
    return ::poll(&descriptor, 1, 0) == 1 && (descriptor.revents & POLLERR) != 0;
}

} // namespace

CLI::Validator finiteNumber(double min, double max) {
    return CLI::Validator(
        [min, max](std::string& input) -> std::string {
            const auto value = parsedNumber<double>(input);
            if (!value)
                return inQuotes(input) + " is not a number";
            if (!std::isfinite(*value))
                return inQuotes(input) + " is not a finite number";
            if (*value < min || *value > max)
                return input + " is outside " + range(min, max);
            return {};
        },
        "NUMBER " + range(min, max));
}

CLI::Validator wholeNumber(long min, long max) {
    return CLI::Validator(
        [min, max](std::string& input) -> std::string {
            const auto value = parsedNumber<long>(input);
            if (!value)
                return inQuotes(input) + " is not a whole number";
            if (*value < min || *value > max)
                return input + " is outside " + std::to_string(min) + " to " + std::to_string(max);
            return {};
        },
        "INT " + std::to_string(min) + " to " + std::to_string(max));
}

std::optional<int> parseArguments(CLI::App& app, int argc, const char* const* argv,
                                  std::ostream& out, std::ostream& err) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        // CLI11 gives each kind of mistake a code of its own; to a caller they are all one:
        // the command line was wrong.
        const int code = app.exit(e, out, err);
        return code == 0 ? 0 : kUsageError;
    }
    return std::nullopt;
}

bool outputReached(std::ostream& out) {
    out.flush();
    return static_cast<bool>(out);
}

int finishOutput(int status, std::ostream& err) {
    errno = 0;
    std::cout.flush();
    const int error = errno;
    if (std::cout && !std::ferror(stdout))
        return status;
    // A reader that stopped reading (`| head -1`) wanted no more; that needs no message.
    if (!readerLeft(STDOUT_FILENO)) {
        // The reason is known when this last flush failed; a write before it lost its own.
        err << "corvanebar: cannot write the output"
            << (error != 0 ? std::string(": ") + std::strerror(error) : std::string()) << "\n";
    }
    return status == 0 ? kFailed : status;
}

std::string escapeC1Controls(std::string_view json) {
    std::string escaped;
    escaped.reserve(json.size());
    for (std::size_t i = 0; i < json.size(); ++i) {
        const auto byte = static_cast<unsigned char>(json[i]);
        const auto next = i + 1 < json.size() ? static_cast<unsigned char>(json[i + 1]) : 0U;
        // U+0080 to U+009F are 0xC2 0x80 to 0xC2 0x9F in UTF-8; outside strings JSON has no
        // bytes above 0x7F, so the escape is always inside a string.
        if (byte == 0xC2 && next >= 0x80 && next <= 0x9F) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", next);
            escaped += code;
            ++i;
        } else {
            escaped += json[i];
        }
    }
    return escaped;
}

} // namespace corvane::cli

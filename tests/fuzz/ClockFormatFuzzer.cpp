// Clock format lists as the settings store them, written by the user in the format editor or
// imported from a settings file: compiled and shown at a moment taken from the input.
#include "clock/CVBDateAndTimeUtilities.h"
#include "clock/ClockFormatCompiler.h"
#include "clock/ClockTokens.h"
#include "foundation/Log.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kMaxInput = 256;
// Users keep a handful of clocks; more only repeat the same work.
constexpr std::size_t kMaxLocations = 8;

constexpr const char* kZones[] = {"",
                                  "Asia/Kathmandu",
                                  "America/St_Johns",
                                  "Pacific/Kiritimati",
                                  "Europe/Berlin",
                                  "Australia/Lord_Howe",
                                  "UTC",
                                  "America/Sao_Paulo"};

// Components end at 0x01, lines at 0x02, locations at 0x03.
corvane::Value locations(std::string_view text, std::uint8_t flags) {
    corvane::Value list = corvane::Value::array();
    corvane::Value lines = corvane::Value::array();
    corvane::Value components = corvane::Value::array();
    std::string component;
    const auto endLocation = [&] {
        lines.append(std::move(components));
        list.append(corvane::Value::dict({{"lines", (flags & 1) ? 2 : 1},
                                          {"timezone", kZones[(flags >> 1) & 7]},
                                          {"timezone-2", kZones[(flags >> 4) & 7]},
                                          {"format", std::move(lines)}}));
        lines = corvane::Value::array();
        components = corvane::Value::array();
    };
    for (const char c : text) {
        if (c == '\x01' || c == '\x02' || c == '\x03') {
            components.append(std::move(component));
            component.clear();
            if (c != '\x01') {
                lines.append(std::move(components));
                components = corvane::Value::array();
            }
            if (c == '\x03') {
                endLocation();
                if (list.size() == kMaxLocations)
                    return list;
            }
        } else {
            component += c;
        }
    }
    components.append(std::move(component));
    endLocation();
    return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs may log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    static corvane::CVBDateAndTimeUtilities utilities(
        "en_US", [](std::string_view key) { return std::string(key); }, "Europe/Berlin");
    // Stored format lists are a few dozen characters a line; longer inputs only slow each run.
    if (size < 6 || size > kMaxInput)
        return 0;
    std::int32_t seconds = 0;
    std::memcpy(&seconds, data + 1, sizeof seconds);
    const std::uint8_t flags = data[0];
    const std::string_view text(reinterpret_cast<const char*>(data + 5), size - 5);
    utilities.setWeekNumberFormat(flags >> 7);
    const corvane::CompiledClock clock = corvane::formattedLocations(
        locations(text, flags), {(flags & 0x40) != 0, [](std::string_view s, bool) {
                                     return static_cast<double>(s.size());
                                 }});
    for (const corvane::ClockLocation& location : clock.locations)
        for (const corvane::ClockLine& line : location.lines)
            corvane::lineText(utilities, line, static_cast<double>(seconds) * 3, flags & 1);
    return 0;
}

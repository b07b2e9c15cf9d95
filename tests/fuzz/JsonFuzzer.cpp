// Any text given to the JSON reader must come back as a value or null, and what it reads must
// write and read back the same.
#include "foundation/Json.h"
#include "foundation/Log.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const corvane::Value value = corvane::parseJson(text, "fuzz");
    if (value.isNull())
        return 0;
    const corvane::Value again = corvane::parseJson(corvane::toJson(value), "fuzz round trip");
    // Reals may print shorter but must read back equal; NaN cannot come from JSON.
    if (again != value)
        std::abort();
    return 0;
}

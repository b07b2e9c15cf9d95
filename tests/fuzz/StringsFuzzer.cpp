#include "foundation/Log.h"
#include "text/StringsFile.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs may log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    corvane::parseStringsTable(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}

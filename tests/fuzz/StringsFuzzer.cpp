#include "text/StringsFile.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    corvane::parseStringsTable(std::string_view(reinterpret_cast<const char*>(data), size));
    return 0;
}

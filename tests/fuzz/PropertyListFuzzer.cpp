// Any bytes given to the property-list reader must come back as a value or null, and what it
// reads must write and read back the same.
#include "foundation/Log.h"
#include "foundation/PropertyList.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static corvane::LogCapture quiet([](std::string_view) {});
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const corvane::Value value = corvane::readPropertyList(bytes, "fuzz");
    if (value.isNull())
        return 0;
    for (auto format : {corvane::PropertyListFormat::XML, corvane::PropertyListFormat::Binary}) {
        const std::string written = corvane::writePropertyList(value, format);
        const corvane::Value again = corvane::readPropertyList(written, "fuzz round trip");
        // Dates lose their fractions on writing; compare what survives a second pass.
        const std::string rewritten = corvane::writePropertyList(again, format);
        if (corvane::readPropertyList(rewritten, "fuzz second trip") != again)
            std::abort();
    }
    return 0;
}

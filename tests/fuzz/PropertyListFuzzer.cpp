// Any bytes given to the property-list reader must come back as a value or null, and what it
// reads must write and read back the same. An XML write may refuse only text that XML cannot
// carry, and must hold no carriage return or other control character raw.
#include "foundation/Log.h"
#include "foundation/PropertyList.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

bool holdsRawControls(std::string_view xml) {
    for (char c : xml) {
        if (static_cast<unsigned char>(c) < 0x20 && c != '\n' && c != '\t')
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const corvane::Value value = corvane::readPropertyList(bytes, "fuzz");
    if (value.isNull())
        return 0;
    for (auto format : {corvane::PropertyListFormat::XML, corvane::PropertyListFormat::Binary}) {
        const std::string written = corvane::writePropertyList(value, format);
        if (format == corvane::PropertyListFormat::XML) {
            const bool refused = corvane::propertyListValueProblem(value).has_value();
            if (written.empty() != refused || holdsRawControls(written))
                std::abort();
        }
        const corvane::Value again = corvane::readPropertyList(written, "fuzz round trip");
        // Dates lose their fractions on writing; compare what survives a second pass.
        const std::string rewritten = corvane::writePropertyList(again, format);
        if (corvane::readPropertyList(rewritten, "fuzz second trip") != again)
            std::abort();
    }
    return 0;
}

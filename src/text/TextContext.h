#pragma once

#include "text/CVBFormatters.h"
#include "text/CVBTranslations.h"

#include <cstdint>
#include <string_view>

namespace corvane {

class CVBPreferences;
class Value;

// What texts are made with: the settings that choose units, decimals and language, the number
// formatter and the string tables. A host builds it once per frame and hands it down, so one
// process can write for two languages or two number formats side by side.
struct TextContext {
    CVBPreferences& preferences;
    CVBFormatters& formatters;
    CVBTranslations& translations;

    std::int64_t integer(std::string_view key) const;
    // The stored "language" choice; null or empty means the desktop's.
    const Value& language() const;
};

// The formatter and string tables a host keeps for the life of the process: the formatter
// holds ICU state and the tables are read from disk, so neither is made per frame.
struct TextCaches {
    CVBFormatters formatters;
    CVBTranslations translations;

    TextContext with(CVBPreferences& preferences) {
        return {preferences, formatters, translations};
    }
};

} // namespace corvane

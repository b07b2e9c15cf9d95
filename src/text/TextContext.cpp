#include "text/TextContext.h"

#include "preferences/CVBPreferences.h"

namespace corvane {

std::int64_t TextContext::integer(std::string_view key) const {
    return preferences.objectForKey(key).integerValue();
}

const Value& TextContext::language() const {
    return preferences.objectForKey("language");
}

} // namespace corvane

#pragma once

#include "text/TextContext.h"

namespace corvane {

// The settings application's texts: its preferences with the process's own formatter and
// string tables, which live as long as the application.
inline TextContext applicationText(CVBPreferences& preferences) {
    return {preferences, CVBFormatters::sharedFormatter(), CVBTranslations::sharedTranslations()};
}

} // namespace corvane

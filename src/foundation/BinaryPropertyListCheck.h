#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// libplist aborts the whole process (a failed assertion) when a binary property list holds a
// string with a NUL character in it. Such a file is hostile or damaged; this check finds it
// before libplist sees it. Other damage (bad offsets, cycles) libplist itself refuses.
std::optional<std::string> binaryPropertyListProblem(std::string_view bytes);

} // namespace corvane

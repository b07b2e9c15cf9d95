#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// libplist reads a malformed element as a default ("<integer>abc</integer>" as 0, a garbled
// date as 1970) and drops a key without a value. A settings file like that is damaged, and
// reading it as zeros would overwrite the user's values on the next save. This check walks
// the XML first and names the first such problem, or answers nothing when the text is sound.
std::optional<std::string> xmlPropertyListProblem(std::string_view xml);

} // namespace corvane

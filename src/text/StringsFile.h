#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace corvane {

using StringTable = std::map<std::string, std::string, std::less<>>;

// Reads a `"key" = "text";` table: comments, backslash escapes, UTF-8 or UTF-16 with a
// byte-order mark. Malformed input logs one line and gives the entries read before it.
StringTable parseStringsTable(std::string_view bytes);
StringTable readStringsFile(const std::filesystem::path& path);

} // namespace corvane

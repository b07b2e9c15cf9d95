#pragma once

#include "foundation/Value.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

enum class PropertyListFormat { XML, Binary };

// Reads an XML or binary property list, whichever the bytes are. Truncated, garbled or
// wrongly typed input gives the null value and one log line naming `origin`; when `expected`
// is given, a root of another kind counts as wrongly typed.
//
// When `why` is given, it receives the reason of a failure as well.
//
// Limits of the format as libplist reads it: integers are 64-bit signed (an XML integer
// beyond that range is refused; an unsigned binary one above 2^63-1 reads as its two's
// complement), dates are written in whole seconds and lie between 1933 and 2069, strings end
// at a NUL byte.
Value readPropertyList(std::string_view bytes, std::string_view origin = "property list",
                       std::optional<Value::Kind> expected = std::nullopt,
                       std::string* why = nullptr);
Value readPropertyListFile(const std::filesystem::path& file,
                           std::optional<Value::Kind> expected = std::nullopt);

// Why text cannot go into an XML property list that every reader accepts: it is not UTF-8, or
// it holds a character that XML 1.0 cannot carry even escaped (the C0 controls but tab, line
// feed and carriage return, U+FFFE and U+FFFF). Nothing when it can.
std::optional<std::string> propertyListTextProblem(std::string_view text);
// The same for every string and dictionary key inside a value, saying where the first one is.
std::optional<std::string> propertyListValueProblem(const Value& value);

// The bytes of the property list; empty when the value cannot be written (a null root, or
// for XML text with a propertyListTextProblem, which is logged). Null entries inside arrays and
// dictionaries are left out, as the format has no null. A carriage return is written as a
// character reference, so that XML readers do not turn it into a line feed.
std::string writePropertyList(const Value& value, PropertyListFormat format);
// Writes to a temporary file beside the target, flushes it to disk and renames it over the
// target, so a reader sees the old file or the new one, never a part. False on failure.
bool writePropertyListFile(const std::filesystem::path& file, const Value& value,
                           PropertyListFormat format = PropertyListFormat::XML);

} // namespace corvane

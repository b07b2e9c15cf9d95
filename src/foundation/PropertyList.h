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
// Limits of the format as libplist reads it: integers are 64-bit signed (an unsigned value
// above 2^63-1 reads as its two's complement), dates are written in whole seconds and lie
// between 1933 and 2069, strings end at a NUL byte.
Value readPropertyList(std::string_view bytes, std::string_view origin = "property list",
                       std::optional<Value::Kind> expected = std::nullopt);
Value readPropertyListFile(const std::filesystem::path& file,
                           std::optional<Value::Kind> expected = std::nullopt);

// The bytes of the property list; empty when the value cannot be written (a null root).
// Null entries inside arrays and dictionaries are left out, as the format has no null.
std::string writePropertyList(const Value& value, PropertyListFormat format);
// Writes to a temporary file beside the target, flushes it to disk and renames it over the
// target, so a reader sees the old file or the new one, never a part. False on failure.
bool writePropertyListFile(const std::filesystem::path& file, const Value& value,
                           PropertyListFormat format = PropertyListFormat::XML);

} // namespace corvane

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvane {

// Writes to a temporary file beside the target, flushes it to disk and renames it over the
// target, so a reader sees the old file or the new one, never a part. False on failure, which
// is logged; the old file is then untouched.
bool writeFileAtomically(const std::filesystem::path& file, std::string_view bytes);

// The whole file, or nothing when it cannot be read.
std::optional<std::string> readFileContents(const std::filesystem::path& file);

} // namespace corvane

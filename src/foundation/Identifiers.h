#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace corvane {

// A new random UUID as upper-case text, "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
std::string newUUIDString();

// MD5 digest as 32 lower-case hexadecimal digits.
std::string md5Hex(std::string_view bytes);
std::string md5Hex(std::span<const std::uint8_t> bytes);

} // namespace corvane

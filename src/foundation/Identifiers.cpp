#include "foundation/Identifiers.h"

#include "foundation/GLibHandles.h"

#include <uuid/uuid.h>

namespace corvane {

std::string newUUIDString() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37];
    uuid_unparse_upper(uuid, text);
    return text;
}

// GLib's digest: already loaded by every program, where a crypto library would add megabytes
// of resident memory for one hash.
std::string md5Hex(std::span<const std::uint8_t> bytes) {
    return takeGString(g_compute_checksum_for_data(G_CHECKSUM_MD5, bytes.data(), bytes.size()));
}

std::string md5Hex(std::string_view bytes) {
    return md5Hex(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

} // namespace corvane

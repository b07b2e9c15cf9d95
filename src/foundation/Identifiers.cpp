#include "foundation/Identifiers.h"

#include "foundation/TextParsing.h"

#include <openssl/evp.h>
#include <uuid/uuid.h>

namespace corvane {

std::string newUUIDString() {
    uuid_t uuid;
    uuid_generate_random(uuid);
    char text[37];
    uuid_unparse_upper(uuid, text);
    return text;
}

std::string md5Hex(std::span<const std::uint8_t> bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_md5(), nullptr) != 1)
        return {};
    return hexEncoded(std::span<const std::uint8_t>(digest, length));
}

std::string md5Hex(std::string_view bytes) {
    return md5Hex(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

} // namespace corvane

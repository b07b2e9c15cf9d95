// What the daemon does with a caller's arguments before any handler: the member count that
// refuses oversized ones, and the conversion to values. The first byte picks the message's
// argument type, the rest is its serialized body, as anyone on the bus may send it.
#include "foundation/GVariantValue.h"
#include "foundation/Log.h"
#include "foundation/ProcessStat.h"
#include "links/DaemonNames.h"
#include "links/DaemonService.h"

#include <cstddef>
#include <cstdint>
#include <glib.h>
#include <string_view>

using namespace corvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Refused inputs may log a line each, which would be most of the output.
    static corvane::LogCapture quiet([](std::string_view) {}, corvane::LogEcho::Silenced);
    if (size == 0)
        return 0;
    static const char* const kTypes[] = {"(av)", "(a{sv})", "(ax)", "(xx)", "(s)", "(d)"};
    const char* type = kTypes[data[0] % 6];
    GBytes* bytes = g_bytes_new(data + 1, size - 1);
    GVariant* message =
        g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(type), bytes, FALSE));
    // GDBus hands handlers only messages in normal form.
    if (g_variant_is_normal_form(message) && withinMemberLimit(message, daemon::kMaximumMembers))
        fromGVariant(message);
    g_variant_unref(message);
    g_bytes_unref(bytes);
    // The stat line of a process, which any process may shape through its own name.
    parseProcessStat(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
    return 0;
}

#include "foundation/GVariantValue.h"

#include "foundation/GLibHandles.h"

#include <cstring>

namespace corvane {

namespace {

constexpr int kMaximumDepth = 64; // D-Bus itself allows 64 levels of containers

GVariant* tagged(const char* tag, GVariant* payload) {
    if (!payload)
        return g_variant_new("(s)", tag);
    GVariant* members[] = {g_variant_new_string(tag), payload};
    return g_variant_new_tuple(members, 2);
}

Value fromContainer(GVariant* variant, int depth);

Value fromVariant(GVariant* variant, int depth) {
    if (!variant || depth > kMaximumDepth)
        return {};
    switch (g_variant_classify(variant)) {
    case G_VARIANT_CLASS_BOOLEAN:
        return Value(g_variant_get_boolean(variant) != FALSE);
    case G_VARIANT_CLASS_BYTE:
        return Value(int{g_variant_get_byte(variant)});
    case G_VARIANT_CLASS_INT16:
        return Value(int{g_variant_get_int16(variant)});
    case G_VARIANT_CLASS_UINT16:
        return Value(int{g_variant_get_uint16(variant)});
    case G_VARIANT_CLASS_INT32:
        return Value(int{g_variant_get_int32(variant)});
    case G_VARIANT_CLASS_HANDLE:
        return Value(int{g_variant_get_handle(variant)});
    case G_VARIANT_CLASS_UINT32:
        return Value(static_cast<long long>(g_variant_get_uint32(variant)));
    case G_VARIANT_CLASS_INT64:
        return Value(static_cast<long long>(g_variant_get_int64(variant)));
    case G_VARIANT_CLASS_UINT64:
        return Value(static_cast<unsigned long long>(g_variant_get_uint64(variant)));
    case G_VARIANT_CLASS_DOUBLE:
        return Value(g_variant_get_double(variant));
    case G_VARIANT_CLASS_STRING:
    case G_VARIANT_CLASS_OBJECT_PATH:
    case G_VARIANT_CLASS_SIGNATURE:
        return Value(g_variant_get_string(variant, nullptr));
    case G_VARIANT_CLASS_VARIANT: {
        const VariantRef inner(g_variant_get_variant(variant));
        return fromVariant(inner.get(), depth + 1);
    }
    case G_VARIANT_CLASS_MAYBE: {
        const VariantRef inner(g_variant_get_maybe(variant));
        return fromVariant(inner.get(), depth + 1);
    }
    default:
        return fromContainer(variant, depth);
    }
}

Value fromChildren(GVariant* variant, gsize count, int depth) {
    Value::Array items;
    items.reserve(count);
    for (gsize i = 0; i < count; ++i) {
        const VariantRef child(g_variant_get_child_value(variant, i));
        items.push_back(fromVariant(child.get(), depth + 1));
    }
    return Value(std::move(items));
}

Value fromTuple(GVariant* variant, int depth) {
    const gsize count = g_variant_n_children(variant);
    if ((count == 1 || count == 2) &&
        g_variant_type_equal(g_variant_get_type(variant),
                             count == 1 ? G_VARIANT_TYPE("(s)") : G_VARIANT_TYPE("(sd)"))) {
        const VariantRef tag(g_variant_get_child_value(variant, 0));
        const char* name = g_variant_get_string(tag.get(), nullptr);
        if (count == 1 && std::strcmp(name, "null") == 0)
            return {};
        if (count == 2 && std::strcmp(name, "date") == 0) {
            const VariantRef seconds(g_variant_get_child_value(variant, 1));
            return Value(Date{g_variant_get_double(seconds.get())});
        }
    }
    return fromChildren(variant, count, depth);
}

Value fromContainer(GVariant* variant, int depth) {
    const GVariantType* type = g_variant_get_type(variant);
    if (g_variant_type_is_tuple(type))
        return fromTuple(variant, depth);
    if (!g_variant_type_is_array(type))
        return {};
    const GVariantType* element = g_variant_type_element(type);
    if (g_variant_type_equal(element, G_VARIANT_TYPE_BYTE)) {
        gsize length = 0;
        const auto* bytes = static_cast<const std::uint8_t*>(
            g_variant_get_fixed_array(variant, &length, sizeof(std::uint8_t)));
        return Value(Value::Data(bytes, bytes + length));
    }
    const gsize count = g_variant_n_children(variant);
    if (g_variant_type_is_dict_entry(element) &&
        g_variant_type_equal(g_variant_type_key(element), G_VARIANT_TYPE_STRING)) {
        Value::Dictionary entries;
        for (gsize i = 0; i < count; ++i) {
            const VariantRef entry(g_variant_get_child_value(variant, i));
            const VariantRef key(g_variant_get_child_value(entry.get(), 0));
            const VariantRef item(g_variant_get_child_value(entry.get(), 1));
            entries.insert_or_assign(g_variant_get_string(key.get(), nullptr),
                                     fromVariant(item.get(), depth + 1));
        }
        return Value(std::move(entries));
    }
    return fromChildren(variant, count, depth);
}

} // namespace

GVariant* toGVariant(const Value& value) {
    switch (value.kind()) {
    case Value::Kind::Null:
        return tagged("null", nullptr);
    case Value::Kind::Bool:
        return g_variant_new_boolean(value.boolValue());
    case Value::Kind::Integer:
        return g_variant_new_int64(value.integerValue());
    case Value::Kind::Real:
        return g_variant_new_double(value.doubleValue());
    case Value::Kind::String:
        // GVariant strings must be valid UTF-8; invalid bytes are replaced rather than lost.
        if (!g_utf8_validate(value.string().data(), static_cast<gssize>(value.string().size()),
                             nullptr)) {
            const std::string valid = takeGString(g_utf8_make_valid(
                value.string().data(), static_cast<gssize>(value.string().size())));
            return g_variant_new_string(valid.c_str());
        }
        return g_variant_new_string(value.string().c_str());
    case Value::Kind::Data: {
        const auto& bytes = value.data();
        return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, bytes.data(), bytes.size(), 1);
    }
    case Value::Kind::Date:
        return tagged("date", g_variant_new_double(value.date().secondsSince1970));
    case Value::Kind::Array: {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("av"));
        for (const auto& item : value.arrayItems())
            g_variant_builder_add(&builder, "v", toGVariant(item));
        return g_variant_builder_end(&builder);
    }
    case Value::Kind::Dictionary: {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sv}"));
        for (const auto& [key, item] : value.dictionaryItems()) {
            const std::string validKey =
                takeGString(g_utf8_make_valid(key.data(), static_cast<gssize>(key.size())));
            g_variant_builder_add(&builder, "{sv}", validKey.c_str(), toGVariant(item));
        }
        return g_variant_builder_end(&builder);
    }
    }
    return tagged("null", nullptr);
}

Value fromGVariant(GVariant* variant) {
    return fromVariant(variant, 0);
}

} // namespace corvane

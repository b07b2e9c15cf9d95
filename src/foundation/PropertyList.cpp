#include "foundation/PropertyList.h"

#include "foundation/AtomicFile.h"
#include "foundation/BinaryPropertyListCheck.h"
#include "foundation/Log.h"
#include "foundation/XmlPropertyListCheck.h"

#include <cmath>
#include <limits>
#include <memory>
#include <plist/plist.h>

namespace corvane {

namespace {

// Deeper nesting than any real settings file; it bounds the recursion below on hostile input.
constexpr int kMaximumDepth = 256;

struct PlistDeleter {
    void operator()(plist_t node) const { plist_free(node); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

struct Reader {
    std::string_view origin;
    bool failed = false;

    Value fail(const char* why) {
        if (!failed)
            CVBLog("Property list %.*s: %s", static_cast<int>(origin.size()), origin.data(), why);
        failed = true;
        return {};
    }

    Value scalar(plist_t node) {
        switch (plist_get_node_type(node)) {
        case PLIST_BOOLEAN: {
            uint8_t b = 0;
            plist_get_bool_val(node, &b);
            return Value(b != 0);
        }
        case PLIST_UINT: {
            uint64_t u = 0;
            plist_get_uint_val(node, &u);
            return Value(static_cast<std::int64_t>(u));
        }
        case PLIST_UID: {
            uint64_t u = 0;
            plist_get_uid_val(node, &u);
            return Value(static_cast<std::int64_t>(u));
        }
        case PLIST_REAL: {
            double d = 0;
            plist_get_real_val(node, &d);
            return Value(d);
        }
        case PLIST_STRING: {
            char* s = nullptr;
            plist_get_string_val(node, &s);
            Value v(s ? s : "");
            std::free(s);
            return v;
        }
        case PLIST_DATA: {
            char* bytes = nullptr;
            uint64_t length = 0;
            plist_get_data_val(node, &bytes, &length);
            Value v(Value::Data(bytes, bytes + (bytes ? length : 0)));
            std::free(bytes);
            return v;
        }
        case PLIST_DATE: {
            int32_t sec = 0;
            int32_t usec = 0;
            plist_get_date_val(node, &sec, &usec);
            // libplist splits a date toward zero and hands the fraction without its sign.
            const double fraction = (sec < 0 ? -1.0 : 1.0) * usec / 1e6;
            return Value(Date::fromSecondsSince2001(sec + fraction));
        }
        default:
            return fail("unknown element type");
        }
    }

    Value convert(plist_t node, int depth) {
        if (failed)
            return {};
        if (depth > kMaximumDepth)
            return fail("nested too deeply");
        switch (plist_get_node_type(node)) {
        case PLIST_ARRAY: {
            Value::Array items;
            const uint32_t count = plist_array_get_size(node);
            items.reserve(count);
            for (uint32_t i = 0; i < count && !failed; ++i)
                items.push_back(convert(plist_array_get_item(node, i), depth + 1));
            return Value(std::move(items));
        }
        case PLIST_DICT:
            return dictionary(node, depth);
        default:
            return scalar(node);
        }
    }

    Value dictionary(plist_t node, int depth) {
        Value::Dictionary entries;
        plist_dict_iter it = nullptr;
        plist_dict_new_iter(node, &it);
        while (it && !failed) {
            char* key = nullptr;
            plist_t child = nullptr;
            plist_dict_next_item(node, it, &key, &child);
            if (!child) {
                std::free(key);
                break;
            }
            Value value = convert(child, depth + 1);
            if (key)
                entries.insert_or_assign(key, std::move(value));
            std::free(key);
        }
        std::free(it);
        return Value(std::move(entries));
    }
};

plist_t toPlist(const Value& value, int depth) {
    if (depth > kMaximumDepth)
        return nullptr;
    switch (value.kind()) {
    case Value::Kind::Null:
        return nullptr;
    case Value::Kind::Bool:
        return plist_new_bool(value.boolValue() ? 1 : 0);
    case Value::Kind::Integer:
        return plist_new_uint(static_cast<uint64_t>(value.integerValue()));
    case Value::Kind::Real:
        return plist_new_real(value.doubleValue());
    case Value::Kind::String:
        return plist_new_string(value.string().c_str());
    case Value::Kind::Data: {
        const auto& bytes = value.data();
        return plist_new_data(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    }
    case Value::Kind::Date: {
        // Both formats as libplist writes them keep whole seconds only.
        const double s = std::round(value.date().secondsSince2001());
        if (!std::isfinite(s) || s < std::numeric_limits<int32_t>::min() ||
            s > std::numeric_limits<int32_t>::max())
            return nullptr;
        return plist_new_date(static_cast<int32_t>(s), 0);
    }
    case Value::Kind::Array: {
        plist_t array = plist_new_array();
        for (const auto& item : value.arrayItems()) {
            if (plist_t child = toPlist(item, depth + 1))
                plist_array_append_item(array, child);
        }
        return array;
    }
    case Value::Kind::Dictionary: {
        plist_t dict = plist_new_dict();
        for (const auto& [key, item] : value.dictionaryItems()) {
            if (plist_t child = toPlist(item, depth + 1))
                plist_dict_set_item(dict, key.c_str(), child);
        }
        return dict;
    }
    }
    return nullptr;
}

} // namespace

Value readPropertyList(std::string_view bytes, std::string_view origin,
                       std::optional<Value::Kind> expected) {
    Reader reader{origin};
    if (bytes.empty())
        return reader.fail("empty");
    if (bytes.size() > std::numeric_limits<uint32_t>::max())
        return reader.fail("too large");
    const auto length = static_cast<uint32_t>(bytes.size());
    const bool binary = plist_is_binary(bytes.data(), length) != 0;
    if (auto problem = binary ? binaryPropertyListProblem(bytes) : xmlPropertyListProblem(bytes))
        return reader.fail(problem->c_str());
    plist_t raw = nullptr;
    plist_from_memory(bytes.data(), length, &raw);
    PlistPtr root(raw);
    if (!root)
        return reader.fail("not a readable XML or binary property list");
    Value value = reader.convert(root.get(), 0);
    if (reader.failed)
        return {};
    if (expected && value.kind() != *expected) {
        std::string why = std::string("expected ") + Value::kindName(*expected) +
                          " at the root, found " + Value::kindName(value.kind());
        return reader.fail(why.c_str());
    }
    return value;
}

Value readPropertyListFile(const std::filesystem::path& file, std::optional<Value::Kind> expected) {
    auto content = readFileContents(file);
    if (!content) {
        CVBLog("Property list %s: cannot be opened", file.c_str());
        return {};
    }
    return readPropertyList(*content, file.string(), expected);
}

std::string writePropertyList(const Value& value, PropertyListFormat format) {
    PlistPtr root(toPlist(value, 0));
    if (!root)
        return {};
    char* bytes = nullptr;
    uint32_t length = 0;
    if (format == PropertyListFormat::XML)
        plist_to_xml(root.get(), &bytes, &length);
    else
        plist_to_bin(root.get(), &bytes, &length);
    std::string result(bytes ? bytes : "", bytes ? length : 0);
    std::free(bytes);
    return result;
}

bool writePropertyListFile(const std::filesystem::path& file, const Value& value,
                           PropertyListFormat format) {
    const std::string bytes = writePropertyList(value, format);
    if (bytes.empty()) {
        CVBLog("Cannot write %s: %s is not a property list", file.c_str(),
               Value::kindName(value.kind()));
        return false;
    }
    return writeFileAtomically(file, bytes);
}

} // namespace corvane

#include "foundation/PropertyList.h"

#include "foundation/AtomicFile.h"
#include "foundation/BinaryPropertyListCheck.h"
#include "foundation/Log.h"
#include "foundation/XmlPropertyListCheck.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
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
    std::string* problem = nullptr;
    bool failed = false;

    Value fail(const char* why) {
        if (!failed) {
            CVBLog("Property list %.*s: %s", static_cast<int>(origin.size()), origin.data(), why);
            if (problem)
                *problem = why;
        }
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

// Both formats as libplist writes them keep whole seconds since 2001 in 32 bits: from 1933 to
// 2069. A date outside that cannot be written.
std::optional<int32_t> writableSeconds(const Date& date) {
    const double s = std::round(date.secondsSince2001());
    if (!std::isfinite(s) || s < std::numeric_limits<int32_t>::min() ||
        s > std::numeric_limits<int32_t>::max())
        return std::nullopt;
    return static_cast<int32_t>(s);
}

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
        const auto seconds = writableSeconds(value.date());
        return seconds ? plist_new_date(*seconds, 0) : nullptr;
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

// The code point of the UTF-8 sequence at `at`, advancing `at`; nothing (and `at` unchanged)
// for a byte that starts no valid sequence: a stray continuation, an overlong form, a
// surrogate or a value beyond U+10FFFF.
std::optional<char32_t> decodeUtf8(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(at);
    if (lead < 0x80) {
        ++at;
        return lead;
    }
    std::size_t length = 0;
    char32_t code = 0;
    char32_t minimum = 0;
    if ((lead & 0xE0) == 0xC0) {
        length = 2, code = lead & 0x1F, minimum = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, code = lead & 0x0F, minimum = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, code = lead & 0x07, minimum = 0x10000;
    } else {
        return std::nullopt;
    }
    if (text.size() - at < length)
        return std::nullopt;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0) != 0x80)
            return std::nullopt;
        code = (code << 6) | (byte(at + i) & 0x3F);
    }
    if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return std::nullopt;
    at += length;
    return code;
}

// XML 1.0's Char production, less what valid UTF-8 already excludes.
bool xmlCanHold(char32_t c) {
    if (c < 0x20)
        return c == '\t' || c == '\n' || c == '\r';
    return c != 0xFFFE && c != 0xFFFF;
}

std::optional<std::string> valueProblem(const Value& value, const std::string& where, int depth) {
    const auto at = [&](std::string problem) {
        return where.empty() ? problem : problem + " (at " + where + ")";
    };
    if (depth > kMaximumDepth)
        return at("nested too deeply");
    if (value.isString()) {
        if (auto problem = propertyListTextProblem(value.string()))
            return at("text " + *problem);
    } else if (value.isDate()) {
        if (!writableSeconds(value.date()))
            return at("a date outside 1933 to 2069");
    } else if (value.isArray()) {
        std::size_t index = 0;
        for (const Value& item : value.arrayItems()) {
            const std::string inner = where + "[" + std::to_string(index++) + "]";
            if (auto problem = valueProblem(item, inner, depth + 1))
                return problem;
        }
    } else if (value.isDictionary()) {
        for (const auto& [key, item] : value.dictionaryItems()) {
            if (auto problem = propertyListTextProblem(key))
                return at("a key " + *problem);
            const std::string inner = where.empty() ? key : where + "." + key;
            if (auto problem = valueProblem(item, inner, depth + 1))
                return problem;
        }
    }
    return std::nullopt;
}

// XML readers read a carriage return in text as a line feed; the reference keeps it.
std::string withCarriageReturnsEscaped(const std::string& xml) {
    std::string escaped;
    escaped.reserve(xml.size());
    for (char c : xml) {
        if (c == '\r')
            escaped += "&#13;";
        else
            escaped += c;
    }
    return escaped;
}

} // namespace

std::optional<std::string> propertyListTextProblem(std::string_view text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t start = at;
        const auto code = decodeUtf8(text, at);
        char description[96];
        if (!code) {
            std::snprintf(description, sizeof description,
                          "is not valid UTF-8 (byte 0x%02X at offset %zu)",
                          static_cast<unsigned char>(text[start]), start);
            return std::string(description);
        }
        if (!xmlCanHold(*code)) {
            std::snprintf(description, sizeof description,
                          "holds U+%04" PRIX32
                          " at offset %zu, a character that a settings file cannot hold",
                          static_cast<std::uint32_t>(*code), start);
            return std::string(description);
        }
    }
    return std::nullopt;
}

std::optional<std::string> propertyListValueProblem(const Value& value) {
    return valueProblem(value, {}, 0);
}

Value readPropertyList(std::string_view bytes, std::string_view origin,
                       std::optional<Value::Kind> expected, std::string* why) {
    Reader reader{origin, why};
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
        const std::string wrongRoot = std::string("expected ") + Value::kindName(*expected) +
                                      " at the root, found " + Value::kindName(value.kind());
        return reader.fail(wrongRoot.c_str());
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
    if (format == PropertyListFormat::XML) {
        // libplist would write such text raw, and every strict XML reader refuses the file.
        if (auto problem = propertyListValueProblem(value)) {
            CVBLog("Cannot write an XML property list: %s", problem->c_str());
            return {};
        }
    }
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
    if (format == PropertyListFormat::XML && result.find('\r') != std::string::npos)
        return withCarriageReturnsEscaped(result);
    return result;
}

bool writePropertyListFile(const std::filesystem::path& file, const Value& value,
                           PropertyListFormat format) {
    const std::string bytes = writePropertyList(value, format);
    if (bytes.empty()) {
        CVBLog("Cannot write %s: not a property list (%s)", file.c_str(),
               Value::kindName(value.kind()));
        return false;
    }
    return writeFileAtomically(file, bytes);
}

} // namespace corvane

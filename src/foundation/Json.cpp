#include "foundation/Json.h"

#include "foundation/GLibHandles.h"
#include "foundation/Log.h"

#include <cmath>
#include <ctime>
#include <limits>
#include <nlohmann/json.hpp>

namespace corvane {

namespace {

using Json = nlohmann::json;

constexpr int kMaximumDepth = 256;

struct Converter {
    bool tooDeep = false;

    Value fromJson(const Json& json, int depth) {
        if (depth > kMaximumDepth) {
            tooDeep = true;
            return {};
        }
        switch (json.type()) {
        case Json::value_t::boolean:
            return Value(json.get<bool>());
        case Json::value_t::number_integer:
            return Value(json.get<std::int64_t>());
        case Json::value_t::number_unsigned: {
            const auto u = json.get<std::uint64_t>();
            if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
                return Value(static_cast<double>(u));
            return Value(static_cast<std::int64_t>(u));
        }
        case Json::value_t::number_float:
            return Value(json.get<double>());
        case Json::value_t::string:
            return Value(json.get_ref<const std::string&>());
        case Json::value_t::binary: {
            const auto& bytes = json.get_binary();
            return Value(Value::Data(bytes.begin(), bytes.end()));
        }
        case Json::value_t::array: {
            Value::Array items;
            items.reserve(json.size());
            for (const auto& item : json)
                items.push_back(fromJson(item, depth + 1));
            return Value(std::move(items));
        }
        case Json::value_t::object: {
            Value::Dictionary entries;
            for (const auto& [key, item] : json.items())
                entries.insert_or_assign(key, fromJson(item, depth + 1));
            return Value(std::move(entries));
        }
        default:
            return {};
        }
    }
};

Json toJsonTree(const Value& value) {
    switch (value.kind()) {
    case Value::Kind::Null:
        return nullptr;
    case Value::Kind::Bool:
        return value.boolValue();
    case Value::Kind::Integer:
        return value.integerValue();
    case Value::Kind::Real:
        return std::isfinite(value.doubleValue()) ? Json(value.doubleValue()) : Json(nullptr);
    case Value::Kind::String:
        return value.string();
    case Value::Kind::Data: {
        const auto& bytes = value.data();
        return takeGString(g_base64_encode(bytes.data(), bytes.size()));
    }
    case Value::Kind::Date:
        return iso8601Date(value.date());
    case Value::Kind::Array: {
        Json array = Json::array();
        for (const auto& item : value.arrayItems())
            array.push_back(toJsonTree(item));
        return array;
    }
    case Value::Kind::Dictionary: {
        Json object = Json::object();
        for (const auto& [key, item] : value.dictionaryItems())
            object[key] = toJsonTree(item);
        return object;
    }
    }
    return nullptr;
}

} // namespace

std::string iso8601Date(Date date) {
    const auto seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970));
    std::tm tm{};
    gmtime_r(&seconds, &tm);
    char buffer[32];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buffer;
}

Value parseJson(std::string_view text, std::string_view origin) {
    Json json = Json::parse(text.begin(), text.end(), nullptr, /*allow_exceptions=*/false);
    if (json.is_discarded()) {
        CVBLog("JSON %.*s: malformed", static_cast<int>(origin.size()), origin.data());
        return {};
    }
    Converter converter;
    Value value = converter.fromJson(json, 0);
    if (converter.tooDeep) {
        CVBLog("JSON %.*s: nested too deeply", static_cast<int>(origin.size()), origin.data());
        return {};
    }
    return value;
}

std::string toJson(const Value& value, int indent) {
    return toJsonTree(value).dump(indent, ' ', false, Json::error_handler_t::replace);
}

} // namespace corvane

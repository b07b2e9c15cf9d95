#include "foundation/Value.h"

#include "foundation/TextParsing.h"

#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>
#include <ostream>

namespace corvane {

namespace {

const Value kNull;
const std::string kEmptyString;
const Value::Data kEmptyData;
const Value::Array kEmptyArray;
const Value::Dictionary kEmptyDictionary;

std::int64_t saturatingInteger(double d) {
    if (std::isnan(d))
        return 0;
    // 2^63 is exact as a double; anything at or beyond it cannot be represented.
    constexpr double kLimit = 9223372036854775808.0;
    if (d >= kLimit)
        return std::numeric_limits<std::int64_t>::max();
    if (d < -kLimit)
        return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(d);
}

std::string dateString(Date date) {
    const auto seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970));
    std::tm tm{};
    gmtime_r(&seconds, &tm);
    char buffer[64];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S +0000", &tm);
    return buffer;
}

std::string quoted(std::string_view s) {
    std::string out = "\"";
    for (char c : s) {
        if (c == '"' || c == '\\')
            out.push_back('\\');
        if (c == '\n') {
            out += "\\n";
            continue;
        }
        out.push_back(c);
    }
    out.push_back('"');
    return out;
}

} // namespace

Value::Value(unsigned long i)
    : storage_(i > static_cast<unsigned long>(std::numeric_limits<std::int64_t>::max())
                   ? std::numeric_limits<std::int64_t>::max()
                   : static_cast<std::int64_t>(i)) {}

Value::Value(unsigned long long i)
    : storage_(i > static_cast<unsigned long long>(std::numeric_limits<std::int64_t>::max())
                   ? std::numeric_limits<std::int64_t>::max()
                   : static_cast<std::int64_t>(i)) {}

Value::Value(Array a)
    : storage_(std::make_shared<Array>(std::move(a))) {}

Value::Value(Dictionary d)
    : storage_(std::make_shared<Dictionary>(std::move(d))) {}

Value Value::array(std::initializer_list<Value> items) {
    return Value(Array(items));
}

Value Value::dict(std::initializer_list<std::pair<const std::string, Value>> entries) {
    Dictionary d;
    for (const auto& [key, value] : entries) {
        if (!value.isNull())
            d.insert_or_assign(key, value);
    }
    return Value(std::move(d));
}

Value Value::data(std::string_view bytes) {
    return Value(Data(bytes.begin(), bytes.end()));
}

const char* Value::kindName(Kind kind) {
    switch (kind) {
    case Kind::Null:
        return "null";
    case Kind::Bool:
        return "bool";
    case Kind::Integer:
        return "integer";
    case Kind::Real:
        return "real";
    case Kind::String:
        return "string";
    case Kind::Data:
        return "data";
    case Kind::Date:
        return "date";
    case Kind::Array:
        return "array";
    case Kind::Dictionary:
        return "dictionary";
    }
    return "unknown";
}

// integerValue:
// - bool: 1 or 0; integer: itself;
// - real: truncated toward zero, NaN gives 0, out-of-range values saturate at the int64 limits;
// - string: the leading integer after white space and an optional sign ("  -12kg" is -12,
//   "3.9" is 3, "abc" is 0), saturating on overflow, as a number typed into a text field reads;
// - date: whole seconds since 1970;
// - null, data, array, dictionary: 0.
std::int64_t Value::integerValue() const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(storage_) ? 1 : 0;
    case Kind::Integer:
        return std::get<std::int64_t>(storage_);
    case Kind::Real:
        return saturatingInteger(std::get<double>(storage_));
    case Kind::String:
        return leadingInteger(std::get<std::string>(storage_));
    case Kind::Date:
        return saturatingInteger(std::get<corvane::Date>(storage_).secondsSince1970);
    default:
        return 0;
    }
}

// doubleValue:
// - bool: 1.0 or 0.0; integer: converted; real: itself;
// - string: the leading decimal number after white space ("2.5 GHz" is 2.5, "1e3" is 1000,
//   ".5" is 0.5), in the C locale whatever the user's locale; "inf", "nan", hexadecimal and
//   anything else without a leading number give 0; overflow gives an infinity of its sign;
// - date: seconds since 1970;
// - null, data, array, dictionary: 0.
double Value::doubleValue() const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(storage_) ? 1.0 : 0.0;
    case Kind::Integer:
        return static_cast<double>(std::get<std::int64_t>(storage_));
    case Kind::Real:
        return std::get<double>(storage_);
    case Kind::String:
        return leadingDouble(std::get<std::string>(storage_));
    case Kind::Date:
        return std::get<corvane::Date>(storage_).secondsSince1970;
    default:
        return 0.0;
    }
}

// boolValue:
// - bool: itself; integer: non-zero; real: non-zero (NaN counts as non-zero);
// - string: true when, after white space, an optional sign and leading zeros, the first
//   character is Y, y, T, t or a digit 1-9 ("YES", "true", "1", "007" are true; "0", "no",
//   "0.5", "" are false), the way stored flags written as text by older versions read;
// - null, data, date, array, dictionary: false.
bool Value::boolValue() const {
    switch (kind()) {
    case Kind::Bool:
        return std::get<bool>(storage_);
    case Kind::Integer:
        return std::get<std::int64_t>(storage_) != 0;
    case Kind::Real:
        return std::get<double>(storage_) != 0.0;
    case Kind::String:
        return leadingBool(std::get<std::string>(storage_));
    default:
        return false;
    }
}

// stringValue:
// - null: empty; bool: "1" or "0"; integer: decimal digits;
// - real: the shortest text that reads back as the same number ("0.1", "2.5", "3", "1e+20",
//   "nan", "inf");
// - string: itself; data: lower-case hexadecimal;
// - date: "yyyy-MM-dd HH:mm:ss +0000" in UTC, seconds truncated;
// - array, dictionary: the description.
std::string Value::stringValue() const {
    switch (kind()) {
    case Kind::Null:
        return {};
    case Kind::Bool:
        return std::get<bool>(storage_) ? "1" : "0";
    case Kind::Integer:
        return std::to_string(std::get<std::int64_t>(storage_));
    case Kind::Real:
        return shortestDoubleText(std::get<double>(storage_));
    case Kind::String:
        return std::get<std::string>(storage_);
    case Kind::Data:
        return hexEncoded(std::get<Data>(storage_));
    case Kind::Date:
        return dateString(std::get<corvane::Date>(storage_));
    case Kind::Array:
    case Kind::Dictionary:
        return description();
    }
    return {};
}

const std::string& Value::string() const {
    const auto* s = std::get_if<std::string>(&storage_);
    return s ? *s : kEmptyString;
}

const Value::Data& Value::data() const {
    const auto* d = std::get_if<Data>(&storage_);
    return d ? *d : kEmptyData;
}

corvane::Date Value::date() const {
    const auto* d = std::get_if<corvane::Date>(&storage_);
    return d ? *d : corvane::Date{};
}

const Value::Array& Value::arrayItems() const {
    const auto* a = std::get_if<ArrayRef>(&storage_);
    return a ? **a : kEmptyArray;
}

const Value::Dictionary& Value::dictionaryItems() const {
    const auto* d = std::get_if<DictionaryRef>(&storage_);
    return d ? **d : kEmptyDictionary;
}

std::size_t Value::size() const {
    if (isArray())
        return arrayItems().size();
    if (isDictionary())
        return dictionaryItems().size();
    return 0;
}

const Value& Value::operator[](std::size_t index) const {
    const auto& items = arrayItems();
    return index < items.size() ? items[index] : kNull;
}

Value::Array& Value::mutableArray() {
    auto* ref = std::get_if<ArrayRef>(&storage_);
    if (!ref) {
        storage_ = std::make_shared<Array>();
        ref = std::get_if<ArrayRef>(&storage_);
    } else if (ref->use_count() > 1) {
        *ref = std::make_shared<Array>(**ref);
    }
    return **ref;
}

void Value::append(Value item) {
    mutableArray().push_back(std::move(item));
}

const Value* Value::find(std::string_view key) const {
    const auto& items = dictionaryItems();
    auto it = items.find(key);
    return it == items.end() ? nullptr : &it->second;
}

const Value& Value::operator[](std::string_view key) const {
    const Value* v = find(key);
    return v ? *v : kNull;
}

Value::Dictionary& Value::mutableDictionary() {
    auto* ref = std::get_if<DictionaryRef>(&storage_);
    if (!ref) {
        storage_ = std::make_shared<Dictionary>();
        ref = std::get_if<DictionaryRef>(&storage_);
    } else if (ref->use_count() > 1) {
        *ref = std::make_shared<Dictionary>(**ref);
    }
    return **ref;
}

void Value::set(std::string_view key, Value value) {
    auto& items = mutableDictionary();
    if (value.isNull()) {
        if (auto it = items.find(key); it != items.end())
            items.erase(it);
        return;
    }
    auto it = items.find(key);
    if (it == items.end())
        items.emplace(std::string(key), std::move(value));
    else
        it->second = std::move(value);
}

bool Value::erase(std::string_view key) {
    if (!contains(key))
        return false;
    auto& items = mutableDictionary();
    items.erase(items.find(key));
    return true;
}

bool operator==(const Value& a, const Value& b) {
    if (a.kind() != b.kind())
        return false;
    switch (a.kind()) {
    case Value::Kind::Null:
        return true;
    case Value::Kind::Real: {
        const double x = std::get<double>(a.storage_);
        const double y = std::get<double>(b.storage_);
        return x == y || (std::isnan(x) && std::isnan(y));
    }
    case Value::Kind::Array: {
        const auto& x = std::get<Value::ArrayRef>(a.storage_);
        const auto& y = std::get<Value::ArrayRef>(b.storage_);
        return x == y || *x == *y;
    }
    case Value::Kind::Dictionary: {
        const auto& x = std::get<Value::DictionaryRef>(a.storage_);
        const auto& y = std::get<Value::DictionaryRef>(b.storage_);
        return x == y || *x == *y;
    }
    default:
        return a.storage_ == b.storage_;
    }
}

bool Value::numericallyEquals(const Value& other) const {
    if (!isNumber() || !other.isNumber())
        return *this == other;
    if (isReal() || other.isReal())
        return doubleValue() == other.doubleValue();
    return integerValue() == other.integerValue();
}

std::string Value::description() const {
    switch (kind()) {
    case Kind::Null:
        return "(null)";
    case Kind::String:
        return quoted(string());
    case Kind::Data:
        return "<" + hexEncoded(data()) + ">";
    case Kind::Array: {
        std::string out = "(";
        const char* separator = "";
        for (const auto& item : arrayItems()) {
            out += separator + item.description();
            separator = ", ";
        }
        return out + ")";
    }
    case Kind::Dictionary: {
        std::string out = "{";
        for (const auto& [key, value] : dictionaryItems())
            out += quoted(key) + " = " + value.description() + "; ";
        return out + "}";
    }
    default:
        return stringValue();
    }
}

std::ostream& operator<<(std::ostream& out, const Value& value) {
    return out << value.description();
}

} // namespace corvane

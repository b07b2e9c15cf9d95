#pragma once

#include "foundation/Date.h"

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace corvane {

// The property-list value: the common currency between layers and between processes.
//
// Arrays and dictionaries are shared between copies and copied only when one copy is changed,
// so handing a sample or settings dictionary around costs a reference count, not a deep copy.
class Value {
public:
    enum class Kind { Null, Bool, Integer, Real, String, Data, Date, Array, Dictionary };

    using Data = std::vector<std::uint8_t>;
    using Array = std::vector<Value>;
    using Dictionary = std::map<std::string, Value, std::less<>>;

    Value() = default;
    Value(std::nullptr_t) {}
    Value(bool b)
        : storage_(b) {}
    Value(int i)
        : storage_(std::int64_t{i}) {}
    Value(long i)
        : storage_(std::int64_t{i}) {}
    Value(long long i)
        : storage_(std::int64_t{i}) {}
    Value(unsigned int i)
        : storage_(std::int64_t{i}) {}
    Value(unsigned long i);      // values above INT64_MAX saturate
    Value(unsigned long long i); // values above INT64_MAX saturate
    Value(double d)
        : storage_(d) {}
    Value(float f)
        : storage_(double{f}) {}
    Value(const char* s)
        : storage_(std::string(s ? s : "")) {}
    Value(char* s)
        : Value(static_cast<const char*>(s)) {}
    // Any other pointer would silently become a bool.
    template <class T>
    Value(T*) = delete;
    Value(std::string s)
        : storage_(std::move(s)) {}
    Value(std::string_view s)
        : storage_(std::string(s)) {}
    Value(Data d)
        : storage_(std::move(d)) {}
    Value(corvane::Date d)
        : storage_(d) {}
    Value(Array a);
    Value(Dictionary d);

    // Builders for literals: Value::array({1, "two", 3.0}), Value::dict({{"key", 1}}).
    static Value array(std::initializer_list<Value> items = {});
    static Value dict(std::initializer_list<std::pair<const std::string, Value>> entries = {});
    static Value data(std::string_view bytes);

    Kind kind() const { return static_cast<Kind>(storage_.index()); }
    static const char* kindName(Kind kind);

    bool isNull() const { return kind() == Kind::Null; }
    bool isBool() const { return kind() == Kind::Bool; }
    bool isInteger() const { return kind() == Kind::Integer; }
    bool isReal() const { return kind() == Kind::Real; }
    bool isNumber() const { return isBool() || isInteger() || isReal(); }
    bool isString() const { return kind() == Kind::String; }
    bool isData() const { return kind() == Kind::Data; }
    bool isDate() const { return kind() == Kind::Date; }
    bool isArray() const { return kind() == Kind::Array; }
    bool isDictionary() const { return kind() == Kind::Dictionary; }

    // Loose conversions; each one's rules are documented beside its definition in Value.cpp.
    std::int64_t integerValue() const;
    double doubleValue() const;
    float floatValue() const { return static_cast<float>(doubleValue()); }
    bool boolValue() const;
    std::string stringValue() const;

    // Exact access; the neutral value when the kind differs.
    const std::string& string() const;
    const Data& data() const;
    corvane::Date date() const;
    const Array& arrayItems() const;
    const Dictionary& dictionaryItems() const;

    // Number of entries of an array or dictionary, else 0.
    std::size_t size() const;
    bool empty() const { return size() == 0; }

    // Array access. Out of range or not an array: the null value.
    const Value& operator[](std::size_t index) const;
    const Value& operator[](int index) const { return (*this)[static_cast<std::size_t>(index)]; }
    // Turns a non-array into an empty array first.
    void append(Value item);
    Array& mutableArray();

    // Dictionary access. Missing key or not a dictionary: the null value.
    const Value& operator[](std::string_view key) const;
    const Value& operator[](const char* key) const { return (*this)[std::string_view(key)]; }
    const Value* find(std::string_view key) const;
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    // Turns a non-dictionary into an empty dictionary first. Setting null removes the key.
    void set(std::string_view key, Value value);
    bool erase(std::string_view key);
    Dictionary& mutableDictionary();

    // Strict equality: same kind and same content. Reals compare by value, with NaN equal to
    // NaN so that a value always equals its own copy. Use numericallyEquals for NSNumber-like
    // comparison across bool, integer and real.
    friend bool operator==(const Value& a, const Value& b);
    bool numericallyEquals(const Value& other) const;

    // A readable rendering for logs, in the style of an old-style property list.
    std::string description() const;

private:
    using ArrayRef = std::shared_ptr<Array>;
    using DictionaryRef = std::shared_ptr<Dictionary>;
    using Storage = std::variant<std::monostate, bool, std::int64_t, double, std::string, Data,
                                 corvane::Date, ArrayRef, DictionaryRef>;

    Storage storage_;
};

// Writes the description, so that test failures and logs show the content.
std::ostream& operator<<(std::ostream& out, const Value& value);

} // namespace corvane

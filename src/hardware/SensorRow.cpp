#include "hardware/SensorRow.h"

namespace corvane {

namespace {

Value stringArray(const std::vector<std::string>& keys) {
    Value::Array array;
    for (const auto& key : keys)
        array.emplace_back(key);
    return Value(std::move(array));
}

} // namespace

Value SensorRow::toValue() const {
    Value::Dictionary row{
        {"key", Value(key)}, {"name", Value(name)}, {"low", Value(low)}, {"high", Value(high)}};
    if (watts)
        row["type"] = Value("watts");
    else if (type)
        row["type"] = Value(*type);
    if (average)
        row["average"] = stringArray(*average);
    if (multiply)
        row["multiply"] = stringArray(*multiply);
    if (!bk.empty())
        row["bk"] = Value(bk);
    if (cores)
        row["cores"] = Value(*cores);
    return Value(std::move(row));
}

} // namespace corvane

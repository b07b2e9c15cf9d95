#pragma once

#include "foundation/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace corvane {

// One sensor of the catalogue: the unit a model's sensor list is made of.
struct SensorRow {
    SensorRow() = default;
    SensorRow(std::string key_, std::string name_, double low_ = 0, double high_ = 0)
        : key(std::move(key_))
        , name(std::move(name_))
        , low(low_)
        , high(high_) {}

    std::string key;
    std::string name;
    double low = 0;          // 0 when no limit is known
    double high = 0;         // both non-zero: the item's limits are fixed
    std::optional<int> type; // only where the key's first letter would mislead
    bool watts = false;      // a "multiply" row's "type" is the text "watts"
    std::optional<std::vector<std::string>> average;
    std::optional<std::vector<std::string>> multiply;
    std::string bk; // a second sensor that vouches for this one
    std::optional<int> cores;

    // The dictionary form the collectors and the other processes use.
    Value toValue() const;
};

} // namespace corvane

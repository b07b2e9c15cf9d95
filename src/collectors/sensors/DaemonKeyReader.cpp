#include "collectors/sensors/DaemonKeyReader.h"

#include "foundation/Log.h"
#include "links/DaemonProbe.h"

namespace corvane {

namespace {
constexpr double kNoReading = -1.0;
}

std::optional<std::vector<std::string>>
DaemonKeyReader::readKeys(const std::vector<std::string>& keys) {
    const auto rows = daemonKeyReadings(bus_.get(), keys, kTimeoutMilliseconds);
    if (!rows) {
        for (const auto& key : keys)
            values_[key] = kNoReading;
        quietCycles_ = kCyclesToWait;
        if (!reportedSilence_)
            CVBLog("the daemon did not answer for the controller's keys; sensors read nothing "
                   "until it does");
        reportedSilence_ = true;
        return std::nullopt;
    }
    reportedSilence_ = false;
    // A key the controller does not have is missing from the answer.
    std::set<std::string, std::less<>> answered;
    for (const auto& key : keys)
        values_[key] = kNoReading;
    for (const Value& row : rows->arrayItems()) {
        answered.insert(row["key"].stringValue());
        values_[row["key"].stringValue()] = row["value"].doubleValue();
    }
    std::vector<std::string> present;
    for (const auto& key : keys) {
        if (answered.contains(key))
            present.push_back(key);
        else
            absent_.insert(key);
    }
    return present;
}

double DaemonKeyReader::value(std::string_view key) {
    if (const auto found = values_.find(key); found != values_.end())
        return found->second;
    if (quietCycles_ > 0)
        return kNoReading;
    readKeys({std::string(key)});
    return values_[std::string(key)];
}

void DaemonKeyReader::beginCycle() {
    if (quietCycles_ > 0) {
        --quietCycles_;
        return;
    }
    std::vector<std::string> keys;
    keys.reserve(values_.size());
    for (const auto& [key, value] : values_)
        if (!absent_.contains(key))
            keys.push_back(key);
    if (!keys.empty())
        readKeys(keys);
}

} // namespace corvane

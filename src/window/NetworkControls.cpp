#include "window/NetworkControls.h"

#include "collectors/ping/PingPacket.h"
#include "preferences/CVBPreferences.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr const char* kFilteringKey = "FilteringNetwork";
constexpr const char* kStatusAddressKey = "Network_StatusAddress";

std::vector<CVBPopUpButton::Item> interfaceItems(const std::vector<NetworkServiceName>& services) {
    std::vector<CVBPopUpButton::Item> items{
        {"Primary interface", Value(NetworkInterfaceChoice::kPrimary)},
        {"All interfaces", Value(NetworkInterfaceChoice::kAll)}};
    for (const auto& [key, name] : services)
        items.push_back({name.empty() ? key : name, Value(key)});
    return items;
}

std::vector<std::string> splitAtCommas(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const auto comma = list.find(',');
        if (comma != 0)
            parts.emplace_back(list.substr(0, comma));
        if (comma == std::string_view::npos)
            break;
        list.remove_prefix(comma + 1);
    }
    return parts;
}

} // namespace

NetworkInterfaceChoice::NetworkInterfaceChoice(std::string notificationName,
                                               const std::vector<NetworkServiceName>& services,
                                               BoundControlServices controlServices)
    : CVBPopUpButton("Network_PrimaryInterface", std::move(notificationName),
                     Kind::RepresentedObject, std::move(controlServices)) {
    setItems(interfaceItems(services));
}

void NetworkInterfaceChoice::updateValue() {
    CVBPopUpButton::updateValue();
    // Nothing stored, or a service that is gone, counts as the primary interface.
    if (!indexOfSelectedItem())
        selectItemAtIndex(0);
}

NetworkServiceShown::NetworkServiceShown(std::string notificationName, std::string service,
                                         BoundControlServices services)
    : BoundControl(kFilteringKey, std::move(notificationName), std::move(services))
    , service_(std::move(service)) {}

void NetworkServiceShown::userSetChecked(bool checked) {
    Value hidden = Value::array();
    for (const Value& key : CVBObjectForKey(prefKey()).arrayItems())
        if (key.stringValue() != service_)
            hidden.append(key);
    if (!checked)
        hidden.append(Value(service_));
    checked_ = checked;
    commit(hidden.arrayItems().empty() ? Value() : hidden);
}

void NetworkServiceShown::updateValue() {
    const auto& hidden = CVBObjectForKey(prefKey()).arrayItems();
    checked_ = std::none_of(hidden.begin(), hidden.end(),
                            [&](const Value& key) { return key.stringValue() == service_; });
}

NetworkDropdownBlock::NetworkDropdownBlock(std::string prefKey, std::string notificationName,
                                           std::string block, BoundControlServices services)
    : BoundControl(std::move(prefKey), std::move(notificationName), std::move(services))
    , block_(std::move(block)) {}

void NetworkDropdownBlock::userSetChecked(bool checked) {
    std::string list;
    for (const auto& part : splitAtCommas(CVBObjectForKey(prefKey()).stringValue()))
        if (part != block_)
            list += (list.empty() ? "" : ",") + part;
    if (!checked)
        list += (list.empty() ? "" : ",") + block_;
    checked_ = checked;
    commit(list.empty() ? Value() : Value(list));
}

void NetworkDropdownBlock::updateValue() {
    const auto parts = splitAtCommas(CVBObjectForKey(prefKey()).stringValue());
    checked_ = std::find(parts.begin(), parts.end(), block_) == parts.end();
}

const std::vector<std::string>& NetworkStatusAddress::offeredAddresses() {
    static const std::vector<std::string> kOffered{"1.0.0.1", "1.1.1.1", "wikipedia.org"};
    return kOffered;
}

NetworkStatusAddress::NetworkStatusAddress(std::string notificationName,
                                           BoundControlServices services)
    : BoundControl(kStatusAddressKey, std::move(notificationName), std::move(services)) {}

bool NetworkStatusAddress::custom() const {
    const auto& offered = offeredAddresses();
    return std::find(offered.begin(), offered.end(), address_) == offered.end();
}

bool NetworkStatusAddress::userSaveAddress(std::string_view field) {
    std::string cleaned = ping::cleanedPingAddress(field);
    if (cleaned.empty())
        return false;
    commit(Value(cleaned));
    updateValue();
    return address_ == cleaned;
}

void NetworkStatusAddress::updateValue() {
    address_ = CVBObjectForKey(prefKey()).stringValue();
    if (shown_)
        shown_();
}

} // namespace corvane

#pragma once

#include "shell/BoundControls.h"
#include "window/ModeListMember.h"

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvane {

// A service as the page lists it: its key and the name the user knows it by.
using NetworkServiceName = std::pair<std::string, std::string>;

// Which interface the panel item counts ("Network_PrimaryInterface"): the system's primary
// one, all of them, or one service. Nothing stored follows the system, as "PRIMARY" does.
class NetworkInterfaceChoice final : public CVBPopUpButton {
public:
    static constexpr const char* kPrimary = "PRIMARY";
    static constexpr const char* kAll = "ALL";

    NetworkInterfaceChoice(std::string notificationName,
                           const std::vector<NetworkServiceName>& services,
                           BoundControlServices controlServices = {});
    void updateValue() override;
};

// A switch per service: on while "FilteringNetwork" does not hide it from the dropdown.
class NetworkServiceShown final : public BoundControl, public MemberSwitch {
public:
    NetworkServiceShown(std::string notificationName, std::string service,
                        BoundControlServices services = {});
    bool checked() const override { return checked_; }
    void userSetChecked(bool checked) override;
    void updateValue() override;

private:
    std::string service_;
    bool checked_ = false;
};

// A switch over one block of the dropdown: on while the comma-separated list of disabled
// blocks under its key leaves the block out.
class NetworkDropdownBlock final : public BoundControl, public MemberSwitch {
public:
    NetworkDropdownBlock(std::string prefKey, std::string notificationName, std::string block,
                         BoundControlServices services = {});
    bool checked() const override { return checked_; }
    void userSetChecked(bool checked) override;
    void updateValue() override;

private:
    std::string block_;
    bool checked_ = false;
};

// The address pinged to tell whether the internet answers ("Network_StatusAddress"): one of
// the offered ones or the user's own, which is saved only once the user says so.
class NetworkStatusAddress final : public BoundControl {
public:
    static const std::vector<std::string>& offeredAddresses();

    explicit NetworkStatusAddress(std::string notificationName, BoundControlServices services = {});

    const std::string& address() const { return address_; }
    // Whether the stored address is none of the offered ones.
    bool custom() const;
    // Stores what the field holds without "https://" or "http://"; an empty field is refused.
    bool userSaveAddress(std::string_view field);
    void updateValue() override;
    // Told after each reading of the stored value, to put it on screen.
    void setShown(std::function<void()> shown) { shown_ = std::move(shown); }

private:
    std::string address_;
    std::function<void()> shown_;
};

} // namespace corvane

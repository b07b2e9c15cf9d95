#pragma once

#include "preferences/SystemFacts.h"

#include <functional>
#include <memory>
#include <optional>

namespace corvane {

// The look the items are drawn for: what a panel front end says of its own colour, else what
// the desktop says (the portal's colour scheme). A panel can be dark in a light desktop, as
// GNOME's top bar is, and the items must then be drawn light on dark.
class PanelAppearance final : public AppearanceSource {
public:
    // `desktop` may be null: a light desktop.
    explicit PanelAppearance(std::shared_ptr<AppearanceSource> desktop);

    std::optional<bool> prefersDark() override;
    std::optional<bool> increaseContrast() override;
    void setChangeHandler(std::function<void()> handler) override;

    // What a front end said; nothing hands the choice back to the desktop. A change calls the
    // change handler.
    void setPanelDark(std::optional<bool> dark);
    // What the tray host is known to look like; used when neither the panel nor the desktop
    // says. A change calls the change handler.
    void setHostDark(std::optional<bool> dark);

private:
    std::shared_ptr<AppearanceSource> desktop_;
    std::optional<bool> panelDark_;
    std::optional<bool> hostDark_;
    std::shared_ptr<std::function<void()>> handler_ = std::make_shared<std::function<void()>>();
};

} // namespace corvane

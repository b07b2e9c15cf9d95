#include "status/PanelAppearance.h"

namespace corvane {

PanelAppearance::PanelAppearance(std::shared_ptr<AppearanceSource> desktop)
    : desktop_(std::move(desktop)) {
    if (desktop_) {
        std::weak_ptr<std::function<void()>> handler = handler_;
        desktop_->setChangeHandler([handler] {
            if (auto h = handler.lock(); h && *h)
                (*h)();
        });
    }
}

std::optional<bool> PanelAppearance::prefersDark() {
    if (panelDark_)
        return panelDark_;
    if (auto desktop = desktop_ ? desktop_->prefersDark() : std::nullopt)
        return desktop;
    return hostDark_;
}

std::optional<bool> PanelAppearance::increaseContrast() {
    return desktop_ ? desktop_->increaseContrast() : std::nullopt;
}

void PanelAppearance::setChangeHandler(std::function<void()> handler) {
    *handler_ = std::move(handler);
}

void PanelAppearance::setHostDark(std::optional<bool> dark) {
    if (dark == hostDark_)
        return;
    hostDark_ = dark;
    if (*handler_)
        (*handler_)();
}

void PanelAppearance::setPanelDark(std::optional<bool> dark) {
    if (dark == panelDark_)
        return;
    panelDark_ = dark;
    if (*handler_)
        (*handler_)();
}

} // namespace corvane

#pragma once

#include "shell/AppDelegatePeers.h"
#include "shell/SectionPage.h"
#include "window/InstallState.h"

#include <string>

namespace corvane {

// The installer as the window has it: the status program is installed with the package, so
// "installing" means having the session start it. The page says what is there and offers
// to enable and start the user unit.
class InstallerPage final : public InstallerPeer {
public:
    explicit InstallerPage(InstallState state = InstallState())
        : state_(std::move(state)) {}

    bool isInstalledAndValid() override { return state_.isInstalledAndValid(); }
    void setUpgrade(bool upgrade) override { upgrade_ = upgrade; }
    void setDelegate(InstallerDelegate* delegate) override { delegate_ = delegate; }
    void showInstall() override { uninstalling_ = false; }
    void showUninstall() override { uninstalling_ = true; }
    SectionPage* view() override { return &view_; }

    const InstallState& state() const { return state_; }
    bool uninstalling() const { return uninstalling_; }
    InstallerDelegate* delegate() const { return delegate_; }
    // Runs the enable command; the error text when it failed, empty when it worked.
    std::string enableAndStart();

private:
    InstallState state_;
    SectionPage view_{"Install"};
    InstallerDelegate* delegate_ = nullptr;
    bool upgrade_ = false;
    bool uninstalling_ = false;
};

} // namespace corvane

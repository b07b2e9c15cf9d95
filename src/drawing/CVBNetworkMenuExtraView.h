#pragma once

#include "collectors/network/NetworkStatCollector.h"
#include "drawing/CVBModuleView.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace corvane {

// The network item: upload and download rates as text, a history graph, dots or arrows that
// light from a kilobyte a second, the connection's status dot, a VPN picture and labels, as
// "Network_MenubarMode" lists them. Rates count the interface chosen in
// "Network_PrimaryInterface", else every connected interface, a VLAN not again beside its parent.
class CVBNetworkMenuExtraView : public CVBModuleView {
public:
    // From this rate on, dots and arrows show activity.
    static constexpr double kActiveRate = 1024;

    // The collector is not owned and must outlive the view. `internet` tells whether the
    // internet answers; nothing known counts as reachable.
    CVBNetworkMenuExtraView(const DrawingContext& context, NetworkStatCollector& network,
                            std::function<std::optional<bool>()> internet = {});

    static Value classConfig();
    void loadConfig() override;
    int drawAtOffset(int offset) override;

    // The item chosen in "Network_PrimaryInterface" when it names one; else none.
    NetworkStatCollector::NetworkItem primaryInterface() const;
    // The connected items whose rates count.
    std::vector<NetworkStatCollector::NetworkItem> activeCollectors() const;
    // Download and upload bytes a second over the active collectors.
    std::pair<double, double> rates() const;
    // The panel's graph: the newest samples, one a column, "Network_GraphWidth" wide.
    HistoryGraph history() const;
    // The dropdown's graph: upload and download across a tier's ring, each column the mean
    // rate of `perColumn` samples, in the panel's bands and in the dropdown's colours where
    // they are set.
    HistoryGraph dropdownHistory(int tier, int columns, std::int64_t perColumn) const;

private:
    int drawEntry(const Value& mode, int offset);
    int drawText(int offset);
    int drawSigns(bool arrows, int offset);
    int drawStatus(int offset);
    int drawVPN(int offset);
    // Upload over download, scaled to the highest column.
    HistoryGraph rateHistory(int tier, int columns, std::int64_t perColumn, const char* uploadKey,
                             const char* downloadKey) const;

    NetworkStatCollector& network_;
    std::function<std::optional<bool>()> internet_;
};

} // namespace corvane

#pragma once

#include "collectors/cpu/LoadStatCollector.h"
#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <memory>

namespace corvane {

// The load averages from /proc/loadavg.
class LoadStatCollectorLinux final : public LoadStatCollector {
public:
    LoadStatCollectorLinux(const EngineContext& context, SysRoot root);

    static LoadStatCollectorLinux& sharedLoadCollector(const EngineContext& context);
    static void cleanupShared();

    static std::optional<std::array<double, 3>> parseLoadAverages(std::string_view text);

protected:
    std::optional<std::array<double, 3>> loadAverages() override;

private:
    SysRoot root_;
    SysRootFile loadavg_;
    bool toldUnreadable_ = false;
};

} // namespace corvane

#include "collectors/cpu/LoadStatCollectorLinux.h"

#include "foundation/Log.h"
#include "foundation/TextParsing.h"

namespace corvane {

namespace {

std::unique_ptr<LoadStatCollectorLinux>& sharedInstance() {
    static std::unique_ptr<LoadStatCollectorLinux> instance;
    return instance;
}

} // namespace

LoadStatCollectorLinux::LoadStatCollectorLinux(const EngineContext& context, SysRoot root)
    : LoadStatCollector(context)
    , root_(std::move(root))
    , loadavg_(root_, "/proc/loadavg") {}

LoadStatCollectorLinux& LoadStatCollectorLinux::sharedLoadCollector(const EngineContext& context) {
    auto& instance = sharedInstance();
    if (!instance)
        instance = std::make_unique<LoadStatCollectorLinux>(context, SysRoot::fromEnvironment());
    return *instance;
}

void LoadStatCollectorLinux::cleanupShared() {
    if (auto& instance = sharedInstance()) {
        instance->cleanup();
        instance.reset();
    }
}

std::optional<std::array<double, 3>>
LoadStatCollectorLinux::parseLoadAverages(std::string_view text) {
    const auto fields = splitWhitespace(text);
    if (fields.size() < 3)
        return std::nullopt;
    std::array<double, 3> averages{};
    for (std::size_t i = 0; i < 3; ++i) {
        auto value = parseDouble(fields[i]);
        if (!value || *value < 0)
            return std::nullopt;
        averages[i] = *value;
    }
    return averages;
}

std::optional<std::array<double, 3>> LoadStatCollectorLinux::loadAverages() {
    auto text = loadavg_.read();
    auto averages = text ? parseLoadAverages(*text) : std::nullopt;
    if (!averages && !toldUnreadable_)
        CVBLog("Load averages: /proc/loadavg is missing or unreadable");
    toldUnreadable_ = toldUnreadable_ || !averages;
    return averages;
}

} // namespace corvane

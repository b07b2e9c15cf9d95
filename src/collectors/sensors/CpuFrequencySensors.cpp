#include "collectors/sensors/CpuFrequencySensors.h"

#include "foundation/TextParsing.h"

#include <algorithm>

namespace corvane {

namespace {

constexpr std::string_view kCpus = "/sys/devices/system/cpu/";

bool isCpuEntry(std::string_view name) {
    return name.size() > 3 && name.starts_with("cpu") && parseUnsigned(name.substr(3));
}

std::optional<double> numberIn(SysRootFile& file) {
    const auto text = file.read();
    if (!text)
        return std::nullopt;
    const auto value = parseInteger(*text);
    return value ? std::optional<double>(static_cast<double>(*value)) : std::nullopt;
}

} // namespace

CpuFrequencySensors::CpuFrequencySensors(const SysRoot& root, bool includeGpu) {
    std::map<std::int64_t, Package> packages;
    std::map<std::int64_t, double> highs;
    auto entries = root.list(kCpus);
    std::sort(entries.begin(), entries.end());
    for (const auto& entry : entries) {
        if (!isCpuEntry(entry))
            continue;
        const std::string base = std::string(kCpus) + entry;
        if (!root.exists(base + "/cpufreq/scaling_cur_freq"))
            continue;
        const auto id = root.readInteger(base + "/topology/physical_package_id").value_or(0);
        packages[id].cpus.push_back(
            std::make_unique<SysRootFile>(root, base + "/cpufreq/scaling_cur_freq"));
        const auto kHz = root.readInteger(base + "/cpufreq/cpuinfo_max_freq").value_or(0);
        highs[id] = std::max(highs[id], static_cast<double>(kHz) / 1000.0);
    }
    for (auto& [id, package] : packages) {
        package.key = "ifre-" + std::to_string(id);
        const std::string name =
            packages.size() == 1 ? "CPU Frequency" : "CPU " + std::to_string(id) + " Frequency";
        sources_.push_back({package.key, name, highs[id]});
        packages_.push_back(std::move(package));
    }
    if (!includeGpu)
        return;
    for (const auto& card : root.list("/sys/class/drm")) {
        if (card.find('-') != std::string::npos || !card.starts_with("card"))
            continue;
        const std::string base = "/sys/class/drm/" + card;
        const struct {
            std::string actual, high;
        } layouts[] = {
            {base + "/gt_act_freq_mhz", base + "/gt_RP0_freq_mhz"},
            {base + "/device/tile0/gt0/freq0/act_freq", base + "/device/tile0/gt0/freq0/rp0_freq"}};
        for (const auto& layout : layouts) {
            if (!root.exists(layout.actual))
                continue;
            gpuKey_ = "igfre-0";
            gpu_ = std::make_unique<SysRootFile>(root, layout.actual);
            sources_.push_back({gpuKey_, "Intel GPU Frequency",
                                static_cast<double>(root.readInteger(layout.high).value_or(0))});
            return;
        }
    }
}

CpuFrequencySensors::~CpuFrequencySensors() = default;

std::map<std::string, double> CpuFrequencySensors::read() {
    std::map<std::string, double> values;
    for (auto& package : packages_) {
        double sum = 0;
        int count = 0;
        for (auto& cpu : package.cpus) {
            if (auto kHz = numberIn(*cpu)) {
                sum += *kHz / 1000.0;
                ++count;
            }
        }
        values[package.key] = count ? sum / count : 0.0;
    }
    if (gpu_)
        values[gpuKey_] = numberIn(*gpu_).value_or(0);
    return values;
}

} // namespace corvane

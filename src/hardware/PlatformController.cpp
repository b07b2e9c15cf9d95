#include "hardware/PlatformController.h"

#include "foundation/TextParsing.h"
#include "hardware/AppleSMCSysfs.h"
#include "hardware/FauxMac.h"
#include "hardware/PlatformLinux.h"
#include "hardware/SMCValueCodec.h"

#include <algorithm>

namespace corvane {

namespace {

std::unique_ptr<PlatformController>& sharedInstance() {
    static std::unique_ptr<PlatformController> instance;
    return instance;
}

std::vector<DetectedFan> driverFans(AppleSMCFiles& files) {
    std::vector<DetectedFan> fans;
    for (int n = 1; n <= 10; ++n) {
        const std::string base = "fan" + std::to_string(n);
        if (!files.read(base + "_input"))
            break;
        const auto number = [&](const char* attribute) {
            return static_cast<int>(leadingInteger(files.read(base + attribute).value_or("")));
        };
        fans.push_back({"F" + std::to_string(n - 1) + "Ac",
                        std::string(trimmed(files.read(base + "_label").value_or(""))),
                        number("_min"), number("_max")});
    }
    return fans;
}

std::vector<std::string> listedKeys(SensorSMCController& smc) {
    std::vector<std::string> keys;
    SMCResultData data;
    const double count = valueForSMCKey(smc, "#KEY", data, false);
    // "#KEY" is only a hint: the table ends where the controller has no key at an index.
    for (std::uint32_t i = 0; count > 0 && i < static_cast<std::uint32_t>(count); ++i) {
        auto key = smc.keyAtIndex(i);
        if (key.empty())
            break;
        keys.push_back(std::move(key));
    }
    return keys;
}

} // namespace

std::string platformClassName(std::string_view identifier, bool fauxMac) {
    if (fauxMac)
        return "FauxMac";
    std::string name(identifier);
    std::replace(name.begin(), name.end(), ',', '_');
    return name;
}

PlatformInputs readPlatformInputs(const SysRoot& root, SensorSMCController* smc) {
    PlatformInputs inputs;
    inputs.facts = readHardwareFacts(root);
    auto files = makeAppleSMCFiles(root);
    if (!files->read("key_count"))
        return inputs;
    inputs.fans = driverFans(*files);
    if (smc) {
        smc->openIfNeeded();
        if (smc->isOpen())
            inputs.smcKeys = listedKeys(*smc);
    }
    if (inputs.smcKeys.empty())
        inputs.smcKeys = AppleSMCSysfs(std::move(files)).labelledKeys();
    return inputs;
}

std::unique_ptr<PlatformMac> makePlatform(const SysRoot& root, PlatformInputs inputs,
                                          bool fauxMac) {
    if (fauxMac)
        return std::make_unique<FauxMac>(std::move(inputs));
    if (inputs.facts.isApple()) {
        const auto* model = macModelForClass(platformClassName(inputs.facts.productName, false));
        return std::make_unique<PlatformMac>(model, std::move(inputs));
    }
    HwmonReadings readings(root);
    return std::make_unique<PlatformLinux>(std::move(inputs), readings.inputs());
}

PlatformController::PlatformController(const SysRoot& root, SensorSMCController* smc, bool fauxMac)
    : faux_(fauxMac)
    , platform_(makePlatform(root, readPlatformInputs(root, smc), fauxMac)) {}

PlatformMac& PlatformController::currentPlatform() {
    auto& instance = sharedInstance();
    if (!instance)
        instance = std::make_unique<PlatformController>(SysRoot::fromEnvironment(),
                                                        &SensorSMCController::sharedSMC());
    return instance->platform();
}

PlatformController* PlatformController::sharedPlatformController() {
    return sharedInstance().get();
}

void PlatformController::cleanup() {
    sharedInstance().reset();
}

bool PlatformController::isLaptop() {
    std::string lower = modelIdentifier().value_or("");
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower.starts_with("macbook");
}

std::optional<std::string> PlatformController::modelIdentifier() {
    return SysRoot::fromEnvironment().readAttribute("/sys/class/dmi/id/product_name");
}

} // namespace corvane

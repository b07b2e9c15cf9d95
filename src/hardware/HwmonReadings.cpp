#include "hardware/HwmonReadings.h"

#include "foundation/TextParsing.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace corvane {

namespace {

struct KindInfo {
    HwmonKind kind;
    std::string_view prefix;
    double scale; // from the driver's unit to SI
};

constexpr KindInfo kKinds[] = {
    {HwmonKind::temperature, "temp", 1e-3}, {HwmonKind::voltage, "in", 1e-3},
    {HwmonKind::current, "curr", 1e-3},     {HwmonKind::power, "power", 1e-6},
    {HwmonKind::fan, "fan", 1.0},           {HwmonKind::frequency, "freq", 1.0},
};

const KindInfo& kindInfo(HwmonKind kind) {
    return kKinds[static_cast<std::size_t>(kind)];
}

std::string resolved(std::string_view base, std::string_view link) {
    const std::filesystem::path path = std::filesystem::path(base) / link;
    std::string text = path.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

std::string_view lastComponent(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

bool isHex(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    });
}

// "0000:01:00.0" → bus 0x01, slot 0, function 0.
std::optional<unsigned> pciBusSlot(std::string_view name) {
    if (name.size() != 12 || name[4] != ':' || name[7] != ':' || name[10] != '.' ||
        !isHex(name.substr(0, 4)) || !isHex(name.substr(5, 2)) || !isHex(name.substr(8, 2)))
        return std::nullopt;
    const auto bus = std::stoul(std::string(name.substr(5, 2)), nullptr, 16);
    const auto slot = std::stoul(std::string(name.substr(8, 2)), nullptr, 16);
    const unsigned function = static_cast<unsigned>(name[11] - '0');
    if (function > 7)
        return std::nullopt;
    return static_cast<unsigned>(bus << 8 | slot << 3 | function);
}

// "0-0048" → bus 0, address 0x48.
std::optional<std::string> i2cAddress(std::string_view name) {
    const auto dash = name.find('-');
    if (dash == std::string_view::npos || name.size() - dash != 5 || !isHex(name.substr(dash + 1)))
        return std::nullopt;
    if (!parseUnsigned(name.substr(0, dash)))
        return std::nullopt;
    char text[32];
    std::snprintf(text, sizeof text, "%.*s-%lx", static_cast<int>(dash), name.data(),
                  std::stoul(std::string(name.substr(dash + 1)), nullptr, 16));
    return text;
}

std::string joined(std::string_view a, std::string_view b, std::string_view c) {
    std::string text(a);
    text.append(b).append(c);
    return text;
}

} // namespace

std::string_view hwmonPrefix(HwmonKind kind) {
    return kindInfo(kind).prefix;
}

std::string hwmonChipId(std::string_view driver, std::string_view hwmonPath,
                        std::string_view devicePath) {
    if (devicePath.empty()) {
        // Thermal zones sit under their zone; a bare virtual chip has nothing better.
        const std::string_view parent = lastComponent(hwmonPath.substr(0, hwmonPath.rfind('/')));
        if (parent == "hwmon" || parent.empty())
            return joined(driver, "-virtual-", "0");
        return joined(driver, "-", parent);
    }
    const std::string_view device = lastComponent(devicePath);
    if (auto address = i2cAddress(device))
        return joined(driver, "-i2c-", *address);
    for (std::string_view path = devicePath; !path.empty() && path != "/sys/devices";
         path = path.substr(0, path.rfind('/'))) {
        if (auto bus = pciBusSlot(lastComponent(path))) {
            char text[8];
            std::snprintf(text, sizeof text, "%04x", *bus);
            return joined(driver, "-pci-", text);
        }
        if (path.rfind('/') == std::string_view::npos)
            break;
    }
    if (device.starts_with(driver))
        return std::string(device);
    return joined(driver, "-", device);
}

// A value attribute kept open; sysfs answers a whole attribute in one read.
struct HwmonReadings::Source {
    int fd = -1;
    double scale = 1.0;
    ~Source() {
        if (fd >= 0)
            ::close(fd);
    }
    std::optional<double> read() const {
        char text[32];
        const ssize_t n = fd < 0 ? -1 : ::pread(fd, text, sizeof text - 1, 0);
        if (n <= 0)
            return std::nullopt;
        const auto value = parseInteger(std::string_view(text, static_cast<std::size_t>(n)));
        if (!value)
            return std::nullopt;
        return static_cast<double>(*value) * scale;
    }
};

HwmonReadings::HwmonReadings(const SysRoot& root) {
    for (const auto& entry : root.list("/sys/class/hwmon"))
        addChip(root, entry);
    std::vector<std::size_t> order(inputs_.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    const auto rank = [&](std::size_t i) {
        const auto& input = inputs_[i];
        const auto digits = input.channel.substr(hwmonPrefix(input.kind).size());
        return std::tuple(input.chip, static_cast<int>(input.kind),
                          parseInteger(digits).value_or(0));
    };
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return rank(a) < rank(b); });
    std::vector<HwmonInput> inputs;
    std::vector<std::unique_ptr<Source>> sources;
    for (std::size_t i : order) {
        inputs.push_back(std::move(inputs_[i]));
        sources.push_back(std::move(sources_[i]));
    }
    inputs_ = std::move(inputs);
    sources_ = std::move(sources);
    update();
}

HwmonReadings::~HwmonReadings() = default;

void HwmonReadings::addChip(const SysRoot& root, const std::string& classEntry) {
    const std::string classPath = "/sys/class/hwmon/" + classEntry;
    const auto link = root.readLink(classPath);
    const std::string hwmonPath = link ? resolved("/sys/class/hwmon", *link) : classPath;
    const auto driver = root.readAttribute(hwmonPath + "/name");
    if (!driver)
        return;
    const auto deviceLink = root.readLink(hwmonPath + "/device");
    const std::string devicePath = deviceLink ? resolved(hwmonPath, *deviceLink) : std::string();
    const std::string chip = hwmonChipId(*driver, hwmonPath, devicePath);
    for (const auto& file : root.list(hwmonPath)) {
        for (const auto& info : kKinds) {
            if (!file.starts_with(info.prefix))
                continue;
            const std::string_view rest = std::string_view(file).substr(info.prefix.size());
            const auto underscore = rest.find('_');
            if (underscore == std::string_view::npos || !parseUnsigned(rest.substr(0, underscore)))
                continue;
            const std::string_view attribute = rest.substr(underscore + 1);
            const std::string channel = file.substr(0, info.prefix.size() + underscore);
            // Some power meters give only an average.
            const bool averageOnly = attribute == "average" && info.kind == HwmonKind::power &&
                                     !root.exists(hwmonPath + "/" + channel + "_input");
            if (attribute != "input" && !averageOnly)
                continue;
            const std::string base = hwmonPath + "/" + channel;
            const auto limit = [&](const char* suffix) -> std::optional<double> {
                if (auto value = root.readInteger(base + suffix))
                    return static_cast<double>(*value) * info.scale;
                return std::nullopt;
            };
            HwmonInput input{chip + "/" + channel,
                             chip,
                             *driver,
                             channel,
                             info.kind,
                             root.readAttribute(base + "_label").value_or(""),
                             limit("_min"),
                             limit("_max"),
                             limit("_crit"),
                             std::nullopt};
            auto source = std::make_unique<Source>();
            source->fd = openRegularFile(root.path(hwmonPath + "/" + file));
            source->scale = info.scale;
            inputs_.push_back(std::move(input));
            sources_.push_back(std::move(source));
        }
    }
}

const HwmonInput* HwmonReadings::input(std::string_view key) const {
    for (const auto& input : inputs_)
        if (input.key == key)
            return &input;
    return nullptr;
}

void HwmonReadings::update() {
    for (std::size_t i = 0; i < inputs_.size(); ++i)
        inputs_[i].value = sources_[i]->read();
}

} // namespace corvane

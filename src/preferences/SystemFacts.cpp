#include "preferences/SystemFacts.h"

#include "foundation/GLibHandles.h"
#include "foundation/Log.h"
#include "foundation/TextParsing.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <gio/gio.h>
#include <string_view>
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/ulocdata.h>

namespace corvane {

namespace {

std::string lowercase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

// A readable DMI attribute; vendors fill unset ones with placeholders.
std::string dmiText(const SysRoot& root, const char* attribute) {
    auto text = root.readAttribute(std::string("/sys/class/dmi/id/") + attribute);
    if (!text)
        return {};
    const std::string lower = lowercase(*text);
    for (const char* placeholder : {"to be filled by o.e.m.", "default string", "not specified",
                                    "system serial number", "none", "0123456789"}) {
        if (lower == placeholder)
            return {};
    }
    return *text;
}

} // namespace

namespace {

// "MacBookPro18,3", "iMac21,1", "Macmini9,1": a name, a generation and a variant.
bool isMacModelIdentifier(const std::string& model) {
    const std::string lower = lowercase(model);
    if (lower.rfind("mac", 0) != 0 && lower.rfind("imac", 0) != 0 && lower.rfind("xserve", 0) != 0)
        return false;
    const auto digits = model.find_first_of("0123456789");
    const auto comma = model.find(',');
    return digits != std::string::npos && comma != std::string::npos && comma > digits &&
           comma + 1 < model.size() &&
           model.find_first_not_of("0123456789,", digits) == std::string::npos;
}

} // namespace

bool MachineFacts::isLaptop(const std::string& modelIdentifier, std::optional<int> chassisType) {
    if (isMacModelIdentifier(modelIdentifier))
        return lowercase(modelIdentifier).rfind("macbook", 0) == 0;
    // SMBIOS chassis types: portable, laptop, notebook, sub-notebook, convertible, detachable.
    static constexpr int kPortable[] = {8, 9, 10, 14, 31, 32};
    return chassisType && std::find(std::begin(kPortable), std::end(kPortable), *chassisType) !=
                              std::end(kPortable);
}

namespace {

// Machines without SMBIOS (most ARM laptops) say nothing of their chassis; a battery that
// powers the machine itself, not a mouse or a UPS, tells instead.
bool hasSystemBattery(const SysRoot& root) {
    for (const auto& name : root.list("/sys/class/power_supply")) {
        const std::string supply = "/sys/class/power_supply/" + name;
        if (root.readAttribute(supply + "/type").value_or("") == "Battery" &&
            root.readAttribute(supply + "/scope").value_or("System") == "System")
            return true;
    }
    return false;
}

} // namespace

MachineFacts MachineFacts::read(const SysRoot& root) {
    MachineFacts facts;
    facts.modelIdentifier = dmiText(root, "product_name");
    if (facts.modelIdentifier.empty()) {
        if (auto model = root.readFile("/proc/device-tree/model"))
            facts.modelIdentifier = std::string(trimmed(model->c_str())); // NUL-terminated
    }
    std::optional<int> chassis;
    if (auto type = root.readInteger("/sys/class/dmi/id/chassis_type"))
        chassis = static_cast<int>(*type);
    facts.laptop = isLaptop(facts.modelIdentifier, chassis) || (!chassis && hasSystemBattery(root));
    // product_serial is readable by root only on most machines; the machine id is the stable
    // stand-in that tells one installation from another.
    facts.serial = dmiText(root, "product_serial");
    if (facts.serial.empty())
        facts.serial = root.readAttribute("/etc/machine-id").value_or("");
    return facts;
}

namespace {

// ICU reads LANG=C as "en_US_POSIX", whose units and clock are American, and LANG=C.UTF-8 as
// its root locale. The C locale itself has a 24-hour time ("%H:%M:%S") and no units of its own.
bool isCLocale(const icu::Locale& locale) {
    const std::string language = lowercase(locale.getLanguage());
    return language.empty() || language == "c" || language == "posix" ||
           lowercase(locale.getVariant()) == "posix";
}

} // namespace

EnvironmentLookup processEnvironment() {
    return [](const char* name) -> const char* { return std::getenv(name); };
}

std::string formatsLocaleId(const char* category, const EnvironmentLookup& lookup) {
    std::string_view chosen;
    for (const char* name : {"LC_ALL", category, "LANG"}) {
        // An empty variable counts as unset, as it does for the C library.
        if (const char* value = lookup(name); value && *value) {
            chosen = value;
            break;
        }
    }
    // "de_DE.UTF-8" and "de_DE@euro" are "de_DE" to ICU.
    chosen = chosen.substr(0, chosen.find_first_of(".@"));
    if (chosen.empty() || chosen == "C" || chosen == "POSIX")
        return "en_US_POSIX";
    return std::string(chosen);
}

LocaleFacts LocaleFacts::forLocales(const char* measurementLocaleId, const char* timeLocaleId) {
    LocaleFacts facts;
    if (!isCLocale(icu::Locale(measurementLocaleId))) {
        UErrorCode status = U_ZERO_ERROR;
        const UMeasurementSystem system =
            ulocdata_getMeasurementSystem(measurementLocaleId, &status);
        if (U_SUCCESS(status))
            facts.metricSystem = system != UMS_US;
    }
    const icu::Locale timeLocale(timeLocaleId);
    if (isCLocale(timeLocale))
        return facts; // "HH:mm"
    std::unique_ptr<icu::DateFormat> format(
        icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, timeLocale));
    if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(format.get())) {
        icu::UnicodeString pattern;
        simple->toPattern(pattern);
        facts.shortTimePattern.clear();
        pattern.toUTF8String(facts.shortTimePattern);
    }
    return facts;
}

LocaleFacts LocaleFacts::current(const EnvironmentLookup& lookup) {
    return forLocales(formatsLocaleId("LC_MEASUREMENT", lookup).c_str(),
                      formatsLocaleId("LC_TIME", lookup).c_str());
}

namespace {

class PortalAppearanceSource final : public AppearanceSource {
public:
    PortalAppearanceSource() {
        GError* error = nullptr;
        bus_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &error);
        if (!bus_) {
            CVBLog("Appearance: no session bus (%s); the panel counts as light",
                   error ? error->message : "unknown");
            g_clear_error(&error);
            return;
        }
        subscription_ = subscribeSignal(bus_,
                                        {.sender = "org.freedesktop.portal.Desktop",
                                         .interface = "org.freedesktop.portal.Settings",
                                         .member = "SettingChanged",
                                         .path = "/org/freedesktop/portal/desktop",
                                         .arg0 = "org.freedesktop.appearance"},
                                        [this](const char*, GVariant*) {
                                            if (handler_)
                                                handler_();
                                        });
    }

    ~PortalAppearanceSource() override {
        subscription_.reset();
        if (bus_)
            g_object_unref(bus_);
    }

    std::optional<bool> prefersDark() override {
        // 0: no preference, 1: prefer dark, 2: prefer light.
        auto value = read("color-scheme");
        return value ? std::optional<bool>(*value == 1) : std::nullopt;
    }

    std::optional<bool> increaseContrast() override {
        auto value = read("contrast");
        return value ? std::optional<bool>(*value == 1) : std::nullopt;
    }

    void setChangeHandler(std::function<void()> handler) override { handler_ = std::move(handler); }

private:
    // Settings.Read answers a variant in a variant with older portals, a plain one with newer.
    std::optional<std::uint32_t> read(const char* key) {
        if (!bus_)
            return std::nullopt;
        GError* error = nullptr;
        GVariant* reply = g_dbus_connection_call_sync(
            bus_, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
            "org.freedesktop.portal.Settings", "Read",
            g_variant_new("(ss)", "org.freedesktop.appearance", key), G_VARIANT_TYPE("(v)"),
            G_DBUS_CALL_FLAGS_NO_AUTO_START, 1000, nullptr, &error);
        if (!reply) {
            if (!warned_)
                CVBLog("Appearance: the desktop portal does not answer (%s)",
                       error ? error->message : "unknown");
            warned_ = true;
            g_clear_error(&error);
            return std::nullopt;
        }
        GVariant* value = nullptr;
        g_variant_get(reply, "(v)", &value);
        while (value && g_variant_is_of_type(value, G_VARIANT_TYPE_VARIANT)) {
            GVariant* inner = g_variant_get_variant(value);
            g_variant_unref(value);
            value = inner;
        }
        std::optional<std::uint32_t> result;
        if (value && g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32))
            result = g_variant_get_uint32(value);
        if (value)
            g_variant_unref(value);
        g_variant_unref(reply);
        return result;
    }

    GDBusConnection* bus_ = nullptr;
    ConnectionId subscription_;
    std::function<void()> handler_;
    bool warned_ = false;
};

class FixedAppearanceSource final : public AppearanceSource {
public:
    explicit FixedAppearanceSource(bool dark)
        : dark_(dark) {}
    std::optional<bool> prefersDark() override { return dark_; }
    std::optional<bool> increaseContrast() override { return std::nullopt; }
    void setChangeHandler(std::function<void()>) override {}

private:
    bool dark_;
};

} // namespace

std::unique_ptr<AppearanceSource> makePortalAppearanceSource() {
    return std::make_unique<PortalAppearanceSource>();
}

std::unique_ptr<AppearanceSource> makeFixedAppearanceSource(bool dark) {
    return std::make_unique<FixedAppearanceSource>(dark);
}

} // namespace corvane

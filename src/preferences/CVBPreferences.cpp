#include "preferences/CVBPreferences.h"

#include "foundation/GLibMainQueue.h"
#include "foundation/Identifiers.h"
#include "foundation/Log.h"
#include "foundation/TextParsing.h"
#include "preferences/PreferenceDefaults.h"
#include "preferences/PreferenceMigration.h"

#include <array>
#include <cassert>
#include <charconv>

namespace corvane {

namespace {

std::unique_ptr<CVBPreferences>& sharedInstance() {
    static std::unique_ptr<CVBPreferences> instance;
    return instance;
}

// How a program that chose to make its preferences on first use makes them; empty in the rest.
std::function<CVBPreferences::Environment(MainQueue&)>& firstUseEnvironment() {
    static std::function<CVBPreferences::Environment(MainQueue&)> environment;
    return environment;
}

// The main queue of preferences made on first use.
GLibMainQueue& fallbackQueue() {
    static GLibMainQueue queue;
    return queue;
}

struct GraphColors {
    Color fillOff, fillOn, strokeOff, strokeOn;
};

constexpr std::array<GraphColors, 5> kGraphColors{{
    {{0.054, 0.38, 0.537, 1},
     {0.168, 0.729, 0.988, 1},
     {0.168, 0.729, 0.988, 1},
     {0.09, 0.647, 0.925, 1}},
    {{0.545, 0.054, 0.054, 1},
     {1.0, 0.164, 0.164, 1},
     {1.0, 0.164, 0.164, 1},
     {0.937, 0.094, 0.094, 1}},
    {{0.262, 0.141, 0.431, 1},
     {0.545, 0.329, 0.819, 1},
     {0.545, 0.329, 0.819, 1},
     {0.458, 0.247, 0.745, 1}},
    {{0.439, 0.439, 0.439, 1}, {0.439, 0.439, 0.439, 1}, Color::gray(0.6), Color::gray(0.4)},
    {{0.274, 0.811, 0.376, 1},
     {0.274, 0.811, 0.376, 1},
     {0.274, 0.811, 0.376, 1},
     {0.188, 0.733, 0.29, 1}},
}};

constexpr std::array<int, 9> kRegularOffsets{-5, -4, -5, -4, -2, -2, -1, -1, -2};
constexpr std::array<int, 9> kCondensedOffsets{-3, -3, -1, -1, 0, 2, 2, 3, 4};

int offsetFromTable(const std::array<int, 9>& table, std::int64_t size) {
    if (size < 8 || size > 16)
        return 0;
    return table[static_cast<std::size_t>(size - 8)];
}

const char* const kMachineSpecificKeys[] = {"Network_PrimaryInterface", "Sensors_MenubarItems"};

} // namespace

CVBPreferences::Environment CVBPreferences::systemEnvironment(MainQueue& queue) {
    Environment environment;
    environment.domain = PreferenceDomain::named(kExtrasDomain);
    environment.userDefaults = PreferenceDomain::named(kApplicationDomain);
    environment.previousDomain = PreferenceDomain::named(kPreviousExtrasDomain);
    environment.appearance = makePortalAppearanceSource();
    environment.machine = MachineFacts::read(SysRoot::fromEnvironment());
    environment.locale = LocaleFacts::current();
    environment.queue = &queue;
    environment.center = &NotificationCenter::defaultCenter();
    return environment;
}

// Domains at paths that can be neither read nor written: the built-in defaults only.
CVBPreferences::Environment CVBPreferences::detachedEnvironment(MainQueue& queue) {
    const std::filesystem::path nowhere = "/dev/null";
    Environment environment;
    environment.domain = std::make_shared<PreferenceDomain>(kExtrasDomain, nowhere / "extras");
    environment.userDefaults =
        std::make_shared<PreferenceDomain>(kApplicationDomain, nowhere / "application");
    environment.previousDomain =
        std::make_shared<PreferenceDomain>(kPreviousExtrasDomain, nowhere / "previous");
    environment.locale = LocaleFacts::current();
    environment.queue = &queue;
    environment.migrateOnStart = false;
    return environment;
}

CVBPreferences::CVBPreferences(Environment environment)
    : environment_(std::move(environment)) {
    if (!environment_.center)
        environment_.center = &NotificationCenter::defaultCenter();
    if (environment_.appearance) {
        // The portal's one signal stands for both of the desktop's theme and contrast changes.
        environment_.appearance->setChangeHandler([this] {
            menubarThemeChanged();
            contrastChanged();
        });
    }
    isMenubarDark_ = updateMenubarTheme();
    updateContrast();
    // After the theme: "DropdownTheme" follows the panel and "StatusItems-Order" the machine.
    loadDefaults();
    supportsMigration = true;
    checkMachine();
    // Last, so that a first read in any process already sees the current form of each value.
    if (environment_.migrateOnStart)
        PreferenceMigration(*this).migrateIfNeeded();
}

CVBPreferences::~CVBPreferences() {
    if (environment_.appearance)
        environment_.appearance->setChangeHandler(nullptr);
    cancelThemeChecks();
}

CVBPreferences& CVBPreferences::sharedPreferences() {
    auto& instance = sharedInstance();
    if (!instance && firstUseEnvironment()) {
        instance = std::make_unique<CVBPreferences>(firstUseEnvironment()(fallbackQueue()));
    } else if (!instance) {
        // Making one on the system environment here would read, and migrate, the user's real
        // settings behind the back of a test or tool that forgot to install its own.
        CVBLog("Settings used before a program installed them; using the built-in defaults");
        assert(!"CVBPreferences::sharedPreferences() used before CVBPreferences::install()");
        instance = std::make_unique<CVBPreferences>(detachedEnvironment(fallbackQueue()));
    }
    return *instance;
}

void CVBPreferences::install(std::unique_ptr<CVBPreferences> preferences) {
    sharedInstance() = std::move(preferences);
}

void CVBPreferences::installOnFirstUse(std::function<Environment(MainQueue&)> environment) {
    firstUseEnvironment() = std::move(environment);
}

void CVBPreferences::cleanup() {
    sharedInstance().reset();
}

bool CVBPreferences::hasSharedPreferences() {
    return sharedInstance() != nullptr;
}

void CVBPreferences::loadDefaults() {
    DefaultsContext context;
    context.menubarDark = isMenubarDark_;
    context.laptop = isLaptop();
    context.metricSystem = environment_.locale.metricSystem;
    context.shortTimePattern = environment_.locale.shortTimePattern;
    defaults_ = builtInDefaults(context);
}

// Settings brought from another machine lose what belongs to that machine.
void CVBPreferences::checkMachine() {
    if (serial().empty())
        return;
    const Value machineId(md5Hex(serial()));
    const Value stored = objectForKey("_mac_id", false);
    if (stored == machineId)
        return;
    setObject(machineId, "_mac_id");
    if (stored.isNull())
        return;
    CVBLog("Settings come from another machine; dropping its machine-specific keys");
    for (const char* key : kMachineSpecificKeys)
        removeObjectForKey(key);
}

const Value& CVBPreferences::objectForKey(std::string_view key) {
    static const Value kNothing;
    if (key.empty())
        return kNothing;
    if (auto it = cache_.find(key); it != cache_.end())
        return it->second;
    Value stored = environment_.domain->copyValue(key);
    if (stored.isNull()) {
        if (const Value* fallback = defaults_.find(key))
            stored = *fallback;
    }
    return cache_.emplace(std::string(key), std::move(stored)).first->second;
}

Value CVBPreferences::objectForKey(std::string_view key, bool useCache) {
    if (useCache)
        return objectForKey(key);
    if (key.empty())
        return {};
    return environment_.domain->copyValue(key);
}

bool CVBPreferences::setObject(const Value& value, std::string_view key) {
    if (!environment_.domain->setValue(key, value))
        return false;
    const bool written = environment_.domain->synchronize();
    resetValueForKey(key);
    return written;
}

bool CVBPreferences::setObjectDeferred(const Value& value, std::string_view key) {
    if (!environment_.domain->setValue(key, value))
        return false;
    resetValueForKey(key);
    return true;
}

bool CVBPreferences::synchronize() {
    return environment_.domain->synchronize();
}

bool CVBPreferences::updateObjectForKey(std::string_view key,
                                        const std::function<Value(const Value& current)>& change) {
    const bool written = environment_.domain->updateValue(key, change);
    resetValueForKey(key);
    return written;
}

std::optional<std::filesystem::path> CVBPreferences::setAsideCopy() const {
    return environment_.domain->setAsideCopy();
}

bool CVBPreferences::removeObjectForKey(std::string_view key) {
    return setObject(Value(), key);
}

Color CVBPreferences::colorForKey(std::string_view key) {
    if (auto it = colorCache_.find(key); it != colorCache_.end())
        return it->second;
    const Color color = colorFromString(objectForKey(key))
                            .value_or(isMenubarDark_ ? Color::white() : Color::black());
    colorCache_.emplace(std::string(key), color);
    return color;
}

Value CVBPreferences::menubarModesForKey(std::string_view key) {
    const Value& modes = objectForKey(key);
    return modes.isString() ? Value::array() : modes;
}

void CVBPreferences::clearCache() {
    cache_.clear();
    colorCache_.clear();
}

void CVBPreferences::resetValueForKey(std::string_view key) {
    if (auto it = cache_.find(key); it != cache_.end())
        cache_.erase(it);
    if (auto it = colorCache_.find(key); it != colorCache_.end())
        colorCache_.erase(it);
}

void CVBPreferences::setDefault(std::string_view key, Value value) {
    defaults_.set(key, std::move(value));
    resetValueForKey(key);
}

void CVBPreferences::cacheValue(std::string_view key, Value value) {
    cache_.insert_or_assign(std::string(key), std::move(value));
    if (auto it = colorCache_.find(key); it != colorCache_.end())
        colorCache_.erase(it);
}

bool CVBPreferences::updateMenubarTheme() {
    if (!environment_.appearance)
        return false;
    return environment_.appearance->prefersDark().value_or(false);
}

void CVBPreferences::updateMenubarThemeIfNeeded() {
    const bool dark = updateMenubarTheme();
    if (dark == isMenubarDark_)
        return;
    isMenubarDark_ = dark;
    defaults_.set("DropdownTheme", dark ? 3 : 0);
    clearCache();
    postThemeChanged();
}

void CVBPreferences::updateContrast() {
    increaseContrast_ = false;
    // The desktop has no setting for transparency of the panel; it counts as transparent.
    isMenubarTransparent_ = true;
    if (environment_.appearance)
        increaseContrast_ = environment_.appearance->increaseContrast().value_or(false);
}

void CVBPreferences::menubarThemeChanged() {
    if (!environment_.queue) {
        updateMenubarThemeIfNeeded();
        return;
    }
    // A new signal supersedes the checks of an earlier one still waiting.
    cancelThemeChecks();
    for (double delay : {0.5, 5.0})
        themeChecks_.push_back(
            environment_.queue->after(delay, [this] { updateMenubarThemeIfNeeded(); }));
}

void CVBPreferences::cancelThemeChecks() {
    if (environment_.queue) {
        for (auto id : themeChecks_)
            environment_.queue->cancel(id);
    }
    themeChecks_.clear();
}

void CVBPreferences::contrastChanged() {
    clearCache();
    updateContrast();
    postThemeChanged();
}

void CVBPreferences::postThemeChanged() {
    environment_.center->post(kMenubarThemeChangedNotification);
}

Value CVBPreferences::menubarClockFormat() const {
    return menubarClockFormatForPattern(environment_.locale.shortTimePattern);
}

int CVBPreferences::verticalOffsetForFontSize(std::int64_t size) {
    return offsetFromTable(kRegularOffsets, size);
}

int CVBPreferences::verticalOffsetForCondensedFontSize(std::int64_t size) {
    return offsetFromTable(kCondensedOffsets, size);
}

int CVBPreferences::offsetForFont(std::string_view sizeKey) {
    return verticalOffsetForFontSize(objectForKey(sizeKey).integerValue());
}

namespace {

std::optional<GraphColors> graphColorsAt(std::int64_t index) {
    if (index < 0 || index >= static_cast<std::int64_t>(kGraphColors.size())) {
        CVBLog("invalid index %li", static_cast<long>(index));
        return std::nullopt;
    }
    return kGraphColors[static_cast<std::size_t>(index)];
}

// Themes 0 and 2 follow the background setting; the others always draw as without it.
bool graphBackgroundOn(CVBPreferences& preferences) {
    const std::int64_t theme = dropdownTheme(preferences);
    return (theme == 0 || theme == 2) &&
           preferences.objectForKey("DropdownGraphBackground").boolValue();
}

} // namespace

Color CVBPreferences::dropdownGraphFillColor(std::int64_t index) {
    const auto colors = graphColorsAt(index);
    if (!colors)
        return Color::black();
    return graphBackgroundOn(*this) ? colors->fillOn : colors->fillOff;
}

Color CVBPreferences::dropdownGraphStrokeColor(std::int64_t index) {
    const auto colors = graphColorsAt(index);
    if (!colors)
        return Color::black();
    return graphBackgroundOn(*this) ? colors->strokeOn : colors->strokeOff;
}

std::int64_t dropdownTheme() {
    return dropdownTheme(CVBPreferences::sharedPreferences());
}

std::int64_t dropdownTheme(CVBPreferences& preferences) {
    const bool dark = preferences.isMenubarDark();
    if (preferences.objectForKey("Theme-SeperateStyles").boolValue() && !dark)
        return preferences.objectForKey("DropdownTheme-Light").integerValue();
    return preferences.objectForKey(dark ? "DropdownTheme-Dark" : "DropdownTheme").integerValue();
}

std::vector<std::int64_t> statusItemOrder() {
    std::vector<std::int64_t> order;
    for (const auto& item : CVBObjectForKey("StatusItems-Order").arrayItems())
        order.push_back(item.integerValue());
    return order;
}

const Value& CVBObjectForKey(std::string_view key) {
    return CVBPreferences::sharedPreferences().objectForKey(key);
}

const Value& CVBDictionaryForKey(std::string_view key) {
    return CVBObjectForKey(key);
}

bool CVBBoolForKey(std::string_view key) {
    return CVBObjectForKey(key).boolValue();
}

std::int64_t CVBIntegerForKey(std::string_view key) {
    return CVBObjectForKey(key).integerValue();
}

float CVBFloatForKey(std::string_view key) {
    return CVBObjectForKey(key).floatValue();
}

double CVBDoubleForKey(std::string_view key) {
    return CVBObjectForKey(key).doubleValue();
}

Color CVBColorForKey(std::string_view key) {
    return CVBPreferences::sharedPreferences().colorForKey(key);
}

Value CVBObjectForKeyWithoutCache(std::string_view key) {
    return CVBPreferences::sharedPreferences().objectForKey(key, false);
}

Value CVBStoredObjectForKey(std::string_view key) {
    return CVBObjectForKeyWithoutCache(key);
}

Value CVBPreferenceForKey(std::string_view key) {
    return CVBObjectForKeyWithoutCache(key);
}

void CVBSetObjectForKey(const Value& value, std::string_view key) {
    CVBPreferences::sharedPreferences().setObject(value, key);
}

void CVBSetBoolForKey(bool value, std::string_view key) {
    CVBSetObjectForKey(Value(value), key);
}

void CVBSetIntegerForKey(std::int64_t value, std::string_view key) {
    CVBSetObjectForKey(Value(value), key);
}

void CVBSetFloatForKey(float value, std::string_view key) {
    CVBSetObjectForKey(Value(double{value}), key);
}

void CVBSetDoubleForKey(double value, std::string_view key) {
    CVBSetObjectForKey(Value(value), key);
}

void CVBRemoveObjectForKey(std::string_view key) {
    CVBPreferences::sharedPreferences().removeObjectForKey(key);
}

void CVBRefreshKey(std::string_view key) {
    CVBPreferences::sharedPreferences().resetValueForKey(key);
}

Value CVBCFPreferencesCopyAppValue(std::string_view key, const std::string& domain) {
    return PreferenceDomain::named(domain)->copyValue(key);
}

void CVBCFPreferencesSetAppValue(std::string_view key, const Value& value,
                                 const std::string& domain) {
    PreferenceDomain::named(domain)->setValue(key, value);
}

bool CVBCFPreferencesAppSynchronize(const std::string& domain) {
    return PreferenceDomain::named(domain)->synchronize();
}

std::vector<std::string> CVBCFPreferencesCopyKeyList(const std::string& domain) {
    return PreferenceDomain::named(domain)->copyKeyList();
}

std::string stringFromColor(const Color& color) {
    // Formatted by hand: printf would follow the user's locale and write "0,22".
    std::string text;
    for (double component : {color.red, color.green, color.blue, color.alpha}) {
        char buffer[32];
        auto [end, error] =
            std::to_chars(buffer, buffer + sizeof buffer, component, std::chars_format::fixed, 2);
        if (!text.empty())
            text.push_back(' ');
        text.append(buffer, error == std::errc{} ? end : buffer);
    }
    return text;
}

std::optional<Color> colorFromString(const Value& value) {
    if (!value.isString())
        return std::nullopt;
    std::string_view text = value.string();
    std::array<double, 4> components{};
    std::size_t count = 0;
    while (true) {
        const auto blank = text.find(' ');
        if (count == components.size())
            return std::nullopt;
        components[count++] = leadingDouble(text.substr(0, blank));
        if (blank == std::string_view::npos)
            break;
        text.remove_prefix(blank + 1);
    }
    if (count != components.size())
        return std::nullopt;
    return Color{components[0], components[1], components[2], components[3]};
}

} // namespace corvane

#pragma once

#include "foundation/Color.h"
#include "foundation/MainQueue.h"
#include "foundation/NotificationCenter.h"
#include "foundation/Value.h"
#include "preferences/PreferenceDomain.h"
#include "preferences/SystemFacts.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvane {

inline constexpr const char* kExtrasDomain = "com.halvorn.corvanebar6.extras";
inline constexpr const char* kApplicationDomain = "com.halvorn.corvanebar";
inline constexpr const char* kPreviousExtrasDomain = "com.halvorn.corvanebar5.extras";
inline constexpr const char* kMenubarThemeChangedNotification = "CorvaneBarMenubarThemeChanged";

// The one door to the settings in a process: built-in defaults, a cache of what was read (a
// miss included), colours, the dark-panel flag and a few machine facts.
//
// Reads are meant for the main thread, like the drawing that makes them each second; the
// caches have no lock.
class CVBPreferences {
public:
    // Where the settings live and what the machine and desktop look like.
    struct Environment {
        std::shared_ptr<PreferenceDomain> domain;         // the extras domain
        std::shared_ptr<PreferenceDomain> userDefaults;   // the application's own defaults
        std::shared_ptr<PreferenceDomain> previousDomain; // the 5.x domain, for migration
        std::shared_ptr<AppearanceSource> appearance;     // may be null: a light panel
        MachineFacts machine;
        LocaleFacts locale;
        MainQueue* queue = nullptr;           // for the delayed theme checks
        NotificationCenter* center = nullptr; // in-process notifications
        // Bring stored values to their current form while starting; tests of the migration
        // itself turn it off to run the steps by hand.
        bool migrateOnStart = true;
    };

    // The real sources: the domains under the configuration directory, the desktop portal,
    // DMI, the process locale. `queue` must outlive the preferences.
    static Environment systemEnvironment(MainQueue& queue);
    // Nothing stored is read or written: the built-in defaults on this machine's locale.
    static Environment detachedEnvironment(MainQueue& queue);

    explicit CVBPreferences(Environment environment);
    ~CVBPreferences();
    CVBPreferences(const CVBPreferences&) = delete;
    CVBPreferences& operator=(const CVBPreferences&) = delete;

    // The instance of the process, which a program installs at start or on first use. Use
    // without either is a fault: a debug build stops on it, and a release build logs and runs on
    // the detached environment rather than on the user's real settings.
    static CVBPreferences& sharedPreferences();
    static void install(std::unique_ptr<CVBPreferences> preferences);
    // For a program whose commands may never need them: the first use makes them on the
    // environment this answers for a main queue that lives as long as they do.
    static void installOnFirstUse(std::function<Environment(MainQueue&)> environment);
    static void cleanup();
    static bool hasSharedPreferences();

    // The cached read: the stored value, else the default, else null; misses are cached.
    // The reference stays valid until the key is written, refreshed or the cache cleared.
    const Value& objectForKey(std::string_view key);
    // With `useCache` false: the stored value only, no cache and no default.
    Value objectForKey(std::string_view key, bool useCache);
    // The stored value, without cache or default (the misspelling is the interface's).
    Value prefenceValueForKey(std::string_view key) { return objectForKey(key, false); }

    // Writes and synchronises at once; null removes. Drops the key from both caches. False when
    // the key or value is refused (see invalidPreferenceText) or the file cannot be written.
    bool setObject(const Value& value, std::string_view key);
    bool removeObjectForKey(std::string_view key);
    // Seen at once by every read in this process, but written only by the next `synchronize`:
    // for edits that come in bursts, such as a drag in a colour picker. False when refused.
    bool setObjectDeferred(const Value& value, std::string_view key);
    bool synchronize();
    // A read-modify-write of one key that no other process can come between: `change` gets
    // the value the file holds now (null when absent) and answers the new one (null removes).
    // False, with nothing changed, when the result is refused or cannot be written. The key
    // is read anew afterwards. `change` runs under the store's locks and must not use it.
    bool updateObjectForKey(std::string_view key,
                            const std::function<Value(const Value& current)>& change);
    // Where a damaged settings file was moved aside while this process loaded the domain.
    std::optional<std::filesystem::path> setAsideCopy() const;
    void setBool(bool value, std::string_view key) { setObject(Value(value), key); }
    void setInteger(std::int64_t value, std::string_view key) { setObject(Value(value), key); }
    void setFloat(double value, std::string_view key) { setObject(Value(value), key); }

    // The stored colour; white on a dark panel and black on a light one when the value is
    // missing or unreadable.
    Color colorForKey(std::string_view key);
    // A stored mode list; an old comma-joined string counts as empty.
    Value menubarModesForKey(std::string_view key);

    void clearCache();
    // Forgets one key in both caches, so the next read sees what another process wrote.
    void resetValueForKey(std::string_view key);

    // Panel theme.
    bool isMenubarDark() const { return isMenubarDark_; }
    bool isMenubarTransparent() const { return isMenubarTransparent_; }
    bool increaseContrast() const { return increaseContrast_; }
    bool updateMenubarTheme();
    void updateMenubarThemeIfNeeded();
    void updateContrast();
    // The desktop said its look changed; its answer can lag, so ask again twice.
    void menubarThemeChanged();
    void contrastChanged();
    bool useWindowBasedThemeCheck = false;

    // Machine facts.
    const std::string& modelIdentifier() const { return environment_.machine.modelIdentifier; }
    bool isLaptop() const { return environment_.machine.laptop; }
    const std::string& serial() const { return environment_.machine.serial; }

    // The clock format of a new menu-bar clock, from the locale's short time.
    Value menubarClockFormat() const;

    // Points by which text of a size sits off its baseline; 0 outside 8 to 16.
    static int verticalOffsetForFontSize(std::int64_t size);
    static int verticalOffsetForCondensedFontSize(std::int64_t size);
    // The regular offset for the size stored under the key.
    int offsetForFont(std::string_view sizeKey);

    Color dropdownGraphFillColor(std::int64_t index);
    Color dropdownGraphStrokeColor(std::int64_t index);

    // Defaults and migration.
    const Value& defaults() const { return defaults_; }
    void setDefault(std::string_view key, Value value);
    // Puts a value into the cache without writing it, as migration does after its writes.
    void cacheValue(std::string_view key, Value value);
    PreferenceDomain& domain() { return *environment_.domain; }
    PreferenceDomain& userDefaults() { return *environment_.userDefaults; }
    PreferenceDomain& previousDomain() { return *environment_.previousDomain; }
    const Environment& environment() const { return environment_; }
    bool supportsMigration = false;
    bool didMigratePreferences = false;

private:
    struct StringHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const {
            return std::hash<std::string_view>{}(s);
        }
    };
    template <class T>
    using KeyMap = std::unordered_map<std::string, T, StringHash, std::equal_to<>>;

    void loadDefaults();
    void checkMachine();
    void postThemeChanged();
    void cancelThemeChecks();

    Environment environment_;
    std::vector<MainQueue::TimerId> themeChecks_;
    Value defaults_;
    // A null Value in the cache is the marker of a key known to have no value.
    KeyMap<Value> cache_;
    KeyMap<Color> colorCache_;
    bool isMenubarDark_ = false;
    bool isMenubarTransparent_ = true;
    bool increaseContrast_ = false;
};

// The integer theme of the dropdowns for the current panel.
std::int64_t dropdownTheme();
std::int64_t dropdownTheme(CVBPreferences& preferences);
// The section keys whose menu-bar items are on, in order.
std::vector<std::int64_t> statusItemOrder();

// The accessors the rest of the product reads and writes settings through.
const Value& CVBObjectForKey(std::string_view key);
const Value& CVBDictionaryForKey(std::string_view key);
bool CVBBoolForKey(std::string_view key);
std::int64_t CVBIntegerForKey(std::string_view key);
float CVBFloatForKey(std::string_view key);
double CVBDoubleForKey(std::string_view key);
Color CVBColorForKey(std::string_view key);
Value CVBObjectForKeyWithoutCache(std::string_view key);
Value CVBStoredObjectForKey(std::string_view key);
Value CVBPreferenceForKey(std::string_view key);
void CVBSetObjectForKey(const Value& value, std::string_view key);
void CVBSetBoolForKey(bool value, std::string_view key);
void CVBSetIntegerForKey(std::int64_t value, std::string_view key);
void CVBSetFloatForKey(float value, std::string_view key);
void CVBSetDoubleForKey(double value, std::string_view key);
void CVBRemoveObjectForKey(std::string_view key);
void CVBRefreshKey(std::string_view key);

// Thin wrappers of the domain store, with the domain named.
Value CVBCFPreferencesCopyAppValue(std::string_view key, const std::string& domain);
void CVBCFPreferencesSetAppValue(std::string_view key, const Value& value,
                                 const std::string& domain);
bool CVBCFPreferencesAppSynchronize(const std::string& domain);
std::vector<std::string> CVBCFPreferencesCopyKeyList(const std::string& domain);

// Colours as stored: four decimals, "%.2f %.2f %.2f %.2f"; any text of exactly four numbers
// separated by blanks reads back.
std::string stringFromColor(const Color& color);
std::optional<Color> colorFromString(const Value& value);

} // namespace corvane

#include "shell/LanguageMenu.h"

#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"
#include "preferences/PreferenceCommands.h"
#include "shell/ApplicationText.h"
#include "shell/Menu.h"

namespace corvane {

namespace {

constexpr const char* kLanguageKey = "language";
constexpr const char* kSystemDefault = "System Default";

} // namespace

LanguageMenu::LanguageMenu(CVBPreferences& preferences, DistributedNotificationCenter& center,
                           ProcessLauncher& launcher, ApplicationTerminator& terminator,
                           std::filesystem::path program)
    : preferences_(preferences)
    , center_(center)
    , launcher_(launcher)
    , terminator_(terminator)
    , program_(std::move(program)) {}

const std::vector<LanguageChoice>& LanguageMenu::languages() {
    static const std::vector<LanguageChoice> choices{
        {"Arabic", "ar"},
        {"Catalan", "ca"},
        {"Chinese (China)", "zh-CN"},
        {"Chinese (Taiwan)", "zh-TW"},
        {"Chinese (Hong Kong)", "zh-HK"},
        {"Croatian", "hr"},
        {"Czech", "cs"},
        {"Danish", "da"},
        {"Dutch", "nl"},
        {"English", "en"},
        {"Finnish", "fi"},
        {"French", "fr"},
        {"French (Canada)", "fr-CA"},
        {"German", "de"},
        {"Greek", "el"},
        {"Hebrew", "he"},
        {"Hungarian", "hu"},
        {"Indonesian", "id"},
        {"Italian", "it"},
        {"Japanese", "ja"},
        {"Korean", "ko"},
        {"Malay", "ms"},
        {"Norwegian", "no"},
        {"Polish", "pl"},
        {"Portuguese (Portugal)", "pt-PT"},
        {"Portuguese (Brazil)", "pt-BR"},
        {"Romanian", "ro"},
        {"Russian", "ru"},
        {"Slovak", "sk"},
        {"Spanish", "es"},
        {"Spanish (Latin America)", "es-419"},
        {"Spanish (Mexico)", "es-MX"},
        {"Swedish", "sv"},
        {"Thai", "th"},
        {"Turkish", "tr"},
        {"Ukrainian", "uk"},
        {"Vietnamese", "vi"},
    };
    return choices;
}

std::string LanguageMenu::relaunchCommand(const std::filesystem::path& program) {
    return "sleep 1;" + shellQuoted(program.string());
}

void LanguageMenu::build(Menu& menu) {
    menu_ = &menu;
    menu.removeAllItems();
    auto add = [&](const char* name, const char* key) {
        auto& item = menu.addItem(
            HLVLocalizedString(applicationText(preferences_), name, {}, "prefs"),
            [this](MenuItem& chosen) { selectLanguage(chosen.representedObject.string()); });
        item.identifier = name;
        item.representedObject = key;
        item.checkable = true;
    };
    add(kSystemDefault, "");
    menu.addSeparator();
    for (const auto& language : languages())
        add(language.name, language.key);
    updateLanguageMenu();
}

std::string LanguageMenu::storedLanguage() const {
    const Value& stored = preferences_.objectForKey(kLanguageKey);
    return stored.isString() ? stored.string() : std::string();
}

void LanguageMenu::updateLanguageMenu() {
    if (!menu_)
        return;
    const std::string language = storedLanguage();
    for (const auto& item : menu_->items())
        if (!item->isSeparator())
            item->state = item->representedObject.stringValue() == language;
}

bool LanguageMenu::storeLanguage(std::string_view key) {
    if (!storeUnlessStored(preferences_, kLanguageKey, key.empty() ? Value() : Value(key))) {
        CVBLog("The language could not be stored; the settings cannot be written");
        return false;
    }
    // A language list left by the desktop would outrank the choice.
    auto& defaults = preferences_.userDefaults();
    defaults.setValue("AppleLanguages", Value());
    defaults.synchronize();
    updateLanguageMenu();
    center_.postNotificationName(kLanguageChangeNotification, {},
                                 DistributedNotificationCenter::DeliverImmediately);
    return true;
}

void LanguageMenu::selectLanguage(std::string_view key) {
    // Starting again would only show the old language.
    if (storeLanguage(key))
        relaunch();
}

void LanguageMenu::relaunch() {
    // Ending without a way back would leave the user with no window at all; the choice is
    // stored and takes effect at the next start.
    if (program_.empty()) {
        CVBLog("Cannot start again without the program's path; the language changes at the "
               "next start");
        return;
    }
    if (!launcher_.launchDetached({"/bin/sh", "-c", relaunchCommand(program_)})) {
        CVBLog("Cannot start %s again; the language changes at the next start", program_.c_str());
        return;
    }
    terminator_.terminate();
}

} // namespace corvane

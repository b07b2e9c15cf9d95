#include "text/CVBTranslations.h"

#include "foundation/Paths.h"
#include "foundation/PropertyList.h"
#include "text/TextContext.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <unicode/locid.h>

namespace corvane {

namespace {

constexpr std::string_view kApplicationName = "Corvane Bar";

std::unique_ptr<CVBTranslations>& instance() {
    static std::unique_ptr<CVBTranslations> shared;
    return shared;
}

std::string replaceApplicationName(std::string text) {
    static constexpr std::string_view kToken = "APPLICATIONNAME";
    for (auto at = text.find(kToken); at != std::string::npos;
         at = text.find(kToken, at + kApplicationName.size()))
        text.replace(at, kToken.size(), kApplicationName);
    return text;
}

std::string replaced(std::string text, char from, char to) {
    std::replace(text.begin(), text.end(), from, to);
    return text;
}

// "de_DE.UTF-8" -> "de_DE"
std::string stripEncoding(std::string_view name) {
    const auto cut = name.find_first_of(".@");
    return std::string(name.substr(0, cut));
}

// A carried folder of the language in another region ("pt_PT" for "pt"), as the nearest
// match for a region the application has no tables of; the first by name when there are more.
std::optional<std::string> carriedRegion(const std::filesystem::path& data,
                                         const std::string& base) {
    std::optional<std::string> found;
    std::error_code error;
    for (std::filesystem::directory_iterator it(data, error), end; !error && it != end;
         it.increment(error)) {
        const auto& path = it->path();
        const std::string stem = path.stem().string();
        if (path.extension() == ".lproj" && stem.size() > base.size() + 1 &&
            stem.compare(0, base.size(), base) == 0 && stem[base.size()] == '_' &&
            (!found || stem < *found))
            found = stem;
    }
    return found;
}

} // namespace

CVBTranslations& CVBTranslations::sharedTranslations() {
    auto& shared = instance();
    if (!shared) {
        shared = std::make_unique<CVBTranslations>();
        shared->loadTranslations();
    }
    return *shared;
}

void CVBTranslations::cleanup() {
    instance().reset();
}

std::vector<std::string> CVBTranslations::matchLanguages(const std::filesystem::path& data) {
    std::vector<std::string> wanted;
    if (const char* language = std::getenv("LANGUAGE"); language && *language) {
        std::string_view list(language);
        while (!list.empty()) {
            const auto colon = list.find(':');
            wanted.push_back(stripEncoding(list.substr(0, colon)));
            list = colon == std::string_view::npos ? std::string_view{} : list.substr(colon + 1);
        }
    }
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (const char* value = std::getenv(name); value && *value) {
            wanted.push_back(stripEncoding(value));
            break;
        }
    }
    std::vector<std::string> matched;
    std::error_code error;
    auto carried = [&](const std::string& language) {
        return !language.empty() &&
               std::filesystem::is_directory(data / (language + ".lproj"), error);
    };
    auto add = [&](const std::string& language) {
        if (std::find(matched.begin(), matched.end(), language) == matched.end())
            matched.push_back(language);
    };
    for (const auto& language : wanted) {
        const auto base = language.substr(0, language.find('_'));
        if (carried(language))
            add(language);
        else if (carried(base))
            add(base);
        else if (auto region = carriedRegion(data, base))
            add(*region);
    }
    if (matched.empty())
        matched.push_back("en");
    return matched;
}

const std::vector<std::string>& CVBTranslations::desktopLanguages() {
    if (!desktopLanguages_)
        desktopLanguages_ = matchLanguages(Paths::dataDirectory());
    return *desktopLanguages_;
}

std::vector<std::string> CVBTranslations::preferredLocalizations(const Value& choice) {
    if (choice.isString() && !choice.string().empty())
        return {replaced(choice.string(), '_', '-')};
    return desktopLanguages();
}

std::vector<std::string> CVBTranslations::preferedLocalization(const Value& choice) {
    if (choice.isString() && !choice.string().empty())
        return {choice.string()};
    return desktopLanguages();
}

const StringTable& CVBTranslations::table(const std::string& fileName,
                                          const std::string& language) {
    const auto key = std::make_pair(language, fileName);
    if (auto found = translations_.find(key); found != translations_.end())
        return found->second;
    const auto data = Paths::dataDirectory();
    std::error_code error;
    auto path = data / (language + ".lproj") / fileName;
    // A chosen "pt_BR" reaches here as "pt-BR": Portuguese in any spelling falls back to
    // the tables of Portugal.
    const std::string portuguese = replaced(language, '-', '_');
    if (!std::filesystem::is_regular_file(path, error) &&
        (portuguese == "pt" || portuguese == "pt_BR" || portuguese == "pt_PT"))
        path = data / "pt_PT.lproj" / fileName;
    StringTable entries = readStringsFile(path);
    // An empty table is not kept, so a missing file is looked for again next time.
    if (entries.empty()) {
        static const StringTable kEmpty;
        return kEmpty;
    }
    return translations_.emplace(key, std::move(entries)).first->second;
}

const StringTable& CVBTranslations::menuTable(const std::string& language) {
    if (auto found = translationsMenu_.find(language); found != translationsMenu_.end())
        return found->second;
    StringTable entries;
    const Value menu = readPropertyListFile(Paths::dataDirectory() / "MainMenuTranslations.plist");
    const Value& entry = menu[language + ".lproj"];
    if (entry.isDictionary())
        for (const auto& [k, v] : entry.dictionaryItems())
            entries[replaceApplicationName(k)] = replaceApplicationName(v.stringValue());
    return translationsMenu_.emplace(language, std::move(entries)).first->second;
}

std::optional<std::string> CVBTranslations::localizedString(std::string_view key,
                                                            std::string_view tableName,
                                                            const Value& choice) {
    const auto languages = preferredLocalizations(choice);
    const std::string language = languages.empty() ? "en" : languages.front();
    if (tableName == "MENU") {
        // The stored keys have the name filled in, so callers ask with it filled in too.
        const StringTable& menu = menuTable(language);
        if (auto found = menu.find(key); found != menu.end())
            return found->second;
        tableName = "prefs";
    }
    const std::string fileName = tableName.empty() ? std::string("Localizable.strings")
                                                   : std::string(tableName) + ".strings";
    const StringTable& entries = table(fileName, language);
    if (auto found = entries.find(key); found != entries.end())
        return found->second;
    return std::nullopt;
}

std::string HLVLocalizedString(const TextContext& text, std::string_view key,
                               std::optional<std::string_view> fallback, std::string_view table) {
    auto found = text.translations.localizedString(key, table, text.language());
    if (found && !found->empty())
        return *found;
    return std::string(fallback ? *fallback : key);
}

std::string formattedString(std::string_view format, std::string_view argument) {
    std::string text(format);
    if (const auto at = text.find("%@"); at != std::string::npos)
        text.replace(at, 2, argument);
    return text;
}

std::string HLVLocalizedMenuString(const TextContext& text, std::string_view key) {
    auto found = text.translations.localizedString(key, "MENU", text.language());
    if (found && !found->empty())
        return *found;
    return std::string(key);
}

bool isRTLLanguage(const TextContext& text) {
    const auto languages = text.translations.preferedLocalization(text.language());
    if (languages.empty() || languages.front().empty())
        return false;
    // The likely script of the language decides, so "ur", "ps" or "yi" count without a list.
    const auto locale = icu::Locale::createFromName(replaced(languages.front(), '-', '_').c_str());
    return !locale.isBogus() && locale.isRightToLeft();
}

int textAlignmentForLanguage(const TextContext& text) {
    return isRTLLanguage(text) ? kAlignmentRight : kAlignmentLeft;
}

} // namespace corvane

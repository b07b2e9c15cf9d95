#pragma once

#include "text/StringsFile.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvane {

class Value;
struct TextContext;

// String tables, each read from disk once per language. The language comes with each call
// (the "language" preference, or the desktop's when that is empty), so one instance serves
// hosts of different languages.
class CVBTranslations {
public:
    // The process's own, for the programs' set-up; the text layer is handed one instead.
    static CVBTranslations& sharedTranslations();
    // Forgets the shared instance and its tables.
    static void cleanup();

    void loadTranslations() {}
    // Lookup of `key` in `table` ("MENU" for the menu table, empty for "Localizable") in the
    // language `choice` names; nullopt when absent.
    std::optional<std::string> localizedString(std::string_view key, std::string_view table,
                                               const Value& choice);
    // The languages in force: `choice` when it names one, else the desktop's.
    std::vector<std::string> preferedLocalization(const Value& choice);

    // The user's languages from LANGUAGE, LC_ALL, LC_MESSAGES and LANG, matched against the
    // .lproj folders under `data`.
    static std::vector<std::string> matchLanguages(const std::filesystem::path& data);

private:
    const std::vector<std::string>& desktopLanguages();
    std::vector<std::string> preferredLocalizations(const Value& choice);
    const StringTable& table(const std::string& fileName, const std::string& language);
    const StringTable& menuTable(const std::string& language);

    // Keyed by language and file name.
    std::map<std::pair<std::string, std::string>, StringTable, std::less<>> translations_;
    std::map<std::string, StringTable, std::less<>> translationsMenu_;
    std::optional<std::vector<std::string>> desktopLanguages_;
};

std::string HLVLocalizedString(const TextContext& text, std::string_view key,
                               std::optional<std::string_view> fallback = {},
                               std::string_view table = {});
std::string HLVLocalizedMenuString(const TextContext& text, std::string_view key);
// A translated format with its first "%@" filled in.
std::string formattedString(std::string_view format, std::string_view argument);
// Whether the interface reads right to left in the chosen language.
bool isRTLLanguage(const TextContext& text);

// Horizontal alignment numbers of text laid out by this layer.
inline constexpr int kAlignmentLeft = 0;
inline constexpr int kAlignmentRight = 1;
// Labels start at the reading edge: right-aligned in a right-to-left language, else left.
int textAlignmentForLanguage(const TextContext& text);

} // namespace corvane

#pragma once

#include "text/StringsFile.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvane {

// String tables of the chosen language, each read from disk once per process.
class CVBTranslations {
public:
    static CVBTranslations& sharedTranslations();
    // Forgets the instance and its tables (tests; a language change otherwise needs a restart).
    static void cleanup();

    void loadTranslations() {}
    // Lookup of `key` in `table` ("MENU" for the menu table, empty for "Localizable");
    // nullopt when absent.
    std::optional<std::string> localizedString(std::string_view key, std::string_view table);
    // The languages in force, "language" preference first.
    std::vector<std::string> preferedLocalization();

    // The user's languages from LANGUAGE, LC_ALL, LC_MESSAGES and LANG, matched against the
    // .lproj folders under `data`.
    static std::vector<std::string> matchLanguages(const std::filesystem::path& data);

private:
    std::vector<std::string> preferredLocalizations();
    const StringTable& table(const std::string& fileName, const std::string& language);

    std::map<std::string, StringTable, std::less<>> translations_;
    std::optional<StringTable> translationsMenu_;
    std::vector<std::string> preferredLocalizations_;
    bool loadedPreferred_ = false;
};

std::string HLVLocalizedString(std::string_view key, std::optional<std::string_view> fallback = {},
                               std::string_view table = {});
std::string HLVLocalizedMenuString(std::string_view key);
// A translated format with its first "%@" filled in.
std::string formattedString(std::string_view format, std::string_view argument);
// Whether the interface reads right to left in the chosen language.
bool isRTLLanguage();

// Horizontal alignment numbers of text laid out by this layer.
inline constexpr int kAlignmentLeft = 0;
inline constexpr int kAlignmentRight = 1;
// Labels start at the reading edge: right-aligned in a right-to-left language, else left.
int textAlignmentForLanguage();

} // namespace corvane

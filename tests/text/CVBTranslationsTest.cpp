#include "text/CVBTranslations.h"

#include "foundation/Paths.h"
#include "preferences/PreferencesFixture.h"
#include "text/TextContext.h"

#include <cstdlib>

namespace corvane {
namespace {

class Translations : public test::PreferencesFixture {
protected:
    CVBPreferences& preferences = install();
    TextCaches caches;
    TextContext text = caches.with(preferences);

    void SetUp() override {
        ::setenv("CORVANEBAR_DATA_DIR", (std::string(CVB_FIXTURES_DIR) + "/text").c_str(), 1);
        ::setenv("LANGUAGE", "en", 1);
    }
    void TearDown() override {
        ::unsetenv("CORVANEBAR_DATA_DIR");
        ::unsetenv("LANGUAGE");
        PreferencesFixture::TearDown();
    }
};

TEST_F(Translations, MenuKeysFallThroughToPrefsThenToTheFallbackOrTheKey) {
    EXPECT_EQ(HLVLocalizedMenuString(text, "About Corvane Bar"), "About Corvane Bar…");
    // Keys are looked up as given; the table's keys are the ones with the name filled in.
    EXPECT_EQ(HLVLocalizedMenuString(text, "About APPLICATIONNAME"), "About APPLICATIONNAME");
    EXPECT_EQ(HLVLocalizedMenuString(text, "Check for Updates…"),
              "Check for Updates…"); // from prefs
    EXPECT_EQ(HLVLocalizedMenuString(text, "Blank"), "Blank");
    EXPECT_EQ(HLVLocalizedMenuString(text, "Nowhere"), "Nowhere");
    // Empty or missing text shows the fallback, else the key.
    EXPECT_EQ(HLVLocalizedString(text, "Empty", {}, "prefs"), "Empty");
    EXPECT_EQ(HLVLocalizedString(text, "Empty", "Instead", "prefs"), "Instead");
    EXPECT_EQ(HLVLocalizedString(text, "Missing", {}, "nosuchtable"), "Missing");
}

TEST_F(Translations, PortugueseFallsBackToPortugalAndTheChoiceKeepsItsUnderscore) {
    for (const char* language : {"pt", "pt_BR", "pt-BR", "pt-PT"}) {
        CVBSetObjectForKey(Value(language), "language");
        EXPECT_EQ(HLVLocalizedString(text, "Preferences", {}, "prefs"), "Preferências") << language;
    }
    // The chosen language wins and keeps its underscore.
    CVBSetObjectForKey(Value("pt_PT"), "language");
    EXPECT_EQ(caches.translations.preferedLocalization(text.language()),
              std::vector<std::string>{"pt_PT"});
}

TEST_F(Translations, ReadingDirectionFollowsTheChosenLanguage) {
    // "ur" and "yi" are named by no list: their script decides.
    const std::pair<const char*, bool> cases[] = {
        {"he_IL", true}, {"fa-IR", true},  {"ur", true},      {"yi", true},
        {"en", false},   {"pt_PT", false}, {"zh-Hant", false}};
    for (const auto& [language, rtl] : cases) {
        CVBSetObjectForKey(Value(language), "language");
        EXPECT_EQ(isRTLLanguage(text), rtl) << language;
        EXPECT_EQ(textAlignmentForLanguage(text), rtl ? kAlignmentRight : kAlignmentLeft)
            << language;
    }
}

TEST_F(Translations, EnvironmentMatchedAgainstCarriedFolders) {
    const std::filesystem::path data = std::string(CVB_FIXTURES_DIR) + "/text";
    ::setenv("LANGUAGE", "xx:pt_PT.UTF-8", 1);
    EXPECT_EQ(CVBTranslations::matchLanguages(data), std::vector<std::string>{"pt_PT"});
    ::setenv("LANGUAGE", "pt_BR", 1); // no Brazilian tables: the Portuguese ones
    EXPECT_EQ(CVBTranslations::matchLanguages(data), std::vector<std::string>{"pt_PT"});
    ::setenv("LANGUAGE", "", 1);
    ::setenv("LC_ALL", "en_GB.UTF-8", 1); // no en_GB folder: its base "en"
    EXPECT_EQ(CVBTranslations::matchLanguages(data), std::vector<std::string>{"en"});
    ::unsetenv("LC_ALL");
}

// The carried tables: choosing German changes what a user reads.
class CarriedTables : public test::PreferencesFixture {
protected:
    void SetUp() override { preferences.setObject(Value("de"), "language"); }
    CVBPreferences& preferences = install();
    TextCaches caches;
    TextContext text = caches.with(preferences);
};

TEST_F(CarriedTables, GermanTablesParseAndAnswer) {
    EXPECT_EQ(HLVLocalizedString(text, "“%@” is now available.", {}, "updater"),
              "„%@“ ist jetzt verfügbar.");
    EXPECT_EQ(HLVLocalizedMenuString(text, "Quit Corvane Bar"), "Corvane Bar beenden");
    // The About item asks with the name filled in, as the table's keys have it.
    EXPECT_EQ(HLVLocalizedMenuString(text, "About Corvane Bar"), "Über Corvane Bar");
}

// A key that only English carries would show English in the middle of a German window.
TEST_F(CarriedTables, EveryEnglishKeyHasAGermanText) {
    const auto data = Paths::dataDirectory();
    for (const auto& entry : std::filesystem::directory_iterator(data / "en.lproj")) {
        const std::string table = entry.path().filename().string();
        SCOPED_TRACE(table);
        const auto english = readStringsFile(data / "en.lproj" / table);
        const auto german = readStringsFile(data / "de.lproj" / table);
        EXPECT_FALSE(english.empty());
        for (const auto& [key, englishText] : english) {
            const auto found = german.find(key);
            ASSERT_NE(found, german.end()) << key;
            EXPECT_FALSE(found->second.empty()) << key;
        }
        EXPECT_EQ(german.size(), english.size());
    }
}

} // namespace
} // namespace corvane

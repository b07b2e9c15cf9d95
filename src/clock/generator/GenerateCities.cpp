// Writes the cities database from the GeoNames cities that Debian's libgeonames carries.
// Run at build time only: the program is not installed, the database it writes is.
//
//   corvanebar-cities-generator OUTPUT.db
#include "clock/CityIdentifier.h"

#include <cstdio>
#include <filesystem>
#include <geonames/geonames.h>
#include <memory>
#include <set>
#include <sqlite3.h>
#include <string>
#include <unicode/translit.h>
#include <unicode/unistr.h>

namespace {

struct CloseDatabase {
    void operator()(sqlite3* db) const noexcept { sqlite3_close(db); }
};
struct FinalizeStatement {
    void operator()(sqlite3_stmt* s) const noexcept { sqlite3_finalize(s); }
};
struct FreeCity {
    void operator()(GeonamesCity* c) const noexcept { geonames_city_free(c); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

constexpr const char* kSchema = R"(
CREATE TABLE cities (
    identifier TEXT PRIMARY KEY NOT NULL,
    city TEXT NOT NULL,
    city_plain TEXT NOT NULL,
    state TEXT NOT NULL,
    country TEXT NOT NULL,
    country_code TEXT NOT NULL,
    latitude REAL NOT NULL,
    longitude REAL NOT NULL,
    timezone TEXT NOT NULL,
    population INTEGER NOT NULL
);
CREATE INDEX cities_latitude ON cities (latitude);
-- For the searches: LIKE with a prefix, which ignores ASCII case, can use an index only if it
-- ignores case the same way.
CREATE INDEX cities_city ON cities (city COLLATE NOCASE);
CREATE INDEX cities_city_plain ON cities (city_plain COLLATE NOCASE);
CREATE INDEX cities_state ON cities (state COLLATE NOCASE);
CREATE INDEX cities_country ON cities (country COLLATE NOCASE);
)";

bool exec(sqlite3* db, const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) == SQLITE_OK)
        return true;
    std::fprintf(stderr, "cities generator: %s\n", error ? error : "SQLite failed");
    sqlite3_free(error);
    return false;
}

std::string text(const char* s) {
    return s ? s : "";
}

// Accents and other scripts written in plain ASCII, so that "Sao Paulo" finds "São Paulo".
class Plain {
public:
    Plain() {
        UErrorCode status = U_ZERO_ERROR;
        latin_.reset(
            icu::Transliterator::createInstance("Any-Latin; Latin-ASCII", UTRANS_FORWARD, status));
        if (U_FAILURE(status))
            latin_.reset();
    }
    std::string operator()(const std::string& name) const {
        if (!latin_)
            return name;
        icu::UnicodeString s = icu::UnicodeString::fromUTF8(name);
        latin_->transliterate(s);
        std::string out;
        return s.toUTF8String(out);
    }
    explicit operator bool() const { return latin_ != nullptr; }

private:
    std::unique_ptr<icu::Transliterator> latin_;
};

void bind(sqlite3_stmt* s, int index, const std::string& value) {
    sqlite3_bind_text(s, index, value.c_str(), static_cast<int>(value.size()), SQLITE_TRANSIENT);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT.db\n", argv[0]);
        return 2;
    }
    const std::filesystem::path output = argv[1];
    const std::filesystem::path temporary = output.string() + ".tmp";
    std::filesystem::remove(temporary);
    Plain plain;
    if (!plain) {
        std::fprintf(stderr,
                     "cities generator: ICU has no Any-Latin; Latin-ASCII transliterator\n");
        return 1;
    }
    sqlite3* raw = nullptr;
    const int opened = sqlite3_open(temporary.c_str(), &raw);
    Database db(raw);
    if (opened != SQLITE_OK || !exec(db.get(), kSchema) || !exec(db.get(), "BEGIN"))
        return 1;
    sqlite3_stmt* rawInsert = nullptr;
    sqlite3_prepare_v2(db.get(), "INSERT INTO cities VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?)", -1,
                       &rawInsert, nullptr);
    Statement insert(rawInsert);
    std::set<std::string> identifiers;
    const int count = geonames_get_n_cities();
    int written = 0;
    for (int i = 0; i < count; ++i) {
        std::unique_ptr<GeonamesCity, FreeCity> city(geonames_get_city(i));
        if (!city)
            continue;
        const std::string name = text(geonames_city_get_name(city.get()));
        const std::string state = text(geonames_city_get_state(city.get()));
        const std::string countryCode = text(geonames_city_get_country_code(city.get()));
        const double latitude = geonames_city_get_latitude(city.get());
        const double longitude = geonames_city_get_longitude(city.get());
        const std::string id =
            corvane::cityIdentifier(name, state, countryCode, latitude, longitude);
        // Two entries of one name, state and place are one city; the first is kept.
        if (!identifiers.insert(id).second)
            continue;
        sqlite3_reset(insert.get());
        bind(insert.get(), 1, id);
        bind(insert.get(), 2, name);
        bind(insert.get(), 3, plain(name));
        bind(insert.get(), 4, state);
        bind(insert.get(), 5, text(geonames_city_get_country(city.get())));
        bind(insert.get(), 6, countryCode);
        sqlite3_bind_double(insert.get(), 7, latitude);
        sqlite3_bind_double(insert.get(), 8, longitude);
        bind(insert.get(), 9, text(geonames_city_get_timezone(city.get())));
        sqlite3_bind_int64(insert.get(), 10, geonames_city_get_population(city.get()));
        if (sqlite3_step(insert.get()) != SQLITE_DONE) {
            std::fprintf(stderr, "cities generator: %s\n", sqlite3_errmsg(db.get()));
            return 1;
        }
        ++written;
    }
    insert.reset();
    if (!exec(db.get(), "COMMIT") || !exec(db.get(), "VACUUM"))
        return 1;
    db.reset();
    std::filesystem::rename(temporary, output);
    std::printf("cities generator: %d cities of %d written to %s\n", written, count,
                output.c_str());
    return written > 0 ? 0 : 1;
}

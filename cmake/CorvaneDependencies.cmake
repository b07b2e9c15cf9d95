# Every library here comes from Debian 12 packages installed by scripts/install-deps.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(nlohmann_json 3.10 REQUIRED)
find_package(CLI11 REQUIRED)

pkg_check_modules(GLIB REQUIRED IMPORTED_TARGET glib-2.0 gio-2.0 gobject-2.0)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)
pkg_check_modules(UUID REQUIRED IMPORTED_TARGET uuid)

if(CVB_BUILD_TESTS AND NOT CVB_FUZZ)
  find_package(GTest REQUIRED)
endif()
if(CVB_BUILD_BENCH AND NOT CVB_FUZZ)
  find_package(benchmark REQUIRED)
endif()

pkg_check_modules(SQLITE3 REQUIRED IMPORTED_TARGET sqlite3)
pkg_check_modules(ICU REQUIRED IMPORTED_TARGET icu-uc icu-i18n)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo pangocairo pango)
pkg_check_modules(RSVG REQUIRED IMPORTED_TARGET librsvg-2.0)
pkg_check_modules(SOUP REQUIRED IMPORTED_TARGET libsoup-3.0)

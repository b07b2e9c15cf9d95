// Fontconfig keeps its caches for the life of the process and never frees them; that is not a
// leak of ours. Compiled into each program that draws text (not into the library, where the
// sanitizer's hook would never be linked).
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libpango-1.0.so\nleak:libpangoft2-1.0.so\n";
}

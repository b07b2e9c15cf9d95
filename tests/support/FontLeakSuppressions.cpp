// Fontconfig keeps its caches for the life of the process and never frees them; that is not a
// leak of ours.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libpango-1.0.so\nleak:libpangoft2-1.0.so\n";
}

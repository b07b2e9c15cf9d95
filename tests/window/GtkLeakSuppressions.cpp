// Fontconfig and Pango keep their caches for the life of the process, and GLib keeps what its
// constructor allocated when the library was loaded; none of it is ours to free. Compiled into
// the programs that open windows, where the sanitizer's hook is linked.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\nleak:libpango-1.0.so\nleak:libpangoft2-1.0.so\n"
           "leak:_dl_init\n";
}

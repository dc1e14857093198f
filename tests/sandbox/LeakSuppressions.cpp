// Fontconfig and Pango keep their caches to the end of the process; the leak sanitizer need not tell us.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libpango";
}

// What libraries keep to the end of the process by design, behind pointers that the leak sanitizer cannot
// follow: fontconfig's patterns by offsets, Pango's caches of fonts.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libpango";
}

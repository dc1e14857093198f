// What the sanitizers are told when they are built into a program: nothing about our own code.

// Kept to the end of the process by design, behind pointers that the leak checker cannot follow: fontconfig's
// patterns by offsets, Pango's caches of fonts.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\nleak:libpango";
}

// These come without the sanitizer's instructions, and lock by futexes and atomics of their own, which it
// does not see.
extern "C" const char* __tsan_default_suppressions() {
    return "race:libglib-2.0\n"
           "race:libgobject-2.0\n"
           "race:libgio-2.0\n"
           "race:libpango\n"
           "race:libfontconfig\n"
           "race:libharfbuzz\n"
           "race:libcairo\n"
           "race:libchafa\n"
           "race:libicuuc\n";
}

// It sleeps for a second at the end of every process otherwise, and that is when the extension must have
// ended.
extern "C" const char* __tsan_default_options() {
    return "atexit_sleep_ms=0";
}

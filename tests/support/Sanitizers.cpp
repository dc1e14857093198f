// SPDX-License-Identifier: Apache-2.0

// What the sanitizers are told when they are built into a program: nothing about our own code.

#include <unistd.h>

#include <cstddef>
#include <cstring>

#if defined(__SANITIZE_THREAD__)
#define VELA_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define VELA_THREAD_SANITIZER 1
#endif
#endif

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
           "race:libicuuc\n"
           // Copies of an exception share its text, counted by atomics in libstdc++.
           "race:std::runtime_error::~runtime_error\n"
           // It looks up hosts on threads that it leaves to themselves once nobody waits for them.
           "thread:libcurl\n";
}

// It sleeps for a second at the end of every process otherwise, and that is when the extension must have
// ended.
extern "C" const char* __tsan_default_options() {
    return "atexit_sleep_ms=0";
}

#ifdef VELA_THREAD_SANITIZER
// GLib passes blocks of its slices from thread to thread behind locks that the sanitizer does not see: one
// that we have freed and another thread has got looks like a race of ours. With G_SLICE=always-malloc they
// are the sanitizer's own. GLib asks before any constructor of a program runs, and programs under test are
// started with an environment of their own: so the answer is given here.
extern "C" __attribute__((no_sanitize("thread"))) char* getenv(const char* name) noexcept {
    static char alwaysMalloc[] = "always-malloc";
    if (std::strcmp(name, "G_SLICE") == 0) return alwaysMalloc;
    const std::size_t length = std::strlen(name);
    for (char** variable = environ; variable && *variable; ++variable)
        if (std::strncmp(*variable, name, length) == 0 && (*variable)[length] == '=')
            return *variable + length + 1;
    return nullptr;
}
#endif

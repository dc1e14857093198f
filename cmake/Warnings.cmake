# SPDX-License-Identifier: Apache-2.0

# What every target of ours is compiled with. Linked privately, so that it never leaks to a user of a room.
add_library(vela_warnings INTERFACE)
target_compile_options(vela_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual
    -Werror -Werror=switch -Werror=missing-field-initializers
    # g++ 12 sees overlapping copies inside std::string's own operator+ (GCC bug 105651).
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    # Nor does it see that a coroutine's frame is freed as it was allocated where only one of both is inlined.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-mismatched-new-delete>
    # Compiled together, what is local to one file is seen by the next, and stands in an included one.
    $<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-shadow>
    $<$<AND:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>,$<CXX_COMPILER_ID:GNU>>:-Wno-subobject-linkage>)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")

if(NOT VELA_SANITIZE AND NOT VELA_COVERAGE)
    add_compile_options(-fstack-protector-strong)
    add_compile_definitions($<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
endif()
# g++ looks through its memory for what it no longer needs each time it has grown by a half. Not before there is a
# gigabyte of it: a fifth less time. https://gcc.gnu.org/onlinedocs/gcc-12.2.0/gcc/Optimize-Options.html
add_compile_options($<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=1000000>)
# No program says where it was built.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)
add_link_options(-Wl,--as-needed)
# What the dynamic linker has bound nobody writes over. Bound at once, a start takes no longer than before.
add_link_options($<$<CONFIG:Release>:-Wl,-z,relro,-z,now>)

if(VELA_SANITIZE)
    if(VELA_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Asio's fences are beside locks that the sanitizer does see.
        add_compile_options(-Wno-tsan)
    endif()
    add_compile_options(-fsanitize=${VELA_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VELA_SANITIZE})
    # Part of every program.
    set(VELA_SANITIZER_SOURCES ${PROJECT_SOURCE_DIR}/tests/support/Sanitizers.cpp)
endif()
if(VELA_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
if(VELA_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

find_program(CCACHE ccache)
if(CCACHE)
    # It takes precompiled headers only where it may leave their macros and their times to the compiler.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
endif()

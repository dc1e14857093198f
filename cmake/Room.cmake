# SPDX-License-Identifier: Apache-2.0

# vela_together(TARGET): its sources are compiled several at a time. `debug` and `clang` compile each by itself, so that
# every file names what it uses.
function(vela_together target)
    if(NOT VELA_UNITY)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 25)
endfunction()

# vela_at(TARGET LEVEL): its sources are optimised at that level where everything else is at the release's own. For what
# waits, talks or reads a command line: its time is the others', and compiling it takes a third less.
function(vela_at target level)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O${level}>)
    if(level EQUAL 0)
        set_target_properties(${target} PROPERTIES DISABLE_PRECOMPILE_HEADERS ON)
    endif()
endfunction()

# vela_precompiled(NAME HEADER [option...]): a header that vela_parses_once lets targets begin with. Their compiler options
# have to be the same, but for warnings and -O1 in place of -O2.
function(vela_precompiled name header)
    if(NOT VELA_UNITY)
        return()
    endif()
    set(source ${PROJECT_BINARY_DIR}/${name}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "")
    add_library(${name} OBJECT ${source})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_compile_options(${name} PRIVATE ${ARGN})
    target_link_libraries(${name} PRIVATE vela_warnings)
    target_precompile_headers(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/${header})
    # Its warnings are those of what is compiled together.
    set_target_properties(${name} PROPERTIES UNITY_BUILD ON)
endfunction()

function(vela_parses_once target precompiled)
    if(TARGET ${precompiled})
        target_precompile_headers(${target} REUSE_FROM ${precompiled})
    endif()
endfunction()

vela_precompiled(vela_precompiled Precompiled.hpp)
# Asio leaves static objects behind, so it is for rooms of coroutines alone.
vela_precompiled(vela_precompiled_asio PrecompiledAsio.hpp)

# vela_room(NAME [COROUTINES] [USES room...] [LINKS private-library...] SOURCES file...)
# One folder, one target. USES names the rooms below that this room may include; LINKS the libraries that only
# its sources see. COROUTINES: most of its sources include Asio.
function(vela_room name)
    cmake_parse_arguments(ROOM "COROUTINES" "" "USES;LINKS;SOURCES" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ROOM_USES} PRIVATE vela_warnings ${ROOM_LINKS})
    vela_together(${name})
    if(ROOM_COROUTINES)
        vela_parses_once(${name} vela_precompiled_asio)
    else()
        vela_parses_once(${name} vela_precompiled)
    endif()
endfunction()

# vela_program(NAME [COMPONENT name] [USES room...] [LINKS library...] SOURCES file...)
# COMPONENT is the part it is installed with, `runtime` unless it is said: gtk, gnome, plasma, sandbox, development.
# Where it reads its command line by platform/CommandLine, its manual page and its completions come of that.
function(vela_program name)
    cmake_parse_arguments(PROGRAM "" "COMPONENT" "USES;LINKS;SOURCES" ${ARGN})
    if(NOT PROGRAM_COMPONENT)
        set(PROGRAM_COMPONENT ${CMAKE_INSTALL_DEFAULT_COMPONENT_NAME})
    endif()
    add_executable(${name} ${PROGRAM_SOURCES})
    target_sources(${name} PRIVATE ${VELA_SANITIZER_SOURCES})
    target_compile_definitions(${name} PRIVATE VELA_VERSION="${PROJECT_VERSION}")
    # What is worth optimising stands in the rooms.
    vela_at(${name} 1)
    # Compiled as the rooms are, so that they can begin with the same header.
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(${name} PRIVATE -fPIC)
    vela_parses_once(${name} vela_precompiled)
    target_link_libraries(${name} PRIVATE vela_warnings ${PROGRAM_USES} ${PROGRAM_LINKS})
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${PROGRAM_COMPONENT})
    set_property(TARGET ${name} PROPERTY VELA_COMPONENT ${PROGRAM_COMPONENT})
    if("platform_CommandLine" IN_LIST PROGRAM_USES)
        set_property(GLOBAL APPEND PROPERTY VELA_COMMAND_LINES ${name})
    endif()
endfunction()

# vela_module(NAME [COMPONENT name] [LINKS library...] SOURCES file...)
# Loaded when first needed: what does without it starts without its libraries.
function(vela_module name)
    cmake_parse_arguments(MODULE "" "COMPONENT" "LINKS;SOURCES" ${ARGN})
    if(NOT MODULE_COMPONENT)
        set(MODULE_COMPONENT ${CMAKE_INSTALL_DEFAULT_COMPONENT_NAME})
    endif()
    add_library(${name} MODULE ${MODULE_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PRIVATE vela_warnings ${MODULE_LINKS})
    set_target_properties(${name} PROPERTIES
        PREFIX ""
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LIBRARY_OUTPUT_DIRECTORY ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/vela-widget)
    vela_parses_once(${name} vela_precompiled)
    install(TARGETS ${name} LIBRARY DESTINATION lib/vela-widget COMPONENT ${MODULE_COMPONENT})
endfunction()

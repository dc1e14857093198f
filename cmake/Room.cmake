# SPDX-License-Identifier: Apache-2.0

# vela_together(TARGET): its sources are compiled several at a time. `debug` and `clang` compile each by itself, so that
# every file names what it uses.
function(vela_together target)
    if(NOT VELA_UNITY)
        return()
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
endfunction()

# vela_at(TARGET LEVEL): its sources are optimised at that level where everything else is at the release's own. For what
# waits, talks or reads a command line: its time is the others', and compiling it takes a third less.
function(vela_at target level)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O${level}>)
endfunction()

# vela_room(NAME [USES room...] [LINKS private-library...] SOURCES file...)
# One folder, one target. USES names the rooms below that this room may include; LINKS the libraries that only
# its sources see.
function(vela_room name)
    cmake_parse_arguments(ROOM "" "" "USES;LINKS;SOURCES" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ROOM_USES} PRIVATE vela_warnings ${ROOM_LINKS})
    vela_together(${name})
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
    vela_at(${name} 0)
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
    install(TARGETS ${name} LIBRARY DESTINATION lib/vela-widget COMPONENT ${MODULE_COMPONENT})
endfunction()

# vela_room(NAME [USES room...] [LINKS private-library...] SOURCES file...)
# One folder, one target. USES names the rooms below that this room may include; LINKS the libraries that only
# its sources see.
function(vela_room name)
    cmake_parse_arguments(ROOM "" "" "USES;LINKS;SOURCES" ${ARGN})
    add_library(${name} STATIC ${ROOM_SOURCES})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC ${ROOM_USES} PRIVATE vela_warnings ${ROOM_LINKS})
endfunction()

# vela_program(NAME [USES room...] [LINKS library...] SOURCES file...)
function(vela_program name)
    cmake_parse_arguments(PROGRAM "" "" "USES;LINKS;SOURCES" ${ARGN})
    add_executable(${name} ${PROGRAM_SOURCES})
    target_sources(${name} PRIVATE ${VELA_SANITIZER_SOURCES})
    target_link_libraries(${name} PRIVATE vela_warnings ${PROGRAM_USES} ${PROGRAM_LINKS})
    install(TARGETS ${name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endfunction()

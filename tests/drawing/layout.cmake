# Entries to look at, for the tests and for the eye.
vela_room(vela_test_drawing
    USES widget_views
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/SampleEntries.cpp)

add_executable(vela-contact-sheet EXCLUDE_FROM_ALL ContactSheet.cpp)
target_link_libraries(vela-contact-sheet PRIVATE vela_warnings vela_test_drawing)
add_dependencies(vela-contact-sheet vela_bundle)

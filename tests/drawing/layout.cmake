# Entries to look at, for the tests and for the eye.
vela_room(vela_test_drawing
    USES widget_views
    SOURCES ${CMAKE_CURRENT_LIST_DIR}/DisplayText.cpp ${CMAKE_CURRENT_LIST_DIR}/SampleEntries.cpp)

add_executable(vela-contact-sheet EXCLUDE_FROM_ALL ContactSheet.cpp)
target_link_libraries(vela-contact-sheet PRIVATE vela_warnings vela_test_drawing)
add_dependencies(vela-contact-sheet vela_bundle)

vela_tests(vela-tests-drawing
    USES vela_test_drawing vela_test_foundation
    SOURCES
        EntryViewTests.cpp
        GoldenTests.cpp
        LayoutTests.cpp
        MemoryTests.cpp
        PainterTests.cpp
        PictureFiles.cpp
        SharedElementTests.cpp
        StackSharingTests.cpp)
target_link_libraries(vela-tests-drawing PRIVATE JPEG::JPEG GIF::GIF PkgConfig::webp ZLIB::ZLIB)
target_compile_definitions(vela-tests-drawing PRIVATE
    ASSET_CATALOGUE="${VELA_BUNDLE_DIRECTORY}/Assets.catalogue"
    FONTS_CONFIGURATION="${VELA_BUNDLE_DIRECTORY}/fonts.conf"
    GOLDENS_FOLDER="${CMAKE_CURRENT_LIST_DIR}/goldens")
add_dependencies(vela-tests-drawing vela_bundle)

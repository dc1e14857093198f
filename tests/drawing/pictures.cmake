vela_tests(vela-tests-pictures
    USES platform_Image vela_test_foundation vela_test_programs
    SOURCES
        ../support/AllocatedMemory.cpp
        AssetCatalogueTests.cpp
        CoefficientStoreTests.cpp
        ImageDecodingTests.cpp
        ImageHostilityTests.cpp
        PNGWriterTests.cpp
        PictureBombTests.cpp
        PictureBombs.cpp
        PictureFiles.cpp
        RowScalerTests.cpp)
target_link_libraries(vela-tests-pictures PRIVATE JPEG::JPEG GIF::GIF PkgConfig::webp ZLIB::ZLIB)
target_compile_definitions(vela-tests-pictures PRIVATE
    ASSET_CATALOGUE="${VELA_BUNDLE_DIRECTORY}/Assets.catalogue")
add_dependencies(vela-tests-pictures vela_bundle)

vela_fuzz(ImageDecoding USES platform_Image)
target_link_libraries(vela-fuzz-imagedecoding PRIVATE ZLIB::ZLIB)
# They compare numbers for every pixel and know nothing of the file: to follow each comparison took half of the time.
foreach(arithmetic CoefficientStore PassScaler ResamplingAxis RowScaler)
    set_source_files_properties(${PROJECT_SOURCE_DIR}/platform/Image/${arithmetic}.cpp
        TARGET_DIRECTORY platform_Image PROPERTIES COMPILE_OPTIONS -fno-sanitize-coverage=trace-cmp)
endforeach()

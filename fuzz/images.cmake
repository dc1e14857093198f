vela_fuzz(ImageDecoding USES platform_Image)
target_link_libraries(vela-fuzz-imagedecoding PRIVATE ZLIB::ZLIB)

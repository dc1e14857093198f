# Runs our built programs.
vela_room(vela_test_programs
    LINKS GTest::gtest
    SOURCES Program.cpp)
set_source_files_properties(Program.cpp PROPERTIES
    COMPILE_DEFINITIONS VELA_PROGRAM_FOLDER="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")

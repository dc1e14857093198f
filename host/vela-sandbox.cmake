vela_program(vela-sandbox
    USES sandbox host_commandline platform
    LINKS CLI11::CLI11
    SOURCES vela-sandbox.cpp)
target_compile_definitions(vela-sandbox PRIVATE VELA_VERSION="${PROJECT_VERSION}")
add_dependencies(vela-sandbox sandbox_data)

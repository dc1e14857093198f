# SPDX-License-Identifier: Apache-2.0

# vela_install_with_program(TEMPLATE DESTINATION COMPONENT PROGRAM): installs TEMPLATE.in as TEMPLATE with the place of
# PROGRAM in it, which is known when it is installed, and not before; so is DESTINATION below the prefix.
function(vela_install_with_program template destination component program)
    install(CODE "
        set(template \"${CMAKE_CURRENT_SOURCE_DIR}/${template}.in\")
        set(output \"${CMAKE_CURRENT_BINARY_DIR}/${template}\")
        set(program \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${program}\")
        include(\"${PROJECT_SOURCE_DIR}/cmake/WriteWithProgram.cmake\")
        file(INSTALL \"\${output}\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${destination}\")"
        COMPONENT ${component})
endfunction()

# SPDX-License-Identifier: Apache-2.0

# Where the program stands is known when it is installed, and not before. A folder of the person's own has nobody else to
# tell the desktop what has come; a package has its triggers.
install(CODE "
    set(program \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/vela-companion\")
    set(applications \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/applications\")
    configure_file(\"${CMAKE_CURRENT_LIST_DIR}/vela-companion.desktop.in\"
        \"${CMAKE_CURRENT_BINARY_DIR}/vela-companion.desktop\" @ONLY)
    file(INSTALL \"${CMAKE_CURRENT_BINARY_DIR}/vela-companion.desktop\" DESTINATION \"\${applications}\")
    find_program(UPDATE_DESKTOP_DATABASE update-desktop-database)
    if(UPDATE_DESKTOP_DATABASE AND \"\$ENV{DESTDIR}\" STREQUAL \"\")
        execute_process(COMMAND \"\${UPDATE_DESKTOP_DATABASE}\" \"\${applications}\" ERROR_QUIET)
    endif()"
    COMPONENT runtime)

# SPDX-License-Identifier: Apache-2.0

set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Everything here is a Debian 12 package; packaging/debian-packages-build.txt lists them.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

find_package(Boost 1.81 REQUIRED)
find_package(CURL 7.88 REQUIRED)
find_package(ICU 72 REQUIRED COMPONENTS i18n uc data)
find_package(SQLite3 REQUIRED)
pkg_check_modules(libsecret REQUIRED IMPORTED_TARGET libsecret-1)
pkg_check_modules(systemd REQUIRED IMPORTED_TARGET libsystemd)
pkg_check_modules(pangocairo REQUIRED IMPORTED_TARGET cairo pango pangocairo pangoft2 fontconfig)
pkg_check_modules(spng REQUIRED IMPORTED_TARGET spng)
pkg_check_modules(webp REQUIRED IMPORTED_TARGET libwebp)
pkg_check_modules(chafa REQUIRED IMPORTED_TARGET chafa)
if(VELA_GTK)
    pkg_check_modules(gtkmm REQUIRED IMPORTED_TARGET gtkmm-3.0)
endif()
find_package(JPEG REQUIRED)
find_package(GIF REQUIRED)
find_package(ZLIB REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(CLI11 REQUIRED)

# Boost.Asio is compiled once (platform/Asio), not in every file that includes it.
add_compile_definitions(BOOST_ASIO_SEPARATE_COMPILATION BOOST_ASIO_NO_DEPRECATED)

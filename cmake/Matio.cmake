# MATLAB files. Upstream has a CMake config only in its own build; everyone installs a file for pkg-config.
find_package(PkgConfig REQUIRED)
pkg_check_modules(MATIO IMPORTED_TARGET matio)
add_library(ostravel_matio INTERFACE)
if(MATIO_FOUND)
    target_link_libraries(ostravel_matio INTERFACE PkgConfig::MATIO)
else()
    message(STATUS "libmatio is not installed: MATLAB files are written without a library")
endif()

# Uses upstream's CMake config. Debian does not ship it, so the files of the library are searched for.
find_package(GeographicLib QUIET CONFIG)
if(TARGET GeographicLib::GeographicLib)
    return()
endif()
find_path(GEOGRAPHICLIB_INCLUDE GeographicLib/Geodesic.hpp REQUIRED)
find_library(GEOGRAPHICLIB_LIBRARY NAMES GeographicLib Geographic REQUIRED)
add_library(GeographicLib::GeographicLib UNKNOWN IMPORTED)
set_target_properties(GeographicLib::GeographicLib PROPERTIES
    IMPORTED_LOCATION ${GEOGRAPHICLIB_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${GEOGRAPHICLIB_INCLUDE})

# Uses the CMake config of the package (Debian has one), otherwise searches for the files of the library.
find_package(double-conversion QUIET)
if(NOT TARGET double-conversion::double-conversion)
    find_path(DOUBLE_CONVERSION_INCLUDE double-conversion/double-conversion.h REQUIRED)
    find_library(DOUBLE_CONVERSION_LIBRARY double-conversion REQUIRED)
    add_library(double-conversion::double-conversion UNKNOWN IMPORTED)
    set_target_properties(double-conversion::double-conversion PROPERTIES
        IMPORTED_LOCATION ${DOUBLE_CONVERSION_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${DOUBLE_CONVERSION_INCLUDE})
endif()

# The logging library: compiled, with a CMake config (Debian), otherwise header-only together with fmt.
find_package(spdlog QUIET CONFIG)
if(NOT TARGET spdlog::spdlog)
    find_path(SPDLOG_INCLUDE spdlog/spdlog.h REQUIRED)
    find_path(FMT_INCLUDE fmt/format.h REQUIRED)
    add_library(spdlog::spdlog INTERFACE IMPORTED)
    set_target_properties(spdlog::spdlog PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES "${SPDLOG_INCLUDE};${FMT_INCLUDE}"
        INTERFACE_COMPILE_DEFINITIONS "SPDLOG_FMT_EXTERNAL;FMT_HEADER_ONLY")
endif()

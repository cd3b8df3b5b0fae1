# Compiler settings of our own code. Third-party headers are included as SYSTEM, without warnings.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTOUIC ON)
set(CMAKE_AUTOUIC_SEARCH_PATHS ${PROJECT_SOURCE_DIR}/Resources/forms)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-g1 -O1")

# Two builds of the same sources make the same files. The log statement contains the name of its source file: without
# the folder, which differs on every machine.
add_compile_options("$<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>")
if(MINGW)
    # The header of a program or library gets no date.
    add_link_options(-Wl,--no-insert-timestamp)
endif()

option(OSTRAVEL_WERROR "Treat warnings in our own code as errors" ${PROJECT_IS_TOP_LEVEL})
option(OSTRAVEL_LTO "Link the program and the benchmarks with link-time optimisation" OFF)
set(OSTRAVEL_SANITIZE "" CACHE STRING "Sanitizers for everything of ours, e.g. address,undefined")

# ccache caches precompiled headers only when it may ignore time stamps. The only source that uses the build time is
# compiled without the cache (BuildDate.cmake).
find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
endif()

add_library(build_options INTERFACE)
target_compile_definitions(build_options INTERFACE
    QT_DEPRECATED_WARNINGS QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_STRICT_ITERATORS)
target_compile_options(build_options INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -finput-charset=UTF-8
    $<$<BOOL:${CCACHE}>:-fpch-preprocess>
    $<$<BOOL:${OSTRAVEL_WERROR}>:-Werror>)

if(OSTRAVEL_SANITIZE)
    target_compile_options(build_options INTERFACE -fsanitize=${OSTRAVEL_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    target_link_options(build_options INTERFACE -fsanitize=${OSTRAVEL_SANITIZE})
endif()

# Fat objects: only the program and the benchmarks are linked with link-time optimisation. The many test programs link
# faster without it.
add_library(link_time_optimisation INTERFACE)
if(OSTRAVEL_LTO)
    target_compile_options(build_options INTERFACE -flto=auto -ffat-lto-objects)
    target_link_options(link_time_optimisation INTERFACE -O2 -flto=auto -fuse-linker-plugin)
endif()

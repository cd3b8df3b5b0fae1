# The installed files: one relocatable folder with everything beside the executable, where the program expects it.
# "cmake --install build/release --prefix FOLDER" installs it, "ninja -C build/release package" makes the tarball.
if(NOT UNIX OR APPLE)
    return()
endif()

install(TARGETS Ostravel ostravel-convert ostravel-demo wmts RUNTIME DESTINATION .)
# Below share/, where man looks beside a program, and whoever completes command lines.
install(FILES docs/man/ostravel-convert.1 DESTINATION share/man/man1)
install(FILES packaging/bash/ostravel-convert.bash DESTINATION share/bash-completion/completions RENAME ostravel-convert)
if(TARGET ostravel_web)
    install(TARGETS ostravel_web LIBRARY DESTINATION .)
endif()
# For programs and scripts of the user's own. The package of Python finds the library two folders up.
install(TARGETS ostravel_c LIBRARY DESTINATION .)
install(FILES capi/ostravel.h DESTINATION include)
install(DIRECTORY python/ostravel python/examples DESTINATION python PATTERN __pycache__ EXCLUDE)
install(FILES python/README.md DESTINATION python)
if(OSTRAVEL_WHEEL)
    install(FILES ${OSTRAVEL_WHEEL} DESTINATION python)
endif()
install(DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/Leaflet DESTINATION .)
# From the source folder: the copy in the build folder may contain track files of a program run.
install(DIRECTORY assets/myPlot DESTINATION . USE_SOURCE_PERMISSIONS
    PATTERN CMakeLists.txt EXCLUDE PATTERN __pycache__ EXCLUDE)
install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/README.html DESTINATION . OPTIONAL)
install(PROGRAMS assets/linux/ostravel.sh DESTINATION .)
install(FILES assets/linux/ostravel.desktop LICENSE DESTINATION .)
# Licences of bundled third-party files: Leaflet in the map page, the compiled-in style sheets, and libraries of headers.
foreach(package libjs-leaflet python3-qdarkstyle libboost1.74-dev libcli11-dev libfmt-dev libspdlog-dev)
    install(FILES /usr/share/doc/${package}/copyright DESTINATION licences RENAME ${package}.txt OPTIONAL)
endforeach()
install(FILES Resources/icons/src/resources-4.svg DESTINATION . RENAME ostravel.svg)
install(DIRECTORY assets/linux/tiles DESTINATION .)

# The last rule: lists what the others have installed.
if(PYTHON3)
    set(CONTENTS_COMMAND ${PYTHON3} -B ${PROJECT_SOURCE_DIR}/packaging/contents.py --system linux
        --version ${PROJECT_VERSION} --manifest ${PROJECT_BINARY_DIR}/package-files)
    list(JOIN CONTENTS_COMMAND "\" \"" CONTENTS_COMMAND)
    install(CODE "
file(WRITE \"${PROJECT_BINARY_DIR}/package-files\" \"\${CMAKE_INSTALL_PREFIX};\${CMAKE_INSTALL_MANIFEST_FILES}\")
execute_process(COMMAND \"${CONTENTS_COMMAND}\" \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\" COMMAND_ERROR_IS_FATAL ANY)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES \"\${CMAKE_INSTALL_PREFIX}/CONTENTS.txt\")")
endif()

# CPack's own tarballs contain the order, times and owners of the files on this machine.
set(CPACK_GENERATOR External)
set(CPACK_EXTERNAL_ENABLE_STAGING ON)
set(CPACK_EXTERNAL_PACKAGE_SCRIPT ${PROJECT_SOURCE_DIR}/cmake/PackTarball.cmake)
set(CPACK_OSTRAVEL_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_PACKAGE_NAME Ostravel)
set(CPACK_PACKAGE_VENDOR "Corvenne team")
string(TOLOWER ${CMAKE_SYSTEM_NAME} system)
set(CPACK_PACKAGE_FILE_NAME Ostravel-${PROJECT_VERSION}-${system}-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)
include(CPack)

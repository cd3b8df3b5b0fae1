# Programs and folders of the build machine. In a cross build they must not be taken from the target system.

# moc, uic and rcc come with Qt5::Core, but a cross-built Qt has no lrelease.
find_program(LRELEASE lrelease HINTS /usr/lib/qt5/bin NO_CMAKE_FIND_ROOT_PATH REQUIRED)

find_path(QDARKSTYLE_DIR dark/darkstyle.qrc REQUIRED
    PATHS /usr/lib/python3/dist-packages/qdarkstyle NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
    DOC "Folder of the QDarkStyleSheet package")

find_path(LEAFLET_DIR leaflet.css PATHS /usr/share/javascript/leaflet /usr/share/nodejs/leaflet/dist
    NO_CMAKE_FIND_ROOT_PATH
    DOC "Folder of Leaflet 1.x: leaflet.css, leaflet.js, images")
find_file(LEAFLET_SCRIPT NAMES leaflet.min.js leaflet.js PATHS ${LEAFLET_DIR} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)

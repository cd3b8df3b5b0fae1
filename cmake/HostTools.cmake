# Programs that run while the product is built, and folders of the machine that builds: never those of the system that it
# is built for.

# Qt's own tools come with its Qt5::Core; the compiler of catalogues is no part of a cross-built Qt.
find_program(LRELEASE lrelease HINTS /usr/lib/qt5/bin NO_CMAKE_FIND_ROOT_PATH REQUIRED)

find_path(QDARKSTYLE_DIR dark/darkstyle.qrc REQUIRED
    PATHS /usr/lib/python3/dist-packages/qdarkstyle NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
    DOC "Folder of the QDarkStyleSheet package")

find_path(LEAFLET_DIR leaflet.css PATHS /usr/share/javascript/leaflet /usr/share/nodejs/leaflet/dist
    NO_CMAKE_FIND_ROOT_PATH
    DOC "Folder of Leaflet 1.x: leaflet.css, leaflet.js, images")
find_file(LEAFLET_SCRIPT NAMES leaflet.min.js leaflet.js PATHS ${LEAFLET_DIR} NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)

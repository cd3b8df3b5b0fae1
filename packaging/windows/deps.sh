#!/usr/bin/env bash
# Builds the Windows sysroot (Qt and the libraries of Ostravel) from Debian's source packages, and prints its path.
#
# Each library is a stage with its own folder in the cache. The folder name contains a hash of the stage's function
# below, the versions of the compiler and the sources, and the hashes of the stages that it depends on. So a change
# rebuilds only the affected stages; Qt alone takes a quarter of an hour on two cores.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$here/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

cache=${OSTRAVEL_WINDOWS_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/ostravel-windows}
jobs=${OSTRAVEL_JOBS:-$(nproc)}
triplet=x86_64-w64-mingw32
stages=(qtbase qtsvg qcustomplot geographiclib double_conversion minizip sqlite3 logging boost cli11)

# The Debian packages of a stage. Their source packages are fetched in the installed version, so that the Windows
# program uses the same library versions as on Debian.
declare -A packages_of=(
    [qtbase]="qtbase5-dev libsqlite3-dev"
    [qtsvg]="libqt5svg5-dev"
    [qcustomplot]="libqcustomplot-dev"
    [geographiclib]="libgeographiclib-dev"
    [double_conversion]="libdouble-conversion-dev"
    [minizip]="libminizip-dev"
    [sqlite3]="libsqlite3-dev"
    [logging]="libspdlog-dev libfmt-dev"
    [boost]="libboost-dev"
    [cli11]="libcli11-dev"
)
declare -A needs=([qtsvg]=qtbase [qcustomplot]=qtbase)
declare -A tools_of=(
    [minizip]=libz-mingw-w64-dev
    [boost]=libboost1.74-dev
)

# Each build_STAGE runs in an empty folder, with the sources in $src, and installs to $prefix.

build_qtbase() {
    # Debian removes the bundled SQLite from Qt's sources. Build it from Debian's SQLite source in the same place.
    mkdir sqlite
    (cd sqlite && "$src/sqlite3/configure" --disable-tcl && make sqlite3.c sqlite3.h)
    mkdir -p "$src/qtbase-opensource-src/src/3rdparty/sqlite"
    cp sqlite/sqlite3.c sqlite/sqlite3.h "$src/qtbase-opensource-src/src/3rdparty/sqlite/"
    mkdir build
    cd build
    "$src/qtbase-opensource-src/configure" -opensource -confirm-license -silent \
        -xplatform win32-g++ -device-option CROSS_COMPILE=$triplet- \
        -prefix "$prefix" -extprefix "$prefix" -hostprefix "$prefix" \
        -release -shared -c++std c++17 -nomake tests -nomake examples \
        -no-opengl -no-dbus -no-openssl -no-direct2d -no-icu -no-glib -no-vulkan -no-feature-tabletevent \
        -qt-zlib -qt-libpng -qt-libjpeg -qt-freetype -qt-harfbuzz -qt-pcre -qt-doubleconversion \
        -sql-sqlite -qt-sqlite -no-sql-odbc -no-sql-mysql -no-sql-psql
    make -j"$jobs"
    make install
    mkdir -p "$prefix/share/licenses/qtbase"
    cp "$src"/qtbase-opensource-src/LICENSE.* "$prefix/share/licenses/qtbase/"
}

build_qtsvg() {
    local qt
    qt=$(folder_of qtbase)
    "$qt/bin/qmake" "$src/qtsvg-opensource-src/qtsvg.pro"
    make -j"$jobs"
    make install INSTALL_ROOT="$PWD/installed"
    mv "$PWD/installed$qt" "$prefix"
}

build_qcustomplot() {
    mkdir -p "$prefix/include" "$prefix/lib/cmake/QCustomPlot"
    cp "$src/qcustomplot/qcustomplot.h" "$src/qcustomplot/qcustomplot.cpp" .
    cat >CMakeLists.txt <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(QCustomPlot LANGUAGES CXX)
set(CMAKE_AUTOMOC ON)
find_package(Qt5 REQUIRED COMPONENTS Widgets PrintSupport)
add_library(qcustomplot STATIC qcustomplot.cpp qcustomplot.h)
target_link_libraries(qcustomplot PUBLIC Qt5::Widgets Qt5::PrintSupport)
target_compile_options(qcustomplot PRIVATE -Wa,-mbig-obj)
install(TARGETS qcustomplot)
CMAKE
    cross_cmake . "$(folder_of qtbase)"
    cp qcustomplot.h "$prefix/include/"
    cat >"$prefix/lib/cmake/QCustomPlot/QCustomPlotConfig.cmake" <<'CMAKE'
if(NOT TARGET QCustomPlot)
    get_filename_component(folder ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)
    add_library(QCustomPlot STATIC IMPORTED)
    set_target_properties(QCustomPlot PROPERTIES
        IMPORTED_LOCATION ${folder}/lib/libqcustomplot.a
        INTERFACE_INCLUDE_DIRECTORIES ${folder}/include
        INTERFACE_LINK_LIBRARIES "Qt5::Widgets;Qt5::PrintSupport")
endif()
CMAKE
}

build_geographiclib() {
    cross_cmake "$src/geographiclib" "$prefix" -DBUILD_SHARED_LIBS=OFF -DBUILD_BOTH_LIBS=OFF
}

build_double_conversion() {
    cross_cmake "$src/double-conversion" "$prefix" -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF
}

build_minizip() {
    local name sources=(ioapi.c iowin32.c mztools.c unzip.c zip.c)
    mkdir -p "$prefix/include/minizip" "$prefix/lib"
    for name in "${sources[@]}"; do
        $triplet-gcc-posix -O2 -c "$src/minizip/$name" -o "${name%.c}.o"
    done
    $triplet-ar crs "$prefix/lib/libminizip.a" ./*.o
    cp "$src"/minizip/*.h "$prefix/include/minizip/"
}

build_sqlite3() {
    (mkdir amalgamation && cd amalgamation && "$src/sqlite3/configure" --disable-tcl && make sqlite3.c sqlite3.h)
    mkdir -p "$prefix/include" "$prefix/lib/pkgconfig"
    $triplet-gcc-posix -O2 -DSQLITE_THREADSAFE=1 -DSQLITE_OMIT_LOAD_EXTENSION -c amalgamation/sqlite3.c -o sqlite3.o
    $triplet-ar crs "$prefix/lib/libsqlite3.a" sqlite3.o
    cp amalgamation/sqlite3.h "$prefix/include/"
    pkg_config_file sqlite3 "-lsqlite3"
}

# Header-only. Copied from the installed packages, because -I/usr/include would add the build machine's C library.
build_logging() {
    mkdir -p "$prefix/include"
    cp -r /usr/include/spdlog /usr/include/fmt "$prefix/include/"
}

# Debian builds this library in two parts; its source is a single header.
build_boost() {
    mkdir -p "$prefix/include" "$prefix/share/licenses/boost"
    ln -s /usr/include/boost "$prefix/include/boost"
    cp /usr/share/doc/libboost1.74-dev/copyright "$prefix/share/licenses/boost/libboost1.74-dev.txt"
}

# Headers only, like those of logging.
build_cli11() {
    mkdir -p "$prefix/include" "$prefix/lib/cmake/CLI11"
    cp -r /usr/include/CLI "$prefix/include/"
    cat >"$prefix/lib/cmake/CLI11/CLI11Config.cmake" <<'CMAKE'
if(NOT TARGET CLI11::CLI11)
    get_filename_component(folder ${CMAKE_CURRENT_LIST_DIR}/../../.. ABSOLUTE)
    add_library(CLI11::CLI11 INTERFACE IMPORTED)
    set_target_properties(CLI11::CLI11 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${folder}/include)
endif()
CMAKE
}

# --- shared functions ---

# cross_cmake SOURCE SYSROOT OPTION...: configures, builds and installs to $prefix.
cross_cmake() {
    local source=$1 sysroot=$2
    shift 2
    cmake -G Ninja -S "$source" -B cmake-build -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" -DOSTRAVEL_SYSROOT="$sysroot" "$@"
    cmake --build cmake-build -j "$jobs"
    cmake --install cmake-build
}

# pkg_config_file NAME LIBS: writes a relocatable .pc file.
pkg_config_file() {
    printf '%s\n' 'prefix=${pcfiledir}/../..' "Name: $1" "Description: $1 for Windows" 'Version: 0' \
        'Cflags: -I${prefix}/include' 'Libs: -L${prefix}/lib '"$2" >"$prefix/lib/pkgconfig/$1.pc"
}

# sources_of STAGE: prints its source packages as NAME=VERSION, one per line.
sources_of() {
    # shellcheck disable=SC2086  # a list of names
    dpkg-query -W -f '${source:Package}=${source:Version}\n' ${packages_of[$1]}
}

key_of() {
    local stage=$1 need
    {
        declare -f "build_$stage"
        dpkg-query -W -f '${Package} ${Version}\n' g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev ${tools_of[$stage]:-}
        sources_of "$stage"
        if declare -f "build_$stage" | grep -q cross_cmake; then
            declare -f cross_cmake
            cat "$here/toolchain.cmake"
        fi
        for need in ${needs[$stage]:-}; do
            key_of "$need"
        done
    } | sha256sum | cut -c1-12
}

folder_of() {
    printf '%s/%s-%s\n' "$cache" "$1" "$(key_of "$1")"
}

# Runs apt-get with a private list that has deb-src entries; the system's apt settings are not changed.
apt_sources() {
    apt-get -q -o Dir::Etc::sourceparts="$cache/apt/parts" -o Dir::Etc::sourcelist=/dev/null \
        -o Dir::State::Lists="$cache/apt/lists" -o Acquire::Retries=3 -o APT::Sandbox::User="$(id -un)" "$@"
}

refresh_sources() {
    local file
    mkdir -p "$cache/apt/parts" "$cache/apt/lists/partial"
    rm -f "$cache"/apt/parts/*
    for file in /etc/apt/sources.list.d/*.sources; do
        if [ -f "$file" ] && grep -q '^URIs:.*/debian' "$file"; then
            sed 's/^Types:.*/Types: deb-src/' "$file" >"$cache/apt/parts/${file##*/}"
        fi
    done
    for file in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
        if [ -f "$file" ]; then
            sed -n 's/^deb \(.*\/debian.*\)/deb-src \1/p' "$file" >>"$cache/apt/parts/machine.list"
        fi
    done
    apt_sources update
}

fetch_sources() {
    local source
    mkdir -p "$src"
    cd "$src"
    for source in "$@"; do
        # apt checks the hashes against the signed lists.
        apt_sources --download-only source "$source"
        dpkg-source --no-check -x "${source%%=*}"_*.dsc "${source%%=*}"
    done
}

if [ "${1:-}" = --stage ]; then
    # A separate process, because "set -e" has no effect in a function that "step" calls.
    stage=$2 prefix=$3
    work=$prefix.work src=$work/src
    rm -rf "$prefix" "$work"
    mkdir -p "$work/build"
    mapfile -t sources < <(sources_of "$stage")
    (fetch_sources "${sources[@]}")
    # Dates in the library are those of its source, not of this build or of the commit that asks for it.
    SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l "$src/${sources[0]%%=*}/debian/changelog" -S Timestamp)
    export SOURCE_DATE_EPOCH
    cd "$work/build"
    "build_$stage"
    for package in ${packages_of[$stage]}; do
        mkdir -p "$prefix/share/licenses/$stage"
        cp "/usr/share/doc/$package/copyright" "$prefix/share/licenses/$stage/$package.txt"
    done
    touch "$prefix/.complete"
    exit 0
fi
if [ "${1:-}" = --refresh ]; then
    refresh_sources
    exit 0
fi

# Progress goes to the standard error, only the path to the standard output.
exec 3>&1 1>&2
install_packages "${packages_build[@]}" "${packages_windows[@]}"
case $($triplet-g++ -v 2>&1) in
*"Thread model: posix"*) ;;
*) fail "$triplet-g++ is not the variant with posix threads, which Qt is built with." \
    "update-alternatives --set $triplet-g++ /usr/bin/$triplet-g++-posix, the same for gcc" ;;
esac

mkdir -p "$cache"
exec 8>"$cache/lock"
flock 8
refreshed=false
for stage in "${stages[@]}"; do
    folder=$(folder_of "$stage")
    if [ -f "$folder/.complete" ]; then
        continue
    fi
    if ! $refreshed; then
        step windows-sources "Refreshing the list of Debian's source packages" \
            "Check the network and /etc/apt/sources.list, then try again." nice -n 19 "$here/deps.sh" --refresh
        refreshed=true
    fi
    step "windows-$stage" "Building $stage for Windows$([ "$stage" != qtbase ] || echo ', about a quarter of an hour')" \
        "The first error in the log tells. A source package that is not found: apt-get upgrade, and try again." \
        nice -n 19 "$here/deps.sh" --stage "$stage" "$folder"
    rm -rf "$folder.work"
done

folders=()
for stage in "${stages[@]}"; do
    folder=$(folder_of "$stage")
    if [ -f "$folder/.complete" ]; then
        folders+=("$folder")
    fi
done
sysroot=$cache/sysroot-$(printf '%s\n' "${folders[@]}" | sha256sum | cut -c1-12)
if [ ! -f "$sysroot/.complete" ]; then
    rm -rf "$sysroot"
    mkdir "$sysroot"
    for folder in "${folders[@]}"; do
        cp -al "$folder/." "$sysroot/"
    done
fi
printf '%s\n' "$sysroot" >&3

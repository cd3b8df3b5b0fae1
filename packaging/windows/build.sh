#!/usr/bin/env bash
# Cross-builds Ostravel for 64-bit Windows on Debian 12 and packs it: build/windows/Ostravel-VERSION-windows-x86_64.zip.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$here/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'USAGE'
Usage: packaging/windows/build.sh [--tests]

Installs missing packages (Debian 12), builds Qt and the libraries once into a cache, builds Ostravel and packs it into
build/windows/Ostravel-VERSION-windows-x86_64.zip: unpack it on Windows and start Ostravel.exe.

  --tests   build the test programs as well; packaging/windows/test.sh runs them under Wine

The cache is OSTRAVEL_WINDOWS_CACHE (default ~/.cache/ostravel-windows); OSTRAVEL_JOBS is the number of parallel jobs.
USAGE
}

tests=false
for argument in "$@"; do
    case $argument in
    --tests) tests=true ;;
    -h | --help)
        usage
        exit 0
        ;;
    *)
        usage >&2
        exit 2
        ;;
    esac
done

install_packages "${packages_build[@]}" "${packages_windows[@]}"
if $tests; then
    install_packages "${packages_wine[@]}"
fi
same_for_everyone
sysroot=$("$here/deps.sh")
triplet=x86_64-w64-mingw32
build=build/windows

# Links again, because the date of the last link may be that of another commit, and drops files of earlier builds.
rm -rf "$build/bin"
step windows-configure "Configuring for Windows" "Remove $build and try again." \
    cmake -G Ninja -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_TOOLCHAIN_FILE="$here/toolchain.cmake" \
    -DOSTRAVEL_SYSROOT="$sysroot" -DBUILD_TESTING="$($tests && echo ON || echo OFF)"
targets=(Ostravel wmts ostravel-demo ostravel-convert ostravel_c)
if $tests; then
    targets=(all)
fi
step windows-build "Building for Windows" "The first error in the log tells the file." \
    cmake --build "$build" -j "${OSTRAVEL_JOBS:-$(nproc)}" --target "${targets[@]}"

# --- contents of the zip ---

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
name=Ostravel-$version-windows-x86_64
stage=$root/$build/$name

search=("$sysroot/bin" "$(dirname "$($triplet-gcc-posix -print-libgcc-file-name)")" "/usr/$triplet/lib")
declare -A asked

imports() {
    $triplet-objdump -p "$1" | sed -n 's/^[[:space:]]*DLL Name: //p'
}

# carry FILE TARGET: copies a program, library or plug-in without debugging symbols, and recursively the DLLs that it
# imports, except those of Windows. The header of a stripped file gets its date from SOURCE_DATE_EPOCH.
carry() {
    local library folder
    install -D -m 755 "$1" "$stage/$2"
    $triplet-strip --strip-unneeded "$stage/$2"
    for library in $(imports "$1"); do
        if [ -n "${asked[${library,,}]:-}" ]; then
            continue
        fi
        asked[${library,,}]=$1
        for folder in "${search[@]}"; do
            if [ -f "$folder/$library" ]; then
                carry "$folder/$library" "$library"
                break
            fi
        done
    done
}

say "Gathering what the program needs"
rm -rf "$stage" "$stage.zip"
bin=$build/bin
carry "$bin/Ostravel.exe" Ostravel.exe
carry "$bin/wmts.exe" wmts.exe
carry "$bin/ostravel-convert.exe" ostravel-convert.exe
carry "$bin/ostravel.dll" ostravel.dll
plugins=(
    platforms/qwindows styles/qwindowsvistastyle sqldrivers/qsqlite printsupport/windowsprintersupport
    imageformats/{qico,qjpeg,qgif,qsvg} iconengines/qsvgicon
)
for plugin in "${plugins[@]}"; do
    [ -f "$sysroot/plugins/$plugin.dll" ] || fail "Qt has no plug-in $plugin." "Remove the cache and try again."
    carry "$sysroot/plugins/$plugin.dll" "plugins/$plugin.dll"
done
printf '[Paths]\r\nPrefix=.\r\nPlugins=plugins\r\n' >"$stage/qt.conf"
cp -r "$bin/Leaflet" "$stage/"
mkdir "$stage/myPlot"
# The folder "shell" is only used with sh.
cp "$bin/myPlot/myMatlabPlot.m" "$bin/myPlot/pythonPlot.py" "$stage/myPlot/"
if [ -f "$bin/README.html" ]; then
    cp "$bin/README.html" "$stage/"
fi

# --- the library for programs and scripts of the user's own ---

install -D -m 644 capi/ostravel.h "$stage/include/ostravel.h"
install -D -m 644 "$build/capi/libostravel.dll.a" "$stage/lib/libostravel.dll.a"
mkdir "$stage/python"
cp -r python/ostravel python/examples python/README.md "$stage/python/"
find "$stage/python" -name __pycache__ -prune -exec rm -r {} +

declare -A packed
wheel=()

# pack FILE: a file of the zip and the libraries in the zip that it imports go into the wheel, under their names.
pack() {
    local library
    wheel+=(--add "$stage/$1=$1")
    for library in $(imports "$stage/$1"); do
        if [ -f "$stage/$library" ] && [ -z "${packed[$library]:-}" ]; then
            packed[$library]=1
            pack "$library"
        fi
    done
}

pack ostravel.dll
pack plugins/sqldrivers/qsqlite.dll
/usr/bin/python3 -B python/make_wheel.py \
    --version "$version" --platform win_amd64 --output "$stage/python" "${wheel[@]}" >/dev/null

# --- licences ---

licenses=$stage/licenses
cp -r "$sysroot/share/licenses" "$licenses"
cp LICENSE "$licenses/Ostravel.txt"
for package in gcc-mingw-w64-x86-64-posix-runtime mingw-w64-x86-64-dev libz-mingw-w64 libjs-leaflet python3-qdarkstyle; do
    cp "/usr/share/doc/$package/copyright" "$licenses/$package.txt"
done
# The licence texts that Debian's copyright files refer to.
mkdir "$licenses/common"
grep -rhoE '/usr/share/common-licenses/[A-Za-z]+-?[0-9.]*[0-9]' "$licenses" | sort -u | while read -r text; do
    if [ -f "$text" ]; then
        cp -L "$text" "$licenses/common/"
    fi
done

# --- check: all other imports are DLLs of Windows ---

known=$here/system-dlls.txt
unknown=()
for library in "${!asked[@]}"; do
    if [ -z "$(find "$stage" -iname "$library" -print -quit)" ] && ! grep -qixF -- "$library" "$known"; then
        unknown+=("$library (${asked[$library]##*/})")
    fi
done
if [ "${#unknown[@]}" -ne 0 ]; then
    fail "Imported, but neither in the zip nor in ${known#"$root"/}: ${unknown[*]}" \
        "A library of ours has to come along; one that every Windows 10 has goes into the list."
fi

/usr/bin/python3 -B packaging/contents.py --system windows --version "$version" "$stage"

# Reproducible zip: sorted names, one time for all, no owner, the same permissions whatever the umask.
find "$stage" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
chmod -R u=rwX,go=rX "$stage"
(cd "$build" && find "$name" -type f | LC_ALL=C sort | zip -X -9 -q "$name.zip" -@)
say "Windows package: $build/$name.zip ($(du -h "$build/$name.zip" | cut -f1))"

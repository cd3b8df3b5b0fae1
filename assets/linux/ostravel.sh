#!/bin/sh
# Starts Ostravel from the folder of this script. Names the Debian packages of all missing libraries; the loader would
# name only the first missing file. Also reports when the log cannot be written; the program would exit silently.
set -eu

# The Debian 12 packages of the libraries that the programs in this folder are linked to.
library_packages='
libc.so.6                   libc6
libm.so.6                   libc6
libgcc_s.so.1               libgcc-s1
libstdc++.so.6              libstdc++6
libQt5Core.so.5             libqt5core5a
libQt5Gui.so.5              libqt5gui5
libQt5PrintSupport.so.5     libqt5printsupport5
libQt5Quick.so.5            libqt5quick5
libQt5Sql.so.5              libqt5sql5
libQt5Svg.so.5              libqt5svg5
libQt5WebEngineCore.so.5    libqt5webenginecore5
libQt5WebEngineWidgets.so.5 libqt5webenginewidgets5
libQt5Widgets.so.5          libqt5widgets5
libGeographicLib.so.23      libgeographiclib23
libQCustomPlot.so.2.1       libqcustomplot2.1
libdouble-conversion.so.3   libdouble-conversion3
libfmt.so.9                 libfmt9
libmatio.so.11              libmatio11
libminizip.so.1             libminizip1
libspdlog.so.1.10           libspdlog1.10
libsqlite3.so.0             libsqlite3-0
'

here=$(dirname "$(readlink -f "$0")")
program=$here/Ostravel
desktop_entry=${XDG_DATA_HOME:-$HOME/.local/share}/applications/ostravel.desktop

usage() {
    cat <<'USAGE'
Usage: ostravel.sh [--check | --install | --uninstall]

Starts Ostravel, or names the Debian packages that it lacks.

  --check      names every package that a part of the program lacks, and starts nothing
  --install    puts Ostravel into the desktop's menu, from the folder where it lies now
  --uninstall  takes it out of there
USAGE
}

# libraries FILE: prints the loader's list of libraries of FILE.
libraries() {
    LC_ALL=C ldd "$1" 2>&1 || true
}

linked=$(libraries "$program")

# lacking: reads the output of libraries and prints the packages of the missing ones, one per line.
lacking() {
    awk -v packages="$library_packages" '
        BEGIN {
            count = split(packages, words)
            for (i = 1; i < count; i += 2)
                package[words[i]] = words[i + 1]
        }
        / => not found$/ && !seen[$1]++ { print ($1 in package) ? package[$1] : $1 }' | sort -u
}

# lacking_plugin FILE PACKAGE: prints PACKAGE when the Qt plugin FILE is missing.
lacking_plugin() {
    core=$(printf '%s\n' "$linked" | awk '$1 == "libQt5Core.so.5" && $3 ~ /^\// { print $3 }')
    plugins=${core%/*}/qt5/plugins
    # Systems other than Debian have plugins in unknown folders, so they are not checked.
    if [ -z "$core" ] || { [ -d "$plugins" ] && [ ! -e "$plugins/$1" ]; }; then
        echo "$2"
    fi
}

# lacking_command COMMAND PACKAGE...: prints the packages when the command is missing.
lacking_command() {
    command -v "$1" >/dev/null || { shift && printf '%s\n' "$@"; }
}

lacking_font() {
    if ! fc-list :lang=zh file 2>/dev/null | grep -q . && ! ls /usr/share/fonts/opentype/noto/*CJK* >/dev/null 2>&1; then
        echo fonts-noto-cjk
    fi
}

# Optional packages: the program starts without them, but some functions do not work or texts are not readable.
lacking_in_use() {
    lacking_plugin sqldrivers/libqsqlite.so libqt5sql5-sqlite
    lacking_plugin iconengines/libqsvgicon.so libqt5svg5
    lacking_font
}

install_line() {
    # shellcheck disable=SC2086  # one word per package
    echo "sudo apt-get install --no-install-recommends" $1
}

# tell TEXT: prints to the terminal; without a terminal, shows a window.
tell() {
    printf '%s\n' "$1" >&2
    if [ ! -t 2 ] && [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
        zenity --error --no-markup --text "$1" 2>/dev/null || kdialog --error "$1" 2>/dev/null ||
            xmessage -center "$1" 2>/dev/null || true
    fi
}

check() {
    everything=
    while read -r part packages; do
        if [ -n "$packages" ]; then
            printf '%-20s lacks %s\n' "$part" "$packages"
            everything="$everything $packages"
        else
            printf '%-20s has what it needs\n' "$part"
        fi
    done <<PARTS
program $(printf '%s\n' "$linked" | lacking | xargs)
flight-databases $(lacking_plugin sqldrivers/libqsqlite.so libqt5sql5-sqlite)
icons $(lacking_plugin iconengines/libqsvgicon.so libqt5svg5)
Chinese-text $(lacking_font)
map $(libraries "$here/libostravel_web.so" | lacking | xargs)
tile-service $(libraries "$here/wmts.exe" | lacking | xargs)
converter $(libraries "$here/ostravel-convert" | lacking | xargs)
python-library $(libraries "$here/libostravel.so.1" | lacking | xargs)
plots-by-Python $(PATH=/usr/bin:$PATH python3 -c 'import matplotlib' 2>/dev/null || echo python3-matplotlib)
plots-by-Octave $(lacking_command octave octave fonts-freefont-otf | xargs)
manual $(lacking_command xdg-open xdg-utils)
PARTS
    if [ -n "$everything" ]; then
        # shellcheck disable=SC2086  # one word per package
        install_line "$(printf '%s\n' $everything | sort -u)"
        return 1
    fi
}

# quoted TEXT: TEXT as one quoted argument of the Exec key, with the additional escaping of desktop files.
quoted() {
    printf '"%s"' "$(printf %s "$1" | sed 's/[\\"`$]/\\&/g; s/\\/\\\\/g; s/%/%%/g')"
}

install_entry() {
    mkdir -p "${desktop_entry%/*}"
    {
        grep -v -e '^Exec=' -e '^Icon=' "$here/ostravel.desktop"
        # Desktops look up the first word before they replace %% by %, so the script must not be the first word.
        printf 'Exec=sh %s\n' "$(quoted "$here/ostravel.sh")"
        printf 'Icon=%s\nPath=%s\n' "$here/ostravel.svg" "$here" | sed 's/\\/\\\\/g'
    } >"$desktop_entry"
    echo "$desktop_entry"
}

# log_is_writable: tests whether the program can open its log, in the same way as the program.
log_is_writable() {
    # In a subshell, because a failed redirection would end this shell.
    (mkdir -p logs && : >>logs/log.txt) 2>/dev/null
}

start() {
    missing=$(printf '%s\n' "$linked" | lacking)
    if [ -n "$missing" ]; then
        missing=$(printf '%s\n' "$missing" "$(lacking_in_use)" | xargs)
        tell "Ostravel cannot start, these Debian packages are missing (缺少以下软件包，Ostravel 无法启动):
$missing

$(install_line "$missing")"
        exit 1
    fi
    too_old=$(printf '%s\n' "$linked" | sed -n "s/.*version \`\(.*\)' not found.*/\1/p" | sort -u | xargs)
    if [ -n "$too_old" ]; then
        tell "Ostravel cannot start, it was built for Debian 12 and this system is older (系统版本过低，需要 Debian 12): $too_old"
        exit 1
    fi
    if ! log_is_writable; then
        tell "Ostravel cannot start, it may not write its log here (Ostravel 无法启动，没有写入日志的权限):
$(pwd)/logs/log.txt

Start it from a folder that you may write to (请在有写入权限的文件夹中启动):
cd ~ && '$here/ostravel.sh'"
        exit 1
    fi
    missing=$(lacking_in_use | xargs)
    if [ -n "$missing" ]; then
        printf '%s\n' "Ostravel starts, but some of it needs Debian packages that are missing (部分功能缺少软件包):" \
            "$(install_line "$missing")" >&2
    fi
    exec "$program"
}

case ${1:-} in
'') start ;;
--check) check ;;
--install) install_entry ;;
--uninstall) rm -f "$desktop_entry" ;;
-h | --help) usage ;;
*)
    usage >&2
    exit 2
    ;;
esac

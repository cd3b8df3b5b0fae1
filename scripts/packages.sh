# shellcheck shell=bash
# All Debian packages that the scripts install. Sourced by scripts/common.sh; not run by itself.
# shellcheck disable=SC2034  # the lists are read by the scripts that source this file

packages_build=(
    cmake g++ ninja-build ccache git pkg-config
    qtbase5-dev libqt5sql5-sqlite libqt5svg5-dev qttools5-dev qttools5-dev-tools
    libqcustomplot-dev libspdlog-dev libfmt-dev libminizip-dev zlib1g-dev libdouble-conversion-dev
    libgeographiclib-dev qtwebengine5-dev python3-qdarkstyle libjs-leaflet libboost-dev libsqlite3-dev
    libcli11-dev libmatio-dev
    fonts-noto-cjk python3-matplotlib python3-numpy octave fonts-freefont-otf xdg-utils pandoc
)

# A virtual screen and the tools that operate on it. xvfb-run needs xauth, which xvfb only recommends.
packages_screen=(xvfb xauth openbox xdotool at-spi2-core python3-pyatspi dbus dbus-x11 imagemagick)

packages_test=(
    "${packages_screen[@]}"
    python3-openpyxl libreoffice-calc-nogui chromium doxygen clang-format-14 clang-tidy-14
    python3-pandas python3-scipy python3-distributed python3-venv python3-pip binutils
)

# The track plots are measured on a virtual screen.
packages_bench=(xvfb xauth libxlsxwriter-dev python3-xlsxwriter python3-openpyxl python3-pandas)

# In addition to the others: packages_windows to build the Windows package, packages_wine to test it under Wine.
packages_windows=(g++-mingw-w64-x86-64-posix mingw-w64-x86-64-dev libz-mingw-w64-dev dpkg-dev tcl zip)
packages_wine=("${packages_screen[@]}" wine wine64 libwine fonts-wine fonts-noto-cjk locales xclip unzip)

# In addition to packages_build and packages_test: the sources of locales, and a clock that can be changed.
packages_faults=(locales faketime libfaketime tzdata)

packages_deeper=(clang gcovr lld valgrind linux-perf)

# missing_packages NAME...: prints the packages that are not installed, one per line.
missing_packages() {
    local installed name
    # dpkg-query fails when a name is unknown, but still prints the known ones.
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null || true)
    for name in "$@"; do
        case $'\n'$installed$'\n' in
        *$'\n'"installed $name"$'\n'*) ;;
        *) printf '%s\n' "$name" ;;
        esac
    done
}

# install_packages NAME...: installs the missing packages.
install_packages() {
    local missing=() as_root=()
    if ! command -v dpkg-query >/dev/null; then
        say "This is no Debian: nothing installed. Needed by their Debian names: $*"
        return
    fi
    mapfile -t missing < <(missing_packages "$@" | sort -u)
    if [ "${#missing[@]}" -eq 0 ]; then
        return
    fi
    if [ "$(id -u)" -ne 0 ]; then
        local hint="As root: apt-get update && apt-get install --no-install-recommends ${missing[*]}"
        command -v sudo >/dev/null || fail "${#missing[@]} Debian packages are missing and there is no sudo." "$hint"
        # Lets sudo ask for the password here, because the steps below have no terminal.
        sudo true || fail "${#missing[@]} Debian packages are missing and sudo does not let you install them." "$hint"
        as_root=(sudo)
    fi
    step apt-update "Refreshing the list of Debian packages" \
        "Check the network and /etc/apt/sources.list, then try again." \
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 update
    step apt-install "Installing ${#missing[@]} Debian packages (${missing[*]:0:4}$([ "${#missing[@]}" -le 4 ] || echo ' ...'))" \
        "See what apt says above; 'sudo apt-get -f install' mends a broken state. Then try again." \
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=300 \
        install -y --no-install-recommends "${missing[@]}"
}

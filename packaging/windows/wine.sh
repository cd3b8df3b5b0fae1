# shellcheck shell=bash
# A temporary Wine environment for smoke.sh and test.sh: a virtual screen with a window manager, and a new Wine prefix.
# Sourced after scripts/common.sh. start_wine sets $scratch, a folder that is removed when the script ends.

start_wine() {
    local tries
    install_packages "${packages_wine[@]}" fonts-noto-cjk
    scratch=$(mktemp -d -t ostravel-wine.XXXXXX)
    trap stop_wine EXIT
    mkdir "$scratch/home" "$scratch/run"
    chmod 700 "$scratch/run"
    # wine64 is in the folder of Wine's libraries.
    PATH=$PATH:/usr/lib/wine
    export HOME=$scratch/home XDG_RUNTIME_DIR=$scratch/run WINEPREFIX=$scratch/prefix WINEARCH=win64 WINEDEBUG=-all
    # A Chinese locale, compiled into the scratch folder: Wine derives the code page from it.
    mkdir "$scratch/locale"
    localedef -i zh_CN -f UTF-8 "$scratch/locale/zh_CN.UTF-8" || [ -d "$scratch/locale/zh_CN.UTF-8" ]
    # Hides bash's warning: it does not search the new locale in LOCPATH.
    { export LOCPATH=$scratch/locale LC_ALL=zh_CN.UTF-8; } 2>/dev/null
    # No debugger, which would hide a crash, and no components that ask for a download.
    export WINEDLLOVERRIDES="mscoree=;mshtml=;winemenubuilder.exe=;winedbg.exe="
    unset WINEPATH QT_PLUGIN_PATH QT_QPA_PLATFORM_PLUGIN_PATH QT_QPA_PLATFORM WAYLAND_DISPLAY

    exec 9>"$scratch/display"
    Xvfb -displayfd 9 -screen 0 1920x1080x24 -nolisten tcp >"$scratch/xvfb.log" 2>&1 9>&9 &
    xvfb=$!
    exec 9>&-
    for ((tries = 0; tries < 600; tries++)); do
        [ -s "$scratch/display" ] && break
        sleep 0.1
    done
    [ -s "$scratch/display" ] || fail "The virtual screen did not come up: $(cat "$scratch/xvfb.log")" "Is xvfb installed?"
    DISPLAY=:$(cat "$scratch/display")
    export DISPLAY
    # Title bars, focus and maximised windows.
    openbox >"$scratch/openbox.log" 2>&1 &
    window_manager=$!

    step wine-prefix "Making a Windows of its own (Wine)" "Try 'wineboot -i' by hand." make_prefix
}

make_prefix() {
    local font="Noto Sans CJK SC" name
    timeout 600 wineboot -i && wineserver -w || return 1
    {
        # Replacements for fonts of Windows.
        printf '%s\r\n' REGEDIT4 '' '[HKEY_CURRENT_USER\Software\Wine\Fonts\Replacements]'
        for name in "Microsoft YaHei" "Segoe UI" Tahoma "MS Shell Dlg" "MS Shell Dlg 2" "Adobe Devanagari"; do
            printf '"%s"="%s"\r\n' "$name" "$font"
        done
    } >"$scratch/fonts.reg"
    timeout 120 wine64 regedit /S "$scratch/fonts.reg" && timeout 120 winecfg -v win10 && wineserver -w
}

stop_wine() {
    wineserver -k >/dev/null 2>&1 || true
    kill "${window_manager:-}" "${xvfb:-}" 2>/dev/null || true
    wait 2>/dev/null || true
    if [ -z "${KEEP:-}" ]; then
        rm -rf "$scratch"
    fi
}

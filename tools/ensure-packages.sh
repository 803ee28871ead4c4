# shellcheck shell=bash disable=SC2034,SC2154
# Sourced by ./run, ./test and ./bench: the Debian packages that each needs, and their installation.

# What building the program takes.
buildPackages="cmake ninja-build g++ pkg-config nlohmann-json3-dev libcairo2-dev libyuv-dev
    libavformat-dev libavcodec-dev libavfilter-dev libswscale-dev libswresample-dev libavutil-dev
    qt6-base-dev qt6-declarative-dev qt6-multimedia-dev qt6-svg-dev ffmpeg"

# What its screen needs while it runs. The modules do not depend on one another: each is named.
runPackages="qml6-module-qtquick qml6-module-qtquick-window qml6-module-qtqml-workerscript qml6-module-qtquick-controls
    qml6-module-qtquick-templates qml6-module-qtquick-layouts qml6-module-qtquick-shapes qml6-module-qtmultimedia
    qml6-module-qtquick-dialogs qml6-module-qt-labs-folderlistmodel
    libqt6svg6 fonts-dejavu-core"

testPackages="openssl pulseaudio pulseaudio-utils libgtest-dev clang-14 libc++-14-dev libc++abi-14-dev clang-format-14
    python3 python3-jsonschema libpng-dev"

# Players to compare with, and a display to record.
# shellcheck disable=SC2034 # used by who sources this
benchPackages="libmpv-dev xvfb xauth"

# What reads the sources for faults.
checkPackages="clang-tidy-14 doxygen qt6-declarative-dev-tools"

# Installs those of the packages $1 (names, separated by blanks) that are missing. Without the right to do so, prints the
# line that does and ends the script. Costs one query when nothing is missing, and then needs neither root nor network.
ensurePackages() {
    command -v dpkg-query >/dev/null || return 0 # not Debian: the build says what it misses
    local installed missing=() package
    # shellcheck disable=SC2086 # a list of names
    installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' $1 2>/dev/null | sed -n 's/^.i //p' || true)
    for package in $1; do
        grep -qxF "$package" <<<"$installed" || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "sudo apt-get install --no-install-recommends ${missing[*]}"
        exit 1
    fi
    echo "Installing ${missing[*]}" >&2
    DEBIAN_FRONTEND=noninteractive
    export DEBIAN_FRONTEND
    apt-get update -q </dev/null >&2 || echo "apt-get update failed; trying with the lists that are there" >&2
    apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null >&2
}

# Configures the preset $1 in the folder $root if that has not been done, or if packages or presets have changed since: what
# was missing then is found now.
configure() {
    local folder=$root/build/$1
    [ "$folder/.configured" -nt /var/lib/dpkg/status ] && [ "$folder/.configured" -nt "$root/CMakePresets.json" ] &&
        [ -e "$folder/build.ninja" ] && return 0
    (cd "$root" && cmake --preset "$1") </dev/null && touch "$folder/.configured"
}

# Configures the preset $1 where necessary and builds the targets $2... (all without any). Says nothing unless it takes a
# while or fails; then what failed is shown.
buildQuietly() {
    local preset=$1 log status=0
    shift
    log=$(mktemp)
    [ -e "$root/build/$preset/build.ninja" ] || echo "Building for the first time; this takes some minutes." >&2
    configure "$preset" >"$log" 2>&1 || status=$?
    if [ $status -eq 0 ]; then
        cmake --build "$root/build/$preset" ${1:+--target "$@"} </dev/null >"$log" 2>&1 || status=$?
    fi
    [ $status -eq 0 ] || cat "$log" >&2
    rm -f "$log"
    return $status
}

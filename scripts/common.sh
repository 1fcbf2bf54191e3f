# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=bash
#
# What ./run, ./test, ./bench and .ci/run share. Sourced, never run; goes to the root of the source tree.

cd "$(dirname "${BASH_SOURCE[0]}")/.."

build_packages=(
    g++ cmake ninja-build pkg-config
    libavformat-dev libavcodec-dev libavutil-dev libswresample-dev libswscale-dev
    libopus-dev libdeflate-dev libcli11-dev nlohmann-json3-dev libpugixml-dev libgtest-dev
    qt6-base-dev qt6-svg-dev qt6-webengine-dev qt6-translations-l10n libcubeb-dev
)
test_packages=(ffmpeg mkvtoolnix espeak-ng chromium python3 libxml2-utils fonts-dejavu-core pulseaudio
    fonts-wqy-microhei xvfb openbox xdotool dbus-daemon at-spi2-core gir1.2-atspi-2.0 python3-gi python3-numpy strace)
# What ./test makes an installation with, looks at it with, and what a package needs to be made.
desktop_packages=(desktop-file-utils appstream shared-mime-info bash-completion groff-base)
package_packages=(dpkg-dev)
demo_packages=(espeak-ng)
bench_packages=(
    libbenchmark-dev melt mpv ffmpeg espeak-ng python3 mkvtoolnix fonts-dejavu-core python3-pil xvfb xdotool
)
ci_packages=(clang-format clang-tidy clang libclang-rt-14-dev lintian)

# missing_packages PACKAGE...: those that are not installed, one a line.
missing_packages() {
    local installed
    installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    local package
    for package in "$@"; do
        grep -qxF "$package installed" <<<"$installed" || echo "$package"
    done
}

# install_packages PACKAGE...: sees to it that these Debian packages are there.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]} == 0)); then
        return
    fi
    local as_root=(env DEBIAN_FRONTEND=noninteractive)
    if ((EUID != 0)); then
        as_root=(sudo "${as_root[@]}")
    fi
    if ! command -v apt-get >/dev/null || ! command -v "${as_root[0]}" >/dev/null; then
        echo 'These Debian packages are needed and cannot be installed from here:' >&2
        printf '    %s\n' "${missing[@]}" >&2
        exit 1
    fi
    echo "Installing ${missing[*]}"
    "${as_root[@]}" apt-get update -q
    "${as_root[@]}" apt-get install -q -y --no-install-recommends "${missing[@]}"
}

# build_release: builds everything into build/.
build_release() {
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DMIRRANE_WERROR="${MIRRANE_WERROR:-OFF}"
    cmake --build build
}

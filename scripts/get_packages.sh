#!/bin/bash
# get_packages.sh [GROUP...]: installs the Debian packages that the project needs and that aren't installed; with
# "check", "coverage", "docs", "package", "soak", "windows" or "wine" also the tools of that target of make. Does nothing
# where all are there.
source "$(dirname "$0")/common.sh"

packages=(
    g++ cmake ninja-build ccache pkg-config ca-certificates
    rapidjson-dev libicu-dev
    libfmt-dev libcli11-dev libedit-dev libutf8proc-dev
    libgtest-dev librapidcheck-dev libbenchmark-dev
    python3
)
for group in "$@"; do
    case $group in
    check) packages+=(clang-format-14 clang-tidy-14 clang-14 shellcheck) ;;
    coverage) packages+=(gcovr) ;;
    docs) packages+=(doxygen) ;;
    package) packages+=(dpkg-dev file) ;;
    soak) packages+=(strace clang-14 libclang-rt-14-dev) ;;
    windows) packages+=(g++-mingw-w64-x86-64-posix) ;;
    wine) packages+=(googletest wine wine64) ;;
    *) die "no group of packages is named $group" ;;
    esac
done
# A machine may have these two from elsewhere, and Debian's npm conflicts with other builds of Node.js.
command -v npm >/dev/null || packages+=(npm)
[[ $(uname -m) != aarch64 ]] || command -v go >/dev/null || packages+=(golang-go)
python3 -m pip --version >/dev/null 2>&1 || packages+=(python3-pip)

if ! command -v dpkg-query >/dev/null; then
    say "no dpkg here: install what corresponds to these yourself: ${packages[*]}"
    exit 0
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null || true)
    grep -qx installed <<<"$status" || missing+=("$package")
done
[[ ${#missing[@]} -gt 0 ]] || exit 0

as_root=()
if [[ $(id -u) -ne 0 ]]; then
    if command -v sudo >/dev/null && { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
        as_root=(sudo)
    else
        die "these Debian packages are missing and only root can install them: ${missing[*]}"
    fi
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT

apt_get() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -o Dpkg::Use-Pty=0 "$@" </dev/null >>"$log" 2>&1
}

give_up() {
    tail -n 20 "$log" >&2
    die "apt-get could not install these packages: ${missing[*]}"
}

say "installing ${missing[*]}"
install=(install -y --no-install-recommends "${missing[@]}")
if compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null; then
    # Lists that are there may be too old to name files that are still there.
    apt_get "${install[@]}" || { apt_get update && apt_get "${install[@]}"; } || give_up
else
    { apt_get update && apt_get "${install[@]}"; } || give_up
fi

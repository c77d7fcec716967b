#!/usr/bin/env bash
# Installs the Debian packages that are missing; with nothing missing it changes nothing and asks nothing.
#   scripts/install-packages.sh SET...
# Sets: build (compile the program), test (run the tests), demo (the demo on a display), screen (a virtual display),
#       package (make the Debian package), wayland (a virtual Wayland display), trial (try the package in a fresh Debian).
set -euo pipefail

# Debian 12 has the SVG plug-ins in libqt6svg6, and what UiTools needs of OpenGL in a package of its own.
if [ "$(. /etc/os-release && echo "${VERSION_ID:-}")" = 12 ]; then
    qt=libqt6opengl6-dev
else
    qt=qt6-svg-plugins
fi

packages() {
    case "$1" in
        # gtest, benchmark and python3: configuring looks for them.
        build) echo g++ cmake ninja-build libseccomp-dev qt6-base-dev qt6-tools-dev libqt6svg6 $qt libgtest-dev \
            libssl-dev libgsasl-dev libtomlplusplus-dev libsecret-1-dev libgmime-3.0-dev libidn2-dev pkgconf \
            libbenchmark-dev python3 ;;
        test) echo mold dovecot-pop3d postfix inn2 openssl libnss-wrapper strace clang libclang-rt-dev clang-format \
            poppler-utils fonts-dejavu-core lintian desktop-file-utils ;;
        # The news server wants a mail server beside it; without one named it would bring the largest.
        demo) echo dovecot-pop3d inn2 openssl libnss-wrapper python3 fonts-dejavu-core \
            "$([ -x /usr/sbin/sendmail ] || echo postfix)" ;;
        screen) echo xvfb xdotool imagemagick ;;
        package) echo dpkg-dev gzip binutils ;;
        wayland) echo weston qt6-wayland ;;
        trial) echo debootstrap lintian ;;
        *)
            echo "install-packages.sh: no such set: $1" >&2
            return 1
            ;;
    esac
}

# The news server's package does not install where the host name has no domain, as in most containers: its step that
# prepares the system's own server then gives up. What INNCONF names comes before the package's own settings there.
news_settings() {
    printf '%s\n' 'domain: news.example.org' 'pathnews: /usr/lib/news' 'pathdb: /var/lib/news' 'mta: "/bin/true %s"' \
        'hismethod: hisv6' 'ovmethod: tradindexed'
}

# Installing a server must not start one: nothing here needs the system's own Dovecot, Postfix or INN.
install_quietly() {
    local policy=/usr/sbin/policy-rc.d service unwanted=()
    # What the system had before stays as it is.
    dpkg-query -W dovecot-core >/dev/null 2>&1 || unwanted+=(dovecot.service dovecot.socket)
    dpkg-query -W postfix >/dev/null 2>&1 || unwanted+=(postfix.service)
    dpkg-query -W inn2 >/dev/null 2>&1 || unwanted+=(inn2.service)
    settings=$(mktemp)
    news_settings >"$settings"
    chmod 644 "$settings"
    made=
    # Left there by an interrupted run, it would stop every service of the system from starting.
    trap 'rm -f "$settings" $made' EXIT
    trap 'exit 130' INT
    trap 'exit 143' HUP TERM
    if [ ! -e "$policy" ]; then
        made=$policy
        printf '#!/bin/sh\nexit 101\n' >"$policy"
        chmod 755 "$policy"
    fi
    local apt=(env DEBIAN_FRONTEND=noninteractive INNCONF="$settings" apt-get -qy -o Dpkg::Use-Pty=0
        -o DPkg::Lock::Timeout=300)
    # One archive out of reach need not matter.
    "${apt[@]}" update >&2 || true
    "${apt[@]}" install --no-install-recommends "$@" >&2
    if [ -d /run/systemd/system ]; then
        for service in "${unwanted[@]}"; do
            systemctl disable --quiet "$service" 2>/dev/null || true
        done
    fi
}

wanted=()
for set in "$@"; do
    # An assignment of its own: a failure inside the substitution ends the script.
    names=$(packages "$set")
    read -ra more <<<"$names"
    wanted+=("${more[@]}")
done

missing=()
for package in "${wanted[@]}"; do
    state=$(dpkg-query -W -f '${db:Status-Abbrev}' "$package" 2>/dev/null) || state=
    case "$state" in
        ?i*) ;;
        *) missing+=("$package") ;;
    esac
done
[ ${#missing[@]} -gt 0 ] || exit 0

if [ "$(id -u)" -ne 0 ]; then
    self=$(realpath "$0")
    echo "Missing packages: ${missing[*]}" >&2
    if command -v sudo >/dev/null && sudo -- "$self" "$@"; then
        exit 0
    fi
    # Not a bare apt-get: the news server's package does not install without its settings, and servers would start.
    echo "Install them as root: $self $*" >&2
    exit 1
fi
echo "Installing: ${missing[*]}" >&2
install_quietly "${missing[@]}"

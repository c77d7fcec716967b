#!/usr/bin/env bash
# Installs the Debian packages that are missing; with nothing missing it changes nothing and asks nobody.
#   scripts/install-packages.sh SET...
# Sets: build (compile the program), test (run the tests), demo (the demo on a display), screen (a virtual display),
#       package (make the Debian package), wayland (a virtual Wayland display), trial (try the package in a fresh Debian).
set -euo pipefail

packages() {
    case "$1" in
        # gtest, benchmark and python3: configuring looks for them; the UiTools package needs the OpenGL one.
        build) echo g++ cmake ninja-build libseccomp-dev qt6-base-dev libqt6opengl6-dev qt6-tools-dev libqt6svg6 \
            libgtest-dev libbenchmark-dev python3 ;;
        test) echo dovecot-pop3d postfix inn2 openssl libnss-wrapper strace clang libclang-rt-14-dev clang-format \
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
    local policy=/usr/sbin/policy-rc.d made=
    if [ ! -e "$policy" ]; then
        "${as_root[@]}" sh -c "printf '#!/bin/sh\nexit 101\n' >$policy && chmod 755 $policy"
        made=yes
    fi
    local result=0 service unwanted=()
    # What the system had before stays as it is.
    dpkg-query -W dovecot-core >/dev/null 2>&1 || unwanted+=(dovecot.service dovecot.socket)
    dpkg-query -W postfix >/dev/null 2>&1 || unwanted+=(postfix.service)
    dpkg-query -W inn2 >/dev/null 2>&1 || unwanted+=(inn2.service)
    local settings
    settings=$(mktemp)
    news_settings >"$settings"
    chmod 644 "$settings"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive INNCONF="$settings" apt-get -qy -o Dpkg::Use-Pty=0
        -o DPkg::Lock::Timeout=300)
    { "${apt[@]}" update && "${apt[@]}" install --no-install-recommends "$@"; } >&2 || result=$?
    rm -f "$settings"
    [ -z "$made" ] || "${as_root[@]}" rm -f "$policy"
    if [ -d /run/systemd/system ]; then
        for service in "${unwanted[@]}"; do
            "${as_root[@]}" systemctl disable --quiet "$service" 2>/dev/null || true
        done
    fi
    return "$result"
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

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    echo "Missing packages: ${missing[*]}" >&2
    if ! command -v sudo >/dev/null; then
        echo "Install them as root: apt-get install --no-install-recommends ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing: ${missing[*]}" >&2
install_quietly "${missing[@]}"

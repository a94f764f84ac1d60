# Functions for the scripts beside it: packages and builds. Source it from the top folder.

# Ends the script with a message on the error stream.
die() {
    printf '%s\n' "$*" >&2
    exit 1
}

# packages_of GROUP...: the Debian packages of these groups, one a line.
packages_of() {
    local group
    for group in "$@"; do
        awk -v group="$group" '$1 == group { print $2 }' packaging/debian-packages.txt
    done
}

# missing_packages PACKAGE...: those of them that are not installed, one a line.
missing_packages() {
    comm -13 \
        <(dpkg-query --show --showformat='${db:Status-Status} ${Package}\n' "$@" 2>/dev/null |
            sed -n 's/^installed //p' | sort -u) \
        <(printf '%s\n' "$@" | sort -u)
}

# install_packages GROUP...: installs the groups' missing packages; does nothing if there are none.
install_packages() {
    local wanted missing as_root=()
    mapfile -t wanted < <(packages_of "$@")
    command -v apt-get >/dev/null ||
        die "This system has no apt; install the equivalents of: ${wanted[*]}"
    mapfile -t missing < <(missing_packages "${wanted[@]}")
    [ ${#missing[@]} -gt 0 ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            die "Neither root nor sudo here; as root, run: apt-get install ${missing[*]}"
        as_root=(sudo)
    fi
    echo "Installing ${#missing[@]} Debian packages: ${missing[*]}"
    "${as_root[@]}" apt-get update
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install --yes --no-install-recommends "${missing[@]}"
}

# build PRESET [TARGET...]: configures when there is no build folder yet, then builds.
build() {
    local preset=$1
    shift
    [ -f "build/$preset/build.ninja" ] || cmake --preset "$preset"
    cmake --build --preset "$preset" ${1:+--target "$@"}
}

# test_inputs PRESET: what decides whether the preset's tests pass, a checksum and a path a line: the programs
# and plug-ins, how the tests run them, and the files that they read.
test_inputs() {
    {
        find "build/$1" -name CMakeFiles -prune -o -type f \
            \( -path '*/bin/*' -o -name '*.so' -o -name CTestTestfile.cmake \) -print0
        find tests -type f ! -name '*.cpp' ! -name '*.h' -print0
    } | xargs -0 sha256sum | sort
}

# pass_tests PRESET: runs the preset's tests. Once all have passed, runs only those again that read sources or
# use programs that have changed since; the labels of a test tell.
pass_tests() {
    local preset=$1 passed=build/$1/passed changed labels selection=()
    test_inputs "$preset" >"$passed.new"
    if [ -f "$passed" ]; then
        mapfile -t changed < <(comm -3 "$passed" "$passed.new" | awk '{ print $2 }' | sort -u)
        labels=$(printf '%s\n' sources "${changed[@]##*/}" | paste -s -d '|')
        grep -q -e '^tests/' -e '/CTestTestfile.cmake$' < <(printf '%s\n' "${changed[@]}") ||
            selection=(--no-tests=ignore --label-regex "^($labels)\$")
    fi
    ctest --preset "$preset" "${selection[@]}"
    mv "$passed.new" "$passed"
}

# source_time: when this tree was last changed, in seconds since 1970: its commit's time (root may ask
# for it in a user's tree) or, without git, the newest day of the change log.
source_time() {
    git -c safe.directory="$PWD" log -1 --format=%ct 2>/dev/null ||
        date --utc --date="$(sed -n 's/^## .* (\(.*\))$/\1/p;T;q' CHANGELOG.md)" +%s
}

# wait_for WHAT COMMAND...: waits until the command succeeds, at most PATIENCE seconds (60).
wait_for() {
    local what=$1 end=$((SECONDS + ${PATIENCE:-60}))
    shift
    until "$@" >/dev/null 2>&1; do
        [ $SECONDS -lt $end ] || die "waited in vain for: $what"
        read -r -t 0.2 <> <(:) || true
    done
}

# colours_on FRAMEBUFFER: how many colours an Xvfb screen shows. A window has a few hundred, a camera's
# picture thousands.
colours_on() { od -An -v -t x4 -w4 "$1" | sort -u | wc -l; }

# make_system SUITE FOLDER: makes a fresh Debian of this suite, from this machine's package sources.
make_system() {
    local suite=$1 root=$2 own file sources=/etc/apt/sources.list
    [ "$(id -u)" -eq 0 ] || die "Only root can make a fresh system; run it with sudo."
    [ -f /etc/apt/sources.list.d/debian.sources ] && sources=/etc/apt/sources.list.d/debian.sources
    own=$(. /etc/os-release && echo "$VERSION_CODENAME")
    mkdir -p "$root.sources"
    sed "s/\b$own\b/$suite/g" "$sources" >"$root.sources/${sources##*/}"
    mmdebstrap --variant=apt "$suite" "$root" "$root.sources/${sources##*/}"
    # apt's network settings of this machine, but not the files that packages have installed.
    for file in /etc/apt/apt.conf /etc/apt/apt.conf.d/*; do
        [ ! -f "$file" ] || dpkg --search "$file" >/dev/null 2>&1 || cp "$file" "$root$file"
    done
    cp --dereference /etc/resolv.conf /etc/hosts "$root/etc/"
    # Packages must not start services there.
    printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
    chmod +x "$root/usr/sbin/policy-rc.d"
}

# in_system FOLDER COMMAND...: runs the command as root in that system, with an environment of its own except
# DISPLAY. However it ends, its mounts and processes end with it.
in_system() {
    unshare --mount --propagation private --pid --fork --kill-child sh -euc '
        root=$1
        shift
        mount -t proc proc "$root/proc"
        mount -t sysfs sys "$root/sys"
        mount -t devpts devpts "$root/dev/pts"
        mount -t tmpfs tmpfs "$root/dev/shm"
        exec env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 HOME=/root \
            ${DISPLAY:+"DISPLAY=$DISPLAY"} chroot "$root" "$@"' -- "$@"
}

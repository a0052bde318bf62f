# Sourced by ./run, ./test and .ci/run: installs the Debian packages of packages.txt that are
# missing and builds. Everything it says goes to standard error; standard output is the program's.

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)"

say() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; }

die() {
    say "$*"
    exit 4
}

# missing_packages GROUP...: the packages of these groups that are not installed.
missing_packages() {
    local wanted installed group
    wanted=$(for group in "$@"; do
        sed -n "s/^$group //p" "$root/packages.txt"
    done)
    # shellcheck disable=SC2086
    installed=$(dpkg-query -W -f='${db:Status-Status} ${Package}\n' $wanted 2>/dev/null |
        sed -n 's/^installed //p')
    comm -23 <(sort -u <<<"$wanted") <(sort -u <<<"$installed") | tr '\n' ' '
}

# install_packages GROUP...: installs what is missing, as root or through sudo, after saying so.
install_packages() {
    local missing as_root=()
    command -v dpkg-query >/dev/null || die "this set-up is for Debian 12; install the packages of packages.txt by hand"
    missing=$(missing_packages "$@")
    [ -n "${missing// /}" ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || die "packages are missing; as root: apt-get install $missing"
        as_root=(sudo)
    fi
    say "installing packages: $missing"
    # shellcheck disable=SC2086
    if ! { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q update &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get -q install -y --no-install-recommends $missing; } >&2; then
        die "the packages could not be installed"
    fi
}

# configure PRESET [CMAKE ARGUMENT...]: only when the build folder does not have it already.
configure() {
    local preset=$1 argument
    local cache="$root/build/$preset/CMakeCache.txt"
    shift
    local is_done=yes
    grep -qsF "CMAKE_HOME_DIRECTORY:INTERNAL=$root" "$cache" || is_done=no
    [ -f "$root/build/$preset/build.ninja" ] || is_done=no
    for argument in "$@"; do
        argument=${argument#-D}
        grep -qsE "^${argument%%=*}:[A-Z]+=${argument#*=}\$" "$cache" || is_done=no
    done
    [ $is_done = no ] || return 0
    say "configuring build/$preset"
    rm -f "$cache"
    (cd "$root" && cmake --preset "$preset" "$@" >"$root/build/configure.log" 2>&1) || {
        cat "$root/build/configure.log" >&2
        die "configuring failed"
    }
}

# shown_from_first_step PRESET: passes a build's lines on from the first that compiles or links.
shown_from_first_step() {
    local line is_shown=no
    while IFS= read -r line; do
        if [ $is_shown = no ] && [[ $line == *"] Building"* || $line == *"] Linking"* ]]; then
            say "building build/$1 (the first time takes some minutes)"
            is_shown=yes
        fi
        [ $is_shown = no ] || printf '%s\n' "$line"
    done
}

# build PRESET [TARGET...]: quiet when there is nothing to do.
build() {
    local preset=$1 targets=() log="$root/build/build.log"
    shift
    [ $# -eq 0 ] || targets=(--target "$@")
    (cd "$root" && cmake --build --preset "$preset" "${targets[@]}" 2>&1) | tee "$log" |
        shown_from_first_step "$preset" >&2 || {
        grep -qE '\] (Building|Linking)' "$log" || cat "$log" >&2
        die "the build failed"
    }
}

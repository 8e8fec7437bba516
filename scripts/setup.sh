# Functions that ./demo and ./check share: install what is missing, configure, build. To be sourced by bash.
# The caller sets ROOT, the directory of the repository.

# Commands write here; shown only when one fails.
SETUP_LOG=${ROOT}/build/setup.log

fail() {
    printf '%s\n' "$*" >&2
    exit 2
}

# Shows that the command which writes the log is getting on: on a terminal its latest line, else a line now and then.
# Runs beside the command, and no longer than the script itself.
show_progress() {
    local started=$SECONDS shown=$SECONDS
    while sleep 0.2 && kill -0 $$ 2>/dev/null; do
        if [ -t 1 ]; then
            printf '\r\033[K  %s' "$(tail -n 1 "$SETUP_LOG" | tr -d '\r' | cut -c1-76)"
        elif [ $((SECONDS - shown)) -ge 15 ]; then
            shown=$SECONDS
            printf '  %4d s  %s\n' $((SECONDS - started)) "$(tail -n 1 "$SETUP_LOG" | cut -c1-100)"
        fi
    done
}

# run WHAT COMMAND...: runs the command with its output in the log and shows progress. When it fails, the end of its output
# is shown and its status returned.
run() {
    local what=$1 status=0 watcher
    shift
    printf '%s ...\n' "$what"
    : >"$SETUP_LOG"
    show_progress &
    watcher=$!
    "$@" >"$SETUP_LOG" 2>&1 </dev/null || status=$?
    kill "$watcher"
    wait "$watcher" 2>/dev/null || true
    [ ! -t 1 ] || printf '\r\033[K'
    if [ "$status" -ne 0 ]; then
        tail -n 25 "$SETUP_LOG" >&2
    fi
    return "$status"
}

missing_packages() {
    local package
    grep -vE '^[[:space:]]*(#|$)' "$ROOT/packaging/debian-packages.txt" | while read -r package; do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || printf '%s ' "$package"
    done
}

install_packages() {
    local missing as_root=()
    missing=$(missing_packages)
    [ -n "$missing" ] || return 0
    command -v apt-get >/dev/null || fail "These Debian packages are missing, and there is no apt-get: $missing"
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || fail "These packages are missing; install them as root: apt-get install $missing"
        sudo -v || fail "These packages are missing: $missing"
        as_root=(sudo)
    fi
    printf 'Missing packages: %s\n' "$missing"
    as_root+=(env DEBIAN_FRONTEND=noninteractive apt-get -q -o DPkg::Lock::Timeout=300)
    run 'Reading the package lists' "${as_root[@]}" update ||
        fail "The package lists cannot be read. Missing: $missing"
    # shellcheck disable=SC2086 # one word a package
    run 'Installing' "${as_root[@]}" install -y --no-install-recommends $missing ||
        fail "These packages cannot be installed: $missing"
}

# build TARGET...: brings these targets of the release build up to date; everything without a target.
build() {
    local directory=$ROOT/build/release targets=()
    [ $# -eq 0 ] || targets=(--target "$@")
    # A build directory that was copied along with the repository belongs to the old place.
    if ! grep -qsxF "CMAKE_HOME_DIRECTORY:INTERNAL=$ROOT" "$directory/CMakeCache.txt"; then
        rm -rf "$directory"
    fi
    if [ ! -f "$directory/build.ninja" ]; then
        run 'Configuring' cmake -S "$ROOT" --preset release || fail 'The build cannot be configured.'
    fi
    run 'Building' cmake --build "$directory" "${targets[@]}" || fail 'The build failed.'
}

# prepare TARGET...: everything up to the build.
prepare() {
    mkdir -p "$ROOT/build"
    install_packages
    build "$@"
}

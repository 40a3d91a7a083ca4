# Shared by the scripts: set-up of packages, configuring and building. Sourced, not run.
# Quiet when all is well; on failure it shows what failed and says what to do.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
mkdir -p build
log=build/script.log

die() {
    echo "$*" >&2
    exit 1
}

# quietly <what> <command...>: runs the command; its output is shown only when it fails.
quietly() {
    local what=$1
    shift
    if ! "$@" >"$log" 2>&1; then
        tail -n 60 "$log" >&2
        die "$what failed; the whole output is in $log."
    fi
}

# need_packages <purpose...>: installs the missing ones of the packages listed for these purposes.
need_packages() {
    local purposes wanted missing=() package
    purposes=$(IFS='|' && echo "$*")
    wanted=$(awk -v p="^($purposes)\$" '!/^#/ && $2 ~ p {print $1}' scripts/packages.txt | sort -u)
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        command -v cmake >/dev/null && return 0
        die "This is not a Debian system. Install what stands for these packages, then run again:" $wanted
    fi
    for package in $wanted; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed \
            || missing+=("$package")
    done
    if [[ ${#missing[@]} -eq 0 ]]; then
        return 0
    fi
    local root=()
    if [[ $(id -u) -ne 0 ]]; then
        command -v sudo >/dev/null \
            || die "Run as root, or install these packages by hand, then run again: ${missing[*]}"
        root=(sudo)
    fi
    echo "Installing ${#missing[@]} packages: ${missing[*]}"
    quietly "Reading the package lists" "${root[@]}" apt-get update
    quietly "Installing packages" "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y --no-install-recommends "${missing[@]}"
}

# build <preset> [<cmake option or target...>]: configures when needed and builds in build/<preset>.
build() {
    local preset=$1 options=() targets=() argument
    shift
    for argument in "$@"; do
        case $argument in
            -D*) options+=("$argument") ;;
            *) targets+=("--target" "$argument") ;;
        esac
    done
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    fi
    quietly "Configuring" cmake --preset "$preset" "${options[@]}"
    quietly "Building" cmake --build "build/$preset" "${targets[@]}"
}

# on_display <first> <width>x<height> <command...>: runs the command on a virtual display of its own,
# numbered <first> or above, with a window manager that is ready: it gives windows their frames and focus.
on_display() {
    local first=$1 size=$2
    shift 2
    xvfb-run -a -n "$first" -s "-screen 0 ${size}x24 -noreset" bash -c '
        # At the first key of a display the window manager takes its own keys anew, and one that is
        # pressed meanwhile is lost: so the first one comes before it.
        ! command -v xdotool >/dev/null || xdotool key Shift_L
        exec {ready}< <(exec openbox --startup "echo ready" 2>/dev/null)
        manager=$!
        if ! timeout 60 grep -qxm1 ready <&"$ready"; then
            echo "The window manager did not start." >&2
            exit 1
        fi
        result=0
        "$@" || result=$?
        kill "$manager" 2>/dev/null
        exit $result' - "$@"
}

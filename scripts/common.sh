# shellcheck shell=bash
# Functions for the other scripts, which source this file: they install packages, configure, build and report progress.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
mkdir -p build
log=build/script.log

die() {
    echo "$*" >&2
    exit 1
}

# quietly <what> <command...>: runs the command; its output is shown only when it fails. <what> names the step.
quietly() {
    local what=$1
    shift
    "$@" >"$log" 2>&1 || show_failure "$what"
}

show_failure() {
    tail -n 60 "$log" >&2
    echo "$1 failed; the whole output is in $PWD/$log." >&2
    case $1 in
        Reading* | Installing*) die "Check the network and the package sources, then run the script again." ;;
        Configuring* | Building*) die "If the output doesn't show an error in the sources, delete the build folder, such as build/release, and run the script again." ;;
    esac
    exit 1
}

# count_steps <what> <number of packages>: reads the output of apt-get or ninja, appends it to the log and shows the
# progress: on a terminal in one line, which it updates; otherwise as a new line for each tenth and at least every 30 s.
count_steps() {
    local what=$1 total=$2 label=$1 line done=0 tenth=0 reported=$SECONDS
    while IFS= read -r line; do
        printf '%s\n' "$line" >>"$log"
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            done=${BASH_REMATCH[1]} total=${BASH_REMATCH[2]}
        elif [[ $line =~ ^Get:([0-9]+)\  ]]; then
            label="$what, downloading" done=${BASH_REMATCH[1]}
        elif [[ $line =~ ^Setting\ up\  ]]; then
            [[ $label == "$what" ]] || { label=$what done=0 tenth=0; }
            done=$((done + 1))
        else
            continue
        fi
        if [[ -t 1 ]]; then
            printf '\r\033[K%s: %d of %d' "$label" "$done" "$total"
        elif ((total > 0 && (done * 10 / total > tenth || SECONDS - reported >= 30))); then
            tenth=$((done * 10 / total)) reported=$SECONDS
            printf '%s: %d of %d\n' "$label" "$done" "$total"
        fi
    done
    [[ ! -t 1 || $done -eq 0 ]] || echo
}

# with_progress <what> <number of packages> <command...>: runs apt-get or ninja and shows the progress.
with_progress() {
    local what=$1 total=$2
    shift 2
    : >"$log"
    if ! (set -o pipefail && "$@" 2>&1 | count_steps "$what" "$total"); then
        show_failure "$what"
    fi
}

# need_packages <purpose...>: installs the missing packages that packages.txt lists for these purposes.
need_packages() {
    local purposes wanted missing=() package count
    purposes=$(IFS='|' && echo "$*")
    wanted=$(awk -v p="^($purposes)\$" '!/^#/ && $2 ~ p {print $1}' scripts/packages.txt | sort -u)
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        command -v cmake >/dev/null && return 0
        # shellcheck disable=SC2086 # one word for each package
        die "This is not a Debian system. Install the equivalents of these packages, then run the script again:" $wanted
    fi
    for package in $wanted; do
        dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed \
            || missing+=("$package")
    done
    if [[ ${#missing[@]} -eq 0 ]]; then
        return 0
    fi
    local as_root=()
    if [[ $(id -u) -ne 0 ]]; then
        command -v sudo >/dev/null \
            || die "Run the script as root, or install these packages and run it again: ${missing[*]}"
        as_root=(sudo)
    fi
    echo "Reading the package lists (apt-get update)"
    quietly "Reading the package lists" "${as_root[@]}" apt-get update
    local install=(apt-get install -y --no-install-recommends "${missing[@]}")
    count=$("${install[@]}" -s 2>"$log" | grep -c '^Inst ') || show_failure "Selecting the packages"
    echo "Installing $count packages: ${missing[*]} and their dependencies"
    with_progress "Installing" "$count" "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive "${install[@]}"
}

# configure <preset> <cmake option...>: runs CMake if the options or CMakePresets.json have changed since the last run.
configure() {
    local folder=build/$1
    if [[ -f $folder/build.ninja && ! CMakePresets.json -nt $folder/build.ninja
        && $(cat "$folder/options" 2>/dev/null) == "$*" ]]; then
        return 0
    fi
    echo "Configuring $folder"
    quietly "Configuring" cmake --preset "$@"
    echo "$*" >"$folder/options"
}

# build <preset> [<cmake option or target...>]: configures if necessary and builds in build/<preset>.
build() {
    local preset=$1 options=() chosen=() argument
    shift
    for argument in "$@"; do
        case $argument in
            -D*) options+=("$argument") ;;
            *) chosen+=("--target" "$argument") ;;
        esac
    done
    if [[ ${CI:-} == true && $preset =~ ^(debug|release)$ ]]; then
        options+=(-DKV_WARNINGS_AS_ERRORS=ON)
    fi
    if command -v ccache >/dev/null; then
        options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    elif [[ $preset == debug ]]; then
        options+=(-DKV_PRECOMPILE_HEADERS=ON)
    fi
    configure "$preset" "${options[@]}"
    with_progress "Building build/$preset" 0 cmake --build "build/$preset" "${chosen[@]}"
}

# on_display <first> <width>x<height> <command...>: runs the command on a new virtual display, whose number is <first>
# or higher, under a window manager, which gives windows their frames and the focus.
on_display() {
    local first=$1 size=$2
    shift 2
    # shellcheck disable=SC2016 # expanded by the inner shell
    xvfb-run -a -n "$first" -s "-screen 0 ${size}x24 -noreset" bash -c '
        # After the first key event on a display the window manager grabs its shortcut keys again, and a key that is
        # pressed meanwhile is lost. So the first key event is sent before the window manager starts.
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

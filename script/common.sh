# Sourced by the scripts of this folder: $tree is the source tree, also for a script that was called through a symbolic
# link. With --help as its first word a script prints its head comment and does nothing else.
# shellcheck shell=bash disable=SC2034
tree=$(dirname "$(dirname "$(realpath "$0")")")
readonly tree

# Prints what the head comment of the script says.
print_head() { sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"; }

if [[ ${1-} == --help ]]; then
    print_head
    exit 0
fi

# say TEXT: a word to whoever has started the script.
say() { echo "$(basename "$0"): $1" >&2; }

# fail TEXT [STATUS]: ends the script; the status is 1 if not said.
fail() {
    say "$1"
    exit "${2-1}"
}

# configure PRESET: makes its build folder, unless it is there. One that came with a copied tree is made anew, as it
# would build the tree that it was made for.
configure() {
    local made=no
    grep -qsFx "CMAKE_HOME_DIRECTORY:INTERNAL=$tree" "$tree/build/$1/CMakeCache.txt" && made=yes
    [[ $made == yes && -f $tree/build/$1/build.ninja ]] || (cd "$tree" && cmake --fresh --preset "$1")
}

# For what runs inside the sandbox.

readonly camera_log=/var/log/camera.log camera_messages=/var/log/simcam.messages

# start_camera SIMCAM ARGUMENT...: starts the simulated camera, the program SIMCAM, and returns when it is ready.
start_camera() {
    "$1" --log "$camera_log" "${@:2}" 2>"$camera_messages" &
    camera=$!
    until grep -qs '^simcam: ready$' "$camera_messages"; do
        kill -0 "$camera" 2>/dev/null || fail "$(cat "$camera_messages")"
        sleep 0.01
    done
}

stop_camera() {
    kill -TERM "$camera"
    wait "$camera" || fail "$(cat "$camera_messages")"
}

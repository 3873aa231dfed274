# Sourced by the scripts of this folder: $tree is the source tree, also for a script that was called through a symbolic
# link. With --help as its first word a script prints its head comment and does nothing else.
# shellcheck shell=bash disable=SC2034
tree=$(dirname "$(dirname "$(realpath "$0")")")
readonly tree
if [[ ${1-} == --help ]]; then
    sed -n '2,/^[^#]/s/^# \{0,1\}//p' "$0"
    exit 0
fi

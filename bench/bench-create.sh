#!/usr/bin/env bash
# MHL creation against the reference pipeline `find | xargs xxhsum -H1` on the same tree,
# both from a cold cache, interleaved, three runs each; prints medians and the ratio.
# The creation is timed from the operation's start (the source's scan has run before, as
# in the application, and the cache is emptied after it); the whole process, scan
# included, is printed beside it.
set -euo pipefail
build=${HWC_BUILD:?run through bench/run}
data=${HWC_BENCH_DATA:?run through bench/run}
runs=3

dataset() { # DIR ARGS...: generated once, kept for later runs
    local dir=$1
    shift
    if [ ! -e "$dir/.complete" ]; then
        rm -rf "$dir"
        "$build/bench/create-dataset" "$dir" "$@"
        touch "$dir/.complete"
    fi
}

cold() { sync; echo 3 > /proc/sys/vm/drop_caches; }

now() { date +%s.%N; }

median() { printf '%s\n' "$@" | sort -g | sed -n "$(( ($# + 1) / 2 ))p"; }

reference() { # DIR: wall seconds of the pipeline
    local start
    start=$(now)
    find "$1" -type f -print0 | xargs -0 xxhsum -H1 >/dev/null 2>&1
    echo "$(now) - $start" | bc -l
}

compare() { # NAME DIR TARGET
    local name=$1 dir=$2 target=$3 ours=() whole=() theirs=() i start out
    for i in $(seq "$runs"); do
        rm -f "$dir"/*.mhl
        cold
        theirs+=("$(reference "$dir")")
        cold
        start=$(now)
        out=$("$build/bench/create-mhl" --cold "$dir")
        whole+=("$(echo "$(now) - $start" | bc -l)")
        ours+=("$(echo "$out" | sed -n 's/^operation \([0-9.]*\) s, state 7,.*/\1/p')")
        [ -n "${ours[-1]}" ] || { echo "creation failed: $out" >&2; exit 1; }
        rm -f "$dir"/*.mhl
    done
    local a b w
    a=$(median "${ours[@]}")
    b=$(median "${theirs[@]}")
    w=$(median "${whole[@]}")
    printf '%-24s hashwarden %7.2f s   find|xargs xxhsum -H1 %7.2f s   ratio %.2f (target <= %s)\n' \
        "$name" "$a" "$b" "$(echo "$a / $b" | bc -l)" "$target"
    printf '%-24s whole process with the source scan %.2f s (ratio %.2f)\n' \
        "" "$w" "$(echo "$w / $b" | bc -l)"
    echo "    runs hashwarden: ${ours[*]}"
    echo "    runs with scan:  ${whole[*]}"
    echo "    runs reference:  ${theirs[*]}"
}

dataset "$data/create-dataset" 4 960 5000 100 1 64
dataset "$data/create-small-files" 0 0 100000 1000 1 16
compare "4x960 MiB + 5000 small" "$data/create-dataset" 0.85
compare "100,000 small files" "$data/create-small-files" 1.5

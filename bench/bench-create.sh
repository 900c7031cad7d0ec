#!/usr/bin/env bash
# MHL creation against the reference pipeline `find | xargs xxhsum -H1` on the same tree,
# both from a cold cache, interleaved, three runs each; prints medians and the ratio.
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

seconds() { # COMMAND...: wall time in seconds
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}

median() { printf '%s\n' "$@" | sort -g | sed -n "$(( ($# + 1) / 2 ))p"; }

reference() { find "$1" -type f -print0 | xargs -0 xxhsum -H1; }

compare() { # NAME DIR TARGET
    local name=$1 dir=$2 target=$3 ours=() theirs=() i
    for i in $(seq "$runs"); do
        rm -f "$dir"/*.mhl
        cold
        theirs+=("$(seconds reference "$dir")")
        cold
        ours+=("$(seconds "$build/bench/create-mhl" "$dir")")
        rm -f "$dir"/*.mhl
    done
    local a b
    a=$(median "${ours[@]}")
    b=$(median "${theirs[@]}")
    printf '%-22s hashwarden %7.2f s   find|xargs xxhsum -H1 %7.2f s   ratio %.2f (target <= %s)\n' \
        "$name" "$a" "$b" "$(echo "$a / $b" | bc -l)" "$target"
    echo "    runs hashwarden: ${ours[*]}"
    echo "    runs reference:  ${theirs[*]}"
}

dataset "$data/create-dataset" 4 960 5000 100 1 64
dataset "$data/create-small-files" 0 0 100000 1000 1 16
compare "4x960 MiB + 5000 small" "$data/create-dataset" 0.85
compare "100,000 small files" "$data/create-small-files" 1.5

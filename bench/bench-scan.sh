#!/usr/bin/env bash
# Source scan of 1,000,000 files (1,000 folders of 1,000) beside du -sb and find -type f on
# the same tree, warm and cold (page, dentry and inode caches dropped before every run).
# Runs interleaved; medians of whole-process wall times; target: scan <= 1.1x du.
set -euo pipefail
: "${HWC_BUILD:?run through bench/run}" "${HWC_BENCH_DATA:?run through bench/run}"
tree=$HWC_BENCH_DATA/scan-tree
warmRuns=${HWC_SCAN_WARM_RUNS:-5}
coldRuns=${HWC_SCAN_COLD_RUNS:-3}

if [ ! -d "$tree" ]; then
    echo "generating $tree (once)"
    rm -rf "$tree.partial"
    "$HWC_BUILD/bench/scan_generate" "$tree.partial"
    mv "$tree.partial" "$tree"
fi

dropCaches() {
    sync
    echo 3 >/proc/sys/vm/drop_caches
}

# Prints the wall seconds of one run of the command.
wall() {
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}

median() {
    sort -g | awk '{ v[NR] = $1 } END { m = (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2; printf "%.3f", m }'
}

# The scan must agree with find on what it counted before its time means anything.
expected=$(find "$tree" -type f | wc -l)
counted=$("$HWC_BUILD/bench/source_scan" "$tree" | awk '{ print $1 }')
if [ "$counted" != "$expected" ]; then
    echo "scan counted $counted files, find $expected" >&2
    exit 1
fi

measure() { # mode runs
    local mode=$1 runs=$2 i tool
    declare -A times=([du]="" [find]="" [scan]="")
    for ((i = 0; i < runs; i++)); do
        for tool in du find scan; do
            [ "$mode" = cold ] && dropCaches
            case $tool in
            du) times[du]+="$(wall du -sb "$tree")"$'\n' ;;
            find) times[find]+="$(wall find "$tree" -type f)"$'\n' ;;
            scan) times[scan]+="$(wall "$HWC_BUILD/bench/source_scan" "$tree")"$'\n' ;;
            esac
        done
    done
    local du find scan
    du=$(printf '%s' "${times[du]}" | median)
    find=$(printf '%s' "${times[find]}" | median)
    scan=$(printf '%s' "${times[scan]}" | median)
    printf '%-5s %d runs  du -sb %6.3f s  find -type f %6.3f s  scan %6.3f s  scan/du %.2fx  scan/find %.2fx\n' \
        "$mode" "$runs" "$du" "$find" "$scan" "$(echo "$scan / $du" | bc -l)" "$(echo "$scan / $find" | bc -l)"
}

echo "scan of $expected files (medians, whole-process wall time; target scan/du <= 1.10)"
# One untimed pass so that the warm runs start warm.
du -sb "$tree" >/dev/null
measure warm "$warmRuns"
measure cold "$coldRuns"

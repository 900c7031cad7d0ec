#!/usr/bin/env bash
# The window's cost: the same cold dataset verified through the command line and through
# the real operation screen (offscreen), interleaved, with the event loop probed during the
# window's run. Dataset: two files of 1 GiB and 1,000 files of 4-64 KiB, one XXH64 MHL whose
# digests come from xxhsum. "Cold" drops every cache, then runs each front end once over a
# one-file list elsewhere, so that both compare reading the dataset, not loading their
# programs, libraries, plugins and fonts from the same disk. Each run alternates which front
# end goes first.
set -euo pipefail
root="$HWC_BENCH_DATA/window"
data="$root/data"
runs=${HWC_BENCH_RUNS:-3}

if [ ! -e "$root/.complete" ]; then
    echo "generating the dataset in $root (once)"
    rm -rf "$root"
    mkdir -p "$data/big"
    for i in 1 2; do head -c $((1024 * 1024 * 1024)) /dev/urandom >"$data/big/clip$i.bin"; done
    RANDOM=7
    for d in $(seq -w 0 9); do
        mkdir -p "$data/small/dir$d"
        for f in $(seq -w 0 99); do
            head -c $((4096 + RANDOM % 61440)) /dev/urandom >"$data/small/dir$d/f$f.bin"
        done
    done
    {
        echo '<?xml version="1.0" encoding="UTF-8"?>'
        echo '<hashlist version="1.1">'
        (cd "$data" && find big small -type f | sort | xargs xxhsum -H1 --little-endian) |
            while read -r digest file; do
                printf '  <hash>\n    <file>%s</file>\n    <size>%s</size>\n    <xxhash64>%s</xxhash64>\n  </hash>\n' \
                    "$file" "$(stat -c %s "$data/$file")" "$digest"
            done
        echo '</hashlist>'
    } >"$data/all.mhl"
    touch "$root/.complete"
fi

warmup="$root/warmup"
if [ ! -e "$warmup/warm.mhl" ]; then
    mkdir -p "$warmup"
    echo "warm" >"$warmup/warm.txt"
    printf '<?xml version="1.0" encoding="UTF-8"?>\n<hashlist version="1.1">\n  <hash>\n    <file>warm.txt</file>\n    <size>5</size>\n    <xxhash64>%s</xxhash64>\n  </hash>\n</hashlist>\n' \
        "$(xxhsum -H1 --little-endian "$warmup/warm.txt" | cut -d' ' -f1)" >"$warmup/warm.mhl"
fi

cold() {
    sync
    if ! echo 3 >/proc/sys/vm/drop_caches 2>/dev/null; then
        find "$data" -type f -exec dd if={} iflag=nocache count=0 status=none \;
    fi
    "$HWC_BUILD/hashwarden" verify "$warmup/warm.mhl" >/dev/null 2>&1
    QT_QPA_PLATFORM=offscreen "$HWC_BUILD/bench/window_verify" "$warmup/warm.mhl" >/dev/null 2>&1
}
run_cli() {
    cold
    local start
    start=$(date +%s.%N)
    "$HWC_BUILD/hashwarden" verify "$data/all.mhl" >/dev/null 2>&1
    cli+=("$(echo "$(date +%s.%N) - $start" | bc -l)")
}
run_window() {
    cold
    line=$(QT_QPA_PLATFORM=offscreen "$HWC_BUILD/bench/window_verify" "$data/all.mhl" 2>/dev/null)
    window+=("$(sed -E 's/.*wall_s=([0-9.]+).*/\1/' <<<"$line")")
    stall+=("$(sed -E 's/.*max_stall_ms=([0-9.]+).*/\1/' <<<"$line")")
    p99+=("$(sed -E 's/.*p99_stall_ms=([0-9.]+).*/\1/' <<<"$line")")
}
median() { printf '%s\n' "$@" | sort -g | sed -n "$((($# + 1) / 2))p"; }

cli=() window=() stall=() p99=()
for run in $(seq "$runs"); do
    if ((run % 2)); then run_cli && run_window; else run_window && run_cli; fi
    echo "run $run: command line ${cli[-1]} s; window: $line"
done
c=$(median "${cli[@]}")
w=$(median "${window[@]}")
printf 'verification of 2 x 1 GiB + 1,000 small files, cold (programs warm), median of %s:\n' "$runs"
printf '  window %.2f s   command line %.2f s   ratio %.3f (target <= 1.03)\n' "$w" "$c" \
    "$(echo "$w / $c" | bc -l)"
printf '  event loop during the window run: longest stall %.2f ms (target < 16), 99th percentile %.2f ms (target < 5)\n' \
    "$(median "${stall[@]}")" "$(median "${p99[@]}")"

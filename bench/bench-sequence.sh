#!/usr/bin/env bash
# Many small files read as fast as the medium serves them: an image sequence of
# HWC_SEQUENCE_FILES (20,000) files of 16 KiB, verified by hashwarden with its default
# settings beside xxhsum -c, md5sum -c and fio reading the same files with direct reads at
# queue depth 32 (the medium's limit for this many files). Whole processes, each run cold
# (every cache dropped, then the command's own program and libraries read back, so that
# the figures compare reading the dataset, not loading programs), interleaved, medians of
# HWC_BENCH_RUNS (3). Targets: at least 2 x faster than xxhsum -c, no slower than fio.
set -euo pipefail
build=${HWC_BUILD:?run through bench/run}
count=${HWC_SEQUENCE_FILES:-20000}
runs=${HWC_BENCH_RUNS:-3}
root="${HWC_BENCH_DATA:?run through bench/run}/sequence-${count}x16k"
hw="$build/hashwarden"

generate() {
    rm -rf "$root"
    mkdir -p "$root/files"
    head -c $((count * 16384)) /dev/urandom | (cd "$root/files" && split -b 16384 -d -a 6 - frame)
    cd "$root"
    find files -type f | sort >list
    xargs md5sum <list >all.md5
    xargs xxhsum -H1 <list >all.xxh64
    {
        echo '<?xml version="1.0" encoding="UTF-8"?>'
        echo '<hashlist version="1.1">'
        xargs xxhsum -H1 --little-endian <list |
            awk '{ printf "<hash><file>%s</file><size>16384</size><xxhash64>%s</xxhash64></hash>\n", $2, $1 }'
        echo '</hashlist>'
    } >sequence.mhl
    touch .complete
}
[ -e "$root/.complete" ] || (echo "generating $root (once)" && generate)
cd "$root"

cold() { sync; echo 3 >/proc/sys/vm/drop_caches; }
warm_program() { # COMMAND: reads its executable and shared libraries into the cache
    local exe
    exe=$(command -v "$1")
    # shellcheck disable=SC2046 # one path a word
    cat "$exe" $(ldd "$exe" | awk '$2 == "=>" && $3 ~ /^\// {print $3} $1 ~ /^\// {print $1}') >/dev/null
}
timed() { # COMMAND...: wall seconds of one cold run; the command must succeed
    cold
    warm_program "$1"
    local start
    start=$(date +%s.%N)
    "$@" >/dev/null 2>&1 || { echo "failed: $*" >&2; exit 1; }
    echo "$(date +%s.%N) - $start" | bc -l
}
median() { printf '%s\n' "$@" | sort -g | sed -n "$((($# + 1) / 2))p"; }

declare -A t
for run in $(seq "$runs"); do
    t[hashwarden]+=" $(timed "$hw" verify sequence.mhl)"
    t[xxhsum]+=" $(timed xxhsum -c -q all.xxh64)"
    t[md5sum]+=" $(timed md5sum -c --quiet all.md5)"
    t[fio]+=" $(timed fio --name=sequence --opendir=files --direct=1 --ioengine=io_uring \
        --iodepth=32 --openfiles=64 --rw=read --bs=16k --output=/dev/null)"
    echo "run $run of $runs done (load $(cut -d' ' -f1 /proc/loadavg))"
done

med() { eval "median ${t[$1]}"; }
ours=$(med hashwarden)
echo "image sequence of $count x 16 KiB, cold, medians of $runs on $(nproc) cores:"
printf '  hashwarden verify (defaults) %6.2f s  %7.0f files/s\n' "$ours" "$(echo "$count / $ours" | bc -l)"
printf '  %-28s %6.2f s  x%.2f (target >= 2)\n' "xxhsum -c" "$(med xxhsum)" \
    "$(echo "$(med xxhsum) / $ours" | bc -l)"
printf '  %-28s %6.2f s  x%.2f\n' "md5sum -c" "$(med md5sum)" "$(echo "$(med md5sum) / $ours" | bc -l)"
printf '  %-28s %6.2f s  x%.2f (target >= 1)\n' "fio, direct, io_uring, qd 32" "$(med fio)" \
    "$(echo "$(med fio) / $ours" | bc -l)"
echo "runs (s):"
for key in $(printf '%s\n' "${!t[@]}" | sort); do echo "  $key:${t[$key]}"; done

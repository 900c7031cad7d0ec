#!/usr/bin/env bash
# Memory and time of `hashwarden verify` as a whole process on an MHL of 1,000,000 entries
# whose files are all missing (so cold and warm are the same): the records, the reports and
# the history of a run of a million failures. With HWC_BENCH_BASELINE set to another build
# folder, its hashwarden runs on the same list in the same way, beside this one.
set -euo pipefail
list="$HWC_BENCH_DATA/records/million.mhl"
runs=${HWC_BENCH_RUNS:-3}

if [ ! -e "$list" ]; then
    mkdir -p "$(dirname "$list")"
    awk 'BEGIN {
        print "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<hashlist version=\"1.1\">"
        for (i = 0; i < 1000000; i++)
            printf "  <hash>\n    <file>missing/%02d/clip%07d.mov</file>\n    <size>1048576</size>\n    <md5>d41d8cd98f00b204e9800998ecf8427e</md5>\n  </hash>\n", i % 100, i
        print "</hashlist>"
    }' >"$list.part"
    mv "$list.part" "$list"
fi

# "<wall seconds> <peak MB>" of one run; the history goes to a fresh folder each time.
measure() {
    local binary=$1 home
    home=$(mktemp -d)
    # A run of failures exits with 1; any other exit is a broken run.
    local status=0
    HOME=$home XDG_DATA_HOME=$home/data XDG_CONFIG_HOME=$home/config \
        /usr/bin/time -f '%e %M' -o "$home/time" "$binary" verify "$list" >/dev/null 2>&1 ||
        status=$?
    if [ "$status" -ne 1 ]; then
        echo "$binary verify exited with $status" >&2
        exit 1
    fi
    tail -n 1 "$home/time" | awk '{ printf "%s %.0f\n", $1, $2 / 1024 }'
    rm -rf "$home"
}
median() { printf '%s\n' "$@" | sort -g | sed -n "$((($# + 1) / 2))p"; }

report() {
    local name=$1 binary=$2 times=() peaks=() run
    for run in $(seq "$runs"); do
        read -r wall peak < <(measure "$binary")
        times+=("$wall")
        peaks+=("$peak")
    done
    printf '  %-9s %6.2f s  %5d MB peak   (median of %d; runs: %s s / %s MB)\n' "$name" \
        "$(median "${times[@]}")" "$(median "${peaks[@]}")" "$runs" "${times[*]}" "${peaks[*]}"
}

echo "hashwarden verify of a 1,000,000-entry MHL, every file missing (target <= 6 s, <= 400 MB):"
if [ -n "${HWC_BENCH_BASELINE:-}" ]; then
    report before "$HWC_BENCH_BASELINE/hashwarden"
fi
report now "$HWC_BUILD/hashwarden"

#!/usr/bin/env bash
# Throughput of each digest fed in 1 MiB blocks through HWCChecksum, beside the library's own
# figure measured in the same run (openssl speed for MD5/SHA-1, xxhsum -b for xxHash), all in
# CPU time as those tools count it, in interleaved rounds; medians. Target: at least 95% of the
# reference.
set -euo pipefail
rounds=${HWC_BENCH_ROUNDS:-5}
speed=$HWC_BUILD/bench/digest_speed

median() { sort -g | awk '{v[NR]=$1} END {print (NR % 2) ? v[(NR+1)/2] : (v[NR/2]+v[NR/2+1])/2}'; }

# Bytes per second of the reference implementation.
reference() {
    case $1 in
    md5 | sha1)
        openssl speed -seconds 1 -evp "$1" -bytes 1048576 2>/dev/null |
            awk -v k="$1" '$1 == k {sub(/k$/, "", $2); printf "%.0f\n", $2 * 1000}'
        ;;
    xxhash | xxhash64)
        local variant=1
        [ "$1" = xxhash64 ] && variant=3
        xxhsum -q -b$variant -i3 -B1048576 2>&1 | tr '\r' '\n' |
            awk '/it\/s/ {for (i = 1; i <= NF; i++) if ($i == "it/s") r = $(i-1)} END {printf "%.0f\n", r * 1048576}'
        ;;
    esac
}

kinds=(md5 sha1 xxhash xxhash64)
declare -A ours theirs
for ((round = 1; round <= rounds; round++)); do
    for kind in "${kinds[@]}"; do
        theirs[$kind]+="$(reference "$kind") "
        ours[$kind]+="$("$speed" "$kind" 1) "
    done
done

printf '%-9s %14s %14s %7s  %s\n' digest "reference MB/s" "HWC MB/s" ratio "target >= 0.95"
for kind in "${kinds[@]}"; do
    ref=$(tr ' ' '\n' <<<"${theirs[$kind]}" | grep . | median)
    own=$(tr ' ' '\n' <<<"${ours[$kind]}" | grep . | median)
    awk -v k="$kind" -v r="$ref" -v o="$own" 'BEGIN {
        ratio = o / r
        printf "%-9s %14.0f %14.0f %7.3f  %s\n", k, r / 1e6, o / 1e6, ratio, (ratio >= 0.95 ? "met" : "NOT met")
    }'
done
echo "(MB = 10^6 bytes; medians of $rounds interleaved rounds; references: openssl speed -evp, xxhsum -b -B1048576)"

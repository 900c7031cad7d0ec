#!/usr/bin/env bash
# Verification speed and memory, each run cold, interleaved with the peers of the same run:
# md5sum -c, sha1sum -c and xxhsum -c on the same files. Dataset: four files of 960 MiB and
# 5,000 files of 1-64 KiB in 100 folders, one MHL per digest kind (the digests come from
# the peers themselves), plus an MHL of 1,000,000 entries for peak memory.
set -euo pipefail
runner="$HWC_BUILD/bench/verify_run"
root="$HWC_BENCH_DATA/verify"
data="$root/data"
runs=${HWC_BENCH_RUNS:-3}

generate_files() {
    mkdir -p "$data/big"
    for i in 1 2 3 4; do
        head -c $((960 * 1024 * 1024)) /dev/urandom >"$data/big/big$i.bin"
    done
    RANDOM=42
    for d in $(seq -w 0 99); do
        mkdir -p "$data/small/dir$d"
        for f in $(seq -w 0 49); do
            head -c $((1024 + (RANDOM * 32768 + RANDOM) % 64513)) /dev/urandom \
                >"$data/small/dir$d/f$f.bin"
        done
    done
}

# One MHL from a "digest  path" list; $2 is the element name, $3 turns a digest into its
# MHL text.
write_mhl() {
    local list=$1 kind=$2 convert=$3 out=$4
    {
        echo '<?xml version="1.0" encoding="UTF-8"?>'
        echo '<hashlist version="1.1">'
        while read -r digest file; do
            printf '  <hash>\n    <file>%s</file>\n    <size>%s</size>\n    <%s>%s</%s>\n  </hash>\n' \
                "$file" "$(stat -c %s "$data/$file")" "$kind" "$($convert "$digest")" "$kind"
        done <"$list"
        echo '</hashlist>'
    } >"$out"
}
as_is() { echo "$1"; }
hex_to_decimal() { echo $((16#$1)); }

generate_lists() {
    mkdir -p "$root/lists"
    (cd "$data" && find big small -type f | sort >"$root/lists/files")
    (cd "$data" && xargs md5sum <"$root/lists/files" >"$root/lists/all.md5")
    (cd "$data" && xargs sha1sum <"$root/lists/files" >"$root/lists/all.sha1")
    (cd "$data" && xargs xxhsum -H0 <"$root/lists/files" >"$root/lists/all.xxh32")
    (cd "$data" && xargs xxhsum -H1 <"$root/lists/files" >"$root/lists/all.xxh64")
    (cd "$data" && xargs xxhsum -H1 --little-endian <"$root/lists/files" >"$root/lists/all.xxh64le")
    grep ' small/' "$root/lists/all.md5" >"$root/lists/small.md5"
    write_mhl "$root/lists/all.md5" md5 as_is "$data/all-md5.mhl"
    write_mhl "$root/lists/all.sha1" sha1 as_is "$data/all-sha1.mhl"
    write_mhl "$root/lists/all.xxh32" xxhash hex_to_decimal "$data/all-xxhash.mhl"
    write_mhl "$root/lists/all.xxh64le" xxhash64 as_is "$data/all-xxhash64.mhl"
    write_mhl "$root/lists/small.md5" md5 as_is "$data/small-md5.mhl"
    mkdir -p "$root/million"
    awk 'BEGIN {
        print "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<hashlist version=\"1.1\">"
        for (i = 0; i < 1000000; i++)
            printf "  <hash>\n    <file>missing/%02d/clip%07d.mov</file>\n    <size>1048576</size>\n    <md5>d41d8cd98f00b204e9800998ecf8427e</md5>\n  </hash>\n", i % 100, i
        print "</hashlist>"
    }' >"$root/million/million.mhl"
}

if [ ! -e "$root/.complete" ]; then
    echo "generating the dataset in $root (once)"
    rm -rf "$root"
    generate_files
    generate_lists
    touch "$root/.complete"
fi

cold() {
    sync
    if ! echo 3 >/proc/sys/vm/drop_caches 2>/dev/null; then
        # Without the privilege, evict every file of the dataset one by one.
        find "$data" -type f -exec dd if={} iflag=nocache count=0 status=none \;
    fi
}

# Wall seconds of one cold run of a command in the data folder; fails on a bad result.
timed() {
    cold
    local start end
    start=$(date +%s.%N)
    (cd "$data" && "$@" >/dev/null)
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}
median() { printf '%s\n' "$@" | sort -g | sed -n "$((($# + 1) / 2))p"; }

declare -A ours peers
kinds="md5 sha1 xxhash xxhash64"
declare -A peer_command=(
    [md5]="md5sum -c --quiet $root/lists/all.md5"
    [sha1]="sha1sum -c --quiet $root/lists/all.sha1"
    [xxhash]="xxhsum -c -q $root/lists/all.xxh32"
    [xxhash64]="xxhsum -c -q $root/lists/all.xxh64"
    [small]="md5sum -c --quiet $root/lists/small.md5"
)
declare -A our_source=(
    [md5]=all-md5.mhl [sha1]=all-sha1.mhl [xxhash]=all-xxhash.mhl
    [xxhash64]=all-xxhash64.mhl [small]=small-md5.mhl
)
for run in $(seq "$runs"); do
    for kind in $kinds small; do
        # shellcheck disable=SC2086
        peers[$kind]+=" $(timed ${peer_command[$kind]})"
        ours[$kind]+=" $(timed "$runner" "$data/${our_source[$kind]}")"
    done
    echo "run $run done"
done

declare -A target=([md5]=0.95 [sha1]=0.70 [xxhash]=0.85 [xxhash64]=0.85)
declare -A peer_name=([md5]="md5sum -c" [sha1]="sha1sum -c" [xxhash]="xxhsum -c (XXH32)"
    [xxhash64]="xxhsum -c (XXH64)")
echo "verification of 4 x 960 MiB + 5,000 small files, cold, median of $runs:"
for kind in $kinds; do
    # shellcheck disable=SC2086
    o=$(median ${ours[$kind]})
    # shellcheck disable=SC2086
    p=$(median ${peers[$kind]})
    printf '  %-9s hashwarden %6.2f s   %-18s %6.2f s   ratio %.2f (target <= %s)   runs: ours%s / peer%s\n' \
        "$kind" "$o" "${peer_name[$kind]}" "$p" "$(echo "$o / $p" | bc -l)" "${target[$kind]}" \
        "${ours[$kind]}" "${peers[$kind]}"
done
# shellcheck disable=SC2086
o=$(median ${ours[small]})
# shellcheck disable=SC2086
p=$(median ${peers[small]})
printf '  5,000 small files (md5): hashwarden %.0f files/s, md5sum -c %.0f files/s, ratio %.2f (target >= 1)\n' \
    "$(echo "5000 / $o" | bc -l)" "$(echo "5000 / $p" | bc -l)" "$(echo "$p / $o" | bc -l)"

echo "1,000,000-entry MHL (every file missing; target peak < 1536 MB):"
"$runner" "$root/million/million.mhl" | sed 's/^/  /' || true

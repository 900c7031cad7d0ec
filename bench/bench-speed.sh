#!/usr/bin/env bash
# Overlapped reading and --jobs: every figure beside its limit and its peers, all measured in
# the same run, cold, interleaved, medians of HWC_BENCH_RUNS (3). "Cold" drops every cache,
# then reads back each command's own program and libraries, so that the figures compare
# reading the dataset, not loading programs from the same disk (on these machines, with 8 MiB
# of read-ahead, loading Qt cold takes about 0.2 s). The small files are also timed with the
# programs cold.
#   limit = min(medium's direct-read rate, jobs x the digest's one-core rate)
# Dataset (once): HWC_SPEED_BIG files of HWC_SPEED_BIG_MIB MiB and HWC_SPEED_SMALL files of
# 1-64 KiB; defaults 4 x 960 MiB + 5,000.
set -euo pipefail
build=${HWC_BUILD:?run through bench/run}
big_count=${HWC_SPEED_BIG:-4}
big_mib=${HWC_SPEED_BIG_MIB:-960}
small_count=${HWC_SPEED_SMALL:-5000}
runs=${HWC_BENCH_RUNS:-3}
root="${HWC_BENCH_DATA:?run through bench/run}/speed-${big_count}x${big_mib}-${small_count}"
files="$root/files"
# The program as the package installs it: without its debug information, which would
# otherwise be read from disk with the program in the runs where programs start cold.
shipped=$(mktemp -d)
trap 'rm -rf "$shipped"' EXIT
strip -o "$shipped/hashwarden" "$build/hashwarden"
hw="$shipped/hashwarden"

generate() {
    rm -rf "$root"
    mkdir -p "$files/big"
    for i in $(seq "$big_count"); do
        head -c $((big_mib * 1024 * 1024)) /dev/urandom >"$files/big/big$i.bin"
    done
    RANDOM=42
    for i in $(seq 0 $((small_count - 1))); do
        mkdir -p "$files/small/dir$((i / 50))"
        head -c $((1024 + (RANDOM * 32768 + RANDOM) % 64513)) /dev/urandom \
            >"$files/small/dir$((i / 50))/f$i.bin"
    done
    cd "$root"
    find files -type f | sort >list
    grep '^files/big/' list >list.big
    grep '^files/small/' list >list.small
    xargs md5sum <list >all.md5
    xargs sha1sum <list >all.sha1
    xargs xxhsum -H0 <list >all.xxh32
    xargs xxhsum -H1 <list >all.xxh64
    hashdeep -c md5 -r files >known.hashdeep
    local kind tool set
    for set in list list.big list.small; do
        for kind in md5 sha1 xxhash xxhash64; do
            case $kind in
            md5) tool=(md5sum) ;; sha1) tool=(sha1sum) ;; xxhash) tool=(xxhsum -H0) ;;
            xxhash64) tool=(xxhsum -H1 --little-endian) ;;
            esac
            {
                echo '<?xml version="1.0" encoding="UTF-8"?>'
                echo '<hashlist version="1.1">'
                xargs "${tool[@]}" <"$set" | while read -r digest file; do
                    [ "$kind" = xxhash ] && digest=$((16#$digest))
                    printf '<hash><file>%s</file><size>%s</size><%s>%s</%s></hash>\n' \
                        "$file" "$(stat -c %s "$file")" "$kind" "$digest" "$kind"
                done
                echo '</hashlist>'
            } >"$set-$kind.mhl"
        done
    done
    touch .complete
}
[ -e "$root/.complete" ] || (echo "generating $root (once)" && generate)
cd "$root"

cold() { sync; echo 3 >/proc/sys/vm/drop_caches; }
now() { date +%s.%N; }
warm_program() { # COMMAND: reads its executable and shared libraries into the cache
    local exe
    case $1 in create) exe=$hw ;; direct_read) exe=$(command -v dd) ;; *) exe=$(command -v "$1") ;; esac
    # shellcheck disable=SC2046 # one path a word
    cat "$exe" $(ldd "$exe" | awk '$2 == "=>" && $3 ~ /^\// {print $3} $1 ~ /^\// {print $1}') >/dev/null
}
timed() { # COMMAND...: wall seconds of one run on the cold dataset; the command must succeed
    cold
    [ -n "${PROGRAMS_COLD:-}" ] || warm_program "$1"
    local start
    start=$(now)
    "$@" >/dev/null 2>&1 || { echo "failed: $*" >&2; exit 1; }
    echo "$(now) - $start" | bc -l
}
median() { printf '%s\n' "$@" | sort -g | sed -n "$((($# + 1) / 2))p"; }
bytes_of() { xargs stat -c %s <"$1" | paste -sd+ | bc; }
direct_read() { # reads every big file with 1 MiB direct reads
    xargs -I{} dd if={} of=/dev/null bs=1M iflag=direct status=none <list.big
}
create() { # JOBS: a new MHL for the files, removed afterwards
    "$hw" create --jobs "$1" files && rm -f files/*.mhl
}

kinds="md5 sha1 xxhash xxhash64"
declare -A t peer_cmd digest_rate
peer_cmd[md5]="md5sum -c --quiet all.md5"
peer_cmd[sha1]="sha1sum -c --quiet all.sha1"
peer_cmd[xxhash]="xxhsum -c -q all.xxh32"
peer_cmd[xxhash64]="xxhsum -c -q all.xxh64"
for kind in $kinds; do digest_rate[$kind]=$("$build/bench/digest_speed" "$kind" 1); done
loads=()
for run in $(seq "$runs"); do
    loads+=("$(cut -d' ' -f1 /proc/loadavg)")
    t[medium]+=" $(timed direct_read)"
    for kind in $kinds; do
        for jobs in 1 2; do
            t[big-$kind-$jobs]+=" $(timed "$hw" verify --jobs $jobs "list.big-$kind.mhl")"
            t[all-$kind-$jobs]+=" $(timed "$hw" verify --jobs $jobs "list-$kind.mhl")"
        done
        # shellcheck disable=SC2086
        t[peer-$kind]+=" $(timed ${peer_cmd[$kind]})"
    done
    t[hashdeep]+=" $(timed hashdeep -c md5 -j2 -a -k known.hashdeep -r files)"
    for jobs in 1 2; do
        t[small-$jobs]+=" $(timed "$hw" verify --jobs $jobs list.small-md5.mhl)"
        t[create-$jobs]+=" $(timed create $jobs)"
    done
    t[small-peer]+=" $(timed md5sum -c --quiet <(grep ' files/small/' all.md5))"
    t[small-1-programs-cold]+=" $(PROGRAMS_COLD=1 timed "$hw" verify list.small-md5.mhl)"
    t[small-peer-programs-cold]+=" $(PROGRAMS_COLD=1 timed md5sum -c --quiet <(grep ' files/small/' all.md5))"
    echo "run $run of $runs done (load $(cut -d' ' -f1 /proc/loadavg))"
done

med() { eval "median ${t[$1]}"; }
big_bytes=$(bytes_of list.big)
all_bytes=$(bytes_of list)
medium=$(echo "$big_bytes / $(med medium)" | bc -l)
mbs() { echo "$1 / 1000000" | bc -l; }
echo "dataset: $big_count x $big_mib MiB + $small_count small files; cold (programs warm); medians of $runs;" \
    "load average at the start of each run: ${loads[*]} on $(nproc) cores"
printf 'medium, 1 MiB direct reads (dd iflag=direct): %.0f MB/s\n' "$(mbs "$medium")"
limit() { # KIND JOBS
    local d=${digest_rate[$1]}
    echo "if ($medium < $2 * $d) $medium else $2 * $d" | bc -l
}
echo "large files: hashwarden rate and fraction of min(medium, jobs x one-core digest rate)"
for kind in $kinds create; do
    for jobs in 1 2; do
        if [ "$kind" = create ]; then
            secs=$(med create-$jobs) bytes=$all_bytes lim=$(limit xxhash64 "$jobs") what="create (xxhash64, whole dataset)"
        else
            secs=$(med big-$kind-$jobs) bytes=$big_bytes lim=$(limit "$kind" "$jobs") what="verify $kind"
        fi
        rate=$(echo "$bytes / $secs" | bc -l)
        printf '  %-34s --jobs %d %7.0f MB/s  limit %6.0f MB/s  %5.1f%%  (digest one core %.0f MB/s)\n' \
            "$what" "$jobs" "$(mbs "$rate")" "$(mbs "$lim")" "$(echo "100 * $rate / $lim" | bc -l)" \
            "$(mbs "${digest_rate[${kind/create/xxhash64}]}")"
    done
done
echo "whole dataset: seconds, and each peer's time over ours (> 1: we are faster)"
for kind in $kinds; do
    for jobs in 1 2; do
        ours=$(med all-$kind-$jobs)
        line=$(printf '  verify %-9s --jobs %d %6.2f s   %-22s %6.2f s  x%.2f' "$kind" "$jobs" "$ours" \
            "${peer_cmd[$kind]%% *} -c" "$(med peer-$kind)" "$(echo "$(med peer-$kind) / $ours" | bc -l)")
        [ "$kind" = md5 ] && line+=$(printf '   hashdeep -c md5 -j2 -a %6.2f s  x%.2f' \
            "$(med hashdeep)" "$(echo "$(med hashdeep) / $ours" | bc -l)")
        echo "$line"
    done
done
for jobs in 1 2; do
    printf '  %d small files, md5, --jobs %d: %6.0f files/s   md5sum -c %6.0f files/s  x%.2f\n' \
        "$small_count" "$jobs" "$(echo "$small_count / $(med small-$jobs)" | bc -l)" \
        "$(echo "$small_count / $(med small-peer)" | bc -l)" \
        "$(echo "$(med small-peer) / $(med small-$jobs)" | bc -l)"
done
printf '  the same with the programs cold too, --jobs 1: %6.0f files/s   md5sum -c %6.0f files/s  x%.2f\n' \
    "$(echo "$small_count / $(med small-1-programs-cold)" | bc -l)" \
    "$(echo "$small_count / $(med small-peer-programs-cold)" | bc -l)" \
    "$(echo "$(med small-peer-programs-cold) / $(med small-1-programs-cold)" | bc -l)"
echo "runs (s):"
for key in $(printf '%s\n' "${!t[@]}" | sort); do echo "  $key:${t[$key]}"; done

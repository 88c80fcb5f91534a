#!/usr/bin/env bash
# Benchmark of quillon-scan beside jdupes, fdupes and rmlint on generated trees.
#
#   bench/run.sh [FOLDER]      (default FOLDER: /tmp)
#   PROFILES="small mixed large" SCALE=1 COLD=0 bench/run.sh   (PROFILES="": none)
#
# Installs the peers when missing, builds a Release quillon-scan, generates the seeded
# profiles one after the other under FOLDER (small: about 50,000 small files; mixed: 5,000
# files, about 3.5 GiB; large: 60 files of 32-64 MiB) and times each command three times
# (median shown), page cache warm, then cold when the caches can be dropped (COLD=0 skips):
# the first scan with an empty cache, the re-scan with the cache, the three peers, and the
# floors measured in the same run: a bare stat walk (find), the read floor (every byte that
# must be read, by two readers: bench/floors.py, bench/read_all.py) and the MD5 floor (one
# copy of each distinct content of those bytes / (single-core MD5 throughput x cores)).
# Before the profiles: the MD5 lanes' throughput per width and a fuzz run against OpenSSL
# (FUZZ_SECONDS, default 10; a mismatch stops the benchmark). Each profile is also checked
# against the plain walk (bench/check_equal.sh). Then the memory per scanned file at 200,000
# files and, with SCALE=1, the first scan, re-scan and peak memory at 250,000, 500,000 and
# 1,000,000 files. Settings and cache are kept in a folder of the benchmark's own; every
# generated tree is deleted at the end.
set -euo pipefail

HERE=$(cd "$(dirname "$0")/.." && pwd)
BASE=${1:-/tmp}
WORK=$(mktemp -d "$BASE/quillon-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

"$HERE/scripts/install-deps.sh" --bench >/dev/null
BUILD=$HERE/build-release
cmake -S "$HERE" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF \
    -DQUILLON_BUILD_BENCH=ON >/dev/null
cmake --build "$BUILD" -j2 --target quillon-scan md5-lanes-bench >/dev/null
QS=$BUILD/src/quillon-scan

# Never the user's own settings or cache.
export HOME=$WORK/home XDG_CACHE_HOME=$WORK/home/.cache XDG_CONFIG_HOME=$WORK/home/.config
mkdir -p "$XDG_CACHE_HOME" "$XDG_CONFIG_HOME"
DB=$WORK/bench.db
TIME=/usr/bin/time
QARGS=(-q --no-exclude --min-size 0)

CORES=$(nproc)
MD5_BPS=$(openssl speed -evp md5 -bytes 16384 -seconds 3 2>/dev/null |
    awk '$1 == "md5" { v = $NF; sub(/k$/, "", v); printf "%.0f", v * 1000 }')
echo "machine: $CORES cores, single-core MD5 $(awk -v b="$MD5_BPS" 'BEGIN { printf "%.0f", b / 1e6 }') MB/s (openssl speed -evp md5 -bytes 16384)"
echo "load average at start: $(cut -d' ' -f1-3 /proc/loadavg)"
# The MD5 lanes quillon-scan digests with, and their cross-check against OpenSSL.
"$BUILD/bench/md5-lanes-bench" "${FUZZ_SECONDS:-10}" | sed 's/^/  md5 lanes: /'

CAN_DROP=0
if [ "${COLD:-1}" != 0 ] && sync && (echo 3 >/proc/sys/vm/drop_caches) 2>/dev/null; then
    CAN_DROP=1
fi

# once NAME COMMAND...: runs once, sets SECS and PEAK_KB, keeps standard output in $WORK/NAME.out.
once() {
    local name=$1
    shift
    $TIME -f "%e %M" -o "$WORK/time.txt" "$@" >"$WORK/$name.out" 2>"$WORK/$name.err" || true
    read -r SECS PEAK_KB < <(tail -n 1 "$WORK/time.txt")
}

# timed NAME COMMAND...: three runs (after $PREP, and with the page cache dropped when
# $COLD_RUN is 1); SECS is the median, PEAK_KB the largest peak.
timed() {
    local name=$1
    shift
    local all=() peak=0
    for _ in 1 2 3; do
        eval "${PREP:-:}"
        if [ "$COLD_RUN" = 1 ]; then
            sync
            echo 3 >/proc/sys/vm/drop_caches
        fi
        once "$name" "$@"
        all+=("$SECS")
        [ "$PEAK_KB" -gt "$peak" ] && peak=$PEAK_KB
    done
    SECS=$(printf '%s\n' "${all[@]}" | sort -n | sed -n 2p)
    PEAK_KB=$peak
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }'; }
lt() { awk -v a="$1" -v b="$2" 'BEGIN { print (a < b) ? "yes" : "NO" }'; }

row() {
    printf "  %-30s %8.2f s  %6s x first  %8s\n" "$1" "$2" "$(ratio "$2" "$T_FIRST")" \
        "$([ -n "${3:-}" ] && awk -v k="$3" 'BEGIN { printf "%.1f MB", k / 1024 }')"
}

time_profile() {
    local tree=$1 list=$2 must=$3 distinct=$4 cold=$5
    COLD_RUN=$cold
    if [ "$cold" = 0 ]; then
        # Warm the page cache: one full read of every file, then one walk.
        find "$tree" -type f -print0 >"$WORK/all"
        python3 "$HERE/bench/read_all.py" "$WORK/all" 2
        find "$tree" -type f -printf '%s\n' >"$WORK/walk.out"
    fi
    PREP='rm -f "$DB"' timed first "$QS" "${QARGS[@]}" --cache "$DB" "$tree"
    T_FIRST=$SECS
    local m_first=$PEAK_KB dups
    dups=$(sed -n 's/^Duplicates: \([0-9]*\) files.*/\1/p' "$WORK/first.err")
    PREP= timed rescan "$QS" "${QARGS[@]}" --cache "$DB" "$tree"
    local t_rescan=$SECS m_rescan=$PEAK_KB
    cmp -s "$WORK/first.out" "$WORK/rescan.out" || echo "  WARNING: the re-scan listed other groups than the first scan"
    timed jdupes jdupes -r -q "$tree"
    local t_jdupes=$SECS m_jdupes=$PEAK_KB
    timed fdupes fdupes -r -q -m "$tree"
    local t_fdupes=$SECS m_fdupes=$PEAK_KB fdupes_dups
    fdupes_dups=$(sed -n 's/^\([0-9]*\) duplicate files.*/\1/p' "$WORK/fdupes.out")
    # rmlint replaces its output file: give it a file of our own, never a device.
    pushd "$WORK" >/dev/null
    timed rmlint rmlint -T df -o fdupes:"$WORK/rmlint.fdupes" "$tree"
    popd >/dev/null
    local t_rmlint=$SECS m_rmlint=$PEAK_KB
    timed find find "$tree" -type f -printf '%s\n'
    local t_find=$SECS
    timed readfloor python3 "$HERE/bench/read_all.py" "$list" 2
    local t_read=$SECS
    local t_md5
    t_md5=$(awk -v s="$distinct" -v b="$MD5_BPS" -v c="$CORES" 'BEGIN { printf "%.3f", s / (b * c) }')

    echo "  -- page cache $([ "$cold" = 1 ] && echo cold || echo warm), median of 3"
    row "quillon-scan first scan" "$T_FIRST" "$m_first"
    row "quillon-scan re-scan" "$t_rescan" "$m_rescan"
    row "jdupes -r" "$t_jdupes" "$m_jdupes"
    row "fdupes -r" "$t_fdupes" "$m_fdupes"
    row "rmlint" "$t_rmlint" "$m_rmlint"
    row "stat walk (find)" "$t_find"
    row "read floor ($(awk -v b="$must" 'BEGIN { printf "%.0f MB", b / 1e6 }'), 2 readers)" "$t_read"
    row "MD5 floor ($(awk -v b="$distinct" 'BEGIN { printf "%.0f MB", b / 1e6 }') distinct)" "$t_md5"
    echo "  first scan faster than jdupes: $(lt "$T_FIRST" "$t_jdupes"), fdupes: $(lt "$T_FIRST" "$t_fdupes"), rmlint: $(lt "$T_FIRST" "$t_rmlint"); first / read floor = $(ratio "$T_FIRST" "$t_read") (target <= 1.3)"
    local bound
    bound=$(awk -v f="$t_find" 'BEGIN { printf "%.2f", 2 * f + 0.05 }')
    echo "  re-scan vs 2 x stat walk + 0.05 s = $bound s: $(awk -v a="$t_rescan" -v b="$bound" 'BEGIN { print (a <= b) ? "met" : "NOT met" }'); faster than every peer: $(lt "$t_rescan" "$(printf '%s\n' "$t_jdupes" "$t_fdupes" "$t_rmlint" | sort -n | head -1)")"
    echo "  duplicates found: quillon-scan ${dups:-?}, fdupes ${fdupes_dups:-?}"
}

run_profile() {
    local profile=$1
    local tree=$WORK/$profile
    echo
    echo "== profile $profile"
    echo "  $(python3 "$HERE/bench/gen_tree.py" "$profile" "$tree")"
    local floors must distinct
    floors=$(python3 "$HERE/bench/floors.py" "$tree" "$WORK/list")
    echo "  $floors"
    must=$(sed 's/.*must_read_bytes=\([0-9]*\).*/\1/' <<<"$floors")
    distinct=$(sed 's/.*distinct_bytes=\([0-9]*\).*/\1/' <<<"$floors")
    echo "  same result as the plain walk: $("$HERE/bench/check_equal.sh" "$QS" "$tree" | tr '\n' ' ')"
    time_profile "$tree" "$WORK/list" "$must" "$distinct" 0
    [ "$CAN_DROP" = 1 ] && time_profile "$tree" "$WORK/list" "$must" "$distinct" 1
    rm -rf "$tree"
}

# Peak memory of the first scan and the re-scan of a tree of tiny files, per file above a
# scan of two files.
run_memory() {
    local files=$1 tree=$WORK/many
    python3 "$HERE/bench/gen_tree.py" many "$tree" --files "$files" >/dev/null
    mkdir -p "$WORK/tiny"
    echo same >"$WORK/tiny/a"
    echo same >"$WORK/tiny/b"
    once start "$QS" "${QARGS[@]}" --no-cache "$WORK/tiny"
    local base=$PEAK_KB
    rm -f "$DB"
    once first "$QS" "${QARGS[@]}" --cache "$DB" "$tree"
    local t_first=$SECS m_first=$PEAK_KB
    once rescan "$QS" "${QARGS[@]}" --cache "$DB" "$tree"
    local t_rescan=$SECS m_rescan=$PEAK_KB
    # The bare stat walk of the same tree, just after: how fast this machine lists it now.
    once walk find "$tree" -type f -printf '%s\n'
    local t_walk=$SECS
    printf "  %9d files: first scan %6.2f s, %5.0f B/file; re-scan %6.2f s, %5.0f B/file; stat walk %6.2f s (peak %.0f MB; start-up %.1f MB)\n" \
        "$files" "$t_first" "$(awk -v k="$m_first" -v b="$base" -v n="$files" 'BEGIN { print (k - b) * 1024 / n }')" \
        "$t_rescan" "$(awk -v k="$m_rescan" -v b="$base" -v n="$files" 'BEGIN { print (k - b) * 1024 / n }')" "$t_walk" \
        "$(awk -v k="$m_first" -v r="$m_rescan" 'BEGIN { print (k > r ? k : r) / 1024 }')" "$(awk -v k="$base" 'BEGIN { print k / 1024 }')"
    rm -rf "$tree" "$WORK/tiny"
}

for profile in ${PROFILES-small mixed large}; do
    run_profile "$profile"
done
echo
echo "== memory per scanned file above start-up (target <= 400 bytes at 200,000 files)"
run_memory 200000
if [ "${SCALE:-0}" = 1 ]; then
    echo
    echo "== scale (one run each, page cache warm from the generation)"
    for n in 250000 500000 1000000; do
        run_memory "$n"
    done
fi
echo
echo "load average at end: $(cut -d' ' -f1-3 /proc/loadavg)"

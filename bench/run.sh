#!/usr/bin/env bash
# Benchmark of quillon-scan beside jdupes, fdupes and rmlint on generated trees.
#
#   bench/run.sh [FOLDER]      (default FOLDER: /tmp)
#
# Installs the peers when missing, builds a Release quillon-scan, generates three seeded
# profiles one after the other under FOLDER (small: about 50,000 small files; mixed: 5,000
# files, about 3.5 GiB; large: 60 files of 32-64 MiB), and times with a warm page cache:
# a first scan with an empty cache, a re-scan with the cache, the three peers, and two
# limits measured in the same run: a bare stat walk (find) and the MD5 limit (bytes that
# share their size with another file / (single-core MD5 throughput x cores)). Then the
# memory per scanned file at 200,000 files. Settings and cache are kept in a folder of the
# benchmark's own; every generated tree is deleted at the end.
set -euo pipefail

HERE=$(cd "$(dirname "$0")/.." && pwd)
BASE=${1:-/tmp}
WORK=$(mktemp -d "$BASE/quillon-bench.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

"$HERE/scripts/install-deps.sh" --bench
BUILD=$HERE/build-release
cmake -S "$HERE" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF >/dev/null
cmake --build "$BUILD" --target quillon-scan >/dev/null
QS=$BUILD/src/quillon-scan

# Never the user's own settings or cache.
export HOME=$WORK/home XDG_CACHE_HOME=$WORK/home/.cache XDG_CONFIG_HOME=$WORK/home/.config
mkdir -p "$XDG_CACHE_HOME" "$XDG_CONFIG_HOME"
DB=$WORK/bench.db
TIME=/usr/bin/time

CORES=$(nproc)
MD5_BPS=$(openssl speed -evp md5 -bytes 16384 -seconds 3 2>/dev/null |
    awk '$1 == "md5" { v = $NF; sub(/k$/, "", v); printf "%.0f", v * 1000 }')
echo "machine: $CORES cores, single-core MD5 $(awk -v b="$MD5_BPS" 'BEGIN { printf "%.0f", b / 1e6 }') MB/s (openssl speed -evp md5 -bytes 16384)"
echo "load average at start: $(cut -d' ' -f1-3 /proc/loadavg)"

# measure NAME COMMAND...: runs once, sets SECS and PEAK_KB, keeps standard output in $WORK/NAME.out.
measure() {
    local name=$1
    shift
    $TIME -f "%e %M" -o "$WORK/time.txt" "$@" >"$WORK/$name.out" 2>"$WORK/$name.err" || true
    read -r SECS PEAK_KB < <(tail -n 1 "$WORK/time.txt")
}

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (b > 0) printf "%.2f", a / b; else print "-" }'; }

row() { printf "  %-28s %8.2f s  %8s  %7.1f MB\n" "$1" "$2" "$3" "$(awk -v k="$4" 'BEGIN { print k / 1024 }')"; }

run_profile() {
    local profile=$1
    local tree=$WORK/$profile
    echo
    echo "== profile $profile"
    local gen
    gen=$(python3 "$HERE/bench/gen_tree.py" "$profile" "$tree")
    echo "  $gen"
    local shared=${gen##*shared_size_bytes=}

    # Warm the page cache: one full read of every file, then one walk.
    find "$tree" -type f -print0 | xargs -0 cat >/dev/null
    find "$tree" -type f -printf '%s\n' >/dev/null

    measure find find "$tree" -type f -printf '%s\n'
    local t_find=$SECS
    local t_md5
    t_md5=$(awk -v s="$shared" -v b="$MD5_BPS" -v c="$CORES" 'BEGIN { printf "%.3f", s / (b * c) }')

    rm -f "$DB"
    measure first "$QS" -q --no-exclude --min-size 0 --cache "$DB" "$tree"
    local t_first=$SECS m_first=$PEAK_KB
    local dups
    dups=$(sed -n 's/^Duplicates: \([0-9]*\) files.*/\1/p' "$WORK/first.err")
    measure rescan "$QS" -q --no-exclude --min-size 0 --cache "$DB" "$tree"
    local t_rescan=$SECS m_rescan=$PEAK_KB
    if ! cmp -s "$WORK/first.out" "$WORK/rescan.out"; then
        echo "  WARNING: the re-scan listed other groups than the first scan"
    fi
    measure nocache "$QS" -q --no-exclude --min-size 0 --no-cache "$tree"
    local t_nocache=$SECS m_nocache=$PEAK_KB

    measure jdupes jdupes -r -q "$tree"
    local t_jdupes=$SECS m_jdupes=$PEAK_KB
    measure fdupes fdupes -r -q -m "$tree"
    local t_fdupes=$SECS m_fdupes=$PEAK_KB
    local fdupes_dups
    fdupes_dups=$(sed -n 's/^\([0-9]*\) duplicate files.*/\1/p' "$WORK/fdupes.out")
    # rmlint replaces its output file: give it a file of our own, never a device.
    pushd "$WORK" >/dev/null
    measure rmlint rmlint -T df -o fdupes:"$WORK/rmlint.fdupes" "$tree"
    popd >/dev/null
    local t_rmlint=$SECS m_rmlint=$PEAK_KB

    printf "  %-28s %10s  %8s  %10s\n" "" "time" "ratio" "peak RSS"
    row "quillon-scan first scan" "$t_first" "1.00" "$m_first"
    row "quillon-scan re-scan" "$t_rescan" "$(ratio "$t_rescan" "$t_first")" "$m_rescan"
    row "quillon-scan --no-cache" "$t_nocache" "$(ratio "$t_nocache" "$t_first")" "$m_nocache"
    row "jdupes -r" "$t_jdupes" "$(ratio "$t_jdupes" "$t_first")" "$m_jdupes"
    row "fdupes -r" "$t_fdupes" "$(ratio "$t_fdupes" "$t_first")" "$m_fdupes"
    row "rmlint" "$t_rmlint" "$(ratio "$t_rmlint" "$t_first")" "$m_rmlint"
    echo "  limits: stat walk ${t_find} s; MD5 limit ${t_md5} s ($shared bytes of shared sizes)"
    echo "  first scan / MD5 limit = $(ratio "$t_first" "$t_md5") (target <= 1.5)"
    echo "  first scan faster than fdupes: $(awk -v a="$t_first" -v b="$t_fdupes" 'BEGIN { print (a < b) ? "yes" : "NO" }'), than rmlint: $(awk -v a="$t_first" -v b="$t_rmlint" 'BEGIN { print (a < b) ? "yes" : "NO" }')"
    local bound
    bound=$(awk -v f="$t_find" 'BEGIN { printf "%.2f", 2 * f + 0.1 }')
    echo "  re-scan ${t_rescan} s vs 2 x stat walk + 0.1 s = ${bound} s: $(awk -v a="$t_rescan" -v b="$bound" 'BEGIN { print (a <= b) ? "met" : "NOT met" }'); faster than every peer: $(awk -v a="$t_rescan" -v j="$t_jdupes" -v f="$t_fdupes" -v r="$t_rmlint" 'BEGIN { print (a < j && a < f && a < r) ? "yes" : "NO" }')"
    echo "  duplicates found: quillon-scan ${dups:-?}, fdupes ${fdupes_dups:-?}"
    rm -rf "$tree"
}

run_memory() {
    local tree=$WORK/many
    echo
    echo "== memory at 200,000 files"
    echo "  $(python3 "$HERE/bench/gen_tree.py" many "$tree")"
    mkdir -p "$WORK/tiny"
    echo same >"$WORK/tiny/a"
    echo same >"$WORK/tiny/b"
    measure start "$QS" -q --no-exclude --min-size 0 --no-cache "$WORK/tiny"
    local base=$PEAK_KB
    measure many_nocache "$QS" -q --no-exclude --min-size 0 --no-cache "$tree"
    local nocache=$PEAK_KB
    rm -f "$DB"
    measure many_first "$QS" -q --no-exclude --min-size 0 --cache "$DB" "$tree"
    local first=$PEAK_KB
    measure many_rescan "$QS" -q --no-exclude --min-size 0 --cache "$DB" "$tree"
    local rescan=$PEAK_KB
    local files=200000
    for what in "no cache:$nocache" "first scan:$first" "re-scan:$rescan"; do
        local kb=${what##*:}
        printf "  %-12s peak %7.1f MB, start-up %5.1f MB: %5.0f bytes per file (target <= 600)\n" "${what%%:*}" \
            "$(awk -v k="$kb" 'BEGIN { print k / 1024 }')" "$(awk -v k="$base" 'BEGIN { print k / 1024 }')" \
            "$(awk -v k="$kb" -v b="$base" -v n="$files" 'BEGIN { print (k - b) * 1024 / n }')"
    done
    rm -rf "$tree" "$WORK/tiny"
}

for profile in small mixed large; do
    run_profile "$profile"
done
run_memory
echo
echo "load average at end: $(cut -d' ' -f1-3 /proc/loadavg)"

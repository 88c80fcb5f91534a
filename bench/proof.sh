#!/usr/bin/env bash
# Benchmark of the removal proof's byte comparison beside a plain cmp of the same pairs and
# the MD5 limit (openssl md5 over the marked files).
#
#   bench/proof.sh [FOLDER]      (default FOLDER: /tmp)
#
# Two profiles, one after the other, with a warm page cache: 10,000 pairs of 4 KiB files and
# 20 pairs of 64 MiB files (2.5 GiB; 100 pairs would not stay in this machine's page cache).
# Every generated file is deleted at the end.
set -euo pipefail

HERE=$(cd "$(dirname "$0")/.." && pwd)
BASE=${1:-/tmp}
WORK=$(mktemp -d "$BASE/quillon-proof.XXXXXX")
trap 'rm -rf "$WORK"' EXIT

# PROOF names an already built bench_removal_proof; else a Release build is made.
if [[ -z "${PROOF:-}" ]]; then
    BUILD=$HERE/build-release
    cmake -S "$HERE" -B "$BUILD" -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUILLON_BUILD_TESTS=OFF \
        -DQUILLON_BUILD_BENCH=ON >/dev/null
    cmake --build "$BUILD" -j2 --target bench_removal_proof >/dev/null
    PROOF=$BUILD/bench/bench_removal_proof
fi

secs() { local s; s=$(date +%s.%N); "$@" >/dev/null; awk -v a="$s" -v b="$(date +%s.%N)" 'BEGIN { printf "%.3f", b - a }'; }

profile() {
    local count=$1 kib=$2 dir=$WORK/p$1
    mkdir -p "$dir/m" "$dir/k"
    for ((i = 0; i < count; i++)); do
        head -c $((kib * 1024)) /dev/urandom >"$dir/m/$i"
        cp "$dir/m/$i" "$dir/k/$i"
    done
    cat "$dir"/m/* "$dir"/k/* >/dev/null # warm the page cache
    local mb=$((count * kib / 1024))
    echo "== $count pairs of $kib KiB ($mb MiB marked)"
    "$PROOF" "$dir"
    local t
    t=$(secs bash -c "cd '$dir' && for ((i = 0; i < $count; i++)); do cmp -s m/\$i k/\$i; done")
    echo "cmp:   $t s, $(awk -v t="$t" -v n="$count" 'BEGIN { printf "%.1f", t * 1e6 / n }') us/file (one process per pair)"
    t=$(secs bash -c "cd '$dir/m' && find . -type f -print0 | xargs -0 -n 1000 openssl md5")
    echo "md5:   $t s, $(awk -v t="$t" -v m="$mb" 'BEGIN { if (t > 0) printf "%.0f", m * 1.048576 / t }') MB/s (openssl md5 of the marked files only)"
    rm -rf "$dir"
}

echo "load average at start: $(cut -d' ' -f1-3 /proc/loadavg)"
profile 10000 4
profile 20 65536

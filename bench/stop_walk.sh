#!/usr/bin/env bash
# How fast Stop takes effect while quillon-scan walks a large tree.
#
#   bench/stop_walk.sh [QUILLON_SCAN] [FOLDER] [FILES]
#
# Generates FILES tiny files (default 1,000,000, the "many" profile) under FOLDER (default
# /tmp), starts a scan without the cache, sends SIGINT (Stop) after one second and reports
# the time from the signal to the exit, the exit status (130 expected), the files recorded
# by then and the peak memory. Settings are kept in a folder of the benchmark's own; the tree
# is deleted at the end.
set -euo pipefail

HERE=$(cd "$(dirname "$0")/.." && pwd)
QS=${1:-$HERE/build/src/quillon-scan}
BASE=${2:-/tmp}
FILES=${3:-1000000}
WORK=$(mktemp -d "$BASE/quillon-stop.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
export HOME=$WORK/home XDG_CACHE_HOME=$WORK/home/.cache XDG_CONFIG_HOME=$WORK/home/.config
mkdir -p "$XDG_CACHE_HOME" "$XDG_CONFIG_HOME"

python3 "$HERE/bench/gen_tree.py" many "$WORK/tree" --files "$FILES" >&2
sync

/usr/bin/time -f '%M' -o "$WORK/rss" "$QS" --no-cache --quiet --min-size 0 --json "$WORK/tree" \
    >"$WORK/out.json" 2>"$WORK/err" &
PID=$!
sleep 1
START=$(date +%s.%N)
kill -INT "$(pgrep -P $PID)" 2>/dev/null || kill -INT $PID
set +e
wait $PID
STATUS=$?
set -e
END=$(date +%s.%N)
SCANNED=$(python3 -c 'import json,sys; print(json.load(open(sys.argv[1]))["scanned"])' "$WORK/out.json")
echo "entries: $FILES  exit status: $STATUS  recorded before Stop: $SCANNED"
echo "Stop to exit: $(echo "($END - $START) * 1000" | bc | cut -d. -f1) ms  peak RSS: $(tail -n 1 "$WORK/rss") KiB"

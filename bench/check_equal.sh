#!/usr/bin/env bash
# Checks that quillon-scan's fast first scan gives what the plain walk gives (one thread,
# every candidate read and digested on its own: QUILLON_SCAN_REFERENCE=1).
#
#   bench/check_equal.sh QUILLON_SCAN TREE
#
# Compared: the groups listed (JSON), the duplicate counts, and the caches: every row of the
# fast cache is in the reference cache, and a reference row is missing only for a file whose
# (size, digest) no other file has (proven unique by its first and last blocks).
# Exits 0 when equal, 1 with the differences otherwise.
set -euo pipefail
QS=$1
TREE=$2
WORK=$(mktemp -d "${TMPDIR:-/tmp}/quillon-equal.XXXXXX")
trap 'rm -rf "$WORK"' EXIT
export HOME=$WORK/home XDG_CACHE_HOME=$WORK/home/.cache XDG_CONFIG_HOME=$WORK/home/.config
mkdir -p "$XDG_CACHE_HOME" "$XDG_CONFIG_HOME"

"$QS" --json --no-exclude --min-size 0 --cache "$WORK/fast.db" "$TREE" >"$WORK/fast.json" 2>"$WORK/fast.err" || true
QUILLON_SCAN_REFERENCE=1 "$QS" --json --no-exclude --min-size 0 --cache "$WORK/ref.db" "$TREE" \
    >"$WORK/ref.json" 2>"$WORK/ref.err" || true

python3 - "$WORK" <<'EOF'
import json, sqlite3, sys
work = sys.argv[1]
bad = []
fast, ref = (json.load(open(f"{work}/{n}.json")) for n in ("fast", "ref"))
if fast != ref:
    bad.append("the groups or counts differ")
def rows(name):
    db = sqlite3.connect(f"{work}/{name}.db")
    db.text_factory = bytes
    return {r[0]: r[1:] for r in db.execute("SELECT filePath, fileHash, fileSize, fileCreationDate, fileModDate FROM hashTable")}
f, r = rows("fast"), rows("ref")
for path, row in f.items():
    if r.get(path) != row:
        bad.append(f"cache row differs: {path!r}: {row} vs {r.get(path)}")
shared = {}
for path, (md5, size, *_rest) in r.items():
    shared[(size, md5)] = shared.get((size, md5), 0) + 1
for path, (md5, size, *_rest) in r.items():
    if path not in f and shared[(size, md5)] > 1:
        bad.append(f"cache row missing for a file that shares its digest: {path!r}")
print(f"groups: {len(ref['groups'])}, duplicates: {ref['duplicates']}, "
      f"cache rows: fast {len(f)}, reference {len(r)}")
for line in bad[:20]:
    print("DIFFERENT:", line)
sys.exit(1 if bad else 0)
EOF

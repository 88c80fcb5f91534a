#!/usr/bin/env python3
"""What a duplicate finder that knows the MD5 of every possible duplicate must read.

    floors.py TREE LIST

Writes to LIST (NUL-separated) every regular file whose size another file shares and whose
first and last 4 KiB equal those of another file of that size: those are read in full (the
others are settled by their size or their edges). Prints the bytes of those files and the
bytes of their distinct contents (one copy per set of identical files: what MD5 must digest
at the least).
"""
import hashlib
import os
import sys

BLOCK = 4096


def edges(path, size):
    with open(path, "rb") as f:
        head = f.read(BLOCK)
        if size > BLOCK:
            f.seek(max(BLOCK, size - BLOCK))
            head += f.read(BLOCK)
    return head


def main():
    tree, out = sys.argv[1].encode(), sys.argv[2]
    by_size = {}
    for root, _dirs, files in os.walk(tree):
        for name in files:
            path = os.path.join(root, name)
            st = os.lstat(path)
            if os.path.isfile(path) and not os.path.islink(path):
                by_size.setdefault(st.st_size, []).append(path)
    must = []
    for size, paths in by_size.items():
        if len(paths) < 2:
            continue
        by_edges = {}
        for p in paths:
            by_edges.setdefault(edges(p, size), []).append(p)
        for same in by_edges.values():
            if len(same) > 1 or size <= BLOCK:
                must.extend((size, p) for p in same)
    total = sum(s for s, _ in must)
    distinct = {}
    for size, p in must:
        h = hashlib.md5()
        with open(p, "rb") as f:
            for chunk in iter(lambda: f.read(1 << 20), b""):
                h.update(chunk)
        distinct[(size, h.digest())] = size
    with open(out, "wb") as f:
        f.write(b"".join(p + b"\0" for _, p in must))
    print("must_read_bytes=%d distinct_bytes=%d files=%d" % (total, sum(distinct.values()), len(must)))


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Seeded test trees for the quillon-scan benchmark.

Every tree mixes exact duplicates (groups of 2 to 5 copies), files of a shared size that
differ in their first block, files that differ only in their last bytes, nested folders and
awkward names (spaces, quotes, a leading dash, Unicode in both normalisation forms, bytes
that are not UTF-8). The same seed always gives the same tree.

    gen_tree.py PROFILE DIR [--seed N] [--files N]

PROFILE: small (about 50,000 small files), mixed (5,000 files, about 3.5 GiB),
large (60 files of 32-64 MiB), many (200,000 tiny files, for the memory run).
Prints the number of files and bytes written, and the bytes that share their size with
another file (what a full-digest duplicate finder must read).
"""
import argparse
import math
import os
import random
import sys

POOL_SIZE = 80 << 20  # random bytes that file contents are cut from

AWKWARD = [
    b"with space", b"quote'single", b'quote"double', b"-leading-dash", b"caf\xc3\xa9",
    b"cafe\xcc\x81", b"latin1-\xe9t\xe9", b"tab\tname", b"star*?[x]", b"back\\slash",
    b"\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e", b"emoji-\xf0\x9f\x93\xb7",
]


def sizes_for(profile, rng, count):
    if profile == "small":
        out = []
        for _ in range(count):
            r = rng.random()
            if r < 0.70:
                out.append(rng.randint(1, 4096))
            elif r < 0.95:
                out.append(rng.randint(4097, 16384))
            else:
                out.append(rng.randint(16385, 65536))
        return out
    if profile == "many":
        return [rng.randint(1, 2048) for _ in range(count)]
    if profile == "large":
        return [rng.randint(32 << 20, 64 << 20) for _ in range(count)]
    # mixed: log-uniform from 1 KB to 8 MB, scaled to about 3.5 GiB in all
    raw = [math.exp(rng.uniform(math.log(1024), math.log(8 << 20))) for _ in range(count)]
    scale = (3.5 * (1 << 30)) / sum(raw)
    return [max(1, int(s * scale)) for s in raw]


def plan(profile, count, rng):
    """A list of (size, content key) per file; equal keys mean equal bytes."""
    # A quarter of the contents get copies; the rest are unique files.
    files = []
    sizes = sizes_for(profile, rng, count)
    i = 0
    key = 0
    while i < count:
        size = sizes[i]
        r = rng.random()
        if r < 0.25:
            copies = rng.randint(2, 5)
            for _ in range(min(copies, count - i)):
                files.append((size, ("dup", key)))
                i += 1
        elif r < 0.40 and size > 8:
            # Same size, different first block.
            for v in range(min(2, count - i)):
                files.append((size, ("head", key, v)))
                i += 1
        elif r < 0.50 and size > 8:
            # Same size, differ only in the last bytes.
            for v in range(min(2, count - i)):
                files.append((size, ("tail", key, v)))
                i += 1
        else:
            files.append((size, ("unique", key)))
            i += 1
        key += 1
    rng.shuffle(files)
    return files


def content(pool, size, recipe, seed):
    kind = recipe[0]
    key = recipe[1]
    r = random.Random(hash((seed, key)) & 0xFFFFFFFF)
    start = r.randrange(0, max(1, len(pool) - size)) if size < len(pool) else 0
    if size <= len(pool):
        data = bytearray(pool[start:start + size])
    else:
        data = bytearray((pool * (size // len(pool) + 1))[:size])
    mark = (key * 7919 + (recipe[2] if len(recipe) > 2 else 0)).to_bytes(8, "little")
    n = min(8, size)
    if kind == "head":
        data[0:n] = mark[:n]
    elif kind == "tail":
        data[size - n:size] = mark[:n]
    elif kind == "unique" and size >= 8:
        pos = r.randrange(0, size - 7)
        data[pos:pos + 8] = mark
    return data


def folder_for(index, rng, per_dir):
    depth = rng.randint(0, 4)
    parts = []
    for level in range(depth):
        parts.append(b"d%02d" % rng.randint(0, 5 if level else 20))
    parts.append(b"g%04d" % (index // per_dir))
    return b"/".join(parts)


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("profile", choices=["small", "mixed", "large", "many"])
    ap.add_argument("dir")
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--files", type=int, default=0, help="number of files (default: the profile's)")
    args = ap.parse_args()
    count = args.files or {"small": 50000, "mixed": 5000, "large": 60, "many": 200000}[args.profile]
    rng = random.Random(args.seed)
    pool = random.Random(args.seed + 1000).randbytes(POOL_SIZE if args.profile in ("mixed", "large") else 1 << 20)
    root = os.fsencode(args.dir)
    files = plan(args.profile, count, rng)
    per_dir = 40 if args.profile != "large" else 10
    total = 0
    by_size = {}
    made_dirs = set()
    for index, (size, recipe) in enumerate(files):
        folder = os.path.join(root, folder_for(index, rng, per_dir))
        if folder not in made_dirs:
            os.makedirs(folder, exist_ok=True)
            made_dirs.add(folder)
        name = b"f%06d" % index
        if rng.random() < 0.02:
            name = AWKWARD[rng.randrange(len(AWKWARD))] + b" " + name
        with open(os.path.join(folder, name), "wb") as f:
            f.write(content(pool, size, recipe, args.seed))
        total += size
        by_size[size] = by_size.get(size, 0) + 1
    shared = sum(size * n for size, n in by_size.items() if n > 1)
    print("files=%d bytes=%d shared_size_bytes=%d" % (len(files), total, shared))


if __name__ == "__main__":
    sys.exit(main())

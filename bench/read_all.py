#!/usr/bin/env python3
"""Reads every byte of the files listed (NUL-separated) with N readers, 1 MiB at a time.

    read_all.py LIST [N]

The read floor of the benchmark, and how it warms the page cache: the bytes really go
through a buffer (a copy to a null device may be skipped by the tools).
"""
import os
import sys


def read_files(paths):
    buf = bytearray(1 << 20)
    for p in paths:
        try:
            with open(p, "rb", buffering=0) as f:
                while f.readinto(buf):
                    pass
        except OSError:
            pass


def main():
    with open(sys.argv[1], "rb") as f:
        paths = [p for p in f.read().split(b"\0") if p]
    readers = int(sys.argv[2]) if len(sys.argv) > 2 else 2
    children = []
    for r in range(1, readers):
        pid = os.fork()
        if pid == 0:
            read_files(paths[r::readers])
            os._exit(0)
        children.append(pid)
    read_files(paths[0::readers])
    for pid in children:
        os.waitpid(pid, 0)


if __name__ == "__main__":
    main()

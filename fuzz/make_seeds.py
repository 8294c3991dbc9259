#!/usr/bin/env python3
"""Writes the seeds of the targets that decode bytes: corpus/entry/, corpus/classes/,
corpus/frontend/ and corpus/c_interface/.

A seed begins with a few chosen bytes, which select sizes or a part of the library. The bytes of a
seeded generator follow; the target reads them as a problem or as a sequence of operations. Any bytes
are a valid input, but these reach deep parts at once. Inputs that once broke something are beside the
seeds under names of their own. The inputs of the reader in corpus/reader/ are written by hand.
"""

import random
from pathlib import Path

CORPUS = Path(__file__).resolve().parent / "corpus"


def write(target, name, head, length, generator):
    path = CORPUS / target / name
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(bytes(head) + generator.randbytes(length))


def main():
    # Numbers of variables and inequalities, whether there are equalities; then the kinds of problem
    # and call.
    for k in range(30):
        generator = random.Random(k)
        variables = k % 13
        inequalities = generator.randrange(13)
        head = [variables, inequalities]
        write("entry", f"seed_{k:02}", head, 60 + 25 * variables + 12 * inequalities, generator)
    # 0 and 1: operations on matrices; 2: changes of a working set; 3: public members in any order.
    for k in range(24):
        generator = random.Random(100 + k)
        write("classes", f"seed_{k:02}", [k % 4], 100 + 40 * (k // 4), generator)
    # A style of problem and the way to solve it, in turn.
    for k in range(42):
        generator = random.Random(200 + k)
        write("frontend", f"seed_{k:02}", [k % 14, k % 8], 200 + 5 * k, generator)
    # A style of problem; then one solve, a sequence or a batch.
    for k in range(28):
        generator = random.Random(300 + k)
        write("c_interface", f"seed_{k:02}", [k % 14, k % 4], 200 + 5 * k, generator)


if __name__ == "__main__":
    main()

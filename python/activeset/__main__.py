"""``python3 -m activeset COMMAND``."""

from __future__ import annotations

import sys


def main(arguments: list[str]) -> int:
    if arguments[:1] != ["batch"]:
        print("usage: python3 -m activeset batch STORE [OPTION]...", file=sys.stderr)
        return 2
    try:
        from .batch._command import main as batch
    except ImportError as error:
        print(f"activeset batch needs zarr: {error}", file=sys.stderr)
        return 2
    return batch(arguments[1:])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

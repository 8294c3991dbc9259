"""``python3 -m activeset batch``: solves a store."""

from __future__ import annotations

import argparse
import sys

from ._errors import BatchError

TYPE_CHECKING = False
if TYPE_CHECKING:
    from collections.abc import Sequence
    from typing import Any


def _shard(text: str) -> tuple[int, int]:
    first, _, number = text.partition("/")
    if not (first.isdigit() and number.isdigit() and 1 <= int(first) <= int(number)):
        raise argparse.ArgumentTypeError(f"'{text}' is not i/N with i from 1 to N")
    return int(first), int(number)


def main(arguments: Sequence[str]) -> int:
    """The exit code: 0 where all is proved optimal, 1 where not, 2 where the work did not end."""
    parser = argparse.ArgumentParser(
        prog="python3 -m activeset batch", description="Solve the problems in a Zarr store.",
        epilog="Exit code: 0 all are proved optimal, 1 some are not, 2 the work did not end.")
    parser.add_argument("store", help="a folder, or an address that fsspec knows")
    parser.add_argument("--jobs", type=int, default=0, metavar="N",
                        help="threads of this process; 0, the default, as many as processors")
    parser.add_argument("--scheduler", metavar="ADDRESS",
                        help="use the workers of this scheduler of dask.distributed")
    parser.add_argument("--shard", type=_shard, default=(1, 1), metavar="i/N",
                        help="the i-th of N jobs that share the store")
    parser.add_argument("--chunk", type=int, help="problems in a task of a cluster")
    what = parser.add_mutually_exclusive_group()
    what.add_argument("--resume", action="store_true", help="do what is missing")
    what.add_argument("--restart", action="store_true", help="forget what is done")
    options = parser.parse_args(arguments)
    if options.jobs < 0:
        parser.error("--jobs has to be 0 or more")
    if options.restart and options.shard[1] > 1:
        parser.error("--restart would forget what other shards have done")
    try:
        return _solve(options)
    except (BatchError, OSError) as error:
        print(f"activeset batch: {error}", file=sys.stderr)
        return 2
    except KeyboardInterrupt:
        print("activeset batch: interrupted; --resume goes on", file=sys.stderr)
        return 130


def _solve(options: argparse.Namespace) -> int:
    from . import open

    job = open(options.store)
    executor: Any = "threads"
    if options.scheduler is not None:
        import distributed

        make: Any = distributed.Client
        executor = make(options.scheduler, timeout=10)
    job.solve(executor, chunk=options.chunk, resume=options.resume or options.shard[1] > 1,
              restart=options.restart, shard=options.shard, threads=options.jobs)
    print(job)
    return 1 if len(job.failed) else 0

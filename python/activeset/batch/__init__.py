"""Batches that outgrow memory or the machine: a Zarr store of problems, solved chunk by chunk.

>>> import activeset, numpy as np, tempfile
>>> folder = tempfile.TemporaryDirectory()
>>> q = np.ones((100, 2))
>>> job = activeset.batch.create(folder.name + "/sweep.zarr", np.eye(2), q, chunk=25)
>>> job.solve()
Job of 100 problems in 4 chunks: 4 done, 100 optimal
>>> job.result().x[99]
array([-1., -1.])
>>> folder.cleanup()

Any number of threads, processes and machines may work on one store: they write whole chunks, the
status last. docs/batch.md of the project has the layout. Needs zarr, and dask.distributed for
clusters: ``pip install activeset[batch]``.
"""

from __future__ import annotations

from ._errors import BatchError
from ._job import Job, create, open

__all__ = ["BatchError", "Job", "create", "open"]

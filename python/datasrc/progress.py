"""Reports of progress."""

from __future__ import annotations

from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Union

from datasrc import _core, errors
from datasrc.extras import needed

# A function of the rows that are done and of all rows, None if these are not known; or True for a bar of tqdm.
Progress = Union[Callable[[int, "int | None"], object], bool, None]


@contextmanager
def watching(progress: Progress, total: int | None, file: str, what: str) -> Iterator[_core.Watch]:
    """A watch for a stream that the package itself consumes.

    A library between the stream and the package raises an error of its own when the stream ends. What ended it is
    raised instead: the exception of a signal's handler, or the failure of the file.
    """
    with _reporter(progress, total, what) as report:
        watch = _core.Watch(report, True, file)
        try:
            yield watch
        except (errors.Error, MemoryError):
            raise
        except Exception:
            watch.raise_kept()
            if watch.failure():
                raise errors.of_stream(watch.failure(), file) from None
            raise


@contextmanager
def _reporter(progress: Progress, total: int | None, what: str) -> Iterator[Callable[[int], object] | None]:
    if progress is None or progress is False:
        yield None
    elif progress is True:
        with needed("tqdm.auto", "progress=True").tqdm(total=total, unit=" rows", desc=what) as bar:
            yield lambda rows: bar.update(rows - bar.n)
    else:
        yield lambda rows: progress(rows, total)

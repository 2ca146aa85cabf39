# SPDX-License-Identifier: MIT
"""Mixes, measures, draws and aligns the sound of timelines and media files.

`open` opens a timeline with a separate session; a `Session` is an engine with its cache, for several
timelines and media files. Samples are NumPy arrays of type int16 and shape (frames, 2). The page
docs/python.md has examples.
"""

from ._sonrel import (
    Alignment,
    AlignmentPlace,
    CacheEntry,
    Cancellation,
    Cancelled,
    ConditionError,
    ConformedFile,
    Levels,
    LoudnessMeter,
    Peaks,
    Project,
    Session,
    SignalLevels,
    SonrelError,
    Track,
    UsageError,
    __version__,
    open,
)

__all__ = [
    "Alignment",
    "AlignmentPlace",
    "CacheEntry",
    "Cancellation",
    "Cancelled",
    "ConditionError",
    "ConformedFile",
    "Levels",
    "LoudnessMeter",
    "Peaks",
    "Project",
    "Session",
    "SignalLevels",
    "SonrelError",
    "Track",
    "UsageError",
    "__version__",
    "open",
]

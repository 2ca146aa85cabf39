# SPDX-License-Identifier: MIT
# The types of the module. tests/python/test_stubs.py compares them with the module.
import os
from fractions import Fraction
from types import TracebackType
from typing import Callable, Iterable, List, Mapping, Optional, Type, TypedDict, Union

import numpy
from numpy.typing import NDArray

__version__: str

_Path = Union[str, "os.PathLike[str]"]
_Paths = Union[_Path, Iterable[_Path]]
_Position = Union[int, str, None]
_Rate = Union[float, str, Fraction, None]
_Samples = Union[NDArray[numpy.int16], NDArray[numpy.floating]]
_Recording = Union[_Path, NDArray[numpy.int16], NDArray[numpy.floating]]
# The step, the finished units, all units and the name of the file.
_Progress = Optional[Callable[[str, int, int, str], object]]
_MediaRoot = Optional[Mapping[str, str]]

class _ReportEntry(TypedDict):
    what: str
    where: str
    reason: str
    count: int

class SonrelError(Exception): ...
class UsageError(SonrelError, ValueError): ...
class ConditionError(SonrelError): ...
class Cancelled(SonrelError): ...

class Cancellation:
    def __init__(self) -> None: ...
    def cancel(self) -> None: ...
    @property
    def cancelled(self) -> bool: ...

class SignalLevels:
    @property
    def name(self) -> str: ...
    @property
    def peak(self) -> NDArray[numpy.float32]: ...
    @property
    def clipped(self) -> NDArray[numpy.bool_]: ...

class Levels:
    @property
    def tracks(self) -> List[SignalLevels]: ...
    @property
    def master(self) -> SignalLevels: ...
    @property
    def rate(self) -> int: ...
    @property
    def block_frames(self) -> int: ...
    @property
    def start(self) -> int: ...
    @property
    def integrated(self) -> Optional[float]: ...
    @property
    def true_peak(self) -> Optional[float]: ...

class LoudnessMeter:
    def __init__(self, rate: int) -> None: ...
    def add(self, samples: _Samples) -> None: ...
    def reset(self) -> None: ...
    @property
    def momentary(self) -> Optional[float]: ...
    @property
    def short_term(self) -> Optional[float]: ...
    @property
    def max_momentary(self) -> Optional[float]: ...
    @property
    def max_short_term(self) -> Optional[float]: ...
    @property
    def range(self) -> Optional[float]: ...
    @property
    def integrated(self) -> Optional[float]: ...
    @property
    def true_peak(self) -> Optional[float]: ...

class ConformedFile:
    @property
    def input(self) -> str: ...
    @property
    def media(self) -> Optional[str]: ...
    @property
    def rate(self) -> int: ...
    @property
    def status(self) -> str: ...
    @property
    def path(self) -> Optional[str]: ...
    @property
    def error(self) -> Optional[str]: ...

class CacheEntry:
    @property
    def state(self) -> str: ...
    @property
    def kind(self) -> str: ...
    @property
    def file(self) -> str: ...
    @property
    def bytes(self) -> int: ...
    @property
    def media(self) -> Optional[str]: ...
    @property
    def rate(self) -> Optional[int]: ...
    @property
    def last_use(self) -> Optional[float]: ...

class Peaks:
    @property
    def rate(self) -> int: ...
    @property
    def samples_per_point(self) -> int: ...
    @property
    def peaks(self) -> NDArray[numpy.int8]: ...
    @property
    def rms(self) -> NDArray[numpy.uint8]: ...

class AlignmentPlace:
    @property
    def start(self) -> int: ...
    @property
    def length(self) -> int: ...
    @property
    def offset(self) -> int: ...
    @property
    def correlation(self) -> float: ...

class Alignment:
    @property
    def offset(self) -> int: ...
    @property
    def seconds(self) -> float: ...
    @property
    def rate(self) -> int: ...
    @property
    def overlap(self) -> int: ...
    @property
    def correlation(self) -> float: ...
    @property
    def chance(self) -> float: ...
    @property
    def verdict(self) -> str: ...
    @property
    def method(self) -> str: ...
    @property
    def drift_ppm(self) -> Optional[float]: ...
    @property
    def one_offset_fits(self) -> bool: ...
    @property
    def places(self) -> List[AlignmentPlace]: ...

class Track:
    @property
    def name(self) -> str: ...
    @property
    def clips(self) -> int: ...
    @property
    def muted(self) -> bool: ...
    @muted.setter
    def muted(self, muted: bool) -> None: ...
    def add_clip(
        self,
        media: _Path,
        start: int,
        frames: int,
        *,
        source_start: int = 0,
        name: str = "",
        gain_db: Optional[float] = None,
        stream: Optional[int] = None,
        channels: Optional[str] = None,
    ) -> None: ...

class Project:
    def __len__(self) -> int: ...
    @property
    def name(self) -> str: ...
    @property
    def rate(self) -> int: ...
    @property
    def fps(self) -> float: ...
    @property
    def sample_count(self) -> int: ...
    @property
    def duration(self) -> float: ...
    @property
    def tracks(self) -> List[Track]: ...
    @property
    def media(self) -> List[str]: ...
    @property
    def report(self) -> List[_ReportEntry]: ...
    @property
    def session(self) -> Session: ...
    def timecode(self, sample: int) -> str: ...
    def add_track(self, name: str = "", *, gain_db: Optional[float] = None) -> Track: ...
    def prepare(
        self, *, progress: _Progress = None, cancel: Optional[Cancellation] = None
    ) -> None: ...
    def mix(
        self,
        start: _Position = 0,
        stop: _Position = None,
        *,
        out: Optional[NDArray[numpy.int16]] = None,
        dither: str = "highpass",
        seed: Optional[int] = 1,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> NDArray[numpy.int16]: ...
    def measure(
        self,
        start: _Position = 0,
        stop: _Position = None,
        *,
        out: Optional[NDArray[numpy.int16]] = None,
        dither: str = "highpass",
        seed: Optional[int] = 1,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> Levels: ...
    def close(self) -> None: ...
    def __enter__(self) -> Project: ...
    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None: ...

class Session:
    def __init__(
        self,
        cache: Optional[_Path] = None,
        db: Optional[_Path] = None,
        *,
        keep_days: int = 30,
        log: bool = True,
    ) -> None: ...
    def open(
        self,
        timeline: _Path,
        *,
        media_root: _MediaRoot = None,
        allow_missing: bool = False,
        rate: Optional[int] = None,
        fps: _Rate = None,
        grid: Optional[int] = None,
        sound_from_video: bool = False,
        cancel: Optional[Cancellation] = None,
    ) -> Project: ...
    def new_project(self, *, fps: _Rate = 25, rate: int = 48000) -> Project: ...
    def conform(
        self,
        inputs: _Paths,
        *,
        rate: Optional[int] = None,
        media_root: _MediaRoot = None,
        allow_missing: bool = False,
        stream: Optional[int] = None,
        channels: Optional[str] = None,
        jobs: int = 1,
        force: bool = False,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> List[ConformedFile]: ...
    def read(
        self,
        media: _Path,
        start: _Position = 0,
        stop: _Position = None,
        *,
        rate: int = 48000,
        stream: Optional[int] = None,
        channels: Optional[str] = None,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> NDArray[numpy.int16]: ...
    def peaks(
        self,
        media: _Path,
        *,
        samples_per_point: int = 256,
        stream: Optional[int] = None,
        channels: Optional[str] = None,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> Peaks: ...
    def waveform(
        self,
        media: _Path,
        *,
        width: int = 1800,
        height: int = 280,
        range: str = "",
        style: str = "rms",
        scale: str = "linear",
        color: Optional[str] = None,
        background: Optional[str] = None,
        stream: Optional[int] = None,
        channels: Optional[str] = None,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> NDArray[numpy.uint8]: ...
    def align(
        self,
        first: _Recording,
        second: _Recording,
        *,
        rate: int = 48000,
        min_correlation: float = 0.3,
        stream: Optional[int] = None,
        channels: Optional[str] = None,
        progress: _Progress = None,
        cancel: Optional[Cancellation] = None,
    ) -> Alignment: ...
    def cache_entries(self) -> List[CacheEntry]: ...
    def close(self) -> None: ...
    @property
    def closed(self) -> bool: ...
    def __enter__(self) -> Session: ...
    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        traceback: Optional[TracebackType],
    ) -> None: ...

def open(
    timeline: _Path,
    *,
    cache: Optional[_Path] = None,
    db: Optional[_Path] = None,
    keep_days: int = 30,
    log: bool = True,
    media_root: _MediaRoot = None,
    allow_missing: bool = False,
    rate: Optional[int] = None,
    fps: _Rate = None,
    grid: Optional[int] = None,
    sound_from_video: bool = False,
    cancel: Optional[Cancellation] = None,
) -> Project: ...

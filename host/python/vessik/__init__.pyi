# Type hints of the "vessik" package.
import os
from typing import Any, Callable, Iterator, List, NamedTuple, Optional, Tuple, Union

import numpy

PathType = Union[str, bytes, os.PathLike[str], os.PathLike[bytes]]
ProgressCallable = Callable[[int], Optional[bool]]

SEGMENT: int
ARC: int
CIRCLE: int
RECORD_FIELDS: Tuple[str, ...]
ERRORS: Tuple[Tuple[int, str, str, str, str], ...]

class VessikError(Exception):
    number: int
    source: str
    description: str
    def __init__(self, number: int, source: str, description: str) -> None: ...

class Canceled(Exception): ...

class Record(NamedTuple):
    id: int
    kind: int
    layer_index: int
    colour: int
    x1: float
    y1: float
    z1: float
    x2: float
    y2: float
    z2: float
    cx: float
    cy: float
    cz: float
    r: float
    start_angle: float
    end_angle: float

class Layer(NamedTuple):
    name: str
    aci: int
    rgb: int

class Drawing:
    records: numpy.ndarray
    layers: List[Layer]
    @property
    def text(self) -> str: ...
    def to_svg(self) -> str: ...
    def __len__(self) -> int: ...
    def __iter__(self) -> Iterator[Record]: ...
    def __getitem__(self, index: int) -> Record: ...

def read(path: PathType, *, tolerance: float = ..., check: int = ...,
         arc_max_deviation: float = ..., arc_min_segment_length: float = ...,
         arc_max_segment_length: float = ..., initial_segments: float = ...,
         progress: Optional[ProgressCallable] = ...,
         max_memory: Optional[int] = ..., true_geometry: bool = ...) -> Drawing: ...
def read_text(path: PathType, *, tolerance: float = ..., check: int = ...,
              arc_max_deviation: float = ..., arc_min_segment_length: float = ...,
              arc_max_segment_length: float = ..., initial_segments: float = ...,
              progress: Optional[ProgressCallable] = ...,
              max_memory: Optional[int] = ..., true_geometry: bool = ...) -> str: ...

class Vessik_Color:
    ColorACI: int
    ColorRGB: int
    def __init__(self) -> None: ...

class Vessik_Layer:
    Name: str
    Color: Vessik_Color
    def __init__(self) -> None: ...

class Vessik_CommonData:
    Tolerance: float
    Check: int
    ArcMaximumDeviationFactor: float
    ArcMinimumSegmentLengthFactor: float
    ArcMaximumSegmentLengthFactor: float
    InitialSegments: float
    def __init__(self) -> None: ...

class Vessik_Progress:
    IsCanceled: bool
    def __init__(self) -> None: ...
    def DoProgress(self, value: int) -> None: ...
    def Connect(self, handler: Callable[[int], Any]) -> int: ...
    def Disconnect(self, cookie: int) -> None: ...

class Vessik_Parser:
    @property
    def Layers(self) -> List[Vessik_Layer]: ...
    def __init__(self) -> None: ...
    def Parse2(self, TheFile: PathType, Data: Vessik_CommonData,
               Progress: Vessik_Progress) -> str: ...

def SetPumpHook(hook: Optional[Callable[[], Any]]) -> None: ...
def SetMemoryBudget(bytes: int) -> None: ...
def MemoryBudget() -> int: ...
def SetTrueGeometry(on: bool) -> None: ...
def TrueGeometry() -> bool: ...
def SetCurveThreads(count: int) -> None: ...
def CurveThreads() -> int: ...
def SetMessageBoxHook(hook: Optional[Callable[[str], Any]]) -> None: ...

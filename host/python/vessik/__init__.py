"""Reads DXF drawings and returns them as plain geometry.

Every straight segment, circular arc and full circle of a drawing comes back as
one record, in world coordinates, with block references expanded and ellipses,
splines and polyline bulges turned into segments and arcs::

    import vessik

    drawing = vessik.read("part.dxf", tolerance=0.01)
    for record in drawing:
        if record.kind == vessik.ARC:
            print(record.cx, record.cy, record.r, record.start_angle, record.end_angle)
    drawing.records          # the same records as a NumPy structured array
    drawing.layers           # [(name, aci, rgb), ...]
    drawing.text             # the library's text, byte for byte as Parse2 gives it
    svg = drawing.to_svg()   # a picture of the records

The object model of the library (Vessik_Parser, Vessik_CommonData,
Vessik_Progress, Vessik_Layer, Vessik_Color) is here as well, unchanged.
"""

import numbers
import os
from typing import Callable, Iterator, List, NamedTuple, Optional, Union

from ._vessik import (
    ERRORS,
    Canceled,
    CurveThreads,
    MemoryBudget,
    SetMemoryBudget,
    SetMessageBoxHook,
    SetCurveThreads,
    SetPumpHook,
    SetTrueGeometry,
    TrueGeometry,
    Vessik_Color,
    Vessik_CommonData,
    Vessik_Layer,
    Vessik_Parser,
    Vessik_Progress,
    VessikError,
    _read,
    _read_text,
)

__all__ = [
    "ARC", "CIRCLE", "Canceled", "CurveThreads", "Drawing", "ERRORS", "Layer", "MemoryBudget",
    "RECORD_FIELDS", "Record", "SEGMENT", "SetCurveThreads", "SetMemoryBudget",
    "SetMessageBoxHook", "SetPumpHook", "SetTrueGeometry", "TrueGeometry", "Vessik_Color",
    "Vessik_CommonData", "Vessik_Layer", "Vessik_Parser", "Vessik_Progress", "VessikError",
    "read", "read_text",
]

#: Record kinds: a straight segment, a circular arc, a full circle.
SEGMENT = 83
ARC = 66
CIRCLE = 75

#: The fields of a record, in the order of the text's columns (the layer name
#: apart: ``layers[layer_index]`` holds it).
RECORD_FIELDS = (
    "id", "kind", "layer_index", "colour",
    "x1", "y1", "z1", "x2", "y2", "z2", "cx", "cy", "cz", "r", "start_angle", "end_angle",
)

PathType = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
ProgressCallable = Callable[[int], Optional[bool]]


class Record(NamedTuple):
    """One record. ``kind`` is SEGMENT (start x1, y1, z1 and end x2, y2, z2), ARC
    (centre cx, cy, cz, radius r, counter-clockwise from start_angle to end_angle in
    degrees) or CIRCLE (centre and radius; x1..y2 hold its box). ``colour`` is
    red + 256 * green + 65536 * blue, -1 for an own colour "by layer" and 0 "by
    block". Columns a kind does not use hold 0."""

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
    """A layer of the drawing: its name, DXF colour number and RGB value."""

    name: str
    aci: int
    rgb: int


def _record_dtype():
    import numpy

    # The library's rows: an 8-byte id, three 4-byte integers, 4 bytes unused, then
    # the twelve doubles.
    return numpy.dtype({
        "names": list(RECORD_FIELDS),
        "formats": ["i8", "i4", "i4", "i4"] + ["f8"] * 12,
        "offsets": [0, 8, 12, 16] + [24 + 8 * k for k in range(12)],
        "itemsize": 120,
    })


class Drawing:
    """The records and layers of one drawing, as :func:`read` returns them."""

    __slots__ = ("_parsed", "records", "layers", "_text")

    def __init__(self, parsed):
        import numpy

        self._parsed = parsed
        #: One row per record, fields RECORD_FIELDS; the numbers are those the
        #: text was printed from, at full precision. Read-only.
        self.records = numpy.frombuffer(parsed, dtype=_record_dtype())
        #: (name, aci, rgb) of each layer; a record's layer_index counts in it.
        self.layers: List[Layer] = [Layer(*layer) for layer in parsed.layers()]
        self._text: Optional[str] = None

    @property
    def text(self) -> str:
        """The text of Parse2 for the drawing: one line per record, 17 columns
        each closed by a TAB, CR LF line ends."""
        if self._text is None:
            self._text = self._parsed.text()
        return self._text

    def to_svg(self) -> str:
        """An SVG picture of the records, the same as ``vessik --svg`` writes."""
        return self._parsed.svg()

    def __len__(self) -> int:
        return len(self.records)

    def __iter__(self) -> Iterator[Record]:
        return map(Record._make, self.records.tolist())

    def __getitem__(self, index: int) -> Record:
        return Record._make(self.records[index].tolist())

    def __repr__(self) -> str:
        return "<vessik.Drawing: %d records on %d layers>" % (len(self), len(self.layers))


def _number(name, value):
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        raise TypeError("%s must be a number, not %s" % (name, type(value).__name__))
    return float(value)


def _arguments(path, tolerance, check, arc_max_deviation, arc_min_segment_length,
               arc_max_segment_length, initial_segments, progress, max_memory, true_geometry):
    if not isinstance(path, (str, bytes, os.PathLike)):
        raise TypeError("path must be a str, bytes or os.PathLike, not %s" % type(path).__name__)
    if isinstance(check, bool) or not isinstance(check, numbers.Integral):
        raise TypeError("check must be an int, not %s" % type(check).__name__)
    if not -2**31 <= check < 2**31:
        raise ValueError("check must fit in 32 bits: %d" % check)
    if progress is not None and not callable(progress):
        raise TypeError("progress must be callable or None, not %s" % type(progress).__name__)
    if max_memory is not None:
        if isinstance(max_memory, bool) or not isinstance(max_memory, numbers.Integral):
            raise TypeError("max_memory must be an int or None, not %s" %
                            type(max_memory).__name__)
        if not 0 <= max_memory < 2**64:
            raise ValueError("max_memory must be a byte count from 0 (the default) to 2**64 - 1")
        max_memory = int(max_memory)
    return (path, _number("tolerance", tolerance), int(check),
            _number("arc_max_deviation", arc_max_deviation),
            _number("arc_min_segment_length", arc_min_segment_length),
            _number("arc_max_segment_length", arc_max_segment_length),
            _number("initial_segments", initial_segments), progress, max_memory,
            bool(true_geometry))


def read(path: PathType, *, tolerance: float = 0.01, check: int = 0,
         arc_max_deviation: float = 0.01, arc_min_segment_length: float = 0.1,
         arc_max_segment_length: float = 10, initial_segments: float = 4,
         progress: Optional[ProgressCallable] = None,
         max_memory: Optional[int] = None, true_geometry: bool = False) -> Drawing:
    """Reads a DXF drawing into its records.

    The settings and their defaults are those of the ``vessik`` tool (see its
    ``--help``). ``progress`` is called with each progress value from 0 to 100;
    returning True cancels the parse, which then raises :class:`Canceled`.
    ``max_memory`` is the most memory in bytes the parse may hold (None or 0: half
    of the physical memory); past it the parse fails with 7. ``true_geometry``
    draws the drawing where the DXF format means it rather than as the default
    text does (see the README, "Two modes"). The interpreter's
    lock is released while the library works, so other threads run meanwhile.

    Raises :class:`VessikError` (number, source, description) when the drawing
    cannot be read.
    """
    return Drawing(_read(*_arguments(path, tolerance, check, arc_max_deviation,
                                     arc_min_segment_length, arc_max_segment_length,
                                     initial_segments, progress, max_memory,
                                     true_geometry)))


def read_text(path: PathType, *, tolerance: float = 0.01, check: int = 0,
              arc_max_deviation: float = 0.01, arc_min_segment_length: float = 0.1,
              arc_max_segment_length: float = 10, initial_segments: float = 4,
              progress: Optional[ProgressCallable] = None,
              max_memory: Optional[int] = None, true_geometry: bool = False) -> str:
    """Reads a DXF drawing and returns its text alone, as ``vessik`` prints it.
    The arguments and failures are those of :func:`read`."""
    return _read_text(*_arguments(path, tolerance, check, arc_max_deviation,
                                  arc_min_segment_length, arc_max_segment_length,
                                  initial_segments, progress, max_memory, true_geometry))

#!/usr/bin/python3
"""Compares what vessik draws with what ezdxf reads from the same drawing.

ezdxf is an independent DXF library; here it serves as a test-only oracle of the
tool's true-geometry mode.  Both sides are turned into dense point chains in
world coordinates and compared by their two directed distances (the largest
distance from a point of one side to the chains of the other side).

Oracle side (ezdxf):
  * the entities of the ENTITIES section: modelspace plus the active paper space
    layout (ezdxf files paper space entities of the ENTITIES section there; the
    other paper space layouts live in BLOCKS and are only drawn when referenced);
  * LINE, ARC, CIRCLE, LWPOLYLINE (bulges), POLYLINE (2D and 3D; polyface and
    polygon meshes are left out), ELLIPSE, SPLINE, and INSERT expanded
    recursively with MINSERT grids (ezdxf's multi_insert).  Everything else
    (TEXT, HATCH, DIMENSION, ...) is ignored;
  * block references are expanded by their ezdxf transformation matrix
    (Insert.matrix44), applied to the flattened block geometry.  This covers
    non-uniform, mirrored and even zero scales, which ezdxf's virtual_entities
    refuses or gets wrong for nested references;
  * curves are flattened with ezdxf's own curve evaluation (Ellipse.flattening,
    Spline.flattening) or, for arcs and bulges, by exact points on the circle in
    the entity's OCS, to a chord error well below the tolerance.

Tool side: the records of `vessik [ARGS] --tolerance T DRAWING`; segments as
they are, arcs counter-clockwise from SA to EA (SA == EA is a full turn) and
circles sampled to the same chord error.

Both sides are then densified so that no chain segment is longer than `step`,
and each sample of one side is measured against the segments (not only the
samples) of the other side, found through a k-d tree (scipy) or a NumPy grid.
Measuring against segments removes the sampling error of the far side; a sample
of the near side can still miss a deviation by at most step/2, which only ever
makes the measured distance smaller.

Allowed distance: 2 x tolerance (the tool's fit of ellipses and splines) +
1e-6 x the drawing's extent (rounding of printed numbers) + the chord errors of
both flattenings.

Large drawings: the densifying step grows so that each side keeps at most
MAX_SAMPLES samples, and the expansion of blocks stops at MAX_VERTICES flattened
vertices (the drawing is then reported as not compared).
"""

from __future__ import annotations

import argparse
import contextlib
import csv
import fnmatch
import io
import logging
import math
import os
import subprocess
import sys
import time
from dataclasses import dataclass, field
from pathlib import Path
from typing import Iterable, List, Optional, Sequence, Tuple

import numpy as np

try:  # the k-d tree is much faster; the grid search is the fallback
    from scipy.spatial import cKDTree  # type: ignore
except ImportError:  # pragma: no cover - depends on the machine
    cKDTree = None

import ezdxf
from ezdxf import recover
from ezdxf.math import OCS, Vec3, bulge_to_arc

logging.getLogger("ezdxf").setLevel(logging.CRITICAL)

DEFAULT_TOLERANCE = 0.01
# The chord error of both flattenings, as a fraction of the tolerance.
FLATTEN_FRACTION = 1.0 / 8.0
# Finest densifying step, as a fraction of the drawing's extent.
STEP_FRACTION = 1.0 / 2000.0
# Most samples one side may have after densifying; past it the step grows.
MAX_SAMPLES = 400_000
# Most flattened vertices the block expansion may produce.
MAX_VERTICES = 3_000_000
# Deepest block nesting followed (a reference cycle stops here as well).
MAX_DEPTH = 32
# Most segments one arc, circle or bulge is flattened into.
MAX_ARC_SEGMENTS = 20_000
# Seconds the tool may take on one drawing.
TOOL_TIMEOUT = 120

HERE = Path(__file__).resolve().parent
DEFAULT_CORPUS = Path(os.environ.get("VESSIK_CORPUS_DIR", HERE.parents[2] / "shared" / "corpus"))

Chains = List[np.ndarray]  # each an (n, 3) array of consecutive vertices


class OracleError(Exception):
    """ezdxf cannot read or expand the drawing."""


# ---------------------------------------------------------------------------
# Arcs, shared by both sides


def _arc_segment_count(radius: float, sweep: float, sagitta: float) -> int:
    """Segments of an arc of `sweep` radians so that no chord is further than
    `sagitta` from the circle (at least one segment per 45 degrees)."""
    if radius <= 0.0:
        return 1
    if sagitta >= radius:
        step = math.pi / 2.0
    else:
        step = 2.0 * math.acos(1.0 - sagitta / radius)
    step = min(step, math.pi / 4.0)
    n = int(math.ceil(sweep / step - 1e-9))
    return max(1, min(n, MAX_ARC_SEGMENTS))


def arc_points_2d(cx: float, cy: float, radius: float, start_deg: float,
                  sweep_deg: float, sagitta: float) -> np.ndarray:
    """Points of a counter-clockwise arc in its plane, as an (n, 2) array."""
    sweep = math.radians(sweep_deg)
    n = _arc_segment_count(radius, sweep, sagitta)
    a = math.radians(start_deg) + np.linspace(0.0, sweep, n + 1)
    return np.column_stack((cx + radius * np.cos(a), cy + radius * np.sin(a)))


def ccw_sweep(start_deg: float, end_deg: float, equal_is_full: bool) -> float:
    """Counter-clockwise sweep in degrees from start to end angle."""
    sweep = (end_deg - start_deg) % 360.0
    if sweep < 1e-9 or 360.0 - sweep < 1e-9:
        if math.isclose(start_deg, end_deg, abs_tol=1e-9):
            return 360.0 if equal_is_full else 0.0
        return 360.0
    return sweep


def _ocs_to_wcs(points: np.ndarray, extrusion) -> np.ndarray:
    """OCS points (n, 3) of the given extrusion into WCS."""
    ocs = OCS(extrusion)
    if not ocs.transform:
        return points
    m = np.array([tuple(ocs.ux), tuple(ocs.uy), tuple(ocs.uz)], dtype=float)
    return points @ m


# ---------------------------------------------------------------------------
# Oracle side: ezdxf


def read_document(path: Path):
    """Reads the drawing with ezdxf; on structure errors with its recover mode.
    Returns (document, note)."""
    try:
        return ezdxf.readfile(str(path)), ""
    except Exception as first:  # noqa: BLE001 - any failure: try the recover mode
        try:
            with contextlib.redirect_stdout(io.StringIO()):
                doc, auditor = recover.readfile(str(path))
        except Exception as second:  # noqa: BLE001
            raise OracleError(f"ezdxf cannot read: {type(second).__name__}: {second}") from second
        fixes = len(auditor.fixes) if auditor is not None else 0
        return doc, f"recover mode ({type(first).__name__}; {fixes} fixes)"


def _bulge_polyline(points: Sequence[Tuple[float, float, float]], closed: bool,
                    elevation: float, extrusion, sagitta: float) -> Chains:
    """A 2D polyline with bulges (OCS x, y, bulge) as WCS chains."""
    pts = list(points)
    if closed and len(pts) > 1:
        pts.append(pts[0])
    out: List[np.ndarray] = []
    if not pts:
        return out
    if len(pts) == 1:
        out.append(np.array([[pts[0][0], pts[0][1], elevation]], dtype=float))
    else:
        chain: List[np.ndarray] = [np.array([[pts[0][0], pts[0][1]]], dtype=float)]
        for (x0, y0, b0), (x1, y1, _b1) in zip(pts, pts[1:]):
            if b0 and (x0, y0) != (x1, y1):
                center, sa, ea, r = bulge_to_arc((x0, y0), (x1, y1), b0)
                sweep = math.degrees((ea - sa) % (2.0 * math.pi))
                arc = arc_points_2d(center.x, center.y, r, math.degrees(sa), sweep, sagitta)
                if b0 < 0:  # clockwise: walk the counter-clockwise arc backwards
                    arc = arc[::-1]
                arc[0] = (x0, y0)
                arc[-1] = (x1, y1)
                chain.append(arc[1:])
            else:
                chain.append(np.array([[x1, y1]], dtype=float))
        xy = np.concatenate(chain)
        out.append(np.column_stack((xy, np.full(len(xy), elevation))))
    return [_ocs_to_wcs(c, extrusion) for c in out]


def _arc_entity(center, radius: float, start: float, sweep: float, extrusion,
                sagitta: float) -> Chains:
    radius = abs(radius)
    if radius <= 1e-12 or sweep <= 0.0:
        return []
    c = Vec3(center)
    xy = arc_points_2d(c.x, c.y, radius, start, sweep, sagitta)
    pts = np.column_stack((xy, np.full(len(xy), c.z)))
    return [_ocs_to_wcs(pts, extrusion)]


def _vec3_chain(points: Iterable[Vec3]) -> Chains:
    pts = [tuple(p) for p in points]
    if not pts:
        return []
    return [np.array(pts, dtype=float).reshape(-1, 3)]


def flatten_entity(e, distance: float) -> Chains:
    """The geometry of one curve entity in its own (block or world) coordinates.
    Raises for entities ezdxf cannot evaluate."""
    t = e.dxftype()
    dxf = e.dxf
    if t == "LINE":
        return [np.array([tuple(Vec3(dxf.start)), tuple(Vec3(dxf.end))], dtype=float)]
    if t == "ARC":
        # ezdxf: equal start and end angles make an empty arc.
        sweep = ccw_sweep(dxf.start_angle, dxf.end_angle, equal_is_full=False)
        return _arc_entity(dxf.center, dxf.radius, dxf.start_angle, sweep,
                           dxf.get("extrusion", (0, 0, 1)), distance)
    if t == "CIRCLE":
        return _arc_entity(dxf.center, dxf.radius, 0.0, 360.0,
                           dxf.get("extrusion", (0, 0, 1)), distance)
    if t == "LWPOLYLINE":
        return _bulge_polyline(e.get_points("xyb"), e.closed, dxf.elevation,
                               dxf.get("extrusion", (0, 0, 1)), distance)
    if t == "POLYLINE":
        if e.is_polygon_mesh or e.is_poly_face_mesh:
            return []
        # Spline frame control points (vertex flag 16) are not on the curve; the
        # fitted vertices (flag 8) and plain vertices are.
        verts = [v for v in e.vertices if not (v.dxf.flags & 16)]
        if e.is_3d_polyline:
            pts = [tuple(Vec3(v.dxf.location)) for v in verts]
            if e.is_closed and len(pts) > 1:
                pts.append(pts[0])
            return [np.array(pts, dtype=float).reshape(-1, 3)] if pts else []
        if dxf.hasattr("elevation"):
            elevation = Vec3(dxf.elevation).z
        elif verts:
            elevation = Vec3(verts[0].dxf.location).z
        else:
            elevation = 0.0
        pts = [(Vec3(v.dxf.location).x, Vec3(v.dxf.location).y, v.dxf.bulge) for v in verts]
        return _bulge_polyline(pts, e.is_closed, elevation, dxf.get("extrusion", (0, 0, 1)),
                               distance)
    if t == "ELLIPSE":
        return _vec3_chain(e.flattening(distance, segments=8))
    if t == "SPLINE":
        return _vec3_chain(e.flattening(distance, segments=4))
    return []


CURVE_TYPES = {"LINE", "ARC", "CIRCLE", "LWPOLYLINE", "POLYLINE", "ELLIPSE", "SPLINE"}


@dataclass
class OracleResult:
    chains: Chains = field(default_factory=list)
    labels: List[str] = field(default_factory=list)  # the entity behind each chain
    entities: int = 0        # curve entities flattened, block instances counted each time
    skipped: List[str] = field(default_factory=list)  # entities ezdxf could not evaluate
    note: str = ""


def _matrix(insert) -> np.ndarray:
    return np.array(list(insert.matrix44().rows()), dtype=float)


def _scale_of(m: np.ndarray) -> float:
    """Largest stretch of the linear part of a row-vector 4x4 matrix."""
    s = np.linalg.norm(m[:3, :3], ord=2)
    return float(s) if s > 0 else 1.0


class _Expander:
    def __init__(self, distance: float):
        self.distance = distance
        self.result = OracleResult()
        self.vertices = 0
        self.cache = {}

    def _note_skip(self, e, exc: Exception) -> None:
        if len(self.result.skipped) < 20:
            self.result.skipped.append(f"{e.dxftype()} {e.dxf.get('handle', '?')}: "
                                       f"{type(exc).__name__}: {exc}")

    def _add(self, chains: Chains, m: Optional[np.ndarray], label: str) -> None:
        for c in chains:
            self.result.labels.append(label)
            if m is not None:
                c = c @ m[:3, :3] + m[3, :3]
            self.result.chains.append(c)
            self.vertices += len(c)
        if self.vertices > MAX_VERTICES:
            raise OracleError(f"more than {MAX_VERTICES} flattened vertices: not compared")

    def entities(self, entities, m: Optional[np.ndarray], depth: int, stack: Tuple[str, ...]):
        scale = _scale_of(m) if m is not None else 1.0
        distance = self.distance / scale
        for e in entities:
            t = e.dxftype()
            if t in CURVE_TYPES:
                try:
                    chains = flatten_entity(e, distance)
                except Exception as exc:  # noqa: BLE001 - bad entity data
                    self._note_skip(e, exc)
                    continue
                self.result.entities += 1
                where = "/".join(stack)
                self._add(chains, m, f"{t} {e.dxf.get('handle', '?')}" +
                          (f" in {where}" if where else ""))
            elif t == "INSERT":
                self.insert(e, m, depth, stack)

    def insert(self, ins, m: Optional[np.ndarray], depth: int, stack: Tuple[str, ...]):
        name = ins.dxf.get("name", "")
        block = ins.doc.blocks.get(name) if ins.doc is not None else None
        if block is None:
            self.result.skipped.append(f"INSERT of missing block {name!r}")
            return
        if depth >= MAX_DEPTH or name in stack:
            self.result.skipped.append(f"INSERT {name!r}: nesting too deep or cyclic")
            return
        try:
            instances = list(ins.multi_insert()) if ins.mcount > 1 else [ins]
        except Exception as exc:  # noqa: BLE001
            self._note_skip(ins, exc)
            return
        for inst in instances:
            try:
                mi = _matrix(inst)
            except Exception as exc:  # noqa: BLE001
                self._note_skip(ins, exc)
                continue
            world = mi if m is None else mi @ m
            if not np.all(np.isfinite(world)):
                self._note_skip(ins, ValueError("non-finite block transformation"))
                continue
            self.entities(block, world, depth + 1, stack + (name,))


def oracle_chains(path: Path, tolerance: float = DEFAULT_TOLERANCE) -> OracleResult:
    """The drawing's curves as read by ezdxf, flattened into WCS chains.
    Raises OracleError when ezdxf cannot read the drawing."""
    doc, note = read_document(path)
    ex = _Expander(tolerance * FLATTEN_FRACTION)
    ex.result.note = note
    layouts = [doc.modelspace()]
    try:
        paper = doc.layouts.active_layout()
        if paper is not None:
            layouts.append(paper)
    except Exception as exc:  # noqa: BLE001 - broken layout links
        ex.result.note = (ex.result.note + "; " if ex.result.note else "") + \
            f"no active paper space ({type(exc).__name__})"
    for layout in layouts:
        ex.entities(layout, None, 0, ())
    return ex.result


def oracle_points(path: Path, tolerance: float = DEFAULT_TOLERANCE,
                  step: Optional[float] = None) -> np.ndarray:
    """The oracle's point set: its chains densified to `step` (default: the
    drawing's extent x STEP_FRACTION)."""
    chains = oracle_chains(path, tolerance).chains
    if step is None:
        step = _default_step(chains)
    return densify(chains, step)[0]


# ---------------------------------------------------------------------------
# Tool side


@dataclass
class ToolResult:
    chains: Chains = field(default_factory=list)
    records: int = 0
    error: str = ""


def parse_records(text: bytes, sagitta: float) -> ToolResult:
    """The tool's records as WCS chains."""
    res = ToolResult()
    for line in text.split(b"\n"):
        line = line.rstrip(b"\r")
        if not line:
            continue
        f = line.split(b"\t")
        # Every column ends with a TAB, so the last piece is empty; the twelve
        # numbers are counted from the end in case a layer name holds a TAB.
        if len(f) < 18:
            raise ValueError(f"short record: {line[:80]!r}")
        kind = int(f[1])
        x1, y1, z1, x2, y2, z2, cx, cy, cz, r, sa, ea = (float(v) for v in f[-13:-1])
        res.records += 1
        if kind == 83:
            res.chains.append(np.array([[x1, y1, z1], [x2, y2, z2]], dtype=float))
        elif kind in (66, 75):
            if kind == 75:
                sa, sweep = 0.0, 360.0
            else:
                sweep = ccw_sweep(sa, ea, equal_is_full=True)
            xy = arc_points_2d(cx, cy, abs(r), sa, sweep, sagitta)
            res.chains.append(np.column_stack((xy, np.full(len(xy), cz))))
        else:
            raise ValueError(f"unknown record type {kind}")
    return res


def run_tool(path: Path, tool: str, extra_args: Sequence[str], tolerance: float) -> ToolResult:
    cmd = [tool, *extra_args, "--tolerance", repr(tolerance), str(path)]
    try:
        p = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                           timeout=TOOL_TIMEOUT, check=False)
    except subprocess.TimeoutExpired:
        return ToolResult(error=f"tool timed out after {TOOL_TIMEOUT} s")
    if p.returncode != 0:
        msg = p.stderr.decode("utf-8", "replace").strip().splitlines()
        return ToolResult(error=f"tool exit {p.returncode}: {msg[-1] if msg else ''}")
    try:
        return parse_records(p.stdout, tolerance * FLATTEN_FRACTION)
    except ValueError as exc:
        return ToolResult(error=f"unreadable output: {exc}")


def vessik_points(path: Path, tool: str, extra_args: Sequence[str] = (),
                  step: Optional[float] = None,
                  tolerance: float = DEFAULT_TOLERANCE) -> np.ndarray:
    """The tool's point set: its records sampled every `step` (default: the
    drawing's extent x STEP_FRACTION)."""
    res = run_tool(path, tool, extra_args, tolerance)
    if res.error:
        raise RuntimeError(res.error)
    if step is None:
        step = _default_step(res.chains)
    return densify(res.chains, step)[0]


# ---------------------------------------------------------------------------
# Densifying and distances


def _bounds(chains: Chains) -> Optional[Tuple[np.ndarray, np.ndarray]]:
    if not chains:
        return None
    allp = np.concatenate(chains)
    allp = allp[np.all(np.isfinite(allp), axis=1)]
    if len(allp) == 0:
        return None
    return allp.min(axis=0), allp.max(axis=0)


def extent_of(*sides: Chains) -> float:
    lo, hi = None, None
    for chains in sides:
        b = _bounds(chains)
        if b is None:
            continue
        lo = b[0] if lo is None else np.minimum(lo, b[0])
        hi = b[1] if hi is None else np.maximum(hi, b[1])
    if lo is None:
        return 0.0
    return float(np.linalg.norm(hi - lo))


def total_length(chains: Chains) -> float:
    total = 0.0
    for c in chains:
        if len(c) > 1:
            d = np.linalg.norm(np.diff(c, axis=0), axis=1)
            total += float(d[np.isfinite(d)].sum())
    return total


def _default_step(chains: Chains) -> float:
    ext = extent_of(chains)
    step = ext * STEP_FRACTION if ext > 0 else 1.0
    return max(step, total_length(chains) / MAX_SAMPLES)


def densify(chains: Chains, step: float) -> Tuple[np.ndarray, np.ndarray]:
    """Samples every chain at least every `step`, keeping its vertices.
    Returns (points (n, 3), link) where link[i] says that points i and i + 1
    bound a segment of the same chain."""
    pts_parts, link_parts = [], []
    for c in chains:
        c = c[np.all(np.isfinite(c), axis=1)]
        if len(c) == 0:
            continue
        if len(c) == 1:
            pts_parts.append(c)
            link_parts.append(np.zeros(1, dtype=bool))
            continue
        d = c[1:] - c[:-1]
        lengths = np.linalg.norm(d, axis=1)
        # A wild segment (a point far off) may not blow the sample count up:
        # past MAX_SAMPLES for one chain, its segments are sampled more coarsely.
        n = np.clip(np.ceil(np.nan_to_num(lengths / step, posinf=MAX_SAMPLES)),
                    1, MAX_SAMPLES)
        if n.sum() > MAX_SAMPLES:
            n = np.maximum(1.0, np.floor(n * (MAX_SAMPLES / n.sum())))
        n = n.astype(np.int64)
        seg = np.repeat(np.arange(len(d)), n)
        # parameter of each sample along its segment: 0, 1/n, ..., (n-1)/n
        first = np.cumsum(n) - n
        k = np.arange(int(n.sum())) - np.repeat(first, n)
        t = k / np.repeat(n, n)
        p = c[:-1][seg] + d[seg] * t[:, None]
        p = np.concatenate((p, c[-1:]))
        link = np.ones(len(p), dtype=bool)
        link[-1] = False
        pts_parts.append(p)
        link_parts.append(link)
    if not pts_parts:
        return np.zeros((0, 3)), np.zeros(0, dtype=bool)
    return np.concatenate(pts_parts), np.concatenate(link_parts)


def _point_segment(q: np.ndarray, a: np.ndarray, b: np.ndarray) -> np.ndarray:
    """Distances of points q to segments a-b, row by row (any leading shape)."""
    ab = b - a
    qa = q - a
    den = np.einsum("...k,...k->...", ab, ab)
    t = np.einsum("...k,...k->...", qa, ab) / np.where(den > 0, den, 1.0)
    t = np.where(den > 0, np.clip(t, 0.0, 1.0), 0.0)
    return np.linalg.norm(qa - ab * t[..., None], axis=-1)


def _grid_distances(q: np.ndarray, target: np.ndarray, link: np.ndarray,
                    step: float) -> np.ndarray:
    """Distance of each point of q to the chains of target, without scipy: the
    target points go into a uniform grid, and each query looks at the segments
    that have an end in its own or a neighbouring cell.  A result is exact once
    it is below the cell size less the sampling step (a nearer segment would have
    an end in those cells); the other queries go round again with cells four
    times larger, and what is left when one cell holds the whole target is
    measured to the nearest target point."""
    n = len(target)
    prev_ok = np.concatenate(([False], link[:-1]))
    best = np.full(len(q), np.inf)
    todo = np.arange(len(q))
    lo = target.min(axis=0)
    span = float(np.max(target.max(axis=0) - lo))
    cell = max(step, 1e-12) * 2.0
    offsets = [(dx, dy, dz) for dx in (-1, 0, 1) for dy in (-1, 0, 1) for dz in (-1, 0, 1)]
    while len(todo) and cell <= 4.0 * max(span, step):
        keys = np.floor((target - lo) / cell).astype(np.int64) + 1
        dims = keys.max(axis=0) + 2
        lin = (keys[:, 0] * dims[1] + keys[:, 1]) * dims[2] + keys[:, 2]
        order = np.argsort(lin, kind="stable")
        slin = lin[order]
        qq = q[todo]
        qk = np.floor((qq - lo) / cell)
        qk = np.clip(qk, -2, dims + 2).astype(np.int64) + 1
        b = best[todo]
        for off in offsets:
            nk = qk + np.array(off)
            inside = np.all((nk >= 0) & (nk < dims), axis=1)
            nl = (nk[:, 0] * dims[1] + nk[:, 1]) * dims[2] + nk[:, 2]
            first = np.searchsorted(slin, nl, "left")
            last = np.where(inside, np.searchsorted(slin, nl, "right"), first)
            cnt = last - first
            for j in range(int(cnt.max(initial=0))):
                rows = np.nonzero(cnt > j)[0]
                pi = order[first[rows] + j]
                qr = qq[rows]
                d = np.linalg.norm(qr - target[pi], axis=1)
                nxt = np.minimum(pi + 1, n - 1)
                d = np.minimum(d, np.where(link[pi], _point_segment(qr, target[pi], target[nxt]), np.inf))
                prv = np.maximum(pi - 1, 0)
                d = np.minimum(d, np.where(prev_ok[pi], _point_segment(qr, target[prv], target[pi]), np.inf))
                b[rows] = np.minimum(b[rows], d)
        best[todo] = b
        todo = todo[~(b <= cell - step)]
        cell *= 4.0
    for lo_i in range(0, len(todo), max(1, 20_000_000 // max(n, 1))):
        rows = todo[lo_i:lo_i + max(1, 20_000_000 // max(n, 1))]
        d = np.linalg.norm(q[rows][:, None, :] - target[None, :, :], axis=2).min(axis=1)
        best[rows] = np.minimum(best[rows], d)
    return best


def directed_distance(q: np.ndarray, target: np.ndarray, link: np.ndarray,
                      step: float, k: int = 16) -> Tuple[float, Optional[np.ndarray]]:
    """Largest distance from a point of `q` to the chains made of `target`
    (consecutive points i, i + 1 with link[i] bound a segment), and the sample of
    `q` where it is met (None when q is empty).

    With scipy, the segments next to the k nearest target points are measured:
    an upper bound of the true distance, exact when the nearest segment has an
    end among those points, which the dense sampling of the target makes the
    rule (the bound is never more than step/2 above the true distance).  Without
    scipy, a grid search of the same kind (_grid_distances)."""
    if len(q) == 0:
        return 0.0, None
    if len(target) == 0:
        return math.inf, q[0]
    if cKDTree is None:
        d = _grid_distances(q, target, link, step)
        i = int(np.argmax(d))
        return float(d[i]), q[i]
    k = min(k, len(target))
    tree = cKDTree(target)
    worst = 0.0
    where = q[0]
    n = len(target)
    prev_ok = np.concatenate(([False], link[:-1]))  # segment (i - 1, i) exists
    for lo in range(0, len(q), 50_000):
        qb = q[lo:lo + 50_000]
        dist, idx = tree.query(qb, k=k)
        dist = np.asarray(dist, dtype=float).reshape(len(qb), k)
        idx = np.asarray(idx, dtype=np.int64).reshape(len(qb), k)
        best = dist.min(axis=1)
        # Only samples that could raise the maximum need the segment distance.
        cand = best > worst
        if not np.any(cand):
            continue
        qc, ic, bc = qb[cand], idx[cand], best[cand]
        for a_idx, ok in ((ic, link[ic]), (ic - 1, prev_ok[ic])):
            a_idx = np.clip(a_idx, 0, n - 1)
            b_idx = np.clip(a_idx + 1, 0, n - 1)
            d = _point_segment(qc[:, None, :], target[a_idx], target[b_idx])
            d = np.where(ok, d, np.inf)
            bc = np.minimum(bc, d.min(axis=1))
        i = int(np.argmax(bc))
        if bc[i] > worst:
            worst, where = float(bc[i]), qc[i]
    return worst, where


# ---------------------------------------------------------------------------
# Comparison


@dataclass
class Comparison:
    drawing: str
    status: str = ""           # pass, FAIL, oracle-error, tool-error, skipped
    oracle_entities: int = 0
    tool_records: int = 0
    oracle_samples: int = 0
    tool_samples: int = 0
    oracle_to_tool: float = 0.0   # largest distance of an oracle sample to the tool's chains
    tool_to_oracle: float = 0.0   # largest distance of a tool sample to the oracle's chains
    oracle_worst: Optional[np.ndarray] = None  # where oracle_to_tool is met
    tool_worst: Optional[np.ndarray] = None    # where tool_to_oracle is met
    extent: float = 0.0
    allowed: float = 0.0
    step: float = 0.0
    seconds: float = 0.0
    reason: str = ""

    @property
    def passed(self) -> bool:
        return self.status == "pass"


def compare(path: Path, tool: str, extra_args: Sequence[str] = (),
            tolerance: float = DEFAULT_TOLERANCE) -> Comparison:
    t0 = time.monotonic()
    res = Comparison(drawing=str(path))
    try:
        oracle = oracle_chains(path, tolerance)
    except OracleError as exc:
        res.status, res.reason = "oracle-error", str(exc)
        res.seconds = time.monotonic() - t0
        return res
    except RecursionError as exc:
        res.status, res.reason = "oracle-error", f"ezdxf recursion: {exc}"
        res.seconds = time.monotonic() - t0
        return res
    out = run_tool(path, tool, extra_args, tolerance)
    res.oracle_entities = oracle.entities
    res.tool_records = out.records
    notes = []
    if oracle.note:
        notes.append(oracle.note)
    if oracle.skipped:
        notes.append(f"ezdxf skipped {len(oracle.skipped)}: " + "; ".join(oracle.skipped[:3]))
    if out.error:
        res.status = "tool-error"
        res.reason = "; ".join([out.error] + notes)
        res.seconds = time.monotonic() - t0
        return res

    # The oracle's extent sets the allowance and the sampling step, so that a
    # wild point of the tool cannot widen its own allowance.
    res.extent = extent_of(oracle.chains) or extent_of(out.chains)
    longest = max(total_length(oracle.chains), total_length(out.chains))
    res.step = max(res.extent * STEP_FRACTION, longest / MAX_SAMPLES)
    if res.step <= 0:
        res.step = 1.0
    op, olink = densify(oracle.chains, res.step)
    tp, tlink = densify(out.chains, res.step)
    res.oracle_samples, res.tool_samples = len(op), len(tp)
    res.oracle_to_tool, res.oracle_worst = directed_distance(op, tp, tlink, res.step)
    res.tool_to_oracle, res.tool_worst = directed_distance(tp, op, olink, res.step)
    # The tool may deviate by its fit tolerance from an ellipse or spline; each
    # flattening here adds its chord error; printed numbers carry ~1e-6
    # relative rounding.
    res.allowed = 2.0 * tolerance + 1e-6 * res.extent + 2.0 * tolerance * FLATTEN_FRACTION
    ok = res.oracle_to_tool <= res.allowed and res.tool_to_oracle <= res.allowed
    res.status = "pass" if ok else "FAIL"
    res.reason = "; ".join(notes)
    res.seconds = time.monotonic() - t0
    return res


# ---------------------------------------------------------------------------
# Corpus


def corpus_kinds(corpus: Path) -> dict:
    """file -> "ascii" or "binary", from MANIFEST.tsv."""
    kinds = {}
    with open(corpus / "MANIFEST.tsv", newline="", encoding="utf-8") as f:
        for row in csv.DictReader(f, delimiter="\t"):
            kinds[row["file"]] = row["kind"]
    return kinds


def corpus_drawings(corpus: Path) -> List[Tuple[str, str]]:
    """(file, why it is left out or "") for each drawing of EXPECTED.tsv at the
    tool's defaults; those pinned as anything but "text" are left out.  A binary
    drawing that ezdxf cannot read is left out later, by compare_corpus_drawing."""
    out = []
    with open(corpus / "EXPECTED.tsv", newline="", encoding="utf-8") as f:
        for row in csv.DictReader(f, delimiter="\t"):
            if row["settings"] != "defaults":
                continue
            why = ""
            if row["outcome"] != "text":
                why = f"pinned as {row['outcome']}"
            out.append((row["file"], why))
    return sorted(out)


def compare_corpus_drawing(corpus: Path, name: str, kinds: dict, tool: str,
                           extra_args: Sequence[str],
                           tolerance: float = DEFAULT_TOLERANCE) -> Comparison:
    """compare() on a corpus drawing; a binary drawing ezdxf cannot read is
    marked "skipped" instead of "oracle-error"."""
    c = compare(corpus / name, tool, extra_args, tolerance)
    if c.status == "oracle-error" and kinds.get(name) == "binary":
        c.status = "skipped"
        c.reason = "binary drawing ezdxf cannot read: " + c.reason
    return c


def _fmt(v: float) -> str:
    if math.isinf(v):
        return "inf"
    return f"{v:.3g}"


def _where(p: Optional[np.ndarray]) -> str:
    return "-" if p is None else "(" + ", ".join(f"{v:.6g}" for v in p) + ")"


def format_row(c: Comparison, name: str, verbose: bool = False) -> str:
    reason = c.reason
    if verbose and c.status == "FAIL":
        reason = (f"worst ezdxf sample {_where(c.oracle_worst)}, worst tool sample "
                  f"{_where(c.tool_worst)}" + ("; " + reason if reason else ""))
    return (f"{c.status:<12} {name:<70} {c.oracle_entities:>6} {c.tool_records:>6} "
            f"{_fmt(c.oracle_to_tool):>9} {_fmt(c.tool_to_oracle):>9} {_fmt(c.extent):>9} "
            f"{_fmt(c.allowed):>8} {c.seconds:6.1f}s  {reason}")


def main(argv: Optional[Sequence[str]] = None) -> int:
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("--tool", required=True, help="the vessik program")
    ap.add_argument("--tool-args", default="", help='extra arguments, e.g. "--true-geometry"')
    ap.add_argument("--corpus", type=Path, default=DEFAULT_CORPUS)
    ap.add_argument("--only", default="*", help="glob on the corpus file names")
    ap.add_argument("--tolerance", type=float, default=DEFAULT_TOLERANCE)
    ap.add_argument("--verbose", action="store_true",
                    help="name where the largest distances are met on failing drawings")
    ap.add_argument("--failures-only", action="store_true", help="print only the rows that do not pass")
    # "--tool-args --true-geometry" would read as an option of its own: glue
    # the value to its option first.
    argv = list(sys.argv[1:] if argv is None else argv)
    for i in range(len(argv) - 1):
        if argv[i] == "--tool-args":
            argv[i:i + 2] = [f"--tool-args={argv[i + 1]}"]
            break
    args = ap.parse_args(argv)
    extra = args.tool_args.split()

    print(f"{'status':<12} {'drawing':<70} {'ezdxf':>6} {'tool':>6} {'ez->tool':>9} "
          f"{'tool->ez':>9} {'extent':>9} {'allowed':>8} {'time':>7}  reason")
    counts: dict = {}
    kinds = corpus_kinds(args.corpus)
    t0 = time.monotonic()
    for name, why in corpus_drawings(args.corpus):
        if not fnmatch.fnmatch(name, args.only) and args.only not in name:
            continue
        if why:
            continue
        c = compare_corpus_drawing(args.corpus, name, kinds, args.tool, extra, args.tolerance)
        counts[c.status] = counts.get(c.status, 0) + 1
        if not (args.failures_only and c.passed):
            print(format_row(c, name, args.verbose), flush=True)
    total = sum(counts.values())
    summary = ", ".join(f"{k} {v}" for k, v in sorted(counts.items()))
    print(f"\n{total} drawings in {time.monotonic() - t0:.0f} s: {summary}")
    return 0 if counts.get("FAIL", 0) == 0 and counts.get("tool-error", 0) == 0 else 1


if __name__ == "__main__":
    sys.exit(main())

"""The tool's geometry against ezdxf's reading of every corpus drawing.

Runs the tool named by VESSIK_CLI with the arguments in VESSIK_ORACLE_ARGS
(default "--true-geometry") on each drawing the corpus pins as "text" at the
tool's defaults, and requires both directed distances between the tool's records
and ezdxf's geometry to stay within the allowance (see oracle_compare.py).
"""

from __future__ import annotations

import os
import shlex
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parent))

import oracle_compare as oc  # noqa: E402

TOOL = os.environ.get("VESSIK_CLI", "")
TOOL_ARGS = shlex.split(os.environ.get("VESSIK_ORACLE_ARGS", "--true-geometry"))
CORPUS = Path(os.environ.get("VESSIK_CORPUS_DIR", str(oc.DEFAULT_CORPUS)))

# Drawings where ezdxf, not the tool, is wrong or blind; each was checked by hand.
_HEADERLESS = ("a file without HEADER is taken as R12 by ezdxf, which then drops the "
               "group codes R12 does not know")
ORACLE_WRONG = {
    "gdal/autotest__ogr__data__dxf__closed_polyline_with_bulge.dxf":
        _HEADERLESS + ": the LWPOLYLINE loses its flags 70=129, so ezdxf draws it open "
        "and misses the closing bulge arc",
    "dxf-parser/test__data__arcs-as-splines.dxf":
        _HEADERLESS + ": the SPLINEs lose their degree 71=2, so ezdxf takes degree 3 and "
        "rejects the knot count (no geometry at all)",
    "ezdxf/integration_tests__data__mtext_framed_columns.dxf":
        "ezdxf destroys the LWPOLYLINE text frames an MTEXT links through its XDATA; "
        "they are ordinary LWPOLYLINEs of the ENTITIES section",
    "ezdxf/integration_tests__data__mtext_text_frame.dxf":
        "ezdxf destroys the LWPOLYLINE text frame an MTEXT links through its XDATA; "
        "it is an ordinary LWPOLYLINE of the ENTITIES section",
    "openscad/tests__data__dxf__nothing-decimal-comma-separated.dxf":
        "ezdxf's recover mode cuts values with a decimal comma at the comma "
        "(\"2,5\" becomes 2.0); the drawing means 2.5",
    "ezdxf/integration_tests__data__issue1106.dxf":
        "ezdxf cannot read it, even in recover mode (DXFTypeError: name has to be a string)",
    "ezdxf/integration_tests__data__layout_broken_links.dxf":
        "ezdxf cannot read it, even in recover mode (KeyError on a broken layout link)",
    "ezdxf/integration_tests__data__layout_broken_links_2.dxf":
        "ezdxf cannot read it, even in recover mode (KeyError on a broken layout link)",
    "ezdxf/integration_tests__data__layout_missing_block_record.dxf":
        "ezdxf cannot read it, even in recover mode (KeyError on a missing block record)",
    "ezdxf/integration_tests__data__r12_blocks_with_no_names.dxf":
        "ezdxf cannot read it, even in recover mode (AttributeError on a block without name)",
    "ezdxf/integration_tests__data__r2000_blocks_with_no_name_and_no_block_record.dxf":
        "ezdxf cannot read it, even in recover mode (DXFTypeError on a block without name)",
    "ezdxf/integration_tests__data__r2000_blocks_with_no_names.dxf":
        "ezdxf cannot read it, even in recover mode (DXFTypeError on a block without name)",
    "jscad/dxf__jscad__circle10.dxf":
        "ezdxf cannot read an LWPOLYLINE without its subclass markers, even in recover mode",
    "jscad/dxf__jscad__square10x10.dxf":
        "ezdxf cannot read an LWPOLYLINE without its subclass markers, even in recover mode",
    "trimesh/models__2D__spline_1.dxf":
        "ezdxf cannot read an LWPOLYLINE without its subclass markers, even in recover mode",
    "trimesh/models__2D__cycloidal.dxf":
        "ezdxf cannot read a SPLINE without its subclass markers, even in recover mode",
}


_KINDS: dict = {}


def _kinds() -> dict:
    if not _KINDS:
        _KINDS.update(oc.corpus_kinds(CORPUS))
    return _KINDS


def _drawings():
    if not (CORPUS / "EXPECTED.tsv").is_file():
        return []
    return [name for name, why in oc.corpus_drawings(CORPUS) if not why]


def test_corpus_is_there():
    if not (CORPUS / "EXPECTED.tsv").is_file():
        pytest.skip(f"no corpus at {CORPUS}")
    assert _drawings(), "the corpus pins no drawing as text"


def test_every_oracle_exception_is_a_corpus_drawing():
    if not (CORPUS / "EXPECTED.tsv").is_file():
        pytest.skip(f"no corpus at {CORPUS}")
    unknown = sorted(set(ORACLE_WRONG) - set(_drawings()))
    assert not unknown, f"ORACLE_WRONG names drawings the comparison does not run: {unknown}"


@pytest.mark.parametrize("name", _drawings())
def test_drawing_matches_ezdxf(name):
    if name in ORACLE_WRONG:
        pytest.skip(ORACLE_WRONG[name])
    if not TOOL:
        pytest.skip("VESSIK_CLI is not set")
    c = oc.compare_corpus_drawing(CORPUS, name, _kinds(), TOOL, TOOL_ARGS)
    if c.status == "skipped":
        pytest.skip(c.reason)
    assert c.status == "pass", oc.format_row(c, name, verbose=True)


# The comparison's own pieces, on geometry whose answer is known.

def test_distance_is_measured_to_segments_not_samples():
    import numpy as np
    a = [np.array([[0.0, 0.0, 0.0], [10.0, 0.0, 0.0]])]
    b = [np.array([[0.0, 0.5, 0.0], [10.0, 0.5, 0.0]])]
    qa, _ = oc.densify(a, 0.3)
    tb, lb = oc.densify(b, 3.0)  # coarse on purpose: the segments still count
    d, _ = oc.directed_distance(qa, tb, lb, 3.0)
    assert abs(d - 0.5) < 1e-12
    saved = oc.cKDTree
    try:
        oc.cKDTree = None
        d, _ = oc.directed_distance(qa, tb, lb, 3.0)
    finally:
        oc.cKDTree = saved
    assert abs(d - 0.5) < 1e-12


def test_records_arcs_run_counter_clockwise_and_equal_angles_make_a_full_turn():
    import numpy as np
    text = (b"1\t66\t0\t0\t7\t0\t0\t0\t0\t0\t0\t0\t0\t0\t2\t350\t10\t\r\n"
            b"2\t66\t0\t0\t7\t0\t0\t0\t0\t0\t0\t5\t5\t1\t1\t30\t30\t\r\n")
    res = oc.parse_records(text, 1e-4)
    assert res.records == 2
    arc, full = res.chains
    assert np.allclose(np.linalg.norm(arc[:, :2], axis=1), 2.0)
    assert arc[:, 0].min() > 1.9  # 350 -> 10 degrees passes through 0, not 180
    assert np.allclose(full[0], full[-1]) and len(full) > 100
    assert np.allclose(full[:, 2], 1.0)

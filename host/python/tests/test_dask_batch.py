"""examples/dask_batch.py gives the texts of `vessik batch`, on a folder that mixes
good, binary and damaged drawings (pytest; needs Dask and the tool)."""

import os
import pathlib
import shutil
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[3]
SCRIPT = ROOT / "examples" / "dask_batch.py"


def skip_or_fail(message):
    if os.environ.get("VESSIK_NO_SKIP", "") not in ("", "0"):
        pytest.fail(message + " (VESSIK_NO_SKIP is set)")
    pytest.skip(message)


def files_under(folder):
    return {p.relative_to(folder).as_posix(): p.read_bytes()
            for p in sorted(folder.rglob("*")) if p.is_file()}


def test_dask_texts_are_those_of_vessik_batch(tmp_path):
    tool = os.environ.get("VESSIK_CLI", "")
    if not tool:
        skip_or_fail("VESSIK_CLI names no tool")
    try:
        import distributed  # noqa: F401
    except ImportError:
        skip_or_fail("python3-distributed is not installed")
    drawings = tmp_path / "drawings"
    (drawings / "nested" / "deeper").mkdir(parents=True)
    shutil.copy(ROOT / "examples" / "shapes.dxf", drawings / "shapes.dxf")
    shutil.copy(ROOT / "examples" / "shapes.dxf", drawings / "nested" / "deeper" / "Copy.DXF")
    (drawings / "nested" / "damaged.dxf").write_bytes(
        (ROOT / "examples" / "shapes.dxf").read_bytes()[:700])
    (drawings / "binary.dxf").write_bytes(bytes(range(256)) * 4)
    (drawings / "notes.txt").write_text("not a drawing\n")
    corpus = pathlib.Path(os.environ.get("VESSIK_CORPUS_DIR", "/nonexistent"))
    for name in ("dxf-npm/test__resources__1x1rectangle.dxf",
                 "ezdxf/integration_tests__data__bin_dxf_r12.dxf"):
        if (corpus / name).is_file():
            shutil.copy(corpus / name, drawings / "nested" / pathlib.Path(name).name)

    by_tool = tmp_path / "by_tool"
    tool_run = subprocess.run([tool, "batch", "-j", "2", "-o", str(by_tool), str(drawings)],
                              capture_output=True, text=True)
    by_dask = tmp_path / "by_dask"
    env = dict(os.environ)
    env.pop("LD_PRELOAD", None)
    dask_run = subprocess.run([sys.executable, str(SCRIPT), "--workers", "2", str(drawings),
                               str(by_dask)], capture_output=True, text=True, env=env,
                              timeout=240)

    assert tool_run.returncode == dask_run.returncode == 1, (tool_run.stderr, dask_run.stderr)
    texts = files_under(by_dask)
    assert texts == files_under(by_tool)
    assert "shapes.txt" in texts and "nested/deeper/Copy.txt" in texts
    assert texts["shapes.txt"] == subprocess.run([tool, str(ROOT / "examples" / "shapes.dxf")],
                                                 capture_output=True, check=True).stdout
    assert not any(name.startswith("binary") or "damaged" in name for name in texts)
    assert "drawings: " in dask_run.stderr.splitlines()[-1]
    failures = [line for line in dask_run.stderr.splitlines() if ": error " in line]
    assert len(failures) == len([line for line in tool_run.stderr.splitlines()
                                 if ": error " in line]) >= 2

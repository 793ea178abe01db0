"""Builds a wheel of the package with pip from the source tree, offline, installs
it into a fresh virtual environment, and checks that the installed package works
there:

    python check_pip_install.py SOURCE_DIR WORK_DIR

The environment sees the system's packages (NumPy comes from Debian) but not the
build tree. Exits 77 (skipped) when this interpreter has no pip or venv."""

import glob
import os
import shutil
import subprocess
import sys
import zipfile

SKIP = 77

CHECK = """
import sys, vessik
assert vessik.__file__.startswith(sys.argv[1]), vessik.__file__
drawing = vessik.read(sys.argv[2])
assert len(drawing) == 1 and drawing[0].kind == vessik.SEGMENT, list(drawing)
assert drawing.records["x2"][0] == 10
assert drawing.text == vessik.read_text(sys.argv[2])
assert drawing.to_svg().startswith("<?xml")
seen = []
p = vessik.Vessik_Progress(); p.Connect(seen.append)
assert vessik.Vessik_Parser().Parse2(sys.argv[2], vessik.Vessik_CommonData(), p) == drawing.text
assert seen and seen[-1] == 100, seen
try:
    vessik.read(sys.argv[2] + ".missing")
except vessik.VessikError as e:
    assert e.number == 53
print("installed package works:", vessik.__file__)
"""


def main():
    source, work = sys.argv[1], os.path.abspath(sys.argv[2])
    try:
        import pip  # noqa: F401
        import venv  # noqa: F401
    except ImportError:
        print("pip or venv is not installed for %s: skipped" % sys.executable)
        return SKIP
    shutil.rmtree(os.path.join(work, "dist"), ignore_errors=True)
    shutil.rmtree(os.path.join(work, "venv"), ignore_errors=True)
    env = dict(os.environ, VESSIK_CMAKE_BUILD_DIR=os.path.join(work, "cmake"), PIP_NO_INDEX="1",
               PIP_DISABLE_PIP_VERSION_CHECK="1")
    env.pop("LD_PRELOAD", None)
    env.pop("PYTHONPATH", None)
    subprocess.run([sys.executable, "-m", "pip", "wheel", "--no-build-isolation", "--no-deps",
                    "--quiet", "--wheel-dir", os.path.join(work, "dist"), source],
                   check=True, env=env)
    wheels = glob.glob(os.path.join(work, "dist", "vessik-*.whl"))
    assert len(wheels) == 1, wheels
    names = zipfile.ZipFile(wheels[0]).namelist()
    for wanted in ("vessik/__init__.py", "vessik/__init__.pyi", "vessik/py.typed"):
        assert wanted in names, (wanted, names)
    assert any(n.startswith("vessik/_vessik.") and n.endswith(".so") for n in names), names

    venv_dir = os.path.join(work, "venv")
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", venv_dir],
                   check=True, env=env)
    python = os.path.join(venv_dir, "bin", "python")
    subprocess.run([python, "-m", "pip", "install", "--no-deps", "--quiet", wheels[0]], check=True,
                   env=env)
    drawing = os.path.join(work, "line.dxf")
    with open(drawing, "w") as f:
        f.write("0\nSECTION\n2\nENTITIES\n0\nLINE\n10\n0\n20\n0\n11\n10\n21\n0\n0\nENDSEC\n0\nEOF\n")
    subprocess.run([python, "-c", CHECK, venv_dir, drawing], check=True, env=env, cwd=work)
    print("1 passed, 0 failed")
    return 0


if __name__ == "__main__":
    sys.exit(main())

"""Installs the module with pip from the source tree, offline, into a folder of
the build tree, and checks that the installed module works:

    python check_pip_install.py SOURCE_DIR WORK_DIR

Exits 77 (skipped) when this interpreter has no pip."""

import os
import shutil
import subprocess
import sys

SKIP = 77


def main():
    source, work = sys.argv[1], os.path.abspath(sys.argv[2])
    try:
        import pip  # noqa: F401
    except ImportError:
        print("pip is not installed for %s: skipped" % sys.executable)
        return SKIP
    target = os.path.join(work, "site")
    shutil.rmtree(target, ignore_errors=True)
    env = dict(os.environ, VESSIK_CMAKE_BUILD_DIR=os.path.join(work, "cmake"))
    env.pop("LD_PRELOAD", None)
    subprocess.run([sys.executable, "-m", "pip", "install", "--no-build-isolation", "--no-deps",
                    "--no-index", "--disable-pip-version-check", "--quiet", "--target", target,
                    source], check=True, env=env)
    drawing = os.path.join(work, "empty.dxf")
    with open(drawing, "w") as f:
        f.write("0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF\n")
    check = (
        "import vessik, sys\n"
        "assert vessik.__file__.startswith(sys.argv[1]), vessik.__file__\n"
        "seen = []\n"
        "p = vessik.Vessik_Progress(); p.Connect(seen.append)\n"
        "assert vessik.Vessik_Parser().Parse2(sys.argv[2], vessik.Vessik_CommonData(), p) == ''\n"
        "assert seen[-2:] == [50, 50], seen\n"
        "print('installed module works:', vessik.__file__)\n")
    subprocess.run([sys.executable, "-c", check, target, drawing], check=True,
                   env=dict(env, PYTHONPATH=target), cwd=work)
    print("1 passed, 0 failed")
    return 0


if __name__ == "__main__":
    sys.exit(main())

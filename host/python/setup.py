"""Builds the "vessik" package with CMake (the library and its Python extension,
without tests, tool or benchmarks): the Python files of host/python/vessik and
the extension module vessik._vessik."""

import os
import shutil
import subprocess
import sys
import sysconfig

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))


def project_version():
    with open(os.path.join(ROOT, "CMakeLists.txt")) as f:
        for line in f:
            if line.startswith("project(") and " VERSION " in line:
                return line.split(" VERSION ", 1)[1].split()[0]
    return "0"


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        # VESSIK_CMAKE_BUILD_DIR puts the CMake build elsewhere (the tests use it).
        build_dir = os.environ.get("VESSIK_CMAKE_BUILD_DIR") or os.path.join(
            self.build_temp, "cmake")
        build_dir = os.path.abspath(build_dir)
        os.makedirs(build_dir, exist_ok=True)
        subprocess.check_call([
            "cmake", "-S", ROOT, "-B", build_dir,
            "-DCMAKE_BUILD_TYPE=Release",
            "-DPython3_EXECUTABLE=" + sys.executable,
            "-DVESSIK_BUILD_PYTHON=ON",
            "-DVESSIK_BUILD_TESTS=OFF",
            "-DVESSIK_BUILD_BENCH=OFF",
            "-DVESSIK_BUILD_CLI=OFF",
            "-DVESSIK_BUILD_COM=OFF",
        ])
        jobs = str(os.cpu_count() or 1)
        subprocess.check_call(["cmake", "--build", build_dir, "--target", "vessik_python",
                               "--parallel", jobs])
        suffix = sysconfig.get_config_var("EXT_SUFFIX")
        built = os.path.join(build_dir, "python", "vessik", "_vessik" + suffix)
        target = self.get_ext_fullpath(ext.name)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copyfile(built, target)


setup(
    name="vessik",
    version=project_version(),
    description="Reads DXF drawings and returns them as plain geometry",
    packages=["vessik"],
    package_dir={"vessik": "vessik"},
    package_data={"vessik": ["py.typed", "__init__.pyi"]},
    install_requires=["numpy"],
    python_requires=">=3.9",
    ext_modules=[Extension("vessik._vessik", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
    zip_safe=False,
)

"""Builds extractor_kr._native with the project's own CMake build.

The extension links the engine and the default dictionaries statically, so
the installed package carries everything it needs.  The build runs in
<project>/build/python (reused by later installs).
"""

import os
import shutil
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        if not (ROOT / "CMakeLists.txt").exists():
            raise RuntimeError(f"{ROOT} holds no CMakeLists.txt: install from a checkout")
        build = Path(os.environ.get("EXTRACTOR_KR_PYTHON_BUILD", ROOT / "build" / "python"))
        import pybind11

        subprocess.check_call([
            "cmake", "-S", str(ROOT), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release",
            "-DEXTRACTOR_KR_PYTHON=ON", "-DEXTRACTOR_KR_TESTS=OFF", "-DEXTRACTOR_KR_BENCH=OFF",
            "-DEXTRACTOR_KR_JAVA=OFF", "-DEXTRACTOR_KR_SERVER=OFF", f"-DPython_EXECUTABLE={sys.executable}",
            f"-DPYTHON_EXECUTABLE={sys.executable}",
            f"-Dpybind11_DIR={pybind11.get_cmake_dir()}",
        ])
        jobs = str(os.cpu_count() or 2)
        subprocess.check_call(["cmake", "--build", str(build), "-j", jobs,
                               "--target", "extractor_kr_python"])
        built = next((build / "python").glob("_native*.so"))
        target = Path(self.get_ext_fullpath(ext.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(built, target)


setup(
    ext_modules=[Extension("extractor_kr._native", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)

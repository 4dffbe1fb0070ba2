"""The installed module: it lands in the interpreter's package directory
under the install prefix and imports without a library search path."""
import os
import subprocess
import sys

import pytest

BUILD = os.environ.get("CORV_BINARY_DIR")
INSTALL_DIR = os.environ.get("CORV_PYTHON_INSTALL_DIR")
CMAKE = os.environ.get("CORV_CMAKE", "cmake")

# Imports the module, uses the library through it, and prints where both
# were loaded from.
PROGRAM = """
import corvconfigstore, os, sys
directory = sys.argv[1]
corvconfigstore.provision_store(os.path.join(directory, "store.db"))
print(corvconfigstore.__file__)
with open("/proc/self/maps") as maps:
    print(next(line.split()[-1] for line in maps if "libcorvconfigstore.so" in line))
"""


@pytest.mark.skipif(not BUILD or not INSTALL_DIR, reason="needs the build tree (run from ctest)")
def test_installed_module_imports_from_the_prefix(tmp_path):
    prefix = tmp_path / "prefix"
    subprocess.run([CMAKE, "--install", BUILD, "--prefix", str(prefix)], check=True,
                   stdout=subprocess.DEVNULL)
    site = prefix / INSTALL_DIR
    environment = {k: v for k, v in os.environ.items() if k != "LD_LIBRARY_PATH"}
    environment["PYTHONPATH"] = str(site)
    result = subprocess.run([sys.executable, "-c", PROGRAM, str(tmp_path)], env=environment,
                            capture_output=True, text=True, check=True)
    module, library = result.stdout.split()
    assert os.path.dirname(module) == str(site)
    assert os.path.realpath(library).startswith(str(prefix) + os.sep)
    assert (tmp_path / "store.db").exists()

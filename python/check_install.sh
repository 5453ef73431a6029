#!/bin/sh
# The package as `cmake --install` leaves it: installs the library, the
# reference host and the package from BUILD_DIR into PREFIX, then runs the
# README's example test there with /usr/bin/python3, the package and its
# plugin found only through PREFIX (the plugin through its entry point, no
# -p), and checks that the package loads the libraries of PREFIX.
# Usage: check_install.sh BUILD_DIR PREFIX PYTHON_DIR TESTS_DIR
#   PYTHON_DIR: the package's directory under PREFIX (VORN_PYTHON_INSTALL_DIR, relative)
set -eu
build=$1 prefix=$2 python_dir=$3 tests=$4
rm -rf "$prefix"
for component in runtime reference-host python; do
  "${CMAKE:-cmake}" --install "$build" --prefix "$prefix" --component "$component" >/dev/null
done
run=$prefix/run
mkdir -p "$run"
cp "$tests/conftest.py" "$tests/test_readme_example.py" "$run/"
cd "$run"
unset VORNLCAPI_LIBRARY VORNLCAPI_LIBVORNSIM
export PYTHONPATH="$prefix/$python_dir" PYTHONDONTWRITEBYTECODE=1
/usr/bin/python3 -P - "$prefix" <<'EOF'
import sys
import vornlcapi._library as library
prefix = sys.argv[1]
for path in (library.__file__, library.LIBRARY_PATH, library.LIBVORNSIM_PATH):
    if not path.startswith(prefix + "/"):
        sys.exit("check_install: %s is not under the install prefix %s" % (path, prefix))
print("check_install: the installed package loads", library.LIBRARY_PATH, "and", library.LIBVORNSIM_PATH)
EOF
exec /usr/bin/python3 -P -m pytest -q -p no:cacheprovider test_readme_example.py

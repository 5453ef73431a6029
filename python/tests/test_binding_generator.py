"""The binding generator: the table and the headers must agree, and what it writes
declares every entry point under the name the library exports."""

import os
import subprocess
import sys

import pytest

import vornlcapi

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
GENERATOR = os.path.join(SOURCE, "python", "gen_binding.py")
TABLE = os.path.join(SOURCE, "meta", "c_entry_points.def")
PREPROCESSED = os.path.join(os.path.dirname(os.path.dirname(vornlcapi.__file__)), "cdef.i")


def generate(table_text, tmp_path):
    table = tmp_path / "meta" / "c_entry_points.def"
    table.parent.mkdir()
    table.write_text(table_text)
    # The generator keeps the headers under the table's source root.
    os.symlink(os.path.join(SOURCE, "include"), tmp_path / "include")
    os.makedirs(tmp_path / "sim")
    os.symlink(os.path.join(SOURCE, "sim", "include"), tmp_path / "sim" / "include")
    with open(PREPROCESSED) as preprocessed:
        text = preprocessed.read().replace(SOURCE + "/", str(tmp_path) + "/")
    (tmp_path / "cdef.i").write_text(text)
    return subprocess.run([sys.executable, GENERATOR, "--def", str(table), "--preprocessed",
                           str(tmp_path / "cdef.i"), "--out", str(tmp_path / "out")],
                          capture_output=True, text=True)


@pytest.fixture
def table_text():
    with open(TABLE) as table:
        return table.read()


def test_the_table_as_it_stands_generates(table_text, tmp_path):
    run = generate(table_text, tmp_path)
    assert run.returncode == 0, run.stderr
    namespace = {}
    exec((tmp_path / "out" / "_entry_points.py").read_text(), namespace)
    assert len(namespace["ENTRY_POINTS"]) == table_text.count("\nVORN_C_ENTRY_POINT(")
    symbols = {name: symbol for name, symbol, _ in namespace["ENTRY_POINTS"]}
    assert symbols["create_vlan"] == "ctype_vorn_create_vlan"
    # C++ linkage: the mangled name, which the library exports.
    assert symbols["delete_of_flow_action"] == \
        "_Z32ctype_vorn_delete_of_flow_actionj17ctype_of_action_t23ctype_of_action_param_s"
    cdef = (tmp_path / "out" / "_cdef.py").read_text()
    assert "__attribute__" not in cdef and "size_t strlen" not in cdef  # project headers only


@pytest.mark.parametrize("change, message", [
    (("VORN_C_ENTRY_POINT(create_vlan, (vlan), (in(number)))",
      "VORN_C_ENTRY_POINT(create_vlan, (vlan, extra), (in(number), in(number)))"),
     "ctype_vorn_create_vlan takes 1 arguments in the header, 2 in the table"),
    (("VORN_C_ENTRY_POINT(create_vlan, (vlan), (in(number)))",
      "VORN_C_ENTRY_POINT(create_vlans, (vlan), (in(number)))"),
     "ctype_vorn_create_vlans is in the table but declared in none of"),
    (("VORN_C_ENTRY_POINT(create_vlan, (vlan), (in(number)))",
      "VORN_C_ENTRY_POINT(create_vlan (vlan), (in(number)))"),
     "not an entry-point line"),
    (("VORN_C_ENTRY_POINT(create_vlan, (vlan), (in(number)))",
      "VORN_C_ENTRY_POINT(create_vlan, (vlan), (inward(number)))"),
     "create_vlan: bad kind 'inward(number)'"),
    (("VORN_C_ENTRY_POINT(create_vlan, (vlan), (in(number)))",
      "VORN_C_ENTRY_POINT(create_vlan, (vlan, more), (in(number)))"),
     "create_vlan has 2 parameters and 1 kinds"),
])
def test_a_table_the_headers_disagree_with_fails_naming_it(table_text, tmp_path, change, message):
    assert change[0] in table_text
    run = generate(table_text.replace(change[0], change[1]), tmp_path)
    assert run.returncode == 1
    assert message in run.stderr
    assert not (tmp_path / "out" / "_entry_points.py").exists()

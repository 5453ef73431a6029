#!/usr/bin/python3
"""Writes the Python package's binding data from the headers and the entry-point table.

  gen_binding.py --def meta/c_entry_points.def --preprocessed cdef.i --out DIR

cdef.i is python/cdef.h through the C preprocessor with line markers kept.
Writes DIR/_cdef.py (CDEF: the declarations from include/ and sim/include/,
as cffi reads them) and DIR/_entry_points.py (ENTRY_POINTS: each entry point
of the table with its symbol and each argument's name, direction and kind).
Fails, naming the entry point, when the table and the header disagree.
"""

import argparse
import os
import re
import sys

PREFIX = "ctype_vorn_"

_ENTRY = re.compile(r"^VORN_C_ENTRY_POINT\((\w+),\s*\(([^)]*)\),\s*\((.*)\)\)\s*$")
_KIND = re.compile(r"^(in|out|in_out)\((\w+)\)$")
_MARKER = re.compile(r'^#\s*(\d+)\s+"([^"]*)"')
_ATTRIBUTE = re.compile(r"__attribute__\s*\(\((?:[^()]|\([^()]*\))*\)\)")
_CXX_DECLARATION = r"VORN_API\s+int\s+{name}\s*\(([^;]*)\)\s*;"

# Itanium names of the parameter types a C entry point with C++ linkage may take.
_MANGLED_BUILTINS = {
    "void": "v", "bool": "b", "char": "c", "unsigned char": "h", "short": "s",
    "unsigned short": "t", "int": "i", "unsigned int": "j", "long": "l", "unsigned long": "m",
    "long long": "x", "unsigned long long": "y",
}


class TableError(Exception):
    pass


def split_list(text):
    return [item.strip() for item in text.split(",") if item.strip()]


def read_table(path):
    """[(name, [(parameter, dir, kind)])] in the table's order."""
    entries = []
    with open(path) as table:
        for number, line in enumerate(table, 1):
            if not line.startswith("VORN_C_ENTRY_POINT("):
                continue
            match = _ENTRY.match(line.strip())
            if not match:
                raise TableError("%s:%d: not an entry-point line: %s" % (path, number, line.strip()))
            name, parameters, kinds = match.group(1), split_list(match.group(2)), split_list(match.group(3))
            if len(parameters) != len(kinds):
                raise TableError("%s:%d: %s has %d parameters and %d kinds"
                                 % (path, number, name, len(parameters), len(kinds)))
            arguments = []
            for parameter, kind in zip(parameters, kinds):
                spelled = _KIND.match(kind)
                if not spelled:
                    raise TableError("%s:%d: %s: bad kind %r" % (path, number, name, kind))
                arguments.append((parameter, spelled.group(1), spelled.group(2)))
            entries.append((name, arguments))
    if not entries:
        raise TableError("%s: no VORN_C_ENTRY_POINT lines" % path)
    return entries


def project_lines(path, root):
    """The lines of the preprocessed file that come from root/include and root/sim/include,
    and the headers they came from."""
    kept_dirs = {os.path.join(root, "include"), os.path.join(root, "sim", "include")}
    base = os.path.dirname(os.path.abspath(path))
    keep = False
    lines, headers = [], set()
    with open(path) as preprocessed:
        for line in preprocessed:
            marker = _MARKER.match(line)
            if marker:
                source = marker.group(2)
                resolved = os.path.abspath(source)
                if not os.path.exists(resolved):
                    resolved = os.path.normpath(os.path.join(base, source))
                keep = os.path.dirname(resolved) in kept_dirs
                if keep:
                    headers.add(resolved)
                continue
            if keep and not line.startswith("#"):
                lines.append(line.rstrip())
    return lines, headers


def declarations(text):
    """{function name: number of parameters} of the int-returning functions in text."""
    found = {}
    for match in re.finditer(r"\bint\s+(\w+)\s*\(((?:[^()]|\([^()]*\)\s*\([^()]*\))*)\)\s*;", text):
        parameters = match.group(2).strip()
        found[match.group(1)] = 0 if parameters in ("", "void") else len(split_top_level(parameters))
    return found


def split_top_level(parameters):
    items, depth, current = [], 0, ""
    for char in parameters:
        if char == "," and depth == 0:
            items.append(current.strip())
            current = ""
            continue
        depth += char == "("
        depth -= char == ")"
        current += char
    items.append(current.strip())
    return items


def mangled_type(parameter):
    words = parameter.replace("*", " * ").split()[:-1]  # the parameter's name dropped
    pointers = words.count("*")
    words = [word for word in words if word != "*"]
    const = "const" in words
    base = " ".join(word for word in words if word not in ("const", "struct", "enum"))
    code = _MANGLED_BUILTINS.get(base) or "%d%s" % (len(base), base)
    if pointers:
        code = ("K" if const else "") + code
        code = "P" * pointers + code
    return code


def cxx_entry_point(name, headers):
    """(linker name, cffi declaration under that name) of a C entry point declared with
    C++ linkage in one of the headers, or None."""
    pattern = re.compile(_CXX_DECLARATION.format(name=re.escape(name)))
    for header in sorted(headers):
        with open(header) as source:
            match = pattern.search(source.read())
        if match:
            parameters = [p for p in split_top_level(match.group(1)) if p not in ("", "void")]
            symbol = "_Z%d%s%s" % (len(name), name, "".join(mangled_type(p) for p in parameters) or "v")
            return symbol, "int %s(%s);" % (symbol, " ".join(match.group(1).split()))
    return None


def generate(table_path, preprocessed_path):
    root = os.path.dirname(os.path.dirname(os.path.abspath(table_path)))
    lines, headers = project_lines(preprocessed_path, root)
    cdef = _ATTRIBUTE.sub("", "\n".join(line for line in lines if line.strip()))
    declared = declarations(cdef)
    entries = []
    extra = []
    for name, arguments in read_table(table_path):
        function = PREFIX + name
        symbol = function
        if function not in declared:
            found = cxx_entry_point(function, headers)
            if found is None:
                raise TableError("%s: %s is in the table but declared in none of %s"
                                 % (table_path, function, ", ".join(sorted(headers)) or "the headers"))
            symbol = found[0]
            extra.append(found[1])
            declared.update(declarations(found[1]))
        if declared[symbol] != len(arguments):
            raise TableError("%s: %s takes %d arguments in the header, %d in the table"
                             % (table_path, function, declared[symbol], len(arguments)))
        entries.append((name, symbol, tuple(arguments)))
    if extra:
        cdef += "\n/* C entry points with C++ linkage, by their linker names. */\n" + "\n".join(extra)
    return cdef + "\n", entries


def write(path, text):
    temporary = path + ".tmp"
    with open(temporary, "w") as out:
        out.write(text)
    os.replace(temporary, path)


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--def", dest="table", required=True, help="meta/c_entry_points.def")
    parser.add_argument("--preprocessed", required=True, help="python/cdef.h preprocessed, line markers kept")
    parser.add_argument("--out", required=True, help="directory of the package")
    options = parser.parse_args(argv)
    try:
        cdef, entries = generate(options.table, options.preprocessed)
    except (OSError, TableError) as error:
        sys.stderr.write("gen_binding.py: %s\n" % error)
        return 1
    os.makedirs(options.out, exist_ok=True)
    header = "# Generated by python/gen_binding.py from %s; do not edit.\n" % os.path.basename(options.table)
    write(os.path.join(options.out, "_cdef.py"), header + "CDEF = %r\n" % cdef)
    table = "".join("    (%r, %r, %r),\n" % entry for entry in entries)
    write(os.path.join(options.out, "_entry_points.py"),
          header + "# (name, symbol, ((parameter, direction, kind), ...))\nENTRY_POINTS = (\n" + table + ")\n")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

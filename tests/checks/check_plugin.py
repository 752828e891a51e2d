#!/usr/bin/env -S python3 -B
"""Checks the contents of the plug-in's binary. Arguments: the shared library; the word relaxed for builds whose compiler
adds its own instructions and data (sanitizers, coverage) or doesn't optimise (debug); and the word wide for a library in
which the functions in the namespaces of targets, and only those, may go beyond SSE4.1."""

import re
import subprocess
import sys

NEEDED = {"libpxlworks_pxl.so", "libpxlworks_object_model.so", r"libtbb\.so\.[0-9]+"}
RUNTIME = {r"libstdc\+\+\.so\.6", r"libm\.so\.6", r"libgcc_s\.so\.1", r"libc\.so\.6", r"ld-linux-x86-64\.so\.2"}
# Changeable data: the registration objects, a virtual table pointer each, ...
REGISTRATION = re.compile(r"(?:_Z\w*?)?\d*g_autoRegisterRunnable\w*")
# ... and what compiler and linker put into every shared library.
RUNTIME_DATA = {"__dso_handle", "__TMC_END__", "completed.0", "DW.ref.__gxx_personality_v0"}
# Beyond SSE4.1: everything VEX-encoded begins with v, fused multiply-adds included; and the additions of SSE4.2.
BEYOND = re.compile(r"v\w+|pcmpgtq|pcmp[ei]str[im]|crc32\w?|popcnt\w?|lzcnt\w?")
# The functions that process the vectors of a row, by name.
IN_ROW = re.compile(r"[0-9a-f]+ <\w*\D(?:10computeRow|6reduce|4scan)[IE]\w*>:")
# A function of a target's namespace: a template of the standard library that was compiled with wide instructions would be
# none, and could become the copy that all use.
OF_TARGET = re.compile(r"[0-9a-f]+ <\w*\d+N_(?:SSE4|AVX2|AVX3)[^>]*>:")
PREFIXES = r"(?:(?:rep\w*|lock|bnd|notrack|data16|[cdefgs]s|rex\S*)\s+)*"


def output_of(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def file_findings(library, relaxed):
    header = output_of("readelf", "-hW", library)
    for expected in (r"Class:\s+ELF64", r"Machine:.*X86-64", r"Type:\s+DYN"):
        if not re.search(expected, header):
            yield f"ELF header without {expected}"
    needed = re.findall(r"\(NEEDED\).*\[(.*)\]", output_of("readelf", "-dW", library))
    for pattern in sorted(NEEDED):
        if not any(re.fullmatch(pattern, name) for name in needed):
            yield f"doesn't need {pattern}"
    for name in needed:
        if not relaxed and not any(re.fullmatch(pattern, name) for pattern in NEEDED | RUNTIME):
            yield f"needs {name}"


def symbols(*arguments):
    """(number, size, type, binding, section index, name) of each symbol."""
    for line in output_of("readelf", "-W", *arguments).split("\n"):
        match = re.match(r"\s+\d+: [0-9a-f]+\s+(\w+) (\w+)\s+(\w+)\s+\w+\s+(?:\[.*\] +)?(\w+)\s+(\S+)", line)
        if match:
            size, kind, binding, section, name = match.groups()
            yield int(size, 0), kind, binding, section, name


def symbol_findings(library):
    for _, _, _, section, name in symbols("--dyn-syms", library):
        if section != "UND":
            yield f"exports {name}"
        elif re.match(r"pthread_create|thrd_create|_ZNSt6thread|_ZNSt7__cxx1112basic_ofstream", name):
            yield f"imports {name}"
    names = output_of("nm", library)
    if not names:
        yield "is stripped, so that its symbols can't be checked"
    for line in names.split("\n"):
        if re.search(r" u ", line):
            yield f"unique symbol, which keeps the library in memory: {line}"


def data_findings(library):
    sections = re.findall(r"\[ *(\d+)\] (\S+)\s+\S+\s+[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) [0-9a-f]+\s+(\w+)",
                          output_of("readelf", "-SW", library))
    for index, section, size, flags in sections:
        if "T" in flags:
            yield f"data of each thread: section {section}"
        if section not in (".data", ".bss"):
            continue
        known = 0
        for symbol_size, kind, _, symbol_section, name in symbols("-s", library):
            if symbol_section != index or kind in ("SECTION", "NOTYPE"):
                continue
            known += symbol_size
            if name not in RUNTIME_DATA and not (REGISTRATION.fullmatch(name) and symbol_size == 8):
                yield f"changeable data in {section}: {name}, {symbol_size} bytes"
        if int(size, 16) > known + 32:  # room for alignment
            yield f"{int(size, 16) - known} bytes of {section} without a name"
    registrations = {name for _, _, _, _, name in symbols("-s", library) if REGISTRATION.fullmatch(name)}
    print(f"{len(registrations)} registration objects")
    if not registrations:
        yield "no registration object"


def instruction_findings(library, is_wide):
    count = in_row = of_target = 0
    is_in_row = is_of_target = False
    for line in output_of("objdump", "-d", "--no-show-raw-insn", library).split("\n"):
        if line.endswith(">:"):
            is_in_row = bool(IN_ROW.fullmatch(line))
            in_row += is_in_row
            is_of_target = is_wide and bool(OF_TARGET.match(line))
            of_target += is_of_target
        match = re.match(r"\s+[0-9a-f]+:\s+" + PREFIXES + r"(\w+)(.*)", line)
        if match:
            count += 1
            if not is_of_target and (BEYOND.fullmatch(match.group(1)) or re.search(r"%[yz]mm", match.group(2))):
                yield f"beyond SSE4.1: {line.strip()}"
            if is_in_row and match.group(1).startswith("call"):
                yield f"calls within a row: {line.strip()}"
    print(f"{count} instructions, {in_row} functions for a row, {of_target} of a target")
    if is_wide and of_target == 0:
        yield "no functions of a target"
    if count == 0:
        yield "no instructions found"


def main():
    library = sys.argv[1]
    relaxed = "relaxed" in sys.argv[2:]
    found = list(file_findings(library, relaxed)) + list(symbol_findings(library))
    if relaxed:
        print("data and instructions not checked: this build's compiler options change them")
    else:
        found += list(data_findings(library)) + list(instruction_findings(library, "wide" in sys.argv[2:]))
    print("\n".join(found[:50]))
    print(f"{len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

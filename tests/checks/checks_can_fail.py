#!/usr/bin/env -S python3 -B
"""Breaks each rule once, in a copy of the project, and expects the check to report it.
Arguments: the project's folder, the folder of the host's libraries, the C++ compiler, the program qorn."""

import os
import shutil
import subprocess
import sys
import tempfile

import tree

HERE = os.path.dirname(os.path.abspath(__file__))
HEADER = "host/include/pxl/Property.h"
PLUGIN = "analysis/IntensityExtrema_SSE41.cpp"
# (check, file, text to add to it, part of the finding)
IN_SOURCES = [
    ("layers", HEADER, '#include "Core/private/Access/RowCacheRead.h"', "contract must not include"),
    ("layers", HEADER, "#include <unistd.h>", "contract must not include"),
    ("layers", "host/include/pxl/String.h", '#include "pxl/Image.h"', "object model must not include"),
    ("layers", "Core/private/Access/simd/New.h", '#include "pxl/Image.h"', "simd must not include"),
    ("layers", "Core/private/New.h", f'#include "{PLUGIN}"', "core must not include"),
    ("layers", "Core/private/New.h", "#include <smmintrin.h>", "core must not include"),
    ("layers", PLUGIN, '#include "host/src/Raise.h"', "analysis must not include"),
    ("layers", "morphology/New.h", f'#include "{PLUGIN}"', "morphology must not include"),
    ("layers", "host/src/Image.cpp", f'#include "{PLUGIN}"', "host must not include"),
    ("layers", "host/src/access/Conversion.cpp", "#include <smmintrin.h>", "host must not include"),
    ("layers", "host/src/access/WriteBuffer.cpp", '#include "CurrentRun.h"', "storage must not include"),
    ("layers", "host/src/access/FileStorage.h", "#include <tbb/parallel_for.h>", "storage must not include"),
    ("layers", "apps/qorn/main.cpp", '#include "Core/private/Access/RowCacheRead.h"', "apps must not include"),
    ("layers", "apps/qorn/main.cpp", f'#include "{PLUGIN}"', "apps must not include"),
    ("layers", "apps/qorn/main.cpp", '#include "Nowhere.h"', "apps must not include"),
    ("layers", "python/src/Run.cpp", '#include "Core/private/Access/RowCacheRead.h"', "python must not include"),
    ("layers", "python/src/Run.cpp", '#include "qorn/Operators.h"', "python must not include"),
    ("layers", "apps/qorn/main.cpp", "#include <pybind11/pybind11.h>", "belongs into python/"),
    ("layers", "elsewhere/New.h", "int i;", "no layer"),
    ("sources", PLUGIN, "void f() { _mm_setzero_ps(); }", "intrinsics belong"),
    ("sources", "host/src/Image.cpp", "__m128i a;", "intrinsics belong"),
    ("sources", "wide/RowKernels-inl.h", "void f() { _mm512_permutex2var_ps(a, b, c); }", "intrinsics belong"),
    ("sources", "Core/private/Access/simd/New.h", "void f() { _mm_load_ps(p); }", "only unaligned"),
    ("sources", "Core/private/Access/simd/New.h", "void f() { _mm_stream_si128(p, a); }", "only unaligned"),
    ("sources", "host/src/access/RoundFloats.h", "void f() { _mm_load_ps(p); }", "only unaligned"),
    ("sources", "host/src/Image.cpp", "void f() { std::cerr << 1; }", "don't print"),
    ("sources", PLUGIN, 'void f() { printf("x"); }', "don't print"),
    ("sources", PLUGIN, "void f() { try { g(); } catch (...) {} }", "free of handlers"),
    ("sources", "Core/private/New.h", "std::mutex m;", "free of handlers"),
    ("sources", "Core/private/New.h", "#include <thread>", "free of handlers"),
    ("sources", "Core/private/New.cpp", "int i;", "the units of Core/private are those"),
    ("sources", "host/src/New.cpp", "int i;", "not listed"),
    ("sources", "cmake/Plugin.cmake", "file(GLOB sources *.cpp)", "not globbed"),
    ("sources", "host/src/New.h", "\n" * 501, "lines, more than"),
    ("sources", "python/qorn/new.py", "\n" * 501, "lines, more than"),
    ("words", "README.md", "as the sp" "ec says", "README.md"),
    ("words", "docs/New.md", "see Part" " 3.1", "docs/New.md"),
    ("words", "tests/new.sh", "cd /wo" "rk/main", "tests/new.sh"),
    ("docs", "README.md", "`host/src/Nowhere.cpp`", "no path host/src/Nowhere.cpp"),
    ("docs", "README.md", "`Nowhere*.h`", "no path Nowhere*.h"),
    ("docs", "docs/windows.md", "[there](nowhere.md)", "no file docs/nowhere.md"),
    ("docs", "docs/windows.md", "[there](elements.md#nowhere)", "no heading #nowhere"),
    ("docs", "README.md", "`qorn opne IN OUT`", "no subcommand opne"),
    ("docs", "README.md", "```console\n$ qorn open a.png b.png --elment x\n```", "no option --elment of qorn open"),
    ("docs", "README.md", "`--elment`", "no option --elment"),
    ("docs", "README.md", "```console\n$ ./run run Dilation4d a.png b.png\n```", "no operator Dilation4d"),
    ("docs", "README.md", "`Dilation4d`", "no name Dilation4d"),
    ("docs", "README.md", "```console\n$ qorn run Dilation2d a.png b.png radius=1\n```", "no property radius of Dil"),
    ("docs", "README.md", "`qorn run Dilation2d IN OUT neighborhood=round`", "no value round of neighborhood"),
    ("docs", "README.md", "`shapeMode=round`", "no value round of shapeMode"),
    ("docs", "README.md", "```console\n$ cmake --preset relase && tests/nowhere.sh\n```", "no preset relase"),
    ("docs", "README.md", "```console\n$ cmake --preset release && tests/nowhere.sh\n```", "no path tests/nowhere.sh"),
    ("docs", "ARCHITECTURE.md", "```\nhost/nowhere\n```", "no path host/nowhere"),
    ("mutations", PLUGIN, "// argument.second->runChildAlgo(&filter);", "the old text occurs 2 times"),
    ("mutations", "tests/checks/mutations/analysis.txt", f"@ new {PLUGIN}\n- nowhere\n+ there", "occurs 0 times"),
    ("mutations", "tests/checks/mutations/analysis.txt", f"@ new {PLUGIN}\n- nowhere\n+ nowhere", "nothing is changed"),
    ("mutations", "tests/checks/mutations/analysis.txt", f"tests: no_program *\n@ new {PLUGIN}", "program and filter"),
]
REGISTRATION = 'extern "C" { __attribute__((used)) static void* g_autoRegisterRunnable1; }\n'
LINK = ["-Wl,--no-as-needed", "-lpxlworks_pxl", "-lpxlworks_object_model", "-ltbb"]
MAP = ["-Wl,--version-script=" + os.path.join(HERE, "../../cmake/plugin.map")]
THREAD = "#include <thread>\nstatic void f() { std::thread([] {}).join(); }\n__attribute__((used)) void* p() { f(); return 0; }"
VECTORS = "typedef float V __attribute__((vector_size(16))); __attribute__((used)) V f(V a, V b, V c) { return a * b + c; }"
CALL_IN_ROW = """namespace a { template <class T> __attribute__((noinline)) void computeRow(T* t) { t->f(); t->f(); } }
struct V { virtual void f(); }; __attribute__((used)) void g(V* v) { a::computeRow(v); }"""
# (source, compiler options, part of the finding; nothing for a library without faults)
IN_PLUGIN = [
    (REGISTRATION, LINK + MAP, ""),
    (REGISTRATION + VECTORS, LINK + MAP + ["-msse4.1"], ""),
    (REGISTRATION + VECTORS, LINK + MAP + ["-mavx"], "beyond SSE4.1: "),
    (REGISTRATION + VECTORS, LINK + MAP + ["-mfma", "-ffp-contract=fast"], "fmadd"),
    (REGISTRATION, LINK[:-1] + MAP, "doesn't need libtbb"),
    (REGISTRATION + "int f() { return 1; }", LINK, "exports _Z1fv"),
    (REGISTRATION + "template <class T> int& g() { static int i; return i; } int f() { return ++g<int>(); }", LINK,
     "unique symbol"),
    (REGISTRATION + THREAD, LINK + MAP, "imports _ZNSt6thread"),
    (REGISTRATION + "__attribute__((used)) static int g_count;", LINK + MAP, "changeable data in .bss"),
    (REGISTRATION + "__attribute__((used)) static int g_count = 1;", LINK + MAP, "changeable data in .data"),
    (REGISTRATION + "thread_local int t = 1; int f() { return ++t; }", LINK + MAP, "data of each thread"),
    (REGISTRATION.replace("void* g_autoRegisterRunnable1", "void* g_autoRegisterRunnable1[2]"), LINK + MAP,
     "16 bytes"),
    (REGISTRATION + CALL_IN_ROW, LINK + MAP, "calls within a row: "),
    ("", LINK + MAP, "no registration object"),
    (REGISTRATION, LINK + MAP + ["-s"], "is stripped"),
]


def run_check(check, *arguments):
    script = ["mutate.py", "--check", "--root"] if check == "mutations" else [f"check_{check}.py"]
    command = [sys.executable, "-B", os.path.join(HERE, script[0]), *script[1:], *arguments]
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return result.returncode, result.stdout


def expect(what, check, arguments, finding):
    status, output = run_check(check, *arguments)
    if finding == "":
        good = status == 0
    else:
        good = status == 1 and finding in output and "Traceback" not in output
    if not good:
        print(f"check_{check}.py on {what}: expected '{finding}', got {status} and\n{output}")
    return good


def break_sources(root, copy, program):
    for name in tree.all_files(root):
        os.makedirs(os.path.dirname(os.path.join(copy, name)), exist_ok=True)
        shutil.copy(os.path.join(root, name), os.path.join(copy, name))
    for check, name, text, finding in IN_SOURCES:
        path = os.path.join(copy, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        before = tree.read(copy, name) if os.path.exists(path) else None
        with open(path, "w", encoding="utf-8") as file:
            file.write((before or "") + "\n" + text + "\n")
        arguments = [copy, program] if check == "docs" else [copy]
        yield expect(f"{name} with {text.strip()}", check, arguments, finding)
        if before is None:
            os.remove(path)
        else:
            with open(path, "w", encoding="utf-8") as file:
                file.write(before)
    for command in (["init", "-q"], ["-c", "user.name=a", "-c", "user.email=a@b.c", "-c", "commit.gpgsign=false",
                                     "commit", "-q", "--allow-empty", "-m", "see the sp" "ec"]):
        subprocess.run(["git", "-C", copy, *command], check=True)
    yield expect("history", "words", [copy], "commit messages:1")


def break_plugin(libraries, compiler, folder):
    for number, (source, options, finding) in enumerate(IN_PLUGIN):
        name = os.path.join(folder, f"plugin{number}")
        with open(name + ".cpp", "w", encoding="utf-8") as file:
            file.write(source + "\n")
        subprocess.run([compiler, "-O2", "-fPIC", "-shared", name + ".cpp", "-o", name + ".so", "-L" + libraries,
                        *options], check=True)
        yield expect(f"{source} built with {options}", "plugin", [name + ".so"], finding)


def break_run_paths(compiler, folder):
    for number, (path, finding) in enumerate([
            ("/usr/lib:$ORIGIN:$ORIGIN/../lib", ""), ("$ORIGIN:", "'' in the run path"), ("::::", "'' in the run path"),
            ("/usr/lib::$ORIGIN", "'' in the run path"), ("lib", "'lib' in the run path"),
            ("$ORIGINAL", "'$ORIGINAL' in the run path")]):
        libraries = os.path.join(folder, f"paths{number}", "lib")
        os.makedirs(libraries)
        subprocess.run([compiler, "-shared", "-x", "c++", os.devnull, "-o", os.path.join(libraries, "a.so"),
                        "-Wl,-rpath," + path], check=True)
        yield expect(f"a library with the run path {path}", "run_paths", [os.path.dirname(libraries)], finding)
    yield expect("nothing", "run_paths", [os.path.dirname(os.path.abspath(__file__))], "no binaries found")


def main():
    root, libraries, compiler, program = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        results = list(break_sources(root, os.path.join(folder, "copy"), program))
        results += break_plugin(libraries, compiler, folder)
        results += break_run_paths(compiler, folder)
    print(f"{results.count(True)} of {len(results)} broken or sound inputs were told apart")
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env -S python3 -B
"""Who may include whom. Each layer knows only those before it. Argument: the project's folder."""

import os
import re
import sys

import tree

OBJECT_MODEL_HEADERS = {"pxl/String.h", "pxl/Object.h", "pxl/Exception.h", "pxl/Noncopyable.h"}
PLUGIN_FOLDERS = ("analysis", "morphology", "filtering", "PointOperations", "elements", "wide")
CONTRACT = {"object model", "contract"}
CORE = {"core", "simd"}
# The headers of the C++ standard library have names without a suffix; 'system' is every other header in <>.
ALLOWED = {
    "object model": {"object model", "standard"},
    "contract": CONTRACT | {"standard", "tbb"},
    "simd": {"simd", "voxel types", "intrinsics", "standard"},
    "core": CONTRACT | CORE | {"standard", "tbb"},
    "host": CONTRACT | CORE | {"host", "standard", "tbb", "system"},
    # Programs use the operators only through the host.
    "apps": CONTRACT | {"apps", "standard", "tbb", "system"},
    # The Python package reads and writes the program's files.
    "python": CONTRACT | {"python", "files", "standard", "tbb", "system"},
    # Benchmarks also measure the building blocks, and read images the way the program does.
    "bench": CONTRACT | CORE | {"bench", "apps", "standard", "tbb", "system"},
}
for plugin_folder in PLUGIN_FOLDERS:
    ALLOWED[plugin_folder] = CONTRACT | CORE | {plugin_folder, "standard", "tbb"}

# Its vectors are Highway's.
ALLOWED["wide"] = ALLOWED["wide"] | {"highway"}

# The one file of the host with intrinsics, for all processors that the host runs on; not for plug-ins.
HOST_SIMD = "host/src/access/RoundFloats.h"

# The one file of a plug-in that asks the system, for the size of its cache.
CACHE_SIZE = ("wide/PastCaches.cpp", "unistd.h")

# Storage of voxels: it must not depend on what runs, cancels and schedules.
STORAGE = re.compile(r"host/src/access/(?!View|BorderCondition)")
RUNS = re.compile(r"(oneapi/)?tbb/(task|parallel_|global_control)|pxl/(BaseAlgorithm|BaseTbbAlgorithm|ParallelLoops)\.h"
                  r"|pxl/algorithms/|(CurrentRun|ExecutionState|RunGuard|PluginState)\.h")

# The tests' probe, behind a macro that only the tests' own build of the host defines.
SEAM = ("host/src/instrument/Instrument.h", "instrument/Probe.h")

# Python is reached from one folder.
BINDING = re.compile(r"pybind11")
BINDING_FOLDERS = ("python/", "tests/checks/check")

INCLUDE = re.compile(r'^\s*#\s*include\s*(["<])([^">]+)[">]', re.MULTILINE)


def layer_of(name):
    """The layer of a file of the project; None for tests."""
    if name.startswith("host/include/"):
        header = name[len("host/include/"):]
        if header.startswith("object_model/") or header in OBJECT_MODEL_HEADERS:
            return "object model"
        return "contract"
    if name.startswith("host/src/object_model/"):
        return "object model"
    if name.startswith("host/src/"):
        return "host"
    if name.startswith("Core/private/Access/simd/"):
        return "simd"
    if name.startswith("Core/private/"):
        return "core"
    first = name.split("/")[0]
    return None if first in ("tests", "cmake") else first


def kinds_of_target(root, name, bracket, target):
    """What an include leads to: every kind under which it may be allowed."""
    if bracket == "<":
        if re.fullmatch(r"(oneapi/)?tbb/.*", target):
            return {"tbb"}
        if target.startswith("hwy/"):
            return {"highway"}
        if re.fullmatch(r"\w+intrin\.h", target):
            return {"intrinsics"}
        return {"standard" if re.fullmatch(r"[a-z_0-9]+", target) else "system"}
    here = os.path.dirname(name)
    roots = [here, "host/include", ""]
    roots += ["host/src"] if name.startswith("host/src/") else ["apps"] if name.startswith(("apps/", "bench/", "python/")) else []
    for base in roots:
        path = os.path.normpath(os.path.join(base, target))
        if os.path.isfile(os.path.join(root, path)):
            kinds = {layer_of(path)}
            # The forward declarations are where the allocator's class is first declared, and exported.
            if path in ("host/include/pxl/VoxelTypes.h", "host/include/pxl/Forward.h"):
                kinds.add("voxel types")
            if path.startswith("apps/qorn/io/"):
                kinds.add("files")
            return kinds
    return {"unknown"}


def main():
    root = sys.argv[1]
    found = []
    seen = dict.fromkeys(ALLOWED, 0)
    for name in tree.source_files(root):
        layer = layer_of(name)
        if layer is None:
            continue
        if layer not in ALLOWED:
            found.append(f"{name}: in a folder that is no layer")
            continue
        seen[layer] += 1
        for match in INCLUDE.finditer(tree.read(root, name)):
            kinds = kinds_of_target(root, name, *match.groups())
            allowed = ALLOWED[layer] | ({"intrinsics"} if name == HOST_SIMD else set())
            if not kinds & allowed and (name, match.group(2)) not in (SEAM, CACHE_SIZE):
                kind = ", ".join(sorted(str(one) for one in kinds))
                found.append(f"{name}: {layer} must not include {match.group(2)} ({kind})")
            elif STORAGE.match(name) and RUNS.match(match.group(2)):
                found.append(f"{name}: storage must not include {match.group(2)}")
    for name in tree.all_files(root):
        is_source = name.endswith((*tree.SOURCE_SUFFIXES, ".cmake", "CMakeLists.txt", ".py"))
        if is_source and not name.startswith(BINDING_FOLDERS) and BINDING.search(tree.read(root, name)):
            found.append(f"{name}: names {BINDING.pattern}, which belongs into python/")
    # A check of nothing would pass for ever.
    found += [f"no source file in layer {layer}" for layer, count in seen.items() if count == 0]
    print("\n".join(found))
    print(", ".join(f"{layer} {count}" for layer, count in seen.items()) + f" files; {len(found)} findings")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

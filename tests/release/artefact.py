#!/usr/bin/env python3
"""What ships, built as for a deployment: hardened, closed, without anything of the sandbox, and the same file twice.

    artefact.py SOURCE CMAKE IDENTITY SCRATCH

Built from two copies of the tracked files, which differ in path and time; the second without ccache, which would
give back what the first put there.
"""

import json
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

source, cmake, identity, scratch = sys.argv[1:5]
faults = []
ENDBR64 = b"\xf3\x0f\x1e\xfa"


def out(*command, **settings):
    return subprocess.run(command, check=True, capture_output=True, text=True, **settings).stdout


def copied(name, time):
    """A copy of the sources, without what a library doesn't take."""
    copy = Path(scratch, name, "source")
    shutil.rmtree(copy.parent, ignore_errors=True)
    for file in out("git", "-C", source, "ls-files", "--cached", "--others", "--exclude-standard", "-z").split("\0"):
        if file and Path(source, file).is_file() and not file.startswith(("docs/", "tests/")):
            (copy / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(Path(source, file), copy / file)
            os.utime(copy / file, (time, time))
    return copy


def build(copy, environment):
    settings = {**os.environ, **environment, "SOURCE_DATE_EPOCH": "1700000000", "NINJA_STATUS": ""}
    folder = copy.parent / f"build-{copy.parent.name}"
    steps = ([cmake, "-S", copy, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG",
              "-DKELPAY_QML_BYTECODE=ON", "-DKELPAY_WARNINGS_AS_ERRORS=OFF", "-DKELPAY_BUILD_EXAMPLES=OFF",
              "-DKELPAY_SERVICE_HOST=pay.example.org", f"-DKELPAY_RESOURCES_DIR={identity}"],
             [cmake, "--build", folder, "--target", "kelpay"])
    for step in steps:
        # Idle time is enough: tests with clocks run beside this.
        run = subprocess.run(["nice", "-n", "19", *step], env=settings, capture_output=True, text=True)
        if run.returncode:
            sys.exit(f"the release does not build:\n{(run.stdout + run.stderr)[-4000:]}")
    return next(file for file in (folder / "bin").glob("libkelpay*.so*") if not file.is_symlink())


def check(what, is_kept):
    if not is_kept:
        faults.append(what)


def look(library):
    dynamic = out("readelf", "-dW", library)
    segments = out("readelf", "-lW", library)
    symbols = out("nm", "-D", library)
    texts = library.read_bytes()
    check("full RELRO", "GNU_RELRO" in segments and "BIND_NOW" in dynamic)
    check("no executable stack", re.search(r"GNU_STACK.* RW ", segments))
    check("no writable code", not re.search(r"LOAD.* RWE ", segments))
    check("stack protector", "__stack_chk_fail" in symbols)
    # No call of ours has a buffer whose size the compiler knows, so only the commands can tell.
    commands = [entry["command"] for entry in json.loads((library.parents[1] / "compile_commands.json").read_text())]
    check("FORTIFY in every unit", all("-D_FORTIFY_SOURCE=2" in command for command in commands))
    check("no search path", not re.search("RUNPATH|RPATH", dynamic))
    if os.uname().machine == "x86_64":
        # The linker marks a library only where the C library's own start files are marked, which Debian 12's aren't.
        start = out("c++", "-print-file-name=crti.o").strip()
        check("CET", texts.count(ENDBR64) > 1000 and
              ("IBT" not in out("readelf", "-nW", start) or "IBT" in out("readelf", "-nW", library)))
    check("the usual name", re.search(r"SONAME.*\[libkelpay\.so\.\d+\]", dynamic))
    foreign = [line for line in out("nm", "-DC", "--defined-only", library).splitlines()
               if not re.search(r" r | (kelpay::KelPayCore::|(vtable|typeinfo|typeinfo name) for kelpay::KelPayCore|kelpay_anchor@|KELPAY_1)", line)]
    check(f"only public names, not {foreign[:3]}", not foreign)
    # The variables that only a sandbox build obeys, what only it says, and what only it has.
    stripped = library.with_suffix(".stripped")
    out("strip", "-o", stripped, library)
    then = int(re.search(r"^\| as CI builds it \|.*\| ([\d,]+) \|$", Path(source, "docs/budgets.md").read_text(), re.M)[1].replace(",", ""))
    check(f"its size: {stripped.stat().st_size:,} bytes, of which docs/budgets.md has {then:,}", stripped.stat().st_size < then * 1.05)
    held = set(re.findall(rb"KELPAY_[A-Z_]+|(?i:sandbox)", stripped.read_bytes()))
    held |= set(re.findall("kelpay::sandbox::.*|.*(?:overrideSimulator|sayWhatThisIs).*", out("nm", "-C", library)))
    check(f"nothing of the sandbox, not {held}", not held)
    check("no path of the build", str(scratch).encode() not in texts and source.encode() not in texts)


copies = copied("one", 1_600_000_000), copied("another-folder", 1_700_000_000)
first, second = build(copies[0], {}), build(copies[1], {"CCACHE_DISABLE": "1"})
look(first)
check("two builds are the same file", first.read_bytes() == second.read_bytes())
print("".join(f"not kept: {fault}\n" for fault in faults) or "the release is as it should be", end="\n")
sys.exit(1 if faults else 0)

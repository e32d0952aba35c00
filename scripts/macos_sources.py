"""What the checks of the build for macOS share: which sources there are, and how clang looks at them on this machine.

They are compiled for macOS (the deployment target below; Objective-C++ with ARC) against our own declarations of the
system in tests/macos/include, and against libc++ 14, which knows what Xcode 14's does. The C library is this machine's,
with tests/macos/libc before it: what Macs have besides, and without what they have not. What differs from a Mac: int64_t
is long.
"""
import json
import pathlib
import shlex
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DECLARATIONS = pathlib.PurePath("tests", "macos", "include")
C_LIBRARY = ROOT / "tests" / "macos" / "libc"
TOOLCHAIN = ROOT / "tests" / "macos" / "toolchain.cmake"
DEPLOYMENT_TARGET = "13.0"
CLANG = "clang++-14"
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wnon-virtual-dtor", "-Woverloaded-virtual", "-Wunguarded-availability",
            "-Werror"]
OBJECTIVE_C = ["-x", "objective-c++", "-fobjc-arc", "-fblocks", "-Wobjc-method-access", "-Wundeclared-selector",
               "-Wincomplete-umbrella", "-Wimplicit-retain-self"]


def sources(root=ROOT):
    """Every Objective-C++ source of ours."""
    return sorted(path for folder in ("src", "tests") for path in (root / folder).rglob("*.mm") if path.is_file())


def library_folders():
    """Where the host's compiler finds the headers of libc++, of its own and of the C library, in its order."""
    shown = subprocess.run([CLANG, "-E", "-x", "c++", "-stdlib=libc++", "-v", "/dev/null"], check=True, text=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr
    listed = shown.split("#include <...> search starts here:")[1].split("End of search list.")[0]
    return [str(pathlib.Path(line.strip()).resolve()) for line in listed.splitlines() if line.strip()]


def system(root=ROOT):
    """The target and the headers of the system, in the place of this machine's."""
    given = ["-target", f"x86_64-apple-macos{DEPLOYMENT_TARGET}", "-nostdinc", "-nostdinc++"]
    # A keyword of clang's for macOS that the C library uses as a name of its own; what C++ always asks of that library; and
    # a section for programs of Linux that Qt marks with its version.
    given += ["-U__nonnull", "-D_GNU_SOURCE", "-DQT_NO_VERSION_TAGGING"]
    for folder in [root / DECLARATIONS, C_LIBRARY, *library_folders()]:
        given += ["-isystem", str(folder)]
    return given


def arguments(root=ROOT):
    """Of an Objective-C++ source, for clang and libclang alike; without the source and without -fsyntax-only."""
    ours = ['-DTEVANTO_VERSION="0"', f"-I{root / 'src'}", f"-I{root}"]
    return ["-std=c++20", *OBJECTIVE_C, *ours, *system(root), *WARNINGS]


def configured(folder, root=ROOT):
    """Configures the build as a Mac would, in `folder`. What it would compile: the sources, with the arguments of each.

    Without the sources that CMake puts together out of those of a folder, behind which each of them would be missed.
    """
    done = subprocess.run(["cmake", "-G", "Ninja", "-S", str(root), "-B", str(folder), "--toolchain", str(TOOLCHAIN),
                           "-DTEVANTO_UNITY=OFF"], text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    if done.returncode != 0:
        sys.exit(done.stdout)
    found = {}
    for entry in json.loads((folder / "compile_commands.json").read_text(encoding="utf-8")):
        source = pathlib.Path(entry["file"])
        if folder not in source.parents:  # what Qt's compilers write
            found.setdefault(source, own_arguments(shlex.split(entry["command"])))
    return found


def unbuilt_libraries(folder):
    """Libraries of ours that something links there and nothing builds."""
    return sorted(set(re.findall(r"-l(tevanto_\w+)", (folder / "build.ninja").read_text(encoding="utf-8"))))


def own_arguments(command):
    """Definitions, folders of headers and the language; the rest is the same for all."""
    kept, rest = [], iter(command[1:])
    for argument in rest:
        if argument in ("-isystem", "-x"):
            kept += [argument, next(rest)]
        elif argument.startswith(("-D", "-I", "-std=", "-fobjc", "-W")):
            kept.append(argument)
    return kept

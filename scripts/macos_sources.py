"""What the checks of the macOS sources share: which sources there are, and how clang looks at them on this machine.

They are compiled for macOS (the deployment target below, Objective-C++ with ARC) against our own declarations of the
system in tests/macos/include; the C++ and C libraries are this machine's. What differs from a Mac: the C++ library is
libstdc++, and int64_t is long.
"""
import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
DECLARATIONS = pathlib.PurePath("tests", "macos", "include")
DEPLOYMENT_TARGET = "13.0"
CLANG = "clang++-14"
WARNINGS = ["-Wall", "-Wextra", "-Wpedantic", "-Wshadow", "-Wnon-virtual-dtor", "-Woverloaded-virtual", "-Wunguarded-availability",
            "-Wobjc-method-access", "-Wundeclared-selector", "-Wincomplete-umbrella", "-Wimplicit-retain-self", "-Werror"]


def sources(root=ROOT):
    """Every Objective-C++ source of ours."""
    return sorted(path for folder in ("src", "tests") for path in (root / folder).rglob("*.mm") if path.is_file())


def library_folders():
    """Where the host's compiler finds the headers of the C++ and C libraries, in its order."""
    shown = subprocess.run([CLANG, "-E", "-x", "c++", "-v", "/dev/null"], check=True, text=True,
                           stdout=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr
    listed = shown.split("#include <...> search starts here:")[1].split("End of search list.")[0]
    return [str(pathlib.Path(line.strip()).resolve()) for line in listed.splitlines() if line.strip()]


def arguments(root=ROOT):
    """For clang and libclang alike; without the source and without -fsyntax-only."""
    given = ["-x", "objective-c++", "-std=c++20", "-fobjc-arc", "-fblocks", "-target", f"x86_64-apple-macos{DEPLOYMENT_TARGET}",
             "-nostdinc", "-nostdinc++"]
    # A keyword of clang's for macOS that the C library uses as a name of its own; and what C++ always asks of that library.
    given += ["-U__nonnull", "-D_GNU_SOURCE", '-DTEVANTO_VERSION="0"']
    given += [f"-I{root / 'src'}", f"-I{root}", "-isystem", str(root / DECLARATIONS)]
    for folder in library_folders():
        given += ["-isystem", folder]
    return given + WARNINGS

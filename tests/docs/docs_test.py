#!/usr/bin/env python3
"""Compiles and runs the code blocks of the documents, and looks for the tests that they name.

    docs_test.py SOURCE_FOLDER BUILD_FOLDER COMPILER

C++ is compiled against the installed engine, and run if it is a program. Shell blocks are run in
order, each document's in a folder of its own. What would build or measure for minutes is replaced
by a stand-in that knows which presets, targets and scripts there are. What the command prints in a
sample is compared; text is a picture, or a script that another test reads.
"""

import json
import os
import pathlib
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

source, build, compiler = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
failures = []

# Programs by their document and number, with the calls to make and the exit status of each. What
# is no call is a file to be damaged in between.
RUNS = {
    ("README.md", 0): [([], 0)],
    ("docs/host-guide.md", 0): [(["apps.pkg", "public.pem"], 0)],
    ("docs/host-guide.md", 3): [(["own", "apps.pkg", "stranger.pem", "public.pem"], 0),
                                (["own", "apps.pkg", "public.pem"], 1),
                                (["own", "older.pkg", "public.pem"], 1),
                                (["own", "newer.pkg", "stranger.pem"], 1),
                                (["own", "newer.pkg", "public.pem"], 0),
                                "own/current.pkg",
                                (["own", "older.pkg", "public.pem"], 1),
                                (["own", "newer.pkg", "public.pem"], 0)],
    ("docs/host-guide.md", 4): [([], 0)],
}

# Where blocks of these languages are looked at.
CHECKED = {
    "cpp": ("README.md", "docs/host-guide.md"),
    "cmake": ("README.md",),
    "console": ("README.md", "docs/language.md"),
    "ebnf": ("docs/language.md",),
}

# What the samples of docs/language.md are of.
DEMO = """::App::Header::{ Package { names = "d"; platforms = platform.iOS; namespaces = "Demo"; } }
::Demo::Script::{
    func setSpecific(nobody);
}
"""
TOKENS = set("namespace name word lower-case-word other-word bool string text number object-type "
             "function-type".split())

# What a reader of a document has at hand.
BEFORE = {
    "docs/language.md": """morvantic new com.example.mail --platform iOS --folder apps
        morvantic new com.example.maps --platform iOS --folder apps""",
    "docs/package-format.md": f"cp -r {source}/examples/apps scripts",
    "examples/README.md": f"""cp -r {source}/examples .
        morvantic keygen private.pem public.pem
        morvantic pack examples/apps apps.pkg --key private.pem""",
}

STAND_IN = """#!/usr/bin/env python3
import os, sys
words = sys.argv[1:]
def known(option, names):
    if option not in words:
        return
    word = words[words.index(option) + 1]
    if word not in names:
        sys.exit(f"{option} {word}: there is none")
known("--preset", PRESETS)
known("--target", TARGETS)
if "--preset" not in words and "--install" not in words:
    os.execv(REAL, [REAL] + words)
"""


def fail(place, what):
    failures.append(f"{place}: {what}")


def run(*command, **more):
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, **more)


def expect(place, done, status=0):
    if done.returncode != status:
        fail(place, f"exit status {done.returncode}\n{done.stdout}{done.stderr}")


def blocks_of(document):
    """Place, language and text of each block of code."""
    text = (source / document).read_text(encoding="utf-8")
    if len(re.findall(r"^\s*```", text, re.M)) != len(re.findall(r"^```", text, re.M)):
        fail(document, "a block is indented, where nobody sees it")
    for match in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        line = text.count("\n", 0, match.start()) + 1
        yield f"{document}:{line}", match[1], match[2]


def write_program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text)
    path.chmod(path.stat().st_mode | stat.S_IXUSR)


def make_stand_ins(folder):
    """Programs of these names that only look at their arguments, and the scripts of dev/."""
    presets = json.loads((source / "CMakePresets.json").read_text())
    names = {preset["name"] for preset in presets["configurePresets"]}
    targets = re.findall(r"^(\w+):", run("ninja", "-C", build, "-t", "targets", "all").stdout, re.M)
    for name in ("cmake", "ctest"):
        text = STAND_IN.replace("PRESETS", repr(names)).replace("TARGETS", repr(set(targets)))
        write_program(folder / "bin" / name, text.replace("REAL", repr(shutil.which(name))))
    write_program(folder / "bin" / "sudo", '#!/bin/sh\nexec "$@"\n')
    for name in ("ldconfig", "apt-get"):
        write_program(folder / "bin" / name, "#!/bin/sh\n")


def prepare(document, folder):
    folder.mkdir(parents=True)
    for script in (source / "dev").iterdir():
        write_program(folder / "dev" / script.name, "#!/bin/sh\n")
    write_program(folder / "build/fuzz/fuzz/fuzz_zip", "#!/bin/sh\n")
    if document == "README.md":
        (folder / "host.cpp").write_text(next(text for _, language, text in blocks_of(document)
                                              if language == "cpp"))


def run_shell(document, folder, environment, change=lambda text: text):
    """All blocks in one shell. `change` may alter one, or leave it out by giving nothing."""
    prepare(document, folder)
    script = f"set -eu\n{BEFORE.get(document, '')}\n"
    for place, language, text in blocks_of(document):
        if language == "sh":
            script += f"echo {place} >.place\n{change(text)}\n"
    done = run("bash", "-c", script, cwd=folder, env=environment)
    place = folder / ".place"
    expect(place.read_text().strip() if place.exists() else document, done)


def check_package_by_hand(work, environment):
    """With the steps that are only for encrypted packages, and without them."""
    def in_clear(text):
        return "" if "openssl enc" in text else text

    def encrypted(text):
        return "" if "zipfile -l" in text else text.replace("0, 1024, len(", "0, 16192, len(")

    for name, change in ("clear", in_clear), ("encrypted", encrypted):
        run_shell("docs/package-format.md", work / name, environment, change)
        expect(f"docs/package-format.md, {name}",
               run("morvantic", "verify", "apps.package", "--key", "public.pem",
                   cwd=work / name, env=environment))


def check_cpp(document, folder, environment):
    flags = run("pkg-config", "--cflags", "--libs", "morvantic", env=environment).stdout.split()
    count = 0
    for place, language, text in blocks_of(document):
        if language != "cpp":
            continue
        name = folder / f"block-{count}"
        name.with_suffix(".cpp").write_text(text)
        is_program = "int main(" in text
        done = run(compiler, "-std=c++17", "-Wall", "-Wextra", "-Wpedantic", "-Wconversion",
                   "-Wshadow", "-Werror",
                   name.with_suffix(".cpp"), "-o", name, *([] if is_program else ["-c"]), *flags)
        expect(place, done)
        if is_program and (document, count) not in RUNS:
            fail(place, "nobody runs this program")
        for step in RUNS.get((document, count), []) if done.returncode == 0 else []:
            if isinstance(step, str):
                (folder / step).write_text("no package")
                continue
            arguments, status = step
            expect(place, run(name, *arguments, cwd=folder, env=environment), status)
        count += 1


def check_cmake(folder, environment):
    for place, language, text in blocks_of("README.md"):
        if language == "cmake":
            (folder / "CMakeLists.txt").write_text(text)
            expect(place, run("cmake", "-S", folder, "-B", folder / "by-cmake", env=environment))
            expect(place, run("cmake", "--build", folder / "by-cmake", env=environment))


def check_samples(document, said):
    for place, language, sample in blocks_of(document):
        if language == "console" and sample not in said:
            fail(place, f"what is said is\n{said}")


def check_console(work, environment):
    """What README says of the script that it makes, with a slip, and the reference of a demo."""
    def said(*words, folder):
        done = run("morvantic", *words, cwd=folder, env=environment)
        return done.stdout + done.stderr

    readme = work / "README.md"
    script = readme / "apps/com.example.mail.sc"
    script.write_text(script.read_text().replace("SqliteAnalyzer", "SqliteAnalyser"))
    check_samples("README.md", said("check", "apps", folder=readme))

    demo = readme / "demo"
    demo.mkdir()
    (demo / "demo.sc").write_text(DEMO)
    said("pack", "demo", "demo.pkg", "--no-check", "--key", "private.pem", folder=readme)
    dumped = said("dump", "demo.pkg", "demo.sc", "--key", "public.pem", folder=readme)
    check_samples("docs/language.md", said("check", "demo.sc", folder=demo) +
                  dumped.replace("    log ERROR: ", "").replace("\n        Call", "\n    Call"))


def check_grammar(document):
    """Every name in a rule has a rule of its own, or is a token or told in words."""
    grammar = "".join(text for _, language, text in blocks_of(document) if language == "ebnf")
    defined = set(re.findall(r"^([-\w]+) +=", grammar, re.M))
    used = set(re.findall(r"[-\w]+", re.sub(r'".*?"|[?].*?[?]', " ", grammar)))
    for name in used - defined - TOKENS:
        fail(document, f"the grammar has no rule for {name}")


def check_tests_named(document):
    """Tables with a column "test" name one in each row, and each of them is there."""
    pattern = re.compile(r"\bTEST(?:_F|_P)?\((\w+), (\w+)\)")
    known = {f"{suite}.{name}" for file in (source / "tests").rglob("*.cpp")
             for suite, name in pattern.findall(file.read_text())}
    in_table = False
    for number, line in enumerate((source / document).read_text().splitlines(), 1):
        in_table = line.startswith("|") and (in_table or line.endswith("| test |"))
        if not in_table or line.endswith(("| test |", "---|")):
            continue
        named = re.findall(r"`(\w+\.\w+)`", line.split("|")[-2])
        if "(the host's part)" in line:
            continue
        for name in named or ["a test"]:
            if name not in known:
                fail(f"{document}:{number}", f"there is no {name}")


def main():
    documents = sorted(str(path.relative_to(source)) for path in
                       [*source.glob("*.md"), *source.glob("docs/**/*.md"),
                        *source.glob("e*/README.md")])
    for document in documents:
        for place, language, text in blocks_of(document):
            if language == "xml":
                xml.etree.ElementTree.fromstring(text)
            elif document not in CHECKED.get(language, ()) and language not in ("sh", "text"):
                fail(place, f"nobody checks {language} here")
    check_tests_named("docs/host-guide.md")
    check_grammar("docs/language.md")

    with tempfile.TemporaryDirectory() as name:
        work = pathlib.Path(name)
        expect("install", run("cmake", "--install", build, "--prefix", work / "prefix"))
        library = next((work / "prefix").rglob("libmorvantic.so")).parent
        environment = dict(os.environ, LD_LIBRARY_PATH=str(library),
                           CMAKE_PREFIX_PATH=str(work / "prefix"),
                           PKG_CONFIG_PATH=str(library / "pkgconfig"),
                           PATH=f"{work}/prefix/bin:{os.environ['PATH']}")
        make_stand_ins(work)
        stand_ins = dict(environment, PATH=f"{work}/bin:{environment['PATH']}")
        for document in documents:
            if document != "docs/package-format.md":
                run_shell(document, work / document, stand_ins)
        check_package_by_hand(work, environment)
        readme = work / "README.md"
        check_cmake(readme, environment)
        run("openssl", "genrsa", "-out", readme / "other.pem", "2048")
        run("openssl", "rsa", "-in", readme / "other.pem", "-pubout",
            "-out", readme / "stranger.pem")
        for name, stamp in ("older", "2020-01-01-01"), ("newer", "2099-01-01-01"):
            expect(name, run("morvantic", "pack", "apps", f"{name}.pkg", "--key", "private.pem",
                             "--stamp", stamp, cwd=readme, env=environment))
            (readme / f"{name}.pkg").chmod(0o444)
        for document in CHECKED["cpp"]:
            check_cpp(document, readme, environment)
        check_console(work, environment)
    print("\n".join(failures) or "All documents hold.", flush=True)
    sys.exit(1 if failures else 0)


main()

#!/usr/bin/env python3
"""Checks that the packaging recipes agree with the project: version, licence, options and installed names."""

import json
import re
import sys

from sources import ROOT, finish


def check(root):
    problems = []
    project = (root / "CMakeLists.txt").read_text()
    version = re.search(r"project\(q9util VERSION ([0-9.]+)", project).group(1)
    port = root / "packaging/vcpkg/q9util"
    manifest = json.loads((port / "vcpkg.json").read_text())
    if manifest.get("version") != version:
        problems.append(f"packaging/vcpkg/q9util/vcpkg.json: version {manifest.get('version')}, the project has {version}")
    names = [d["name"] for d in manifest["dependencies"]]
    if names != sorted(names):
        problems.append("packaging/vcpkg/q9util/vcpkg.json: dependencies are not sorted")

    options = set(re.findall(r"option\((Q9_\w+)", project))
    for path in (root / "cmake").glob("*.cmake"):
        options |= set(re.findall(r"option\((Q9_\w+)", path.read_text()))
    recipes = [port / "portfile.cmake", root / "packaging/conan/conanfile.py",
               root / "packaging/conan/test_package/conanfile.py"]
    for path in recipes:
        text = path.read_text()
        name = path.relative_to(root).as_posix()
        for option in set(re.findall(r"\bQ9_\w+", text)) - options:
            problems.append(f"{name}: no such option: {option}")
        if path.suffix == ".py":
            try:
                compile(text, name, "exec")
            except SyntaxError as error:
                problems.append(f"{name}:{error.lineno}: {error.msg}")
    return problems, len(recipes) + 1


if __name__ == "__main__":
    sys.exit(finish("packaging", *check(ROOT)))

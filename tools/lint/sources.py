"""What the lints share: the floors file, the list of sources and C++ text without comments and literals."""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parents[2]
EXTENSIONS = {".h", ".cpp", ".inl", ".rc"}


def glob_to_regex(glob):
    """`**` crosses folders, `*` does not: the same reading as in cmake/Floors.cmake."""
    parts = re.split(r"(\*\*|\*)", glob)
    regex = "".join({"**": ".*", "*": "[^/]*"}.get(part, re.escape(part)) for part in parts)
    return re.compile(regex + r"\Z")


def read_floors(path):
    """Returns [(floor, regex, line)], in the order of the file."""
    floors = []
    for line_number, line in enumerate(path.read_text().splitlines(), 1):
        line = line.split("#", 1)[0].split()
        if not line:
            continue
        if len(line) != 2:
            raise SystemExit(f"{path}:{line_number}: expected 'floor glob'")
        floors.append((line[0], glob_to_regex(line[1]), line_number))
    return floors


def floor_of(floors, path):
    return next((floor for floor, regex, _ in floors if regex.match(path)), None)


def sources(root, *folders):
    """Yields (path relative to root, text) of every C++ file below the folders, in a stable order."""
    for folder in folders:
        base = root / folder
        for path in sorted(base.rglob("*")) if base.is_dir() else []:
            if path.suffix in EXTENSIONS and path.is_file():
                yield path.relative_to(root).as_posix(), path.read_text(encoding="utf-8", errors="replace")


_TOKEN = re.compile(
    r'//[^\n]*|/\*.*?\*/|R"([^()\\ ]{0,16})\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<![0-9A-Fa-f])\'(?:\\.|[^\'\\\n])+\'',
    re.DOTALL)


def code_only(text, keep_strings=False):
    """Blanks comments (and literals), keeping every line break, so that positions stay true."""

    def blank(match):
        token = match.group(0)
        if keep_strings and not token.startswith(("//", "/*")):
            return token
        return re.sub(r"[^\n]", " ", token)

    return _TOKEN.sub(blank, text)


def line_of(text, offset):
    return text.count("\n", 0, offset) + 1


def finish(name, problems, checked):
    for problem in problems:
        print(problem)
    print(f"{name}: {checked} files, {len(problems)} problem(s)")
    return 1 if problems else 0

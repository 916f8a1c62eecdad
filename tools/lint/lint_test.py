#!/usr/bin/env python3
"""The lints' own tests: each row is a file that must be found faulty, or must not."""

import pathlib
import tempfile
import unittest

import check_floors
import check_text

FLOORS = """\
host  src/platform/host/**
0     src/platform/*.h
1     src/text/**
2     src/failure/*.h
"""


class Floors(unittest.TestCase):
    def problems(self, files):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, text in {"tools/lint/floors.txt": FLOORS, "src/platform/Port.h": "", "src/text/Text.h": "",
                               "src/failure/Fail.h": "", **files}.items():
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).write_text(text)
            return check_floors.check(root)[0]

    def test_faults_are_found(self):
        rows = [
            ("src/text/A.cpp", '#include "failure/Fail.h"\n', "floor 1 may not see"),
            ("src/platform/host/H.cpp", '#include "text/Text.h"\n', "floor host may not see"),
            ("src/text/A.h", '\n  #  include <Windows.h>\n', "A.h:2: <Windows.h>"),
            ("src/text/A.cpp", "#include <sys/stat.h>\n", "belongs to the adapters"),
            ("src/text/A.cpp", "#include <openssl/evp.h>\n", "belongs to the adapters"),
            ("src/text/A.cpp", "#ifdef _WIN32\n#endif\n", "_WIN32 outside"),
            ("src/failure/deep/A.h", "", "no line of"),
            ("src/text/A.cpp", '#include "Text.h"\n', "write it relative to src"),
            ("src/text/A.cpp", '#include "text/Missing.h"\n', "is not below src"),
            ("tools/q9diag/A.cpp", '#include "text/detail/B.h"\n', "is private"),
            ("src/text/A.h", '#include "text/A.h"\n', "ring of headers"),
        ]
        for path, text, expected in rows:
            with self.subTest(path=path, text=text):
                found = self.problems({path: text, "src/text/detail/B.h": ""})
                self.assertTrue(any(expected in problem for problem in found), found)

    def test_good_files_pass(self):
        files = {
            "src/failure/A.h": '#include "text/Text.h"\n#include "platform/Port.h"\n// #include <windows.h>, _WIN32\n',
            "src/platform/host/H.cpp": '#include <unistd.h>\n#include "platform/Port.h"\n',
            "tests/text/T.cpp": '#include "failure/Fail.h"\n',
        }
        self.assertEqual(self.problems(files), [])


class Text(unittest.TestCase):
    def test_faults_are_found(self):
        rows = [
            ("src/a/A.cpp", "swprintf(b, L\"%d\", 1);", "c-format"),
            ("src/a/A.cpp", "try { F(); } catch (...) { throw ; }", "rethrow"),
            ("src/a/A.cpp", "static thread_local int i;", "thread-local"),
            ("src/a/A.h", "void F(unsigned long n);", "long"),
            ("src/a/A.h", "long F();", "long"),
            ("src/a/A.h", "CXString GetMessage() const;", "renamed"),
            ("src/a/A.cpp", "delete[] m_p;", "delete"),
            ("tests/a/A.cpp", "// TO" + "DO: later", "unfinished"),
            ("src/a/A.cpp", "\n" * 501, "split the file"),
            ("src/a/A.cpp", 'x = R"(a " b)"; throw;', "rethrow"),
        ]
        for path, text, expected in rows:
            with self.subTest(text=text[:40]):
                found = check_text.check_file(path, text)
                self.assertTrue(any(expected in problem for problem in found), found)

    def test_good_lines_pass(self):
        rows = [
            ("src/a/A.cpp", "// long ago: throw; swprintf( GetMessage("),
            ("src/a/A.cpp", 'F("delete this long GetMessage(");'),
            ("src/a/A.h", "long long F(unsigned long long n); A(const A&) = delete; long double g;"),
            ("src/a/A.h", "inline void Again() { throw; }"),
            ("src/a/A.h", "CXString GetMessageW() const;"),
            ("src/a/A.cpp", "// lint-allow: rethrow because this block caught it in this module\nthrow;"),
            ("src/a/A.cpp", "F(1'000'000); throw X();"),
            ("src/platform/win32/A.cpp", "unsigned long n;"),
        ]
        for path, text in rows:
            with self.subTest(text=text[:40]):
                self.assertEqual(check_text.check_file(path, text), [])


if __name__ == "__main__":
    unittest.main()

#!/usr/bin/env python3
"""Finds what compiles but must not be written: each rule below says where it holds and why.

  check_text.py [ROOT]

One line may be excused where the rule's reason does not hold, with a comment on it or on the line before:
  // lint-allow: RULE because ...
"""

import pathlib
import re
import sys

from sources import ROOT, code_only, finish, line_of, sources

# Function names that the system's headers redefine as macros; a member of that name would be renamed in the files that
# saw the header and not in the others.
RENAMED = """
AddAtom AddForm AddMonitor AddPort AddPrinter AddPrinterConnection AddPrinterDriver AddPrintProcessor CallWindowProc
CharLower CharUpper CompareString CopyFile CreateDC CreateDesktop CreateDialog CreateDirectory CreateEvent CreateFile
CreateFileMapping CreateFont CreateMutex CreateProcess CreateSemaphore CreateService CreateWindow DecryptFile
DefWindowProc DeleteFile DeleteForm DeleteMonitor DeletePort DeletePrinterData DeletePrinterDriver DeletePrinterKey
DeletePrintProcessor DeviceCapabilities DialogBox DispatchMessage DocumentProperties DrawText EncryptFile EnumForms
EnumJobs EnumMonitors EnumPorts EnumPrinterData EnumPrinterDrivers EnumPrinterKey EnumPrinters EnumPrintProcessors
ExpandEnvironmentStrings FindAtom FindFirstFile FindNextFile FindResource FindWindow FormatMessage GetAtomName
GetClassName GetCommandLine GetComputerName GetCurrentDirectory GetDefaultPrinter GetDiskFreeSpace
GetEnvironmentVariable GetFileAttributes GetForm GetFullPathName GetJob GetKeyNameText GetMessage GetModuleFileName
GetModuleHandle GetObject GetPrinter GetPrinterData GetPrinterDataEx GetPrinterDriver GetPrinterDriverDirectory
GetPrivateProfileInt GetPrivateProfileSection GetPrivateProfileString GetProfileString GetProp GetShortPathName
GetStartupInfo GetSystemDirectory GetTempFileName GetTempPath GetTextExtentPoint GetUserName GetVersionEx
GetVolumeInformation GetWindowLong GetWindowText GetWindowsDirectory GlobalAddAtom GlobalFindAtom GlobalGetAtomName
IsBadStringPtr LoadBitmap LoadCursor LoadIcon LoadImage LoadLibrary LoadMenu LoadString LogonUser LookupAccountName
LookupAccountSid LookupPrivilegeValue MessageBox MoveFile MoveFileEx OpenEvent OpenFileMapping OpenMutex OpenPrinter
OutputDebugString PeekMessage PlaySound PostMessage PostThreadMessage PrinterProperties RegCreateKeyEx RegDeleteKey
RegDeleteValue RegEnumKeyEx RegEnumValue RegOpenKeyEx RegQueryInfoKey RegQueryValueEx RegSetValueEx RegisterClass
RegisterClipboardFormat RegisterWindowMessage RemoveDirectory RemoveProp ReplaceFile ReportEvent ResetPrinter
SearchPath SendMessage SendMessageTimeout SendNotifyMessage SetClassLong SetComputerName SetCurrentDirectory
SetDefaultPrinter SetEnvironmentVariable SetFileAttributes SetForm SetJob SetPort SetPrinter SetPrinterData
SetPrinterDataEx SetProp SetVolumeLabel SetWindowLong SetWindowText ShellExecute StartDoc StartDocPrinter
StartService TextOut UpdateResource VerQueryValue WinHelp WriteConsole WritePrivateProfileString WTSSendMessage
""".split()

CODE = ("src/", "tools/", "tests/", "fuzz/", "benchmarks/", "examples/")
LIBRARY = ("src/",)
ADAPTERS = ("src/platform/win32/", "src/platform/host/", "src/portmonitor/entry/")

# name, pattern, folders it holds in, folders it does not hold in, only files that end so, reason
RULES = [
    ("c-format", r"\b(?:v?swprintf(?:_[sl])?|w[v]?sprintf[AW]?|_?v?snwprintf(?:_s)?|_?v?scwprintf)\s*\(", CODE, (), "",
     "C runtimes disagree about wide formats; use the library's own engine"),
    ("rethrow", r"\bthrow\s*;", LIBRARY, (), ".cpp",
     "a bare throw ends the process when the exception was caught in another module"),
    ("current-exception", r"\bstd\s*::\s*(?:current_exception|rethrow_exception)\b", LIBRARY, (), ".cpp",
     "yields nothing for an exception that another module caught"),
    ("thread-local", r"\bthread_local\b", CODE, ("src/platform/", "tests/", "benchmarks/"), "",
     "destructors run at different times per module; use the per-thread storage"),
    ("long", r"(?<!long )\b(?:unsigned |signed )?long\b(?! (?:long|double|int long))", LIBRARY,
     ADAPTERS + ("src/platform/WinTypes.h",), "",
     "differs in width between the systems; use LONG, DWORD or a fixed-width type"),
    ("renamed", r"\b(?<!~)(?:" + "|".join(RENAMED) + r")\s*\(", LIBRARY, (), "",
     "the system's headers redefine this name; write it with its W"),
    ("delete", r"(?<!operator )\bdelete\b\s*(?:\[\s*\]\s*)?[A-Za-z_*(:]", LIBRARY, (), "",
     "owning pointers delete; nobody else does"),
]
COMPILED = [(name, re.compile(pattern), *rest) for name, pattern, *rest in RULES]

# These hold in comments too, in every text file that people write.
NOTES = re.compile(r"\b(?:TODO|FIXME|XXX|HACK)\b")
MACHINE_PATH = re.compile(r"(?<![\w.$}])/(?:work|root|home/\w+)/")
ALLOW = re.compile(r"lint-allow:\s*([\w-]+)")
MOST_LINES = 500


def excused(lines, number, rule):
    """True when line `number` (from 1) or the one before carries an excuse for the rule."""
    return any(rule in ALLOW.findall(lines[n - 1]) for n in (number, number - 1) if 1 <= n <= len(lines))


def check_file(path, text):
    problems = []
    lines = text.splitlines()
    code = code_only(text)
    for name, pattern, folders, exempt, ending, reason in COMPILED:
        if not path.startswith(folders) or path.startswith(exempt or ("\0",)) or not path.endswith(ending):
            continue
        for match in pattern.finditer(code):
            number = line_of(code, match.start())
            if not excused(lines, number, name):
                problems.append(f"{path}:{number}: {name}: '{match.group(0).strip()}': {reason}")
    for pattern, what in ((NOTES, "unfinished work is not left in the tree"), (MACHINE_PATH, "a path of one machine")):
        for match in pattern.finditer(text):
            problems.append(f"{path}:{line_of(text, match.start())}: '{match.group(0)}': {what}")
    if len(lines) > MOST_LINES:
        problems.append(f"{path}:{MOST_LINES}: {len(lines)} lines; split the file by subject ({MOST_LINES} at most)")
    return problems


def check(root):
    problems, checked = [], 0
    for path, text in sources(root, *(folder.rstrip("/") for folder in CODE)):
        checked += 1
        problems += check_file(path, text)
    return problems, checked


if __name__ == "__main__":
    sys.exit(finish("text", *check(pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else ROOT)))

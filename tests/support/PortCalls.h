/// @file
/// The calls of the ports that have both a fake and a fault wrapper, each once: how the fault layer treats it, what it
/// answers, its name and the types of its parameters.
///
/// | Treatment | The call |
/// |---|---|
/// | GUARD, VALUE, CLOSE | asks the script; see `Wrapper` |
/// | PLAIN | cannot fail, and passes |
/// | ALIVE | answers nothing, and is lost once the process is dead |
/// | OWN | has a rule of its own, in the wrapper's class |
#pragma once

// NOLINTBEGIN(bugprone-macro-parentheses): types and names cannot stand in parentheses

// Parameters without names get the letters from a on.
#define Q9_COUNT(...) Q9_COUNT_OF(0 __VA_OPT__(, ) __VA_ARGS__, 8, 7, 6, 5, 4, 3, 2, 1, 0)
#define Q9_COUNT_OF(zero, a, b, c, d, e, f, g, h, count, ...) count
#define Q9_JOIN(left, right) Q9_JOINED(left, right)
#define Q9_JOINED(left, right) left##right
#define Q9_PARAMETERS(...) Q9_JOIN(Q9_PARAMETERS_, Q9_COUNT(__VA_ARGS__))(__VA_ARGS__)
#define Q9_PARAMETERS_0()
#define Q9_PARAMETERS_1(A) A a
#define Q9_PARAMETERS_2(A, B) A a, B b
#define Q9_PARAMETERS_3(A, B, C) A a, B b, C c
#define Q9_PARAMETERS_4(A, B, C, D) A a, B b, C c, D d
#define Q9_PARAMETERS_5(A, B, C, D, E) A a, B b, C c, D d, E e
#define Q9_PARAMETERS_6(A, B, C, D, E, F) A a, B b, C c, D d, E e, F f
#define Q9_PARAMETERS_7(A, B, C, D, E, F, G) A a, B b, C c, D d, E e, F f, G g
#define Q9_PARAMETERS_8(A, B, C, D, E, F, G, H) A a, B b, C c, D d, E e, F f, G g, H h
#define Q9_ARGUMENTS(...) Q9_JOIN(Q9_ARGUMENTS_, Q9_COUNT(__VA_ARGS__))
#define Q9_ARGUMENTS_0
#define Q9_ARGUMENTS_1 a
#define Q9_ARGUMENTS_2 a, b
#define Q9_ARGUMENTS_3 a, b, c
#define Q9_ARGUMENTS_4 a, b, c, d
#define Q9_ARGUMENTS_5 a, b, c, d, e
#define Q9_ARGUMENTS_6 a, b, c, d, e, f
#define Q9_ARGUMENTS_7 a, b, c, d, e, f, g
#define Q9_ARGUMENTS_8 a, b, c, d, e, f, g, h

/// For a fake: declares the call.
#define Q9_DECLARE(treatment, answer, name, ...) answer name(Q9_PARAMETERS(__VA_ARGS__)) noexcept override;

// NOLINTEND(bugprone-macro-parentheses)

// clang-format off: one call, one line
#define Q9_TEXT_CALLS(X)                                                                                          \
    X(VALUE, std::size_t, ToWide, DWORD, const char*, std::size_t, XCHAR*, std::size_t)                           \
    X(VALUE, std::size_t, ToNarrow, DWORD, const XCHAR*, std::size_t, char*, std::size_t)                         \
    X(VALUE, std::size_t, SystemErrorText, DWORD, XCHAR*, std::size_t)                                            \
    X(VALUE, std::size_t, FormatMessageText, const XCHAR*, const XCHAR* const*, std::size_t, XCHAR*, std::size_t) \
    X(VALUE, XStringView, StringResource, HINSTANCE, UINT)                                                        \
    X(OWN, Status, WindowText, HWND, XCHAR*, std::size_t, std::size_t&)                                           \
    X(VALUE, HWND, ParentWindow, HWND)                                                                            \
    X(GUARD, Status, SetWindowCaption, HWND, const XCHAR*)

#define Q9_FILE_CALLS(X)                                              \
    X(GUARD, Status, Open, const XCHAR*, const OpenOptions&, HANDLE&) \
    X(CLOSE, Status, Close, HANDLE)                                   \
    X(GUARD, Status, Size, HANDLE, ULONGLONG&)                        \
    X(OWN, Status, Read, HANDLE, void*, DWORD, DWORD&)                \
    X(OWN, Status, Write, HANDLE, const void*, DWORD, DWORD&)         \
    X(GUARD, Status, Seek, HANDLE, ULONGLONG)                         \
    X(GUARD, Status, SetEnd, HANDLE)                                  \
    X(GUARD, Status, Flush, HANDLE)                                   \
    X(GUARD, Status, GetAttributes, const XCHAR*, DWORD&)             \
    X(GUARD, Status, SetAttributes, const XCHAR*, DWORD)              \
    X(GUARD, Status, Delete, const XCHAR*)                            \
    X(GUARD, Status, DeleteByHandle, HANDLE)                          \
    X(GUARD, Status, Move, const XCHAR*, const XCHAR*, bool)          \
    X(GUARD, Status, CreateDirectoryAt, const XCHAR*)

#define Q9_OPEN_FILE_CALLS(X)                                           \
    X(GUARD, Status, GetFacts, HANDLE, Facts&)                          \
    X(GUARD, Status, SetAttributesOf, HANDLE, DWORD)                    \
    X(OWN, Status, Append, HANDLE, const void*, DWORD, DWORD&)          \
    X(GUARD, Status, CreateMappingOf, HANDLE, ULONGLONG, bool, HANDLE&) \
    X(GUARD, Status, MapView, HANDLE, ULONGLONG, void*&)                \
    X(CLOSE, Status, UnmapView, void*)

#define Q9_FOLDER_CALLS(X)                                     \
    X(GUARD, Status, OpenFolder, const XCHAR*, HANDLE&)        \
    X(GUARD, Status, NextEntry, HANDLE, FolderPort::Entry&)    \
    X(CLOSE, Status, CloseFolder, HANDLE)                      \
    X(GUARD, Status, RemoveFolder, const XCHAR*)               \
    X(GUARD, Status, CopyTo, const XCHAR*, const XCHAR*, bool) \
    X(GUARD, Status, DeleteAtRestart, const XCHAR*)

#define Q9_REGISTRY_CALLS(X)                                                                  \
    X(PLAIN, HKEY, RootKey, Root)                                                             \
    X(GUARD, Status, Open, HKEY, const XCHAR*, DWORD, HKEY&)                                  \
    X(GUARD, Status, Create, HKEY, const XCHAR*, DWORD, bool, HKEY&, bool&)                   \
    X(GUARD, Status, CreateRestricted, HKEY, const XCHAR*, DWORD, const XCHAR*, HKEY&, bool&) \
    X(GUARD, Status, OpenLink, HKEY, const XCHAR*, DWORD, HKEY&, bool&)                       \
    X(GUARD, Status, CreateLink, HKEY, const XCHAR*, HKEY)                                    \
    X(CLOSE, Status, Close, HKEY)                                                             \
    X(OWN, Status, QueryValue, HKEY, const XCHAR*, DWORD&, void*, DWORD&)                     \
    X(OWN, Status, QueryMultipleValues, HKEY, ValueQuery*, DWORD, void*, DWORD&)              \
    X(GUARD, Status, SetValue, HKEY, const XCHAR*, DWORD, const void*, DWORD)                 \
    X(GUARD, Status, DeleteValue, HKEY, const XCHAR*)                                         \
    X(GUARD, Status, DeleteKey, HKEY, const XCHAR*)                                           \
    X(GUARD, Status, DeleteOpenKey, HKEY)                                                     \
    X(GUARD, Status, EnumerateKey, HKEY, DWORD, XCHAR*, DWORD&)                               \
    X(OWN, Status, EnumerateValue, HKEY, DWORD, XCHAR*, DWORD&, DWORD&, void*, DWORD&)        \
    X(GUARD, Status, QueryInfo, HKEY, KeyInfo&)                                               \
    X(GUARD, Status, OpenCurrentUser, DWORD, HKEY&)                                           \
    X(GUARD, Status, ConnectRemote, const XCHAR*, HKEY&)

#define Q9_CRYPTO_CALLS(X)                                                                   \
    X(GUARD, Status, AcquireProvider, HANDLE&)                                               \
    X(PLAIN, void, ReleaseProvider, HANDLE)                                                  \
    X(GUARD, Status, Random, void*, DWORD)                                                   \
    X(GUARD, Status, CreateHash, HANDLE, HANDLE&)                                            \
    X(GUARD, Status, HashData, HANDLE, const void*, DWORD)                                   \
    X(GUARD, Status, HashValue, HANDLE, BYTE*)                                               \
    X(PLAIN, void, DestroyHash, HANDLE)                                                      \
    X(GUARD, Status, ImportKey, HANDLE, const void*, DWORD, HANDLE&)                         \
    X(GUARD, Status, SetKeyParameter, HANDLE, KeyParameter, const void*)                     \
    X(OWN, Status, Encrypt, HANDLE, const void*, DWORD, void*, DWORD&)                       \
    X(GUARD, Status, Decrypt, HANDLE, const void*, DWORD, void*, DWORD&)                     \
    X(PLAIN, void, DestroyKey, HANDLE)                                                       \
    X(GUARD, Status, Protect, const void*, DWORD, const void*, DWORD, Scope, BYTE*&, DWORD&) \
    X(GUARD, Status, Unprotect, const void*, DWORD, const void*, DWORD, BYTE*&, DWORD&)      \
    X(PLAIN, void, ReleaseBlob, BYTE*, DWORD)

#define Q9_IDENTITY_CALLS(X)                                          \
    X(GUARD, Status, CurrentIdentity, Identity&)                      \
    X(GUARD, Status, ProcessIdentity, Identity&)                      \
    X(VALUE, std::size_t, CurrentUserName, XCHAR*, std::size_t)       \
    X(GUARD, Status, SidOfAccount, const XCHAR*, XCHAR*, std::size_t) \
    X(GUARD, Status, Revert, HANDLE&)                                 \
    X(OWN, Status, Restore, HANDLE)                                   \
    X(GUARD, Status, ImpersonateLoggedOnUser)                         \
    X(CLOSE, Status, EndImpersonation)                                \
    X(ALIVE, void, EndProcess, DWORD)                                 \
    X(GUARD, Status, SetPrivilege, const XCHAR*, bool, bool&)

#define Q9_EVENT_CALLS(X)                                               \
    X(GUARD, Status, CreateEventAt, const XCHAR*, bool, bool, HANDLE&)  \
    X(GUARD, Status, OpenEventAt, const XCHAR*, HANDLE&)                \
    X(GUARD, Status, SetEventState, HANDLE, bool)                       \
    X(GUARD, Status, CreateMutexAt, const XCHAR*, HANDLE&)              \
    X(OWN, Status, ReleaseMutexOf, HANDLE)                              \
    X(OWN, Status, WaitAny, const HANDLE*, DWORD, DWORD, DWORD&, bool&) \
    X(CLOSE, Status, CloseObject, HANDLE)                               \
    X(GUARD, Status, StartThread, ThreadBody, void*, HANDLE&)

#define Q9_SESSION_CALLS(X)                                                            \
    X(VALUE, int, ShowBox, HWND, const XCHAR*, const XCHAR*, DWORD)                    \
    X(PLAIN, bool, IsDesktopVisible)                                                   \
    X(ALIVE, void, Beep, DWORD)                                                        \
    X(OWN, Status, EnumerateSessions, Session*, DWORD&)                                \
    X(GUARD, Status, ShowBoxInSession, DWORD, const XCHAR*, const XCHAR*, DWORD, int&) \
    X(VALUE, HWND, FindWindowOfClass, const XCHAR*)                                    \
    X(VALUE, UINT, RegisterMessage, const XCHAR*)                                      \
    X(GUARD, Status, PostToWindow, HWND, UINT, WORD)                                   \
    X(GUARD, Status, SendToWindow, HWND, UINT, WORD, DWORD)                            \
    X(VALUE, WORD, AddGlobalAtom, const XCHAR*)                                        \
    X(PLAIN, void, DeleteGlobalAtom, WORD)
// clang-format on

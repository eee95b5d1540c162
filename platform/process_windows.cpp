#include <windows.h>
// dbghelp.h builds on windows.h.
#include <dbghelp.h>

#include <cstdio>
#include <cstdlib>

#include "platform/process.h"

namespace {

void writeMiniDump(HANDLE file, EXCEPTION_POINTERS* pointers) {
    MINIDUMP_EXCEPTION_INFORMATION info;
    info.ThreadId = GetCurrentThreadId();
    info.ExceptionPointers = pointers;
    info.ClientPointers = FALSE;
    if (MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal, &info, nullptr,
                          nullptr) != FALSE) {
        std::printf("Create Dump File Success!\n");
    } else {
        std::printf("MiniDumpWriteDump Failed: %d\n", static_cast<int>(GetLastError()));
    }
}

LONG WINAPI writeCrashDump(EXCEPTION_POINTERS* pointers) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    const int r = std::rand();
    char name[64];
    std::snprintf(name, sizeof name, "%04d-%02d-%02d-%02d-%02d-%02d-%02d-%02d.dmp", now.wYear, now.wMonth,
                  now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds, r % 100);
    const HANDLE file =
        CreateFileA(name, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        std::printf("Create File %s Failed %d\n", name, static_cast<int>(GetLastError()));
    } else {
        writeMiniDump(file, pointers);
        CloseHandle(file);
    }
    std::fflush(stdout);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

namespace platform {

bool installCrashHandler() {
    std::srand(static_cast<unsigned>(GetTickCount()) ^ GetCurrentProcessId());
    SetUnhandledExceptionFilter(writeCrashDump);
    return true;
}

void exitAtOnce() {
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), 0);
    std::abort();  // not reached
}

}  // namespace platform

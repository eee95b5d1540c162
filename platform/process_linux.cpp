// Fatal signals on Linux: one dump file with signal, registers and raw stack of every thread, memory map and
// build ids, written with async-signal-safe means only. Other threads are stopped by a signal whose handler
// reports their registers and then waits; a thread that blocks it is left out.
#include "platform/process.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "platform/dump_format.h"
#include "platform/signal_safe.h"
#include "platform/thread_stacks_linux.h"

namespace {

using platform::Mapping;
using platform::MapReader;
using platform::SafeText;

constexpr std::array<int, 7> kFatalSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS, SIGTRAP};
constexpr int kReportWaitMs = 500;  // for all threads together
// An overflow leaves the stack pointer below its stack, in the pages that guard it.
constexpr std::uint64_t kGuardBytes = 1024 * 1024;

struct ThreadReport {
    std::atomic<int> tid{0};
    const ucontext_t* context = nullptr;
};

std::array<ThreadReport, platform::kMaxThreads> g_reports;
std::atomic<unsigned> g_report_count{0};
std::atomic<bool> g_dumping{false};
std::atomic<bool> g_threads_may_go{false};
// Seconds east of UTC when the handler was installed: the system's conversion takes locks and may not run in
// a handler.
long g_utc_offset = 0;

int reportSignal() { return SIGRTMIN + 3; }

int currentThread() { return static_cast<int>(::syscall(SYS_gettid)); }

void sleepMs(int ms) {
    const timespec pause{0, ms * 1000000L};
    ::nanosleep(&pause, nullptr);
}

void onReportSignal(int /*signal*/, siginfo_t* /*info*/, void* context) {
    if (!g_dumping.load()) {
        return;
    }
    const unsigned slot = g_report_count.fetch_add(1);
    if (slot < g_reports.size()) {
        g_reports[slot].context = static_cast<const ucontext_t*>(context);
        g_reports[slot].tid.store(currentThread());
    }
    while (!g_threads_may_go.load()) {
        sleepMs(10);
    }
}

class ChunkWriter {
public:
    explicit ChunkWriter(int fd) : m_fd(fd) {}

    void begin(const char* kind) {
        char header[16] = {};
        std::memcpy(header, kind, 4);
        m_header_at = ::lseek(m_fd, 0, SEEK_CUR);
        bytes(header, sizeof header);
    }
    void bytes(const void* data, std::size_t n) { m_ok = platform::writeAll(m_fd, data, n) && m_ok; }
    void u64(std::uint64_t value) { bytes(&value, sizeof value); }
    // The length is known only now.
    void end() {
        const off_t end = ::lseek(m_fd, 0, SEEK_CUR);
        const auto length = static_cast<std::uint64_t>(end - m_header_at - 16);
        ::lseek(m_fd, m_header_at + 8, SEEK_SET);
        u64(length);
        ::lseek(m_fd, end, SEEK_SET);
    }
    bool ok() const { return m_ok; }

private:
    int m_fd;
    off_t m_header_at = 0;
    bool m_ok = true;
};

// Asks every other thread for its registers and waits for the answers, a bounded time.
void stopOtherThreads() {
    const int self = currentThread();
    const int folder = ::open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) {
        return;
    }
    unsigned asked = 0;
    alignas(8) char buffer[4096];
    long got;
    while ((got = ::syscall(SYS_getdents64, folder, buffer, sizeof buffer)) > 0) {
        for (long at = 0; at < got;) {
            // struct linux_dirent64: inode 8, offset 8, record length 2, type 1, name.
            std::uint16_t length;
            std::memcpy(&length, buffer + at + 16, sizeof length);
            int tid = 0;
            for (const char* c = buffer + at + 19; *c >= '0' && *c <= '9'; ++c) {
                tid = tid * 10 + (*c - '0');
            }
            if (tid != 0 && tid != self && ::syscall(SYS_tgkill, ::getpid(), tid, reportSignal()) == 0) {
                ++asked;
            }
            at += length;
        }
    }
    ::close(folder);
    for (int waited = 0; g_report_count.load() < asked && waited < kReportWaitMs; waited += 5) {
        sleepMs(5);
    }
}

void writeStack(ChunkWriter& out, int tid, std::uint64_t stack_pointer) {
    // The words below the pointer belong to leaf functions that do not move it.
    std::uint64_t begin = stack_pointer - 128;
    std::uint64_t end = 0;
    MapReader maps;
    Mapping mapping{};
    while (end == 0 && maps.next(&mapping)) {
        if (!mapping.readable || mapping.end <= stack_pointer) {
            continue;
        }
        if (mapping.begin <= stack_pointer) {
            begin = begin < mapping.begin ? mapping.begin : begin;
            end = mapping.end;
        } else if (mapping.begin - stack_pointer < kGuardBytes) {
            begin = mapping.begin;
            end = mapping.end;
        }
    }
    out.begin("STCK");
    out.u64(static_cast<std::uint64_t>(tid));
    out.u64(begin);
    char page[4096];
    for (std::uint64_t at = begin; at < end && at - begin < platform::kMaxStackBytes; at += sizeof page) {
        const std::uint64_t n = end - at < sizeof page ? end - at : sizeof page;
        if (!platform::readMemory(at, page, n)) {
            break;
        }
        out.bytes(page, n);
    }
    out.end();
}

void writeThread(ChunkWriter& out, int tid, const ucontext_t* context) {
    out.begin("THRD");
    out.u64(static_cast<std::uint64_t>(tid));
    out.bytes(context->uc_mcontext.gregs, sizeof context->uc_mcontext.gregs);
    out.end();
    writeStack(out, tid, static_cast<std::uint64_t>(context->uc_mcontext.gregs[REG_RSP]));
}

void writeMaps(ChunkWriter& out) {
    out.begin("MAPS");
    const int maps = ::open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
    char buffer[4096];
    ssize_t got;
    while (maps >= 0 && (got = ::read(maps, buffer, sizeof buffer)) > 0) {
        out.bytes(buffer, static_cast<std::size_t>(got));
    }
    if (maps >= 0) {
        ::close(maps);
    }
    out.end();
}

// Finds the GNU build id note of the ELF image mapped at `base` and adds it as hexadecimal digits.
bool addBuildId(std::uint64_t base, SafeText& text) {
    ElfW(Ehdr) header;
    if (!platform::readMemory(base, &header, sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0) {
        return false;
    }
    for (unsigned i = 0; i < header.e_phnum && i < 64; ++i) {
        ElfW(Phdr) segment;
        if (!platform::readMemory(base + header.e_phoff + i * sizeof segment, &segment, sizeof segment)) {
            return false;
        }
        if (segment.p_type != PT_NOTE) {
            continue;
        }
        std::uint64_t at = base + segment.p_offset;
        const std::uint64_t end = at + segment.p_filesz;
        while (at + sizeof(ElfW(Nhdr)) < end) {
            ElfW(Nhdr) note;
            unsigned char id[64];
            if (!platform::readMemory(at, &note, sizeof note)) {
                return false;
            }
            const std::uint64_t name_bytes = (note.n_namesz + 3ULL) & ~3ULL;
            if (note.n_type == NT_GNU_BUILD_ID && note.n_descsz <= sizeof id &&
                platform::readMemory(at + sizeof note + name_bytes, id, note.n_descsz)) {
                for (unsigned k = 0; k < note.n_descsz; ++k) {
                    text.hex(id[k] >> 4U).hex(id[k] & 0xFU);
                }
                return true;
            }
            at += sizeof note + name_bytes + ((note.n_descsz + 3ULL) & ~3ULL);
        }
    }
    return false;
}

void writeBuildIds(ChunkWriter& out) {
    out.begin("BLDI");
    MapReader maps;
    Mapping mapping{};
    while (maps.next(&mapping)) {
        if (mapping.path[0] != '/' || mapping.offset != 0 || !mapping.readable) {
            continue;
        }
        SafeText line;
        line.hex(mapping.begin).add(" ").add(mapping.path).add(" ");
        if (addBuildId(mapping.begin, line)) {
            line.add("\n");
            out.bytes(line.c_str(), line.size());
        }
    }
    out.end();
}

void writeInfo(ChunkWriter& out, int signal, const siginfo_t* info, const char* name) {
    SafeText text;
    text.add("signal ").dec(signal).add("\ncode ").dec(info->si_code);
    text.add("\naddress ").hex(reinterpret_cast<std::uint64_t>(info->si_addr));
    text.add("\nthread ").dec(currentThread()).add("\nfile ").add(name).add("\n");
    out.begin("INFO");
    out.bytes(text.c_str(), text.size());
    out.end();
}

void say(const SafeText& text) { platform::writeAll(STDOUT_FILENO, text.c_str(), text.size()); }

void writeCrashDump(int signal, siginfo_t* info, const ucontext_t* context) {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    SafeText name;
    platform::composeDumpName(now.tv_sec, now.tv_nsec, g_utc_offset, name);
    const int fd = platform::openDumpFile(name.c_str());
    if (fd < 0) {
        SafeText text;
        say(text.add("Create File ").add(name.c_str()).add(" Failed ").dec(errno).add("\n"));
        return;
    }
    ChunkWriter out(fd);
    out.bytes(platform::kDumpMagic, 8);
    writeInfo(out, signal, info, name.c_str());
    // The crashing thread first: if the rest fails, the cause is on the disk.
    writeThread(out, currentThread(), context);
    stopOtherThreads();
    const unsigned reported = g_report_count.load();
    for (unsigned i = 0; i < reported && i < g_reports.size(); ++i) {
        if (const int tid = g_reports[i].tid.load()) {
            writeThread(out, tid, g_reports[i].context);
        }
    }
    writeMaps(out);
    writeBuildIds(out);
    SafeText text;
    if (out.ok()) {
        text.add("Create Dump File Success!\n");
    } else {
        text.add("Write File ").add(name.c_str()).add(" Failed ").dec(errno).add("\n");
    }
    // A full disk leaves a file without a byte, which tells nothing.
    if (!out.ok() && ::lseek(fd, 0, SEEK_END) == 0) {
        ::unlink(name.c_str());
    }
    ::close(fd);
    say(text);
}

void onFatalSignal(int signal, siginfo_t* info, void* context) {
    bool expected = false;
    if (!g_dumping.compare_exchange_strong(expected, true)) {
        // Another thread crashed first and writes the dump; this one is part of it.
        onReportSignal(signal, info, context);
        return;
    }
    writeCrashDump(signal, info, static_cast<const ucontext_t*>(context));
    // The default action ends the process with the signal's status.
    ::signal(signal, SIG_DFL);
    ::syscall(SYS_tgkill, ::getpid(), currentThread(), signal);
    sigset_t unblocked;
    sigemptyset(&unblocked);
    sigaddset(&unblocked, signal);
    ::sigprocmask(SIG_UNBLOCK, &unblocked, nullptr);
    ::_exit(128 + signal);
}

}  // namespace

namespace platform {

bool installCrashHandler() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    if (::localtime_r(&now, &local) != nullptr) {
        g_utc_offset = local.tm_gmtoff;
    }
    // An overflow of a stack leaves a dump too.
    bool ok = giveSignalStack();

    struct sigaction action {};
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    action.sa_sigaction = onFatalSignal;
    for (const int signal : kFatalSignals) {
        ok = ::sigaction(signal, &action, nullptr) == 0 && ok;
    }
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    action.sa_sigaction = onReportSignal;
    return ::sigaction(reportSignal(), &action, nullptr) == 0 && ok;
}

void exitAtOnce() {
    std::fflush(nullptr);
    ::_exit(0);
}

}  // namespace platform

// The system's call that creates a thread is taken over by the program: the toolkit and the decoders start
// threads that run our code too, and none of them asks for a stack that outlives an overflow of its first
// one.
#include "platform/thread_stacks_linux.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <new>

namespace {

constexpr std::size_t kSignalStackBytes = 128 * 1024;

void* setSignalStack() {
    void* const memory =
        ::mmap(nullptr, kSignalStackBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    stack_t stack{};
    stack.ss_sp = memory;
    stack.ss_size = kSignalStackBytes;
    if (::sigaltstack(&stack, nullptr) != 0) {
        ::munmap(memory, kSignalStackBytes);
        return nullptr;
    }
    return memory;
}

}  // namespace

namespace platform {

bool giveSignalStack() { return setSignalStack() != nullptr; }

}  // namespace platform

#ifndef SORVANE_SANITIZED

namespace {

using Routine = void* (*)(void*);
using Create = int (*)(pthread_t*, const pthread_attr_t*, Routine, void*);

struct Start {
    Routine routine;
    void* argument;
};

// Of the calling thread, also when it ends by pthread_exit.
class SignalStack {
public:
    SignalStack() : m_memory(setSignalStack()) {}
    ~SignalStack() {
        if (m_memory == nullptr) {
            return;
        }
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        if (::sigaltstack(&none, nullptr) == 0) {
            ::munmap(m_memory, kSignalStackBytes);
        }
    }
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

private:
    void* const m_memory;
};

void* run(void* given) {
    const Start start = *static_cast<Start*>(given);
    delete static_cast<Start*>(given);
    const SignalStack stack;
    return start.routine(start.argument);
}

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, Routine routine,
                              void* argument) noexcept {
    static const auto create = reinterpret_cast<Create>(::dlsym(RTLD_NEXT, "pthread_create"));
    auto* const start = new (std::nothrow) Start{routine, argument};
    if (create == nullptr || start == nullptr) {
        delete start;
        return EAGAIN;
    }
    const int result = create(thread, attributes, run, start);
    if (result != 0) {
        delete start;
    }
    return result;
}

#endif

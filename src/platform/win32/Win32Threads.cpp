#include <process.h>

#include "platform/Threads.h"
#include "platform/win32/WindowsApi.h"

namespace vantrel {

struct Mutex::Impl {
    CRITICAL_SECTION section;
};

Mutex::Mutex() : impl(std::make_unique<Impl>()) {
    InitializeCriticalSection(&impl->section);
}
Mutex::~Mutex() {
    DeleteCriticalSection(&impl->section);
}
void Mutex::Lock() {
    EnterCriticalSection(&impl->section);
}
void Mutex::Unlock() {
    LeaveCriticalSection(&impl->section);
}

struct Semaphore::Impl {
    HANDLE handle = CreateSemaphoreA(nullptr, 0, 0x7fffffff, nullptr);
};

Semaphore::Semaphore() : impl(std::make_unique<Impl>()) {}
Semaphore::~Semaphore() {
    if (impl->handle)
        CloseHandle(impl->handle);
}
void Semaphore::Release(int count) {
    ReleaseSemaphore(impl->handle, count, nullptr);
}
void Semaphore::Acquire() {
    WaitForSingleObject(impl->handle, INFINITE);
}
bool Semaphore::Usable() const {
    return impl->handle != nullptr;
}

struct Thread::Impl {
    std::function<void()> work;
    HANDLE handle = nullptr;

    static unsigned __stdcall Run(void* self) {
        static_cast<Impl*>(self)->work();
        return 0;
    }
};

// The C runtime's own start, so it sets up its per-thread data; Windows 95 also wants a place
// for the thread id.
Thread::Thread(std::function<void()> work) : impl(std::make_unique<Impl>()) {
    impl->work = std::move(work);
    unsigned id = 0;
    impl->handle = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, &Impl::Run, impl.get(), 0, &id));
}

Thread::~Thread() {
    if (!impl->handle)
        return;
    WaitForSingleObject(impl->handle, INFINITE);
    CloseHandle(impl->handle);
}

bool Thread::Started() const {
    return impl->handle != nullptr;
}

unsigned ProcessorCount() {
    SYSTEM_INFO info{};
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors > 0 ? info.dwNumberOfProcessors : 1;
}

} // namespace vantrel

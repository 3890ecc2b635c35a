#include "platform/Threads.h"

#include <algorithm>
#include <mutex>
#include <semaphore>
#include <system_error>
#include <thread>

namespace vantrel {

struct Mutex::Impl {
    std::mutex mutex;
};

Mutex::Mutex() : impl(std::make_unique<Impl>()) {}
Mutex::~Mutex() = default;
void Mutex::Lock() {
    impl->mutex.lock();
}
void Mutex::Unlock() {
    impl->mutex.unlock();
}

struct Semaphore::Impl {
    std::counting_semaphore<> count{0};
};

Semaphore::Semaphore() : impl(std::make_unique<Impl>()) {}
Semaphore::~Semaphore() = default;
void Semaphore::Release(int count) {
    impl->count.release(count);
}
void Semaphore::Acquire() {
    impl->count.acquire();
}
bool Semaphore::Usable() const {
    return true;
}

struct Thread::Impl {
    std::thread thread;
};

Thread::Thread(std::function<void()> work) : impl(std::make_unique<Impl>()) {
    try {
        impl->thread = std::thread(std::move(work));
    } catch (const std::system_error&) {
        // Not started: Started() says so.
    }
}

Thread::~Thread() {
    if (impl->thread.joinable())
        impl->thread.join();
}

bool Thread::Started() const {
    return impl->thread.joinable();
}

unsigned ProcessorCount() {
    return std::max(1u, std::thread::hardware_concurrency());
}

} // namespace vantrel

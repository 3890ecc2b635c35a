// The compiler's win32 thread model has no std::mutex or std::condition_variable, which the test
// framework's Notification is built on. It only starts the framework's own test threads, so a
// yielding wait does; the framework takes this one in place of its own.
#pragma once

#include <atomic>
#include <thread>

namespace testing::internal {

class Notification {
public:
    Notification() = default;
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;
    void Notify() { notified.store(true); }
    void WaitForNotification() {
        while (!notified.load())
            std::this_thread::yield();
    }

private:
    std::atomic<bool> notified{false};
};

} // namespace testing::internal

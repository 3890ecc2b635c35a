// Threads and locks for the zip writer's workers. Windows builds take them straight from the
// system: the compiler's own thread library needs Windows XP, and condition variables Vista,
// while the product still starts on Windows 98.
#pragma once

#include <functional>
#include <memory>

namespace vantrel {

class Mutex {
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void Lock();
    void Unlock();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

class MutexLock {
public:
    explicit MutexLock(Mutex& mutex) : mutex(mutex) { mutex.Lock(); }
    ~MutexLock() { mutex.Unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex;
};

// A counting semaphore: Acquire waits until a count is there and takes it.
class Semaphore {
public:
    Semaphore();
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;
    void Release(int count = 1);
    void Acquire();
    // False when the system would not make one; it then never waits.
    bool Usable() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

// Runs its work on a thread of its own; destroying it waits for the work to end.
class Thread {
public:
    explicit Thread(std::function<void()> work);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    // False when the system would not start the thread; the work then never runs.
    bool Started() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

unsigned ProcessorCount();

} // namespace vantrel

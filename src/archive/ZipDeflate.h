// Raw deflate of file blocks on worker threads. A file larger than one block is cut into
// blocks; each block after the first is primed with the last 32 KiB of the one before and all
// but the last end on a byte boundary, so the outputs joined in order form one deflate stream
// that is hardly larger than a single-threaded one.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "platform/Threads.h"

namespace vantrel {

inline constexpr std::size_t kDeflateWindow = 32768;

struct DeflateJob {
    std::vector<unsigned char> input;
    std::vector<unsigned char> dictionary; // the end of the previous block of the same stream
    int level = 6;                         // 0: CRC only, the data is stored
    bool finish = true;                    // the last block of its stream
    // Results, valid once the pool says the job is done.
    std::vector<unsigned char> output;
    std::uint32_t crc = 0;
    bool ok = false;
    bool done = false;
};

class DeflatePool {
public:
    // With no threads, or none the system would start or wait for, Submit does the work before
    // it returns.
    explicit DeflatePool(int threads);
    ~DeflatePool();
    DeflatePool(const DeflatePool&) = delete;
    DeflatePool& operator=(const DeflatePool&) = delete;

    void Submit(std::shared_ptr<DeflateJob> job);
    // One thread waits: each finished job hands out one wake-up.
    void Wait(DeflateJob& job);

private:
    class Engine;
    void Work();

    Mutex mutex;
    Semaphore workReady; // one count per queued job, and one per worker to stop it
    Semaphore jobDone;   // one count per finished job
    std::deque<std::shared_ptr<DeflateJob>> queue;
    bool stopping = false;
    std::vector<std::unique_ptr<Thread>> threads;
    std::unique_ptr<Engine> inlineEngine;
};

} // namespace vantrel

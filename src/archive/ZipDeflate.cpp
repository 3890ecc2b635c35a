#include "archive/ZipDeflate.h"

#include <zlib.h>

#include "archive/ZipFormat.h"

namespace vantrel {

// One deflate stream per thread, reset between jobs: setting one up costs more than
// compressing a small file.
class DeflatePool::Engine {
public:
    ~Engine() {
        if (level >= 0)
            deflateEnd(&z);
    }

    void Run(DeflateJob& job) {
        job.crc = zipfmt::Crc32(0, job.input.data(), job.input.size());
        job.ok = job.level == 0 || Compress(job);
    }

private:
    bool Compress(DeflateJob& job) {
        if (level != job.level) {
            if (level >= 0)
                deflateEnd(&z);
            z = z_stream{};
            level = -1;
            if (deflateInit2(&z, job.level, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
                return false;
            level = job.level;
        } else if (deflateReset(&z) != Z_OK) {
            return false;
        }
        if (!job.dictionary.empty() &&
            deflateSetDictionary(&z, job.dictionary.data(), static_cast<uInt>(job.dictionary.size())) != Z_OK)
            return false;
        // A sync flush ends with an empty stored block on a byte boundary and no final bit.
        int flush = job.finish ? Z_FINISH : Z_SYNC_FLUSH;
        job.output.resize(deflateBound(&z, static_cast<uLong>(job.input.size())) + 16);
        z.next_in = job.input.data();
        z.avail_in = static_cast<uInt>(job.input.size());
        std::size_t written = 0;
        for (;;) {
            z.next_out = job.output.data() + written;
            z.avail_out = static_cast<uInt>(job.output.size() - written);
            int ret = deflate(&z, flush);
            written = job.output.size() - z.avail_out;
            if (ret == Z_STREAM_ERROR)
                return false;
            bool complete = job.finish ? ret == Z_STREAM_END : (z.avail_in == 0 && z.avail_out > 0);
            if (complete)
                break;
            job.output.resize(job.output.size() * 2);
        }
        job.output.resize(written);
        return true;
    }

    z_stream z{};
    int level = -1;
};

DeflatePool::DeflatePool(int threadCount) {
    if (!workReady.Usable() || !jobDone.Usable())
        threadCount = 0;
    for (int i = 0; i < threadCount; ++i) {
        auto thread = std::make_unique<Thread>([this] { Work(); });
        if (!thread->Started())
            break;
        threads.push_back(std::move(thread));
    }
    if (threads.empty())
        inlineEngine = std::make_unique<Engine>();
}

DeflatePool::~DeflatePool() {
    {
        MutexLock lock(mutex);
        stopping = true;
    }
    workReady.Release(static_cast<int>(threads.size()));
    threads.clear(); // each waits for its worker
}

void DeflatePool::Submit(std::shared_ptr<DeflateJob> job) {
    if (inlineEngine) {
        inlineEngine->Run(*job);
        job->done = true;
        return;
    }
    {
        MutexLock lock(mutex);
        queue.push_back(std::move(job));
    }
    workReady.Release();
}

void DeflatePool::Wait(DeflateJob& job) {
    for (;;) {
        {
            MutexLock lock(mutex);
            if (job.done)
                return;
        }
        jobDone.Acquire();
    }
}

void DeflatePool::Work() {
    Engine engine;
    for (;;) {
        workReady.Acquire();
        std::shared_ptr<DeflateJob> job;
        {
            MutexLock lock(mutex);
            if (queue.empty())
                return; // only a stop leaves a count with nothing queued
            job = std::move(queue.front());
            queue.pop_front();
        }
        engine.Run(*job);
        {
            MutexLock lock(mutex);
            job->done = true;
        }
        jobDone.Release();
    }
}

} // namespace vantrel

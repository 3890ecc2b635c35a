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
    if (threadCount <= 0)
        inlineEngine = std::make_unique<Engine>();
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back([this] { Work(); });
}

DeflatePool::~DeflatePool() {
    {
        std::lock_guard lock(mutex);
        stopping = true;
    }
    workReady.notify_all();
    for (auto& t : threads)
        t.join();
}

void DeflatePool::Submit(std::shared_ptr<DeflateJob> job) {
    if (inlineEngine) {
        inlineEngine->Run(*job);
        job->done = true;
        return;
    }
    {
        std::lock_guard lock(mutex);
        queue.push_back(std::move(job));
    }
    workReady.notify_one();
}

void DeflatePool::Wait(DeflateJob& job) {
    std::unique_lock lock(mutex);
    jobDone.wait(lock, [&] { return job.done; });
}

void DeflatePool::Work() {
    Engine engine;
    for (;;) {
        std::shared_ptr<DeflateJob> job;
        {
            std::unique_lock lock(mutex);
            workReady.wait(lock, [&] { return stopping || !queue.empty(); });
            if (queue.empty())
                return;
            job = std::move(queue.front());
            queue.pop_front();
        }
        engine.Run(*job);
        {
            std::lock_guard lock(mutex);
            job->done = true;
        }
        jobDone.notify_all();
    }
}

} // namespace vantrel

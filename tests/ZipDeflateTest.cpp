// The deflate workers: joined block outputs must inflate to the input whatever order the
// workers finish in, and a pool stopped with work queued finishes it first.
#include <gtest/gtest.h>

#include <zlib.h>

#include <memory>
#include <string>
#include <vector>

#include "archive/ZipDeflate.h"
#include "archive/ZipFormat.h"

namespace vantrel {
namespace {

std::vector<unsigned char> Data(std::size_t size, unsigned seed) {
    std::vector<unsigned char> bytes(size);
    unsigned x = seed;
    for (std::size_t i = 0; i < size; ++i) {
        x = x * 1103515245u + 12345u;
        // Runs of text with some noise: compressible, but not trivially.
        bytes[i] = (x >> 24) % 7 == 0 ? static_cast<unsigned char>(x >> 16) : "driver files "[i % 13];
    }
    return bytes;
}

std::vector<unsigned char> Inflate(const std::vector<unsigned char>& raw, std::size_t size) {
    std::vector<unsigned char> out(size + 1);
    z_stream z{};
    EXPECT_EQ(inflateInit2(&z, -MAX_WBITS), Z_OK);
    z.next_in = const_cast<unsigned char*>(raw.data());
    z.avail_in = static_cast<uInt>(raw.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(inflate(&z, Z_FINISH), Z_STREAM_END);
    out.resize(z.total_out);
    inflateEnd(&z);
    return out;
}

// One stream cut into blocks as the writer cuts files, each primed with its predecessor's tail.
std::vector<std::shared_ptr<DeflateJob>> Blocks(const std::vector<unsigned char>& data, std::size_t block,
                                                int level) {
    std::vector<std::shared_ptr<DeflateJob>> jobs;
    for (std::size_t at = 0; at < data.size(); at += block) {
        auto job = std::make_shared<DeflateJob>();
        std::size_t end = std::min(data.size(), at + block);
        job->input.assign(data.begin() + at, data.begin() + end);
        std::size_t primed = std::min(at, kDeflateWindow);
        job->dictionary.assign(data.begin() + at - primed, data.begin() + at);
        job->level = level;
        job->finish = end == data.size();
        jobs.push_back(job);
    }
    return jobs;
}

TEST(ZipDeflatePool, BlocksFromAnyNumberOfWorkersJoinIntoOneStream) {
    const auto data = Data(1'000'000, 7);
    for (int threads : {0, 1, 4}) {
        std::vector<unsigned char> joined;
        std::uint32_t crc = 0;
        {
            DeflatePool pool(threads);
            auto jobs = Blocks(data, 65536, 6);
            for (auto& job : jobs)
                pool.Submit(job);
            // Waited for from the last to the first: each wait must see its own job done.
            for (auto it = jobs.rbegin(); it != jobs.rend(); ++it) {
                pool.Wait(**it);
                EXPECT_TRUE((*it)->done);
                EXPECT_TRUE((*it)->ok);
            }
            for (auto& job : jobs) {
                joined.insert(joined.end(), job->output.begin(), job->output.end());
                crc = crc32_combine(crc, job->crc, static_cast<z_off_t>(job->input.size()));
            }
        }
        EXPECT_EQ(Inflate(joined, data.size()), data) << threads << " threads";
        EXPECT_EQ(crc, zipfmt::Crc32(0, data.data(), data.size())) << threads << " threads";
        EXPECT_LT(joined.size(), data.size() / 2) << threads << " threads";
    }
}

TEST(ZipDeflatePool, StoredJobsOnlyCountAndAPoolFinishesQueuedWorkBeforeItStops) {
    const auto data = Data(200'000, 3);
    auto stored = std::make_shared<DeflateJob>();
    stored->input = data;
    stored->level = 0;
    std::vector<std::shared_ptr<DeflateJob>> queued;
    {
        DeflatePool pool(2);
        pool.Submit(stored);
        for (int i = 0; i < 16; ++i) {
            queued.push_back(std::make_shared<DeflateJob>());
            queued.back()->input = data;
            queued.back()->level = 9;
            pool.Submit(queued.back());
        }
        pool.Wait(*stored);
    } // destroyed with most of the work still queued: the workers finish it first
    EXPECT_TRUE(stored->ok);
    EXPECT_TRUE(stored->output.empty());
    EXPECT_EQ(stored->crc, zipfmt::Crc32(0, data.data(), data.size()));
    for (const auto& job : queued) {
        ASSERT_TRUE(job->done);
        EXPECT_EQ(Inflate(job->output, data.size()), data);
    }
}

} // namespace
} // namespace vantrel

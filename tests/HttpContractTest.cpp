// The Http port against a real server on 127.0.0.1: libcurl on Linux, WinINet under Wine.
#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "HttpTestServer.h"
#include "platform/Http.h"

namespace vantrel {
namespace {

using test::HttpTestServer;
using test::MemoryFile;

class Recorder : public HttpObserver {
public:
    std::vector<HttpState> states;
    std::vector<std::uint64_t> counts;
    std::uint64_t stopAfter = ~std::uint64_t(0);

    void OnState(HttpState state) override { states.push_back(state); }
    bool OnBytes(std::uint64_t bytes) override {
        counts.push_back(bytes);
        return bytes < stopAfter;
    }
    bool Saw(HttpState state) const {
        for (HttpState s : states)
            if (s == state)
                return true;
        return false;
    }
};

TEST(HttpUrl, ParsesOnlyHttpAddressesWithAHost) {
    struct Case {
        const char* text;
        bool ok;
        const char* host;
        int port;
        const char* path;
    } cases[] = {
        {"http://update.vantrel.example", true, "update.vantrel.example", 80, "/"},
        {"HTTP://Host:8080/update11/update.txt?x=1#frag", true, "host", 8080, "/update11/update.txt?x=1"},
        {"https://127.0.0.1", true, "127.0.0.1", 443, "/"},
        {"ftp://host/x", false, "", 0, ""},
        {"http://", false, "", 0, ""},
        {"http://user@host/", false, "", 0, ""},
        {"http://host:0/", false, "", 0, ""},
        {"http://host:70000/", false, "", 0, ""},
        {"http://host:8x/", false, "", 0, ""},
        {"host/x", false, "", 0, ""},
    };
    for (const auto& c : cases) {
        HttpUrl url;
        ASSERT_EQ(ParseHttpUrl(c.text, &url), c.ok) << c.text;
        if (c.ok) {
            EXPECT_EQ(url.host, c.host) << c.text;
            EXPECT_EQ(url.port, c.port) << c.text;
            EXPECT_EQ(url.path, c.path) << c.text;
        }
    }
}

class HttpContract : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(server.Running()) << "python3 test server did not start"; }

    HttpResult Get(const std::string& path, HttpLimits limits = {}) {
        out.bytes.clear();
        return HttpGet(*http, server.Url(path), limits, out, &recorder);
    }

    HttpTestServer server;
    std::unique_ptr<Http> http = CreateHttp();
    MemoryFile out;
    Recorder recorder;
};

TEST_F(HttpContract, FetchesAFileWithItsStatesAndByteCounts) {
    std::string body(100000, 'a');
    for (std::size_t i = 0; i < body.size(); ++i)
        body[i] = static_cast<char>('a' + i % 26);
    server.Put("update11/NewDriverDB.dat", body);

    HttpResult result = Get("/update11/NewDriverDB.dat");
    ASSERT_TRUE(result.Ok()) << result.detail;
    EXPECT_EQ(result.status, 200);
    EXPECT_EQ(result.bytes, body.size());
    EXPECT_EQ(out.bytes, body);
    ASSERT_FALSE(recorder.counts.empty());
    EXPECT_EQ(recorder.counts.back(), body.size());
    for (std::size_t i = 1; i < recorder.counts.size(); ++i)
        EXPECT_LT(recorder.counts[i - 1], recorder.counts[i]);
    // The states of the way there come in order (each at most once before the answer).
    std::vector<HttpState> order = {HttpState::Connecting, HttpState::Connected, HttpState::Requesting,
                                    HttpState::RequestSent};
    std::size_t at = 0;
    for (HttpState s : recorder.states)
        if (at < order.size() && s == order[at])
            ++at;
    EXPECT_EQ(at, order.size());
}

TEST_F(HttpContract, FailuresAreTold) {
    server.Put("big.bin", std::string(5000, 'b'));
    server.Put("target.txt", "moved here");
    struct Case {
        std::string path;
        std::uint64_t maxBytes;
        HttpError error;
        int status;
    } cases[] = {
        {"/missing.txt", 1000, HttpError::Status, 404},
        {"/fault/short/3000", 100000, HttpError::ShortBody, 200},
        {"/big.bin", 4999, HttpError::TooLarge, 200},
        {"/fault/redirect?to=http://localhost:1/target.txt", 1000, HttpError::Redirect, 302},
    };
    for (const auto& c : cases) {
        HttpLimits limits;
        limits.maxBytes = c.maxBytes;
        HttpResult result = Get(c.path, limits);
        EXPECT_EQ(result.error, c.error) << c.path << ": " << result.detail;
        EXPECT_EQ(result.status, c.status) << c.path;
        if (c.error != HttpError::ShortBody) {
            EXPECT_LT(out.bytes.size(), 4999u) << c.path;
        }
    }
    // A redirect on the same server is followed.
    HttpResult moved = Get("/fault/redirect?to=/target.txt");
    EXPECT_TRUE(moved.Ok()) << moved.detail;
    EXPECT_EQ(out.bytes, "moved here");
}

TEST_F(HttpContract, StopsOnRefusalStallCancelAndFullDisk) {
    server.Put("data.bin", std::string(300000, 'd'));
    MemoryFile sink;
    HttpResult refused = HttpGet(*http, "http://127.0.0.1:1/x", {2000, 2000, 1000}, sink, nullptr);
    EXPECT_EQ(refused.error, HttpError::Connect) << refused.detail;

    auto start = std::chrono::steady_clock::now();
    HttpResult stalled = Get("/fault/stall", {2000, 1000, 1000});
    auto seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_EQ(stalled.error, HttpError::Timeout) << stalled.detail;
    EXPECT_LT(seconds, 10.0);

    recorder.stopAfter = 1;
    EXPECT_EQ(Get("/data.bin").error, HttpError::Cancelled);
    recorder.stopAfter = ~std::uint64_t(0);

    out.failWrites = true;
    EXPECT_EQ(Get("/data.bin").error, HttpError::Write);
}

} // namespace
} // namespace vantrel

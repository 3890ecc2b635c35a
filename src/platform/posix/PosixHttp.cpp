// The Http port over libcurl. Its socket and request callbacks give the same states the
// Windows library reports.
#include "platform/Http.h"

#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include <curl/curl.h>

#include "platform/FileSystem.h"

namespace vantrel {

// libcurl's answer (63) when a body is larger than CURLOPT_MAXFILESIZE_LARGE allows.
constexpr int kCurlBodyOverCap = 63;

namespace {

struct Transfer {
    OutputFile* out = nullptr;
    HttpObserver* observer = nullptr;
    CURL* curl = nullptr;
    std::uint64_t maxBytes = 0;
    std::uint64_t bytes = 0;
    long status = 0;
    bool headersSeen = false;
    HttpError stopped = HttpError::None; // why a callback stopped the transfer
    bool closedNotified = false;
    // Until the answer begins the connection time counts too.
    std::chrono::steady_clock::duration idle{}, idleLimit{};
    std::chrono::steady_clock::time_point lastActivity = std::chrono::steady_clock::now();
    curl_off_t lastCount = 0;

    void Activity() {
        lastActivity = std::chrono::steady_clock::now();
        idle = idleLimit;
    }

    void State(HttpState state) {
        if (observer)
            observer->OnState(state);
    }
};

curl_socket_t OpenSocket(void* data, curlsocktype, curl_sockaddr* address) {
    auto* t = static_cast<Transfer*>(data);
    t->State(HttpState::HostResolved);
    t->State(HttpState::Connecting);
    return socket(address->family, address->socktype, address->protocol);
}

int CloseSocket(void* data, curl_socket_t socket) {
    auto* t = static_cast<Transfer*>(data);
    if (!t->closedNotified) {
        t->closedNotified = true;
        t->State(HttpState::Disconnecting);
        t->State(HttpState::Disconnected);
    }
    return close(socket);
}

// Runs once the connection stands, just before the request goes out.
int BeforeRequest(void* data, char*, char*, int, int) {
    auto* t = static_cast<Transfer*>(data);
    t->State(HttpState::Connected);
    t->State(HttpState::Requesting);
    return CURL_PREREQFUNC_OK;
}

std::size_t OnHeader(char* text, std::size_t size, std::size_t count, void* data) {
    auto* t = static_cast<Transfer*>(data);
    if (!t->headersSeen) {
        t->headersSeen = true;
        t->Activity();
        t->State(HttpState::RequestSent);
    }
    (void)text;
    return size * count;
}

std::size_t OnBody(char* bytes, std::size_t size, std::size_t count, void* data) {
    auto* t = static_cast<Transfer*>(data);
    std::size_t length = size * count;
    curl_easy_getinfo(t->curl, CURLINFO_RESPONSE_CODE, &t->status);
    if (t->status != 200)
        return length; // the body of an error page is not the file
    if (t->bytes + length > t->maxBytes) {
        t->stopped = HttpError::TooLarge;
        return 0;
    }
    if (!t->out->Write(bytes, length)) {
        t->stopped = HttpError::Write;
        return 0;
    }
    t->bytes += length;
    if (t->observer && !t->observer->OnBytes(t->bytes)) {
        t->stopped = HttpError::Cancelled;
        return 0;
    }
    return length;
}

// The idle limit counted from the last byte that came in: libcurl's own low-speed check
// averages over several seconds, so a stall after a few bytes would run long.
int OnProgress(void* data, curl_off_t, curl_off_t received, curl_off_t, curl_off_t) {
    auto* t = static_cast<Transfer*>(data);
    if (received != t->lastCount) {
        t->lastCount = received;
        t->Activity();
    } else if (std::chrono::steady_clock::now() - t->lastActivity > t->idle) {
        t->stopped = HttpError::Timeout;
        return 1;
    }
    return 0;
}

class CurlHttp : public Http {
public:
    CurlHttp() { curl_global_init(CURL_GLOBAL_DEFAULT); }
    ~CurlHttp() override { curl_global_cleanup(); }

    HttpResult GetOnce(const HttpUrl& url, const HttpLimits& limits, OutputFile& out,
                       HttpObserver* observer) override {
        HttpResult result;
        CURL* curl = curl_easy_init();
        if (!curl)
            return {HttpError::Unavailable, 0, 0, {}, "curl_easy_init failed"};
        Transfer t;
        t.out = &out;
        t.observer = observer;
        t.curl = curl;
        t.maxBytes = limits.maxBytes;
        char error[CURL_ERROR_SIZE] = "";
        std::string text = url.Text();
        curl_easy_setopt(curl, CURLOPT_URL, text.c_str());
        curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(curl, CURLOPT_FORBID_REUSE, 1L);
        curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error);
        curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connectTimeoutMs));
        t.idleLimit = std::chrono::milliseconds(limits.idleTimeoutMs);
        t.idle = std::chrono::milliseconds(limits.connectTimeoutMs + limits.idleTimeoutMs);
        curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, OnProgress);
        curl_easy_setopt(curl, CURLOPT_XFERINFODATA, &t);
        curl_easy_setopt(curl, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.maxBytes));
        curl_easy_setopt(curl, CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
        curl_easy_setopt(curl, CURLOPT_OPENSOCKETDATA, &t);
        curl_easy_setopt(curl, CURLOPT_CLOSESOCKETFUNCTION, CloseSocket);
        curl_easy_setopt(curl, CURLOPT_CLOSESOCKETDATA, &t);
        curl_easy_setopt(curl, CURLOPT_PREREQFUNCTION, BeforeRequest);
        curl_easy_setopt(curl, CURLOPT_PREREQDATA, &t);
        curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, OnHeader);
        curl_easy_setopt(curl, CURLOPT_HEADERDATA, &t);
        curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, OnBody);
        curl_easy_setopt(curl, CURLOPT_WRITEDATA, &t);

        t.State(HttpState::ResolvingHost);
        CURLcode code = curl_easy_perform(curl);
        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &t.status);
        char* location = nullptr;
        if (curl_easy_getinfo(curl, CURLINFO_REDIRECT_URL, &location) == CURLE_OK && location)
            result.location = location;
        curl_easy_cleanup(curl);

        result.status = static_cast<int>(t.status);
        result.bytes = t.bytes;
        result.detail = error[0] ? error : curl_easy_strerror(code);
        if (t.stopped != HttpError::None)
            result.error = t.stopped;
        else if (code == CURLE_OK)
            result.error = t.status == 200 ? HttpError::None : HttpError::Status;
        else if (code == CURLE_COULDNT_CONNECT || code == CURLE_COULDNT_RESOLVE_HOST)
            result.error = HttpError::Connect;
        else if (code == CURLE_OPERATION_TIMEDOUT)
            result.error = HttpError::Timeout;
        else if (code == CURLE_PARTIAL_FILE)
            result.error = HttpError::ShortBody;
        else if (code == kCurlBodyOverCap)
            result.error = HttpError::TooLarge;
        else
            result.error = HttpError::Transfer;
        return result;
    }
};

} // namespace

std::unique_ptr<Http> CreateHttp() {
    return std::make_unique<CurlHttp>();
}

} // namespace vantrel

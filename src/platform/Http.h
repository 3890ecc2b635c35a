// Http port: GET of a URL into a file, reporting the transfer's states and bytes as they come.
// Only "http" and "https"; a redirect is followed only on the same scheme, host and port.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace vantrel {

class OutputFile;

enum class HttpState {
    ResolvingHost,
    HostResolved,
    Connecting,
    Connected,
    Requesting,
    RequestSent,
    Disconnecting,
    Disconnected,
};

enum class HttpError {
    None,
    BadUrl,      // not an http or https address
    Unavailable, // the system's HTTP library could not be loaded
    Connect,     // host not found or connection refused
    Timeout,     // no connection, or no bytes, within the time limits
    Status,      // an answer other than 200 (status holds it)
    Redirect,    // a redirect to another server, or too many
    TooLarge,    // more bytes than the cap
    ShortBody,   // fewer bytes than the server announced
    Write,       // the file could not take the bytes
    Cancelled,   // the observer asked to stop
    Transfer,    // any other failure of the transfer
};

struct HttpLimits {
    std::uint32_t connectTimeoutMs = 15000;
    std::uint32_t idleTimeoutMs = 30000; // longest wait for the next bytes
    std::uint64_t maxBytes = 64u << 20;
};

class HttpObserver {
public:
    virtual ~HttpObserver() = default;
    virtual void OnState(HttpState state) { (void)state; }
    // The bytes written so far; false stops the transfer.
    virtual bool OnBytes(std::uint64_t bytes) {
        (void)bytes;
        return true;
    }
};

struct HttpResult {
    HttpError error = HttpError::None;
    int status = 0;
    std::uint64_t bytes = 0; // written to the file
    std::string location;    // of a redirect
    std::string detail;      // the library's own words, for logs
    bool Ok() const { return error == HttpError::None; }
};

struct HttpUrl {
    std::string scheme; // "http" or "https", lower case
    std::string host;
    std::uint16_t port = 0;
    std::string path; // with the query; "/" at least
    std::string Text() const;
};

// False for anything but an absolute http or https address with a host.
bool ParseHttpUrl(std::string_view text, HttpUrl* url);

class Http {
public:
    virtual ~Http() = default;
    // One request. Only a 200 answer's body reaches out; a redirect comes back as Status with
    // its location. The caller closes out.
    virtual HttpResult GetOnce(const HttpUrl& url, const HttpLimits& limits, OutputFile& out,
                               HttpObserver* observer) = 0;
};

// GET following at most five redirects that stay on the same server; out is emptied before
// each new request.
HttpResult HttpGet(Http& http, std::string_view url, const HttpLimits& limits, OutputFile& out,
                   HttpObserver* observer);

// WinINet on Windows, libcurl elsewhere.
std::unique_ptr<Http> CreateHttp();

} // namespace vantrel

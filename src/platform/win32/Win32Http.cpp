// The Http port over WinINet, loaded when first used: Windows 95 and 98 without a newer
// Internet Explorer lack it, and the program must still start there.
//
// Wine's WinINet reports states only to a non-zero context, honours time limits only on the
// request handle (a stalled read then fails with the socket's WSAETIMEDOUT), answers a 404
// with a successful send and ends a cut-short body with a successful read of 0 bytes: hence
// the context, the limits set on both handles, the status query and the byte count checked
// against the announced length.
#include "platform/Http.h"

#include "platform/FileSystem.h"
#include "platform/win32/WindowsApi.h"

#include <wininet.h>

namespace vantrel {

namespace {

struct WinInet {
    HMODULE module = nullptr;
    decltype(&InternetOpenA) open = nullptr;
    decltype(&InternetConnectA) connect = nullptr;
    decltype(&HttpOpenRequestA) openRequest = nullptr;
    decltype(&HttpSendRequestA) sendRequest = nullptr;
    decltype(&HttpQueryInfoA) queryInfo = nullptr;
    decltype(&InternetReadFile) readFile = nullptr;
    decltype(&InternetCloseHandle) closeHandle = nullptr;
    decltype(&InternetSetOptionA) setOption = nullptr;
    decltype(&InternetSetStatusCallbackA) setCallback = nullptr;

    bool Load() {
        if (module)
            return true;
        HMODULE dll = LoadLibraryA("wininet.dll");
        if (!dll)
            return false;
        auto find = [dll](auto& fn, const char* name) {
            fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(GetProcAddress(dll, name));
            return fn != nullptr;
        };
        if (!find(open, "InternetOpenA") || !find(connect, "InternetConnectA") ||
            !find(openRequest, "HttpOpenRequestA") || !find(sendRequest, "HttpSendRequestA") ||
            !find(queryInfo, "HttpQueryInfoA") || !find(readFile, "InternetReadFile") ||
            !find(closeHandle, "InternetCloseHandle") || !find(setOption, "InternetSetOptionA") ||
            !find(setCallback, "InternetSetStatusCallbackA")) {
            FreeLibrary(dll);
            return false;
        }
        module = dll;
        return true;
    }
};

// Closes a handle when it goes out of scope.
class InetHandle {
public:
    InetHandle(WinInet& api, HINTERNET handle) : api(api), handle(handle) {}
    ~InetHandle() {
        if (handle)
            api.closeHandle(handle);
    }
    InetHandle(const InetHandle&) = delete;
    InetHandle& operator=(const InetHandle&) = delete;
    HINTERNET Get() const { return handle; }

private:
    WinInet& api;
    HINTERNET handle;
};

void CALLBACK OnStatus(HINTERNET, DWORD_PTR context, DWORD status, LPVOID, DWORD) {
    auto* observer = reinterpret_cast<HttpObserver*>(context);
    if (!observer)
        return;
    switch (status) {
    case INTERNET_STATUS_RESOLVING_NAME:
        observer->OnState(HttpState::ResolvingHost);
        break;
    case INTERNET_STATUS_NAME_RESOLVED:
        observer->OnState(HttpState::HostResolved);
        break;
    case INTERNET_STATUS_CONNECTING_TO_SERVER:
        observer->OnState(HttpState::Connecting);
        break;
    case INTERNET_STATUS_CONNECTED_TO_SERVER:
        observer->OnState(HttpState::Connected);
        break;
    case INTERNET_STATUS_SENDING_REQUEST:
        observer->OnState(HttpState::Requesting);
        break;
    case INTERNET_STATUS_REQUEST_SENT:
        observer->OnState(HttpState::RequestSent);
        break;
    case INTERNET_STATUS_CLOSING_CONNECTION:
        observer->OnState(HttpState::Disconnecting);
        break;
    case INTERNET_STATUS_CONNECTION_CLOSED:
        observer->OnState(HttpState::Disconnected);
        break;
    default:
        break;
    }
}

// States go to the caller's observer; a context is needed even without one.
class NullObserver : public HttpObserver {};

void SetLimits(WinInet& api, HINTERNET handle, const HttpLimits& limits) {
    DWORD connect = limits.connectTimeoutMs, idle = limits.idleTimeoutMs;
    api.setOption(handle, INTERNET_OPTION_CONNECT_TIMEOUT, &connect, sizeof connect);
    api.setOption(handle, INTERNET_OPTION_SEND_TIMEOUT, &idle, sizeof idle);
    api.setOption(handle, INTERNET_OPTION_RECEIVE_TIMEOUT, &idle, sizeof idle);
}

HttpError ErrorOf(DWORD code) {
    switch (code) {
    case ERROR_INTERNET_TIMEOUT:
    case WSAETIMEDOUT: // Wine passes the socket's own error up from a read
        return HttpError::Timeout;
    case ERROR_INTERNET_NAME_NOT_RESOLVED:
    case ERROR_INTERNET_CANNOT_CONNECT:
        return HttpError::Connect;
    default:
        return HttpError::Transfer;
    }
}

HttpResult Failed(HttpResult result, const char* call) {
    DWORD code = GetLastError();
    result.error = ErrorOf(code);
    result.detail = std::string(call) + " failed, error " + std::to_string(code);
    return result;
}

class Win32Http : public Http {
public:
    HttpResult GetOnce(const HttpUrl& url, const HttpLimits& limits, OutputFile& out,
                       HttpObserver* observer) override {
        HttpResult result;
        if (!api.Load())
            return {HttpError::Unavailable, 0, 0, {}, "wininet.dll cannot be loaded"};
        NullObserver none;
        DWORD_PTR context = reinterpret_cast<DWORD_PTR>(observer ? observer : &none);

        InetHandle session(api, api.open("Vantrel", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
        if (!session.Get())
            return Failed(result, "InternetOpenA");
        api.setCallback(session.Get(), OnStatus);
        SetLimits(api, session.Get(), limits);
        InetHandle connection(api, api.connect(session.Get(), url.host.c_str(), url.port, nullptr, nullptr,
                                               INTERNET_SERVICE_HTTP, 0, context));
        if (!connection.Get())
            return Failed(result, "InternetConnectA");
        DWORD flags = INTERNET_FLAG_NO_AUTO_REDIRECT | INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE |
                      INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_UI |
                      INTERNET_FLAG_NO_AUTH;
        if (url.scheme == "https")
            flags |= INTERNET_FLAG_SECURE;
        InetHandle request(api, api.openRequest(connection.Get(), "GET", url.path.c_str(), nullptr, nullptr,
                                                nullptr, flags, context));
        if (!request.Get())
            return Failed(result, "HttpOpenRequestA");
        SetLimits(api, request.Get(), limits);
        if (!api.sendRequest(request.Get(), nullptr, 0, nullptr, 0))
            return Failed(result, "HttpSendRequestA");

        DWORD status = 0, size = sizeof status;
        if (!api.queryInfo(request.Get(), HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                           nullptr))
            return Failed(result, "HttpQueryInfoA");
        result.status = static_cast<int>(status);
        if (status != 200) {
            char location[2048];
            DWORD length = sizeof location;
            if (api.queryInfo(request.Get(), HTTP_QUERY_LOCATION, location, &length, nullptr))
                result.location.assign(location, length);
            result.error = HttpError::Status;
            return result;
        }
        DWORD announced = 0;
        size = sizeof announced;
        bool haveLength = api.queryInfo(request.Get(), HTTP_QUERY_CONTENT_LENGTH | HTTP_QUERY_FLAG_NUMBER,
                                        &announced, &size, nullptr) != 0;
        if (haveLength && announced > limits.maxBytes) {
            result.error = HttpError::TooLarge;
            return result;
        }

        char buffer[16384];
        for (;;) {
            DWORD got = 0;
            if (!api.readFile(request.Get(), buffer, sizeof buffer, &got))
                return Failed(result, "InternetReadFile");
            if (got == 0)
                break;
            if (result.bytes + got > limits.maxBytes) {
                result.error = HttpError::TooLarge;
                return result;
            }
            if (!out.Write(buffer, got)) {
                result.error = HttpError::Write;
                return result;
            }
            result.bytes += got;
            if (observer && !observer->OnBytes(result.bytes)) {
                result.error = HttpError::Cancelled;
                return result;
            }
        }
        if (haveLength && result.bytes != announced)
            result.error = HttpError::ShortBody;
        return result;
    }

private:
    WinInet api;
};

} // namespace

std::unique_ptr<Http> CreateHttp() {
    return std::make_unique<Win32Http>();
}

} // namespace vantrel

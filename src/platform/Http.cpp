#include "platform/Http.h"

#include <cctype>

#include "platform/FileSystem.h"

namespace vantrel {

namespace {

std::string Lower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

bool SameServer(const HttpUrl& a, const HttpUrl& b) {
    return a.scheme == b.scheme && a.host == b.host && a.port == b.port;
}

constexpr int kMaxRedirects = 5;

} // namespace

std::string HttpUrl::Text() const {
    bool defaultPort = (scheme == "http" && port == 80) || (scheme == "https" && port == 443);
    std::string text = scheme + "://" + host;
    if (!defaultPort)
        text.append(":").append(std::to_string(port));
    return text + path;
}

bool ParseHttpUrl(std::string_view text, HttpUrl* url) {
    std::size_t colon = text.find("://");
    if (colon == std::string_view::npos)
        return false;
    HttpUrl parsed;
    parsed.scheme = Lower(text.substr(0, colon));
    if (parsed.scheme == "http")
        parsed.port = 80;
    else if (parsed.scheme == "https")
        parsed.port = 443;
    else
        return false;
    std::string_view rest = text.substr(colon + 3);
    std::size_t end = rest.find_first_of("/?#");
    std::string_view authority = rest.substr(0, end);
    std::string_view path = end == std::string_view::npos ? std::string_view() : rest.substr(end);
    path = path.substr(0, path.find('#'));
    std::size_t portAt = authority.rfind(':');
    std::string_view host = authority.substr(0, portAt);
    if (portAt != std::string_view::npos) {
        std::string_view digits = authority.substr(portAt + 1);
        if (digits.empty() || digits.size() > 5)
            return false;
        unsigned port = 0;
        for (char c : digits) {
            if (c < '0' || c > '9')
                return false;
            port = port * 10 + static_cast<unsigned>(c - '0');
        }
        if (port == 0 || port > 65535)
            return false;
        parsed.port = static_cast<std::uint16_t>(port);
    }
    // Names and IPv4 addresses only: user names, IPv6 and odd characters are refused.
    if (host.empty())
        return false;
    for (char c : host) {
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '.' && c != '-')
            return false;
    }
    parsed.host = Lower(host);
    parsed.path.reserve(path.size() + 1);
    if (path.empty() || path[0] != '/')
        parsed.path.push_back('/');
    parsed.path.append(path.data(), path.size());
    *url = std::move(parsed);
    return true;
}

HttpResult HttpGet(Http& http, std::string_view url, const HttpLimits& limits, OutputFile& out,
                   HttpObserver* observer) {
    HttpUrl first;
    if (!ParseHttpUrl(url, &first))
        return {HttpError::BadUrl, 0, 0, {}, std::string(url)};
    HttpUrl current = first;
    for (int hop = 0;; ++hop) {
        if (!out.Truncate(0))
            return {HttpError::Write, 0, 0, {}, "cannot empty the file"};
        HttpResult result = http.GetOnce(current, limits, out, observer);
        bool redirect = result.error == HttpError::Status && result.status >= 300 && result.status < 400 &&
                        result.status != 304;
        if (!redirect)
            return result;
        HttpUrl next;
        bool parsed = !result.location.empty() && result.location[0] == '/'
                          ? ParseHttpUrl(current.scheme + "://" + current.host + ":" +
                                             std::to_string(current.port) + result.location,
                                         &next)
                          : ParseHttpUrl(result.location, &next);
        if (!parsed || !SameServer(next, first) || hop + 1 >= kMaxRedirects) {
            result.error = HttpError::Redirect;
            return result;
        }
        current = next;
    }
}

} // namespace vantrel

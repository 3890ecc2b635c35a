#include "platform/image/ImageProfile.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "platform/FileSystem.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImageText.h"
#include "util/Text.h"

namespace vantrel {

namespace {

std::string_view TrimBlanks(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

} // namespace

const std::string* ProfileData::Find(std::string_view section, std::string_view key) const {
    auto s = sections.find(LowerAscii(section));
    if (s == sections.end())
        return nullptr;
    auto k = s->second.find(LowerAscii(key));
    return k == s->second.end() ? nullptr : &k->second;
}

ProfileData ParseProfile(std::string_view bytes) {
    ProfileData data;
    std::string text = DecodeTextFile(bytes);
    std::unordered_map<std::string, std::string>* current = nullptr;
    std::string_view rest(text);
    while (!rest.empty()) {
        std::size_t nl = rest.find('\n');
        std::string_view line = TrimBlanks(rest.substr(0, nl));
        rest = nl == std::string_view::npos ? std::string_view() : rest.substr(nl + 1);
        if (line.empty() || line.front() == ';')
            continue;
        if (line.front() == '[') {
            std::size_t close = line.rfind(']');
            std::string name = LowerAscii(TrimBlanks(
                line.substr(1, close == std::string_view::npos ? std::string_view::npos : close - 1)));
            // A section named again adds nothing: lookups stop at the first one.
            auto [it, added] = data.sections.try_emplace(name);
            current = added ? &it->second : nullptr;
            continue;
        }
        std::size_t eq = line.find('=');
        if (current == nullptr || eq == std::string_view::npos)
            continue;
        std::string key = LowerAscii(TrimBlanks(line.substr(0, eq)));
        std::string_view value = TrimBlanks(line.substr(eq + 1));
        if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
            value.back() == value.front())
            value = value.substr(1, value.size() - 2);
        current->try_emplace(std::move(key), value);
    }
    return data;
}

const ProfileData* ImageProfile::Load(std::string_view file) {
    std::filesystem::path host;
    std::error_code ec;
    if (!files.MapPath(file, &host) || !std::filesystem::is_regular_file(host, ec))
        return nullptr;
    auto size = std::filesystem::file_size(host, ec);
    auto stamp = std::filesystem::last_write_time(host, ec);
    if (ec)
        return nullptr;
    std::string key = HostPathString(host);
    auto it = cache.find(key);
    // File times may count whole seconds: a file changed within the last two seconds can keep
    // its size and time, so its bytes are compared until the time has settled.
    bool settled = std::filesystem::file_time_type::clock::now() - stamp > std::chrono::seconds(2);
    bool same = it != cache.end() && it->second.size == size && it->second.stamp == stamp;
    if (same && settled)
        return &it->second.data;
    std::string bytes;
    if (!ReadWholeFile(files, file, &bytes))
        return nullptr;
    if (same && bytes == it->second.bytes)
        return &it->second.data;
    ++parses;
    Cached entry{size, stamp, bytes, ParseProfile(bytes)};
    return &cache.insert_or_assign(key, std::move(entry)).first->second.data;
}

std::uint32_t ImageProfile::GetString(std::string_view section, std::string_view key,
                                      std::string_view defaultText, std::uint32_t bufferChars,
                                      std::string_view file, std::string* text) {
    text->clear();
    if (bufferChars == 0)
        return 0;
    const ProfileData* data = Load(file);
    const std::string* value = data != nullptr ? data->Find(section, key) : nullptr;
    std::string_view result;
    if (value != nullptr) {
        result = *value;
    } else {
        // Windows strips trailing blanks of the default.
        result = defaultText;
        while (!result.empty() && result.back() == ' ')
            result.remove_suffix(1);
    }
    text->assign(result.substr(0, std::min<std::size_t>(result.size(), bufferChars - 1)));
    return static_cast<std::uint32_t>(text->size());
}

} // namespace vantrel

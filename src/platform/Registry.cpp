#include "platform/Registry.h"

namespace vantrel {

std::string RegStringData(std::string_view data) {
    auto nul = data.find('\0');
    return std::string(nul == std::string_view::npos ? data : data.substr(0, nul));
}

bool RegReadString(Registry& registry, RegHandle key, std::string_view name, std::uint32_t bufferChars,
                   std::string* text) {
    std::uint32_t type = 0;
    std::string data;
    if (registry.QueryValue(key, name, bufferChars, &type, &data) != kErrorSuccess)
        return false;
    *text = RegStringData(data);
    return true;
}

long RegWriteString(Registry& registry, RegHandle key, std::string_view name, std::string_view text) {
    std::string data(text);
    data.push_back('\0');
    return registry.SetValue(key, name, kRegSz, data);
}

} // namespace vantrel

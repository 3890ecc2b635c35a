// Profile port: INI files as GetPrivateProfileStringA reads them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vantrel {

class Profile {
public:
    virtual ~Profile() = default;
    // Copies at most bufferChars - 1 characters of the value (or of defaultText when the
    // section or key is missing) into *text and returns that count. An empty value gives 0.
    virtual std::uint32_t GetString(std::string_view section, std::string_view key,
                                    std::string_view defaultText, std::uint32_t bufferChars,
                                    std::string_view file, std::string* text) = 0;
};

} // namespace vantrel

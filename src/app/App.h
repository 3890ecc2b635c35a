// Process-wide state set up at start-up and read everywhere.
#pragma once

#include <string>
#include <string_view>

#include "platform/Platform.h"

namespace vantrel {

inline constexpr char kProductName[] = "Vantrel";

class App {
public:
    explicit App(Platform& platform) : platform(platform) {}

    // The one text lookup: the English default unless the language file has a non-empty value.
    std::string GetLangText(std::string_view section, std::string_view key,
                            std::string_view defaultText) const;

    Platform& platform;
    std::string appPath;      // program folder, always ending in "\"
    std::string languageFile; // full path of the current language file
};

// The program's folder with a trailing "\" (a drive root keeps its single one).
std::string ComputeAppPath(Platform& platform);

} // namespace vantrel

#include "app/App.h"

#include "platform/FileSystem.h"
#include "platform/Profile.h"
#include "platform/System.h"
#include "util/Text.h"

namespace vantrel {

namespace {
constexpr std::uint32_t kLangBufferChars = 1024;
}

std::string App::GetLangText(std::string_view section, std::string_view key,
                             std::string_view defaultText) const {
    if (languageFile.empty() || !platform.fs.Exists(languageFile))
        return std::string(defaultText);
    std::string buffer;
    auto count =
        platform.profile.GetString(section, key, defaultText, kLangBufferChars, languageFile, &buffer);
    if (count == 0)
        return std::string(defaultText);
    return platform.system.Utf8ToAnsi(CleanText(buffer));
}

std::string ComputeAppPath(Platform& platform) {
    return WithBackslash(platform.system.GetModuleFolder());
}

} // namespace vantrel

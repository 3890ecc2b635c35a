// The self-extractor's command line and tokens, and the trailer of an auto-setup package.
// Kept apart from the unpacking code: the launcher needs only these and stays small.
#include "backup/SelfExtract.h"

#include <cctype>

namespace vantrel {

namespace {

std::string NoTrailingSlash(std::string_view folder) {
    std::string out(folder);
    while (out.size() > 3 && out.back() == '\\')
        out.pop_back();
    return out;
}

} // namespace

bool ParseSfxCommandLine(std::string_view arguments, SfxCommand* command, std::string* error) {
    SfxCommand parsed;
    std::size_t i = 0;
    auto skipBlanks = [&] {
        while (i < arguments.size() && (arguments[i] == ' ' || arguments[i] == '\t'))
            ++i;
    };
    for (skipBlanks(); i < arguments.size(); skipBlanks()) {
        std::size_t start = i;
        bool quoted = false;
        std::string word;
        for (; i < arguments.size() && (quoted || (arguments[i] != ' ' && arguments[i] != '\t')); ++i) {
            if (arguments[i] == '"')
                quoted = !quoted;
            else
                word += arguments[i];
        }
        if (quoted) {
            *error = "unterminated quote";
            return false;
        }
        std::string lower = word;
        for (char& c : lower)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (lower == "/s") {
            parsed.silent = true;
        } else if (lower.rfind("/d:", 0) == 0 && word.size() > 3) {
            parsed.folder = word.substr(3);
        } else {
            *error = "unknown argument: " + std::string(arguments.substr(start, i - start));
            return false;
        }
    }
    *command = parsed;
    return true;
}

std::string ExpandSfxPath(std::string_view text, std::string_view tempFolder, std::string_view folder) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 1 < text.size()) {
            char token = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i + 1])));
            if (token == 't' || token == 'd') {
                out += NoTrailingSlash(token == 't' ? tempFolder : folder);
                ++i;
                continue;
            }
        }
        out += text[i];
    }
    return out;
}

SfxRunAfter PlanSfxRunAfter(const SfxCommand& command, const SfxSettings& settings,
                            std::string_view arguments, std::string_view tempFolder,
                            std::string_view folder) {
    SfxRunAfter run;
    if (!command.folder.empty() || settings.runAfter.empty())
        return run;
    run.program = ExpandSfxPath(settings.runAfter, tempFolder, folder);
    run.arguments = std::string(arguments);
    while (!run.arguments.empty() && (run.arguments.back() == ' ' || run.arguments.back() == '\t'))
        run.arguments.pop_back();
    run.wait = command.silent;
    return run;
}

bool LocateTrailingArchive(std::uint64_t fileSize, std::uint32_t trailer, std::uint64_t* offset) {
    if (fileSize < 4 || trailer == 0 || trailer > fileSize - 4)
        return false;
    *offset = fileSize - 4 - trailer;
    return true;
}

} // namespace vantrel

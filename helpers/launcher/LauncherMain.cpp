// The front of an auto-setup package: the self-extracting archive sits before the last four
// bytes of this very file, which hold its length. It is written to the temporary folder,
// run with this program's arguments, and deleted again.
#include <fstream>
#include <string>
#include <vector>

#include "backup/SelfExtract.h"
#include "common/HelperCommon.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    using namespace vantrel;
    helper::RestrictDllSearch();
    std::string self = helper::OwnPath();
    // With a target folder given the package runs unattended: failures show in the exit code.
    SfxCommand command;
    std::string error;
    bool quiet = ParseSfxCommandLine(helper::Arguments(), &command, &error) && !command.folder.empty();
    auto fail = [quiet](const char* text, int code) {
        if (!quiet)
            MessageBoxA(nullptr, text, "Vantrel", MB_OK | MB_ICONERROR);
        return code;
    };
    std::ifstream in(self, std::ios::binary | std::ios::ate);
    std::uint64_t size = in ? static_cast<std::uint64_t>(in.tellg()) : 0;
    unsigned char tail[4] = {};
    if (size >= 4) {
        in.seekg(static_cast<std::streamoff>(size - 4));
        in.read(reinterpret_cast<char*>(tail), 4);
    }
    std::uint32_t length =
        tail[0] | (tail[1] << 8) | (tail[2] << 16) | (static_cast<std::uint32_t>(tail[3]) << 24);
    std::uint64_t offset = 0;
    if (!in || !LocateTrailingArchive(size, length, &offset))
        return fail("This setup package is damaged: its archive cannot be found.", 2);
    std::string target =
        helper::TempFolder() + "\\DrvAutoSetup_" + std::to_string(GetCurrentProcessId()) + ".exe";
    {
        std::ofstream out(target, std::ios::binary | std::ios::trunc);
        std::vector<char> buffer(1 << 20);
        in.seekg(static_cast<std::streamoff>(offset));
        for (std::uint64_t left = length; left > 0 && out;) {
            std::size_t chunk = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
            in.read(buffer.data(), static_cast<std::streamsize>(chunk));
            out.write(buffer.data(), static_cast<std::streamsize>(chunk));
            left -= chunk;
        }
        if (!in || !out) {
            out.close();
            DeleteFileA(target.c_str());
            MessageBoxA(nullptr, "The setup package could not be unpacked into the temporary folder.",
                        "Vantrel", MB_OK | MB_ICONERROR);
            return 3;
        }
    }
    int code = helper::RunAndWait(target, helper::Arguments(), "");
    DeleteFileA(target.c_str());
    return code < 0 ? 4 : code;
}

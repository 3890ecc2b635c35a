// The front of an auto-setup package: the self-extracting archive sits before the last four
// bytes of this very file, which hold its length. It is written to the temporary folder,
// run with this program's arguments, and deleted again.
//
// Plain file handles rather than streams: this program precedes every package, and the
// stream library would triple its size.
#include <string>
#include <vector>

#include "backup/SelfExtract.h"
#include "common/HelperCommon.h"
#include "platform/win32/WindowsApi.h"

namespace {

using vantrel::HandleSize;
using vantrel::SeekHandle;

class Handle {
public:
    explicit Handle(HANDLE value) : value(value) {}
    ~Handle() {
        if (value != INVALID_HANDLE_VALUE)
            CloseHandle(value);
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    HANDLE Get() const { return value; }
    bool Valid() const { return value != INVALID_HANDLE_VALUE; }

private:
    HANDLE value;
};

bool ReadExactly(HANDLE file, void* buffer, DWORD size) {
    DWORD read = 0;
    return ReadFile(file, buffer, size, &read, nullptr) && read == size;
}

// Copies length bytes from offset of the package into a new file at target.
bool CopyOut(HANDLE in, std::uint64_t offset, std::uint32_t length, const std::string& target) {
    Handle out(CreateFileA(target.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                           nullptr));
    if (!out.Valid() || !SeekHandle(in, offset))
        return false;
    std::vector<char> buffer(1 << 20);
    for (std::uint32_t left = length; left > 0;) {
        DWORD chunk = left < buffer.size() ? left : static_cast<DWORD>(buffer.size());
        DWORD written = 0;
        if (!ReadExactly(in, buffer.data(), chunk) ||
            !WriteFile(out.Get(), buffer.data(), chunk, &written, nullptr) || written != chunk)
            return false;
        left -= chunk;
    }
    return true;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    using namespace vantrel;
    helper::RestrictDllSearch();
    // With /s or a target folder the package runs unattended: failures show in the exit code.
    SfxCommand command;
    std::string error;
    bool quiet = ParseSfxCommandLine(helper::Arguments(), &command, &error) &&
                 (command.silent || !command.folder.empty());
    auto fail = [quiet](const char* text, int code) {
        if (!quiet)
            MessageBoxA(nullptr, text, "Vantrel", MB_OK | MB_ICONERROR);
        return code;
    };

    Handle in(CreateFileA(helper::OwnPath().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL, nullptr));
    std::uint64_t size = 0;
    unsigned char tail[4] = {};
    std::uint64_t offset = 0;
    bool found = in.Valid() && HandleSize(in.Get(), &size) && size >= 4 && SeekHandle(in.Get(), size - 4) &&
                 ReadExactly(in.Get(), tail, 4);
    std::uint32_t length =
        tail[0] | (tail[1] << 8) | (tail[2] << 16) | (static_cast<std::uint32_t>(tail[3]) << 24);
    if (!found || !LocateTrailingArchive(size, length, &offset))
        return fail("This setup package is damaged: its archive cannot be found.", 2);

    char name[MAX_PATH + 1] = {};
    std::string temp = helper::TempFolder();
    // A fresh name per run, so two packages started at once do not share a file.
    if (!GetTempFileNameA(temp.c_str(), "vas", 0, name))
        return fail("The setup package could not be unpacked into the temporary folder.", 3);
    std::string placeholder = name;
    std::string target = placeholder.substr(0, placeholder.find_last_of('.')) + ".exe";
    // The placeholder keeps the name taken until the program is gone again.
    if (!CopyOut(in.Get(), offset, length, target)) {
        DeleteFileA(target.c_str());
        DeleteFileA(placeholder.c_str());
        return fail("The setup package could not be unpacked into the temporary folder.", 3);
    }
    int code = helper::RunAndWait(target, helper::Arguments(), "");
    DeleteFileA(target.c_str());
    DeleteFileA(placeholder.c_str());
    return code < 0 ? 4 : code;
}

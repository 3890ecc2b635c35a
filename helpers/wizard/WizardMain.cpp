// The program an auto-setup package starts after unpacking: it names the drivers that
// arrived beside it. Installing them is the restore side's work and comes with it.
#include <string>
#include <vector>

#include "backup/BackupInfo.h"
#include "common/HelperCommon.h"
#include "platform/Platform.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    using namespace vantrel;
    helper::RestrictDllSearch();
    std::string folder = helper::OwnPath();
    folder.resize(folder.find_last_of('\\'));
    auto platform = CreateWin32Platform();
    std::vector<BackupEntry> entries = ScanBackupFolder(platform->Ports(), folder);
    std::string text;
    if (entries.empty()) {
        text = "No driver backup was found in " + folder + ".";
    } else {
        text = "This package holds the drivers of:\n\n";
        for (const auto& entry : entries)
            text += "  " + entry.driverDesc + " (" + entry.driverVersion + ")\n";
        text += "\nThey have been unpacked to " + folder +
                ".\n\nInstalling them from this package comes with a later version of Vantrel.";
    }
    MessageBoxA(nullptr, text.c_str(), "Vantrel Auto-Setup", MB_OK | MB_ICONINFORMATION);
    return 0;
}

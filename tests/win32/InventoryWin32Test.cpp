// The inventory on Wine's real registry and INF folder: fixture devices are written where
// Windows keeps them, found by the walk, and shown by the Backup tab of the real window.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>

#include "FakeDialogs.h"
#include "FrmMain.h"
#include "GuiApi.h"
#include "Win32TestSupport.h"
#include "app/App.h"
#include "inventory/BackupListPage.h"
#include "inventory/DriverFiles.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"
#include "platform/Platform.h"
#include "platform/Registry.h"
#include "platform/System.h"
#include "resource.h"

namespace vantrel {
namespace {

constexpr char kNetClass[] = "{4d36e972-e325-11ce-bfc1-08002be10318}";

// Two devices of our own under Enum\ROOT, one from a vendor and one "(Standard ...)", with
// their driver keys, the vendor's INF and its files; all removed again at the end.
class FixtureDevices {
public:
    explicit FixtureDevices(Platform& ports) : registry(ports.registry) {
        tag = test::RandomName("VT");
        windir = ports.system.GetWindowsDirectory();
        vendorDesc = "Fixture Vendor Adapter " + tag;
        standardDesc = "Fixture Standard Adapter " + tag;
        infName = "vt" + tag.substr(2, 6) + ".inf";
        Device("0", "9801", vendorDesc, "Fixture Works", infName);
        Device("1", "9802", standardDesc, "(Standard network adapters)", "netfix.inf");
        WriteFile(windir + "\\inf\\" + infName, "[Version]\r\n"
                                                "Signature=\"$Windows NT$\"\r\n"
                                                "Provider=%Mfg%\r\n"
                                                "DriverVer=03/14/2022,4.5.6.7\r\n"
                                                "CatalogFile=fixture.cat\r\n"
                                                "[Fixture]\r\n"
                                                "CopyFiles=Fixture.Files\r\n"
                                                "[Fixture.Files]\r\n"
                                                "fixture.sys\r\n"
                                                "[Strings]\r\n"
                                                "Mfg=\"Fixture Works\"\r\n");
        WriteFile(windir + "\\inf\\netfix.inf", "[Version]\r\nSignature=\"$Windows NT$\"\r\n");
    }
    ~FixtureDevices() {
        test::DeleteRegistryTree(registry, kHkeyLocalMachine, EnumPath());
        for (const char* number : {"9801", "9802"})
            test::DeleteRegistryTree(registry, kHkeyLocalMachine, ClassPath(number));
        DeleteFileA((windir + "\\inf\\" + infName).c_str());
        DeleteFileA((windir + "\\inf\\netfix.inf").c_str());
    }

    std::string vendorDesc;
    std::string standardDesc;
    std::string infName;

private:
    std::string EnumPath() const { return "SYSTEM\\CurrentControlSet\\Enum\\ROOT\\" + tag; }
    static std::string ClassPath(const char* number) {
        return std::string("SYSTEM\\CurrentControlSet\\Control\\Class\\") + kNetClass + "\\" + number;
    }
    void Set(const std::string& path, const std::string& name, const std::string& value,
             std::uint32_t type = kRegSz) {
        RegKey key(registry);
        ASSERT_EQ(key.Create(kHkeyLocalMachine, path), kErrorSuccess) << path;
        ASSERT_EQ(registry.SetValue(key.Handle(), name, type, value + '\0'), kErrorSuccess) << name;
    }
    void Device(const std::string& instance, const char* number, const std::string& desc,
                const std::string& provider, const std::string& inf) {
        std::string device = EnumPath() + "\\" + instance;
        Set(device, "Driver", std::string(kNetClass) + "\\" + number);
        Set(device, "HardwareID", "ROOT\\" + tag + "_" + instance + '\0', kRegMultiSz);
        std::string driver = ClassPath(number);
        Set(driver, "DriverDesc", desc);
        Set(driver, "ProviderName", provider);
        Set(driver, "InfPath", inf);
        Set(driver, "InfSection", "Fixture");
        Set(driver, "InfSectionExt", ".NT");
        Set(driver, "MatchingDeviceId", "root\\" + tag);
    }
    static void WriteFile(const std::string& path, const std::string& text) {
        std::ofstream(path, std::ios::binary) << text;
    }

    Registry& registry;
    std::string tag;
    std::string windir;
};

int FindRecord(const Inventory& inventory, const std::string& desc) {
    return inventory.drivers.FindByDescription(desc);
}

class Win32Inventory : public ::testing::Test {
protected:
    std::unique_ptr<PlatformSet> platform = CreateWin32Platform();
    FixtureDevices fixture{platform->Ports()};
    Inventory inventory{platform->Ports()};
};

TEST_F(Win32Inventory, WalkFindsFixtureDevicesWithTheirInfData) {
    RefreshDriverList(inventory);
    int vendor = FindRecord(inventory, fixture.vendorDesc);
    int standard = FindRecord(inventory, fixture.standardDesc);
    ASSERT_GT(vendor, 0);
    ASSERT_GT(standard, 0);

    const DriverRecord& record = inventory.drivers[vendor];
    EXPECT_EQ(record.providerName.Trimmed(), "Fixture Works");
    EXPECT_FALSE(IsMicrosoftProvider(record.providerName.Trimmed()));
    EXPECT_TRUE(IsMicrosoftProvider(inventory.drivers[standard].providerName.Trimmed()));
    // Version and date were not in the registry: the INF's DriverVer fills them.
    EXPECT_EQ(record.driverVersion.Trimmed(), "4.5.6.7");
    EXPECT_EQ(record.driverDate.Trimmed(), "2022-03-14");

    BuildDriverFileList(inventory, vendor);
    ASSERT_EQ(inventory.files.count, 3); // the INF, its catalog, the CopyFiles entry
    EXPECT_EQ(inventory.files.names[1], fixture.infName);
    EXPECT_EQ(inventory.files.names[2], "fixture.cat");
    EXPECT_EQ(inventory.files.names[3], "fixture.sys");
}

TEST_F(Win32Inventory, BackupTabShowsVendorDriversInRed) {
    INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES |
                                                        ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES};
    InitCommonControlsEx(&controls);
    App app{platform->Ports()};
    test::FakeDialogs dialogs;
    FrmMain window{app, &dialogs};
    BackupListPage backupList{app, window, window.Page(), inventory};
    window.Page().AddPart(backupList);
    window.SetQuitOnClose(false);
    ASSERT_TRUE(window.Create()); // loads the window, which searches Non-Microsoft drivers

    auto findRow = [&](const std::string& desc) {
        for (int i = 0; i < window.RowCount("Lvw"); ++i) {
            if (window.GetRow("Lvw", i).cells.at(0) == desc)
                return i;
        }
        return -1;
    };
    int vendorRow = findRow(fixture.vendorDesc);
    ASSERT_GE(vendorRow, 0);
    EXPECT_TRUE(window.GetRow("Lvw", vendorRow).red);
    EXPECT_EQ(findRow(fixture.standardDesc), -1);

    // The list control itself holds the text, not only the page's copy.
    char text[256] = {};
    LVITEMA item{};
    item.iSubItem = 0;
    item.pszText = text;
    item.cchTextMax = sizeof(text);
    SendMessageA(window.Control("Lvw"), LVM_GETITEMTEXTA, vendorRow, reinterpret_cast<LPARAM>(&item));
    EXPECT_EQ(std::string(text), fixture.vendorDesc);

    SendMessageA(window.Handle(), WM_COMMAND, MAKEWPARAM(IDM_MNUBCKALL, 0), 0);
    int standardRow = findRow(fixture.standardDesc);
    ASSERT_GE(standardRow, 0);
    EXPECT_FALSE(window.GetRow("Lvw", standardRow).red);
    EXPECT_TRUE(window.GetRow("Lvw", findRow(fixture.vendorDesc)).red);
    DestroyWindow(window.Handle());
}

} // namespace
} // namespace vantrel

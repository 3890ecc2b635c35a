#include "inventory/BackupListPage.h"

#include "app/App.h"
#include "app/MainPage.h"
#include "inventory/DriverFiles.h"
#include "inventory/Enumeration.h"
#include "inventory/Inventory.h"

namespace vantrel {

namespace {

constexpr char kList[] = "Lvw";
constexpr char kTextBox[] = "TxtBackup";
constexpr char kSelectAll[] = "CmdSelectAll";
constexpr char kTagSelectAll[] = "select all";
constexpr char kTagSelectNone[] = "select none";
constexpr char kNotExist[] = "Not exist";

std::string Lang(const App& app, const char* key, const char* english) {
    return app.GetLangText("FormMain", key, english);
}

} // namespace

ListRow MakeDriverRow(const DriverRecord& record) {
    ListRow row;
    row.cells = {record.driverDesc.Trimmed(), record.className.Trimmed(), record.driverVersion.Trimmed(),
                 record.driverDate.Trimmed(), record.providerName.Trimmed()};
    row.red = !IsMicrosoftProvider(record.providerName.Raw());
    return row;
}

std::vector<ListedDriver> CollectListedDrivers(Inventory& inventory, bool nonMicrosoftOnly) {
    InventoryRun run(inventory);
    std::vector<ListedDriver> listed;
    for (int i = 1; i <= inventory.drivers.Count(); ++i) {
        const DriverRecord& record = inventory.drivers[i];
        if (!FindInfFile(inventory, record.infPath.Raw()))
            continue;
        if (nonMicrosoftOnly && IsMicrosoftProvider(record.providerName.Raw()))
            continue;
        listed.push_back({i, MakeDriverRow(record)});
    }
    return listed;
}

std::string GetInfDisplayPath(Inventory& inventory, int recordIndex) {
    if (recordIndex < 1 || recordIndex > inventory.drivers.Count())
        return kNotExist;
    std::string path = LocateInf(inventory, inventory.drivers[recordIndex].infPath.Raw(), true);
    return path.empty() ? kNotExist : path;
}

std::string SearchTipText(const App& app, bool nonMicrosoftOnly) {
    if (!nonMicrosoftOnly)
        return Lang(app, "MsgTip1",
                    "The above is all device drivers in your computer, the red ones are not contained in "
                    "Microsoft Windows, so you should back them up. The others are packaged within Windows "
                    "operating system and are automatically installed when detected by it; therefore it is "
                    "NOT necessary to back them up. ");
    return Lang(app, "MsgTip2",
                "The above is all Non-Microsoft device drivers in your computer, which means they are not "
                "contained in Microsoft Windows operating system, therefore you should back them up for "
                "restoration after system crash.") +
           "\r\n\r\n" +
           Lang(app, "MsgTip3",
                "For more information of each device, please click it and the detailed information will "
                "show in this textbox. To show all device drivers in your computer, please click Driver "
                "Backup/Search All Drivers in the menu bar.");
}

std::string DriverDetailsText(const App& app, Inventory& inventory, int recordIndex) {
    BuildDriverFileList(inventory, recordIndex);
    const DriverRecord& record = inventory.drivers[recordIndex];
    std::string explanation =
        IsMicrosoftProvider(record.providerName.Raw())
            ? Lang(app, "MsgDriverInfo1",
                   "Driver files of this device are contained in Microsoft Windows and are automatically "
                   "installed by it when detected, so it is NOT necessary to back them up.")
            : Lang(app, "MsgDriverInfo2",
                   "Driver files of this device are not contained in Microsoft Windows, so it is necessary "
                   "to back them up.");
    return Lang(app, "StrDeviceID", "Device ID") + ": " + record.hardwareId.Trimmed() + "\r\n" +
           Lang(app, "StrInf", "Device Information File") + ": " + GetInfDisplayPath(inventory, recordIndex) +
           "\r\n" + Lang(app, "StrFileNum", "Driver Files Number of This Device") + ": " +
           std::to_string(inventory.files.count) + "\r\n\r\n" + explanation;
}

BackupListPage::BackupListPage(App& app, View& view, MainPage& mainPage, Inventory& inventory)
    : app(app), view(view), mainPage(mainPage), inventory(inventory) {}

void BackupListPage::SetSelectAllState(const char* captionKey) {
    mainPage.SetTag(kSelectAll, kTagSelectAll);
    view.SetCaption(kSelectAll, Lang(app, captionKey, "Select &All"));
}

void BackupListPage::Show(Shown what, int recordIndex) {
    // A record index holds only until the next refresh of the list.
    if (what == Shown::Details && (recordIndex < 1 || recordIndex > inventory.drivers.Count()))
        return;
    shown = what;
    shownRecord = recordIndex;
    switch (what) {
    case Shown::TipAll:
        shownText = SearchTipText(app, false);
        break;
    case Shown::TipNonMicrosoft:
        shownText = SearchTipText(app, true);
        break;
    case Shown::Details:
        shownText = DriverDetailsText(app, inventory, recordIndex);
        break;
    case Shown::Nothing:
        return;
    }
    view.SetText(kTextBox, shownText);
}

void BackupListPage::Search(bool nonMicrosoftOnly) {
    SetSelectAllState("cmdselectall");
    std::vector<ListedDriver> listed;
    {
        InventoryRun run(inventory);
        inventory.pump = [this] { view.PumpMessages(); };
        RefreshDriverList(inventory);
        inventory.pump = nullptr;
        listed = CollectListedDrivers(inventory, nonMicrosoftOnly);
    }
    view.ClearRows(kList);
    for (const ListedDriver& driver : listed)
        view.AddRow(kList, driver.row);
    Show(nonMicrosoftOnly ? Shown::TipNonMicrosoft : Shown::TipAll);
    if (sort.column < 0) {
        // The window opens with the first column marked as the sort column.
        sort.MarkFirst(view, kList);
    }
}

void BackupListPage::SearchAllDrivers() {
    Search(false);
}

void BackupListPage::SearchNonMicrosoftDrivers() {
    Search(true);
}

void BackupListPage::OnDriverItemClick(int row) {
    int rows = view.RowCount(kList);
    if (rows == 0 || row < 0 || row >= rows)
        return;
    ListRow clicked = view.GetRow(kList, row);
    int index = inventory.drivers.FindByDescription(clicked.cells.empty() ? "" : clicked.cells[0]);
    if (index == 0)
        return;
    Show(Shown::Details, index);
}

void BackupListPage::OnDriverColumnClick(int column) {
    sort.Click(view, kList, column);
}

void BackupListPage::ToggleSelectAll() {
    if (inventory.drivers.Count() == 0)
        return;
    bool selectAll = mainPage.Tag(kSelectAll) == kTagSelectAll;
    int rows = view.RowCount(kList);
    for (int i = 0; i < rows; ++i)
        view.SetRowChecked(kList, i, selectAll);
    if (selectAll) {
        mainPage.SetTag(kSelectAll, kTagSelectNone);
        view.SetCaption(kSelectAll, Lang(app, "CmdSelectNone", "Select &None"));
    } else {
        SetSelectAllState("cmdselectall");
    }
}

bool BackupListPage::HandleCommand(std::string_view control) {
    if (control == "MnuBckAll" || control == "MnuBckNeeded") {
        view.SelectTab("TabMain", 0);
        SetSelectAllState("CmdSelectAll");
        Search(control == "MnuBckNeeded");
        return true;
    }
    if (control == kSelectAll) {
        ToggleSelectAll();
        return true;
    }
    return false;
}

bool BackupListPage::OnColumnClick(std::string_view list, int column) {
    if (list != kList)
        return false;
    OnDriverColumnClick(column);
    return true;
}

bool BackupListPage::OnRowClick(std::string_view list, int row) {
    if (list != kList)
        return false;
    OnDriverItemClick(row);
    return true;
}

void BackupListPage::OnLanguageApplied() {
    // Only a text this page put there is rebuilt; a backup log stays as it is.
    if (shown != Shown::Nothing && view.GetText(kTextBox) == shownText)
        Show(shown, shownRecord);
}

} // namespace vantrel

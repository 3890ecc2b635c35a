// The real main window, created in this process: what the user would see, read back
// through the controls themselves.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "FakeDialogs.h"
#include "FrmMain.h"
#include "GuiApi.h"
#include "app/App.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "app/TabPage.h"
#include "platform/Platform.h"
#include "platform/Registry.h"
#include "platform/System.h"
#include "resource.h"

namespace vantrel {
namespace {

class RecordingPart : public TabPage {
public:
    bool HandleCommand(std::string_view control) override {
        commands.emplace_back(control);
        return true;
    }
    bool OnColumnClick(std::string_view list, int column) override {
        commands.push_back(std::string(list) + ":" + std::to_string(column));
        return true;
    }
    std::vector<std::string> commands;
};

// The test language: every value is "<section>.<key>", so each control shows where its
// text came from.
std::string TestLanguageFile() {
    std::map<std::string, std::vector<std::string>> keys;
    for (const auto& entry : MainMenu()) {
        if (entry.level < 2)
            keys["FormMain"].push_back(entry.name);
    }
    for (const auto& caption : LanguageCaptions())
        keys[caption.section].push_back(caption.key);
    for (const auto& list : LanguageColumns()) {
        for (int i = 1; i <= list.count; ++i)
            keys[list.section].push_back("LvwHeader" + std::to_string(i));
    }
    keys["FormMain"].push_back("MsgLangLost");
    std::string text;
    for (const auto& [section, names] : keys) {
        text += "[" + section + "]\r\n";
        for (const auto& name : names)
            text += name + "=" + section + "." + name + "\r\n";
    }
    return text;
}

std::string Text(HWND window) {
    char text[1024] = {};
    GetWindowTextA(window, text, sizeof(text));
    return text;
}

std::string TabText(HWND tab, int index) {
    char text[256] = {};
    TCITEMA item{};
    item.mask = TCIF_TEXT;
    item.pszText = text;
    item.cchTextMax = sizeof(text);
    SendMessageA(tab, TCM_GETITEMA, index, reinterpret_cast<LPARAM>(&item));
    return text;
}

struct ShownMenuItem {
    std::string caption;
    int level;
    bool checked;
};

void ReadMenu(HMENU menu, int level, std::vector<ShownMenuItem>* items) {
    for (int i = 0; i < GetMenuItemCount(menu); ++i) {
        char text[256] = {};
        MENUITEMINFOA info{};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_STRING | MIIM_SUBMENU | MIIM_STATE | MIIM_FTYPE;
        info.dwTypeData = text;
        info.cch = sizeof(text);
        GetMenuItemInfoA(menu, i, TRUE, &info);
        if (info.fType & MFT_SEPARATOR)
            continue; // a line between groups, not an item
        items->push_back({text, level, (info.fState & MFS_CHECKED) != 0});
        if (info.hSubMenu)
            ReadMenu(info.hSubMenu, level + 1, items);
    }
}

struct ShownColumn {
    std::string header;
    int width;
};

std::vector<ShownColumn> Columns(HWND list) {
    std::vector<ShownColumn> columns;
    HWND header = reinterpret_cast<HWND>(SendMessageA(list, LVM_GETHEADER, 0, 0));
    int count = static_cast<int>(SendMessageA(header, HDM_GETITEMCOUNT, 0, 0));
    for (int i = 0; i < count; ++i) {
        char text[256] = {};
        HDITEMA item{};
        item.mask = HDI_TEXT | HDI_WIDTH;
        item.pszText = text;
        item.cchTextMax = sizeof(text);
        SendMessageA(header, HDM_GETITEMA, i, reinterpret_cast<LPARAM>(&item));
        columns.push_back({text, item.cxy});
    }
    return columns;
}

SIZE Size(HWND window) {
    RECT area;
    GetWindowRect(window, &area);
    return {area.right - area.left, area.bottom - area.top};
}

void Pump(DWORD milliseconds, const std::function<bool()>& done = nullptr) {
    DWORD start = GetTickCount();
    while (GetTickCount() - start < milliseconds) {
        MSG message;
        while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
            TranslateMessage(&message);
            DispatchMessageA(&message);
        }
        if (done && done())
            return;
        Sleep(10);
    }
}

class Win32FrmMain : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES |
                                                            ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES};
        InitCommonControlsEx(&controls);
    }

    void SetUp() override {
        saved = settings.ReadSetting(kSetLanguage, kLanguageBufferChars);
        savedRestore = settings.ReadSetting(kSetRestorationOption, kOptionBufferChars);
        languageFolder = ComputeAppPath(platform->Ports()) + "Language";
        CreateDirectoryA(languageFolder.c_str(), nullptr);
        WriteLanguage("English", "[FormMain]\r\nCaption=Vantrel V6.5\r\n");
        WriteLanguage("German", TestLanguageFile());
        settings.WriteSetting(kSetLanguage, "English");
        window.Page().AddPart(part);
        window.Page().SetStartupCheck([this] { ++startupChecks; });
        window.SetQuitOnClose(false);
        ASSERT_TRUE(window.Create());
    }

    void TearDown() override {
        for (const char* name : {"English", "German"})
            DeleteFileA((languageFolder + "\\" + name + ".ini").c_str());
        RemoveDirectoryA(languageFolder.c_str());
        Restore(kSetLanguage, saved);
        Restore(kSetRestorationOption, savedRestore);
    }

    void WriteLanguage(const std::string& name, const std::string& text) {
        std::ofstream(languageFolder + "\\" + name + ".ini", std::ios::binary) << text;
    }
    void Restore(const char* name, const std::optional<std::string>& value) {
        if (value) {
            settings.WriteSetting(name, *value);
            return;
        }
        RegKey key(platform->Ports().registry);
        if (key.Open(kHkeyCurrentUser, kSettingsKey) == kErrorSuccess)
            platform->Ports().registry.DeleteValue(key.Handle(), name);
    }
    void Menu(UINT id) { SendMessageA(window.Handle(), WM_COMMAND, MAKEWPARAM(id, 0), 0); }
    std::vector<ShownMenuItem> ShownMenu() {
        std::vector<ShownMenuItem> items;
        ReadMenu(GetMenu(window.Handle()), 0, &items);
        return items;
    }
    HWND Control(const char* name) {
        HWND control = window.Control(name);
        EXPECT_NE(control, nullptr) << name;
        return control;
    }

    std::unique_ptr<PlatformSet> platform = CreateWin32Platform();
    App app{platform->Ports()};
    SettingsStore settings{platform->Ports().registry};
    test::FakeDialogs dialogs;
    RecordingPart part;
    FrmMain window{app, &dialogs};
    int startupChecks = 0;
    std::string languageFolder;
    std::optional<std::string> saved, savedRestore;
};

TEST_F(Win32FrmMain, OpensInEnglishWithItsColumnsChoicesAndMenu) {
    EXPECT_EQ(Text(window.Handle()), "Vantrel V6.5");
    HWND tab = Control("TabMain");
    const char* tabs[] = {"Backup", "Restore", "Update", "Uninstall"};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(TabText(tab, i), tabs[i]);
    EXPECT_EQ(SendMessageA(tab, TCM_GETCURSEL, 0, 0), 0);
    EXPECT_TRUE(GetWindowLongA(GetParent(Control("Lvw")), GWL_STYLE) & WS_VISIBLE);
    EXPECT_FALSE(GetWindowLongA(GetParent(Control("LvwRestore")), GWL_STYLE) & WS_VISIBLE);

    for (const char* list : {"Lvw", "LvwRestore", "LvwUninstall"}) {
        RECT area;
        GetClientRect(Control(list), &area);
        auto widths = DriverListColumnWidths(area.right);
        auto columns = Columns(Control(list));
        ASSERT_EQ(columns.size(), 5u) << list;
        EXPECT_EQ(columns[0].header, "Driver Description");
        EXPECT_EQ(columns[4].header, "Provider");
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(columns[i].width, widths[i]) << list << " column " << i;
        EXPECT_GT(widths[0], 100); // the lists had their real size when the columns were made
    }
    auto update = Columns(Control("LvwUpdate"));
    ASSERT_EQ(update.size(), 2u);
    EXPECT_EQ(update[1].header, "Class");

    HWND combo = Control("CmbOS");
    ASSERT_EQ(SendMessageA(combo, CB_GETCOUNT, 0, 0), 18);
    for (int i = 0; i < 18; ++i) {
        char text[64] = {};
        SendMessageA(combo, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text));
        EXPECT_EQ(text, OsChoices()[i]);
    }

    // The resource menu is the menu the page knows, item for item.
    auto shown = ShownMenu();
    const auto& expected = MainMenu();
    ASSERT_EQ(shown.size(), expected.size());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(shown[i].caption, expected[i].caption);
        EXPECT_EQ(shown[i].level, expected[i].level) << expected[i].name;
        EXPECT_EQ(shown[i].checked, expected[i].name == "MnuLanEnglish") << expected[i].name;
    }
    EXPECT_EQ(part.commands, std::vector<std::string>{"MnuBckNeeded"});
    EXPECT_TRUE(dialogs.messages.empty());
}

TEST_F(Win32FrmMain, LanguageMenuRetextsEverythingAndMovesTheMark) {
    auto widthsBefore = Columns(Control("Lvw"));
    Menu(IDM_MNULANFIRST + 6); // German

    EXPECT_EQ(Text(window.Handle()), "FormMain.Caption");
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(TabText(Control("TabMain"), i), "FormMain.TabControlPage" + std::to_string(i + 1));
    for (const auto& caption : LanguageCaptions()) {
        if (std::string_view(caption.control).starts_with("TabControlPage") ||
            std::string_view(caption.control) == "FrmMain")
            continue;
        std::string expected = std::string(caption.section) + "." + caption.key;
        if (std::string_view(caption.control) == "LblOS")
            expected += ":";
        EXPECT_EQ(Text(Control(caption.control)), expected);
    }

    auto shown = ShownMenu();
    const auto& menu = MainMenu();
    ASSERT_EQ(shown.size(), menu.size());
    for (std::size_t i = 0; i < shown.size(); ++i) {
        // Language items keep their names: the file has no keys for them.
        std::string expected = menu[i].level < 2 ? "FormMain." + menu[i].name : menu[i].caption;
        EXPECT_EQ(shown[i].caption, expected);
        EXPECT_EQ(shown[i].checked, menu[i].name == "MnuLanGerman") << menu[i].name;
    }

    const std::pair<const char*, const char*> lists[] = {
        {"Lvw", "FormMain"}, {"LvwRestore", "FormMain"}, {"LvwUninstall", "FormRemove"}};
    for (const auto& [list, section] : lists) {
        auto columns = Columns(Control(list));
        ASSERT_EQ(columns.size(), 5u);
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(columns[i].header, std::string(section) + ".LvwHeader" + std::to_string(i + 1));
    }
    auto update = Columns(Control("LvwUpdate"));
    EXPECT_EQ(update[0].header, "FormUpdate.LvwHeader1");
    EXPECT_EQ(update[1].header, "FormUpdate.LvwHeader2");
    auto widthsAfter = Columns(Control("Lvw"));
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(widthsAfter[i].width, widthsBefore[i].width);
    EXPECT_EQ(SendMessageA(Control("CmbOS"), CB_GETCOUNT, 0, 0), 18);

    // No Korean file here: the message, in the current language, and nothing moves.
    Menu(IDM_MNULANFIRST + 10);
    ASSERT_EQ(dialogs.messages.size(), 1u);
    EXPECT_EQ(dialogs.messages[0].text, "FormMain.MsgLangLost");
    EXPECT_EQ(Text(window.Handle()), "FormMain.Caption");
    for (std::size_t i = 0; i < menu.size(); ++i)
        EXPECT_EQ(ShownMenu()[i].checked, menu[i].name == "MnuLanGerman") << menu[i].name;
    EXPECT_EQ(settings.ReadSetting(kSetLanguage, kLanguageBufferChars), "German");
}

TEST_F(Win32FrmMain, ButtonsMenusAndListsReachThePage) {
    settings.WriteSetting(kSetRestorationOption, "RstSfx");
    part.commands.clear();
    for (const char* button : {"CmdBackupDrivers", "CmdRestoreDrivers", "CmdUpdateDrivers",
                               "CmdUninstallDrivers", "CmdLiveUpdate", "CmdOptions", "CmdBackup", "BtnHide"})
        SendMessageA(Control(button), BM_CLICK, 0, 0);
    Menu(IDM_MNUBCKALL);
    Menu(IDM_MNUABOUT);
    HWND combo = Control("CmbOS");
    SendMessageA(GetParent(combo), WM_COMMAND, MAKEWPARAM(IDC_CMBOS, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(combo));
    NMLISTVIEW click{};
    click.hdr.hwndFrom = Control("LvwRestore");
    click.hdr.idFrom = IDC_LVWRESTORE;
    click.hdr.code = LVN_COLUMNCLICK;
    click.iItem = -1;
    click.iSubItem = 3;
    SendMessageA(GetParent(click.hdr.hwndFrom), WM_NOTIFY, IDC_LVWRESTORE, reinterpret_cast<LPARAM>(&click));

    EXPECT_EQ(part.commands,
              (std::vector<std::string>{"MnuBckNeeded", "MnuRstSfx", "MnuUpdate", "MnuRemoveDriver",
                                        "MnuLiveupdate", "MnuOptions", "CmdBackup", "BtnHide", "MnuBckAll",
                                        "MnuAbout", "CmbOS", "LvwRestore:3"}));
}

TEST_F(Win32FrmMain, TimerFiresOnceAfterTheWindowIsUp) {
    EXPECT_EQ(startupChecks, 0);
    Pump(3000, [this] { return startupChecks > 0; });
    Pump(600);
    EXPECT_EQ(startupChecks, 1);
}

TEST_F(Win32FrmMain, ListsGrowWithTheWindowAndNothingMeetsAtTheSmallestSize) {
    const char* lists[] = {"Lvw", "LvwRestore", "LvwUpdate", "LvwUninstall"};
    SIZE before[4];
    for (int i = 0; i < 4; ++i)
        before[i] = Size(Control(lists[i]));
    SIZE frame = Size(window.Handle());
    SetWindowPos(window.Handle(), nullptr, 0, 0, frame.cx + 120, frame.cy + 90, SWP_NOMOVE | SWP_NOZORDER);
    for (int i = 0; i < 4; ++i) {
        SIZE after = Size(Control(lists[i]));
        EXPECT_EQ(after.cx - before[i].cx, 120) << lists[i];
        EXPECT_EQ(after.cy - before[i].cy, 90) << lists[i];
    }

    // German captions are the longest the tests have.
    Menu(IDM_MNULANFIRST + 6);
    MINMAXINFO limits{};
    SendMessageA(window.Handle(), WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits));
    ASSERT_GT(limits.ptMinTrackSize.x, 0);
    SetWindowPos(window.Handle(), nullptr, 0, 0, limits.ptMinTrackSize.x, limits.ptMinTrackSize.y,
                 SWP_NOMOVE | SWP_NOZORDER);
    RECT client;
    GetClientRect(window.Handle(), &client);
    std::vector<HWND> siblings;
    for (HWND child = GetWindow(window.Handle(), GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        siblings.push_back(child);
    for (HWND parent : siblings) {
        std::vector<std::pair<HWND, RECT>> placed;
        for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
            char className[32] = {};
            GetClassNameA(child, className, sizeof(className));
            bool shown = (GetWindowLongA(child, GWL_STYLE) & WS_VISIBLE) != 0; // on any page
            if (lstrcmpiA(className, "ComboBox") == 0 || !shown)
                continue; // a drop-down's height includes its list
            RECT area;
            GetWindowRect(child, &area);
            MapWindowPoints(nullptr, parent, reinterpret_cast<POINT*>(&area), 2);
            RECT inside;
            GetClientRect(parent, &inside);
            EXPECT_TRUE(area.left >= 0 && area.top >= 0 && area.right <= inside.right &&
                        area.bottom <= inside.bottom)
                << Text(child) << " leaves its page";
            for (const auto& [other, otherArea] : placed) {
                RECT common;
                EXPECT_FALSE(IntersectRect(&common, &area, &otherArea))
                    << Text(child) << " meets " << Text(other);
            }
            placed.push_back({child, area});
        }
    }
    RECT last, tabArea;
    GetWindowRect(Control("CmdOptions"), &last);
    GetWindowRect(Control("TabMain"), &tabArea);
    MapWindowPoints(nullptr, window.Handle(), reinterpret_cast<POINT*>(&last), 2);
    MapWindowPoints(nullptr, window.Handle(), reinterpret_cast<POINT*>(&tabArea), 2);
    EXPECT_LE(last.bottom, client.bottom);
    EXPECT_LT(last.right, tabArea.left);
}

TEST_F(Win32FrmMain, RowsSortMarkAndRedText) {
    View& view = window;
    view.AddRow("Lvw", {{"Beta device", "Net", "1.0", "2020-01-02", "Acme"}, false, true});
    view.AddRow("Lvw", {{"alpha device", "Display", "2.0", "2021-03-04", "Microsoft"}, true, false});
    view.AddRow("Lvw", {{"Gamma device", "USB", "3.0", "2019-05-06", "Other"}, false, false});
    ASSERT_EQ(view.RowCount("Lvw"), 3);
    ListRow first = view.GetRow("Lvw", 0);
    EXPECT_EQ(first.cells, (std::vector<std::string>{"Beta device", "Net", "1.0", "2020-01-02", "Acme"}));
    EXPECT_TRUE(first.red);
    EXPECT_FALSE(first.checked);
    EXPECT_TRUE(view.GetRow("Lvw", 1).checked);
    view.SetRowChecked("Lvw", 1, false);
    EXPECT_FALSE(view.GetRow("Lvw", 1).checked);

    // The list's own sort ignores case.
    view.SortRows("Lvw", 0, true);
    EXPECT_EQ(view.GetRow("Lvw", 0).cells[0], "alpha device");
    EXPECT_EQ(view.GetRow("Lvw", 2).cells[0], "Gamma device");
    view.SortRows("Lvw", 1, false);
    EXPECT_EQ(view.GetRow("Lvw", 0).cells[1], "USB");
    EXPECT_TRUE(view.GetRow("Lvw", 1).red); // the colour travels with its row

    HWND header = reinterpret_cast<HWND>(SendMessageA(Control("Lvw"), LVM_GETHEADER, 0, 0));
    auto images = reinterpret_cast<HIMAGELIST>(SendMessageA(header, HDM_GETIMAGELIST, 0, 0));
    ASSERT_NE(images, nullptr);
    EXPECT_EQ(ImageList_GetImageCount(images), 2);
    auto format = [header](int column) {
        HDITEMA item{};
        item.mask = HDI_FORMAT | HDI_IMAGE;
        SendMessageA(header, HDM_GETITEMA, column, reinterpret_cast<LPARAM>(&item));
        return std::make_pair(item.fmt & (HDF_IMAGE | HDF_BITMAP_ON_RIGHT), item.iImage);
    };
    view.SetSortMark("Lvw", 2, false);
    EXPECT_EQ(format(2), std::make_pair(HDF_IMAGE | HDF_BITMAP_ON_RIGHT, 1));
    EXPECT_EQ(format(0).first, 0);
    view.SetSortMark("Lvw", 0, true);
    EXPECT_EQ(format(0), std::make_pair(HDF_IMAGE | HDF_BITMAP_ON_RIGHT, 0));
    EXPECT_EQ(format(2).first, 0);

    // Red rows are painted red: look for pure red in the band of that row only.
    window.Show(SW_SHOWNOACTIVATE);
    view.SortRows("Lvw", 0, false); // Gamma, Beta (red), alpha
    HWND list = Control("Lvw");
    RedrawWindow(list, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    Pump(200);
    auto redPixels = [list](int row) {
        RECT item{};
        item.left = LVIR_BOUNDS;
        SendMessageA(list, LVM_GETITEMRECT, row, reinterpret_cast<LPARAM>(&item));
        HDC dc = GetDC(list);
        int count = 0;
        for (int y = item.top; y < item.bottom; ++y) {
            for (int x = item.left; x < item.right; x += 1) {
                if (GetPixel(dc, x, y) == RGB(255, 0, 0))
                    ++count;
            }
        }
        ReleaseDC(list, dc);
        return count;
    };
    EXPECT_GT(redPixels(1), 10);
    EXPECT_EQ(redPixels(0), 0);
}

TEST_F(Win32FrmMain, ClosingClosesTheHelpViewerItOpened) {
    HWND help = CreateWindowExA(0, "STATIC", kHelpWindowTitle, WS_OVERLAPPED, 0, 0, 100, 100, nullptr,
                                nullptr, GetModuleHandleA(nullptr), nullptr);
    ASSERT_NE(help, nullptr);
    window.Page().RememberHelpWindow(reinterpret_cast<std::uintptr_t>(help));
    SendMessageA(window.Handle(), WM_CLOSE, 0, 0);
    Pump(1000, [help] { return !IsWindow(help); });
    EXPECT_FALSE(IsWindow(help));
    EXPECT_EQ(window.Handle(), nullptr);
}

} // namespace
} // namespace vantrel

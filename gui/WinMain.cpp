// vantrel.exe: start-up and the main window's message loop.
#include "GuiApi.h"

#include "FrmAbout.h"
#include "FrmDetectUnknown.h"
#include "FrmLiveUpdate.h"
#include "FrmMain.h"
#include "FrmOptions.h"
#include "FrmOtherBackup.h"
#include "app/App.h"
#include "app/Startup.h"
#include "backup/BackupRunPage.h"
#include "inventory/BackupListPage.h"
#include "inventory/Inventory.h"
#include "platform/Platform.h"
#include "removal/UninstallPage.h"
#include "restore/RestorePage.h"
#include "updates/UpdatePage.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int showCommand) {
    INITCOMMONCONTROLSEX controls{};
    controls.dwSize = 8;
    controls.dwICC = ICC_USEREX_CLASSES;
    InitCommonControlsEx(&controls);
    // Older common-control libraries register only what they are asked for.
    controls.dwICC = ICC_LISTVIEW_CLASSES | ICC_TAB_CLASSES | ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES;
    InitCommonControlsEx(&controls);

    auto platform = vantrel::CreateWin32Platform();
    vantrel::App app(platform->Ports());
    vantrel::RunStartup(app);

    vantrel::FrmMain frmMain(app);
    vantrel::Inventory inventory(platform->Ports());
    vantrel::BackupListPage backupList(app, frmMain, frmMain.Page(), inventory);
    vantrel::BackupRunPage backupRun(app, frmMain, frmMain.AskUser(), frmMain.Page(), inventory);
    // The run comes first: while it goes on it holds back the list's commands.
    frmMain.Page().AddPart(backupRun);
    frmMain.Page().AddPart(backupList);
    vantrel::RestorePage restore(app, frmMain, frmMain.AskUser(), frmMain.Page());
    frmMain.Page().AddPart(restore);
    vantrel::UninstallPage uninstall(app, frmMain, frmMain.AskUser(), inventory);
    frmMain.Page().AddPart(uninstall);
    vantrel::UpdatePage update(app, frmMain, frmMain.AskUser(), inventory);
    frmMain.Page().AddPart(update);
    vantrel::DetectUnknownCommand detectUnknown(app, frmMain);
    frmMain.Page().AddPart(detectUnknown);
    vantrel::LiveUpdateCommand liveUpdate(app, frmMain, frmMain.AskUser());
    frmMain.Page().AddPart(liveUpdate);
    // An old update database offers the wizard once the window is up.
    frmMain.Page().SetStartupCheck([&liveUpdate] { liveUpdate.RemindIfOld(); });
    vantrel::OptionsCommand options(app, frmMain);
    frmMain.Page().AddPart(options);
    vantrel::OtherBackupCommand otherBackup(app, frmMain);
    frmMain.Page().AddPart(otherBackup);
    vantrel::HelpCommands help(app, frmMain, frmMain.Page());
    frmMain.Page().AddPart(help);
    if (!frmMain.Create())
        return 1;
    frmMain.Show(showCommand);
    return frmMain.RunMessageLoop();
}

#include "app/AboutPage.h"

#include "VantrelVersion.h"
#include "app/App.h"
#include "app/MainPage.h"
#include "app/Settings.h"
#include "app/View.h"
#include "platform/Shell.h"

namespace vantrel {

namespace {

// The shell's working folder for documents and addresses it opens.
constexpr char kShellFolder[] = "C:\\";

void OpenHomepage(App& app) {
    app.platform.shell.Execute("open", HomepageAddress(), "", kShellFolder);
}

} // namespace

std::string ProductVersionLine() {
    return std::string(kProductName) + " V" + VANTREL_VERSION_TEXT;
}
std::string HomepageAddress() {
    return VANTREL_HOMEPAGE;
}
std::string SupportMailAddress() {
    return VANTREL_SUPPORT_MAIL;
}

std::string HelpFilePath(App& app) {
    SettingsStore settings(app.platform.registry);
    std::string language = settings.ReadSettingOr(kSetLanguage, "", kLanguageBufferChars);
    return app.appPath + (language == "Dutch" ? "DutchHelp.chm" : "help.chm");
}

bool HelpMenu::HandleCommand(std::string_view control) {
    if (control == "MnuHelp") {
        if (!helpOpened)
            viewerBefore = view.FindTopLevelWindow(kHelpWindowTitle);
        helpOpened = app.platform.shell.Execute("open", HelpFilePath(app), "", kShellFolder) || helpOpened;
        return true;
    }
    if (control == "MnuHomepage") {
        OpenHomepage(app);
        return true;
    }
    if (control == "MnuAbout") {
        if (showAbout)
            showAbout();
        return true;
    }
    return false;
}

bool HelpMenu::QueryClose() {
    if (helpOpened) {
        std::uintptr_t viewer = view.FindTopLevelWindow(kHelpWindowTitle);
        if (viewer != 0 && viewer != viewerBefore)
            main.RememberHelpWindow(viewer);
    }
    return true;
}

void AboutPage::Load() {
    view.SetCaption("frmAbout", app.GetLangText("FormAbout", "Caption", "About"));
    view.SetCaption("LblProduct", ProductVersionLine());
    view.SetCaption("LblEmail",
                    app.GetLangText("FormAbout", "StrEmail", "Support Email") + ": " + SupportMailAddress());
    view.SetCaption("LblSite", app.GetLangText("FormAbout", "StrSite", "Website") + ": " + HomepageAddress());
    view.SetCaption("cmdOK", app.GetLangText("FormAbout", "CmdOK", "OK"));
}

void AboutPage::OnClick(std::string_view control) {
    if (control == "LblEmail")
        app.platform.shell.Execute("open", "mailto:" + SupportMailAddress(), "", kShellFolder);
    else if (control == "LblSite")
        OpenHomepage(app);
    else if (control == "cmdOK")
        done = true;
}

} // namespace vantrel

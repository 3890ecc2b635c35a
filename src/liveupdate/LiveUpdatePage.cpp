#include "liveupdate/LiveUpdatePage.h"

#include <algorithm>

#include "app/App.h"
#include "app/Dialogs.h"
#include "app/View.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "updates/UpdateDatabase.h"
#include "util/Text.h"

namespace vantrel {

namespace {

constexpr char kCmdBack[] = "CmdBack";
constexpr char kCmdNext[] = "CmdNext";
constexpr char kCmdCancel[] = "CmdCancel";
constexpr char kLabel1[] = "Label1";
constexpr char kLabel2[] = "Label2";
constexpr char kLblWelcome[] = "LblWelcome";
constexpr char kLbl2[] = "Lbl2";
constexpr char kLbl3[] = "Lbl3";
constexpr char kLblCurrent[] = "LblCurrent";
constexpr char kLblTotal[] = "LblTotal";
constexpr char kPgBarCurrent[] = "PgBarCurrent";
constexpr char kPgBarTotal[] = "PgBarTotal";
constexpr char kLvw[] = "Lvw";
constexpr char kUpdateExists[] = "Update exists.";
// The index transfer's own wording under the key the downloads use too.
constexpr char kIndexTransferError[] =
    "Error happened while downloading the database update of Vantrel, please try it later.";

std::int64_t DaysFromCivil(int y, int m, int d) {
    y -= m <= 2;
    std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    int yoe = y - static_cast<int>(era * 400);
    int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

} // namespace

bool DatabaseAgeDays(std::string_view date, int year, int month, int day, int* days) {
    if (date.size() != 8)
        return false;
    for (char c : date) {
        if (c < '0' || c > '9')
            return false;
    }
    auto number = [&](std::size_t at, std::size_t length) {
        int value = 0;
        for (std::size_t i = at; i < at + length; ++i)
            value = value * 10 + (date[i] - '0');
        return value;
    };
    int y = number(0, 4), m = number(4, 2), d = number(6, 2);
    static constexpr int kMonthDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    if (y < 1 || m < 1 || m > 12 || d < 1 || d > kMonthDays[m - 1] || (m == 2 && d == 29 && !leap))
        return false;
    *days = static_cast<int>(DaysFromCivil(year, month, day) - DaysFromCivil(y, m, d));
    return true;
}

bool ShowDatabaseAgeReminder(App& app, Dialogs& dialogs) {
    std::string path = app.appPath + kUpdateDbFile;
    std::string text, error;
    if (!app.platform.fs.Exists(path) || !ReadUpdateDatabase(app.platform.fs, path, &text, &error))
        return false;
    std::string date = Trim(text.substr(0, text.find_first_of("\r\n")));
    LocalTime today = app.platform.clock.Now();
    int days = 0;
    if (!DatabaseAgeDays(date, today.year, today.month, today.day, &days) || days < kDatabaseReminderDays)
        return false;
    return dialogs.MessageBox(app.GetLangText("FormMain", "TipUpdate",
                                              "Drivers Update database hasn't been updated for more than 15 "
                                              "days, do you want to update it now?"),
                              kProductName, MsgButtons::YesNo, MsgIcon::Question) == MsgAnswer::Yes;
}

LiveUpdatePage::LiveUpdatePage(App& app, View& view, Dialogs& dialogs, Http& http, std::string server)
    : app(app), view(view), dialogs(dialogs), engine(app.platform, http, app.appPath, std::move(server)) {}

std::string LiveUpdatePage::ComponentName(int component) const {
    return component == 0 ? app.GetLangText("FormLiveUpdate", "LvwItem1", "Device Identifier Database")
                          : app.GetLangText("FormLiveUpdate", "LvwItem2", "Drivers Update Database");
}

void LiveUpdatePage::SetButtons(bool back, bool next, bool cancel) {
    view.SetEnabled(kCmdBack, back);
    view.SetEnabled(kCmdNext, next);
    view.SetEnabled(kCmdCancel, cancel);
}

void LiveUpdatePage::ShowPage(Step page) {
    step = page;
    bool welcome = page == Step::Welcome;
    bool progress = page == Step::Download || page == Step::Finished;
    for (const char* control : {kLblWelcome, kLbl2, kLbl3})
        view.SetVisible(control, welcome);
    for (const char* control : {kLabel1, kLabel2, kLvw})
        view.SetVisible(control, !welcome);
    for (const char* control : {kPgBarCurrent, kPgBarTotal, kLblCurrent, kLblTotal})
        view.SetVisible(control, progress);
}

void LiveUpdatePage::Load() {
    view.SetCaption(kFrmLiveUpdate, app.GetLangText("FormLiveUpdate", "Caption", "Database LiveUpdate"));
    view.SetCaption(kCmdBack, "< " + app.GetLangText("FormLiveUpdate", "CmdBack", "&Back"));
    view.SetCaption(kCmdCancel, app.GetLangText("FormLiveUpdate", "CmdCancel", "Cancel"));
    int width = view.ListWidth(kLvw);
    view.SetColumns(kLvw,
                    {{app.GetLangText("FormLiveUpdate", "LvwHeader1", "Available Updates"), width * 2 / 3},
                     {app.GetLangText("FormLiveUpdate", "LvwHeader2", "File Size"), width - width * 2 / 3}});
    view.SetCaption(kLblCurrent, app.GetLangText("FormLiveUpdate", "StrCurrent", "Current Update"));
    engine.RecoverInterruptedInstall();
    ShowWelcome();
}

void LiveUpdatePage::ShowWelcome() {
    ShowPage(Step::Welcome);
    state.clear();
    view.SetCaption(kCmdNext, app.GetLangText("FormLiveUpdate", "CmdNext", "&Next") + " >");
    view.SetCaption(kLblWelcome,
                    app.GetLangText("FormLiveUpdate", "LblWelcome",
                                    "Welcome to LiveUpdate of Vantrel. The following components are "
                                    "installed on your computer") +
                        ":\r\n" + ComponentName(0) + "\r\n" + ComponentName(1));
    view.SetCaption(kLbl2, app.GetLangText("FormLiveUpdate", "Lbl2",
                                           "LiveUpdate uses the Internet to search for updates to the "
                                           "installed components of Vantrel."));
    view.SetCaption(kLbl3, app.GetLangText("FormLiveUpdate", "Lbl3", "Click Next to see available updates."));
    SetButtons(false, true, true);
}

bool LiveUpdatePage::OnNext() {
    switch (step) {
    case Step::Welcome:
        Search();
        return false;
    case Step::Search:
        if (state == kUpdateExists)
            DownloadAndInstall();
        return false;
    case Step::Download:
        return false;
    case Step::Finished:
        return true;
    }
    return false;
}

void LiveUpdatePage::OnBack() {
    if (step == Step::Search)
        ShowWelcome();
}

void LiveUpdatePage::Search() {
    if (!app.platform.fs.Exists(app.appPath + kUpdateComponents[0].installedFile) ||
        !app.platform.fs.Exists(app.appPath + kUpdateComponents[1].installedFile)) {
        dialogs.MessageBox(app.GetLangText("FormLiveUpdate", "MsgTip5",
                                           "Databases don't exist, please re-install the software."),
                           kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        return;
    }
    ShowPage(Step::Search);
    state.clear();
    view.ClearRows(kLvw);
    view.SetCaption(kLabel1,
                    app.GetLangText("FormLiveUpdate", "MsgTip6",
                                    "LiveUpdate is searching for updates to the following components") +
                        ":");
    view.SetCaption(kLabel2, "");
    SetButtons(false, false, false);
    view.PumpMessages();

    HttpResult transfer;
    SearchOutcome outcome = engine.Search(this, &offers, &transfer);
    if (outcome != SearchOutcome::Done) {
        if (outcome == SearchOutcome::IndexFailed)
            dialogs.MessageBox(app.GetLangText("FormLiveUpdate", "MsgInet1", kIndexTransferError),
                               kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        view.SetCaption(kLabel2, app.GetLangText("FormLiveUpdate", "MsgTip2",
                                                 "Error happened while getting the update information."));
        SetButtons(true, false, true);
        return;
    }
    std::string bytes = app.GetLangText("FormLiveUpdate", "StrBytes", "bytes");
    for (const auto& offer : offers)
        view.AddRow(kLvw, ListRow{{ComponentName(offer.component), offer.size + " " + bytes}});
    if (offers.empty()) {
        view.SetCaption(kLabel2,
                        app.GetLangText("FormLiveUpdate", "MsgTip7",
                                        "All the components on your computer are up-to-date. There are "
                                        "no database updates for your computer now."));
        SetButtons(true, false, true);
        return;
    }
    view.SetCaption(kLabel2,
                    offers.size() == 1
                        ? app.GetLangText("FormLiveUpdate", "MsgOneUpdate",
                                          "There is one update for your computer, please click Next to "
                                          "download and install it.")
                        : app.GetLangText("FormLiveUpdate", "MsgTwoUpdates",
                                          "There are two updates for your computer, please click Next "
                                          "to download and install them."));
    state = kUpdateExists;
    SetButtons(true, true, true);
}

void LiveUpdatePage::DownloadAndInstall() {
    ShowPage(Step::Download);
    view.SetCaption(kLabel1,
                    app.GetLangText("FormLiveUpdate", "MsgTip1",
                                    "LiveUpdate is downloading updates to the following components") +
                        ":");
    view.SetCaption(kLabel2, "");
    view.SetCaption(kLblTotal, app.GetLangText("FormLiveUpdate", "StrTotal", "Total Updates"));
    SetButtons(false, false, false);
    int total = static_cast<int>(offers.size());
    view.SetProgress(kPgBarTotal, 0, total);
    for (int i = 0; i < total; ++i) {
        current = &offers[i];
        OnBytes(0);
        HttpResult result = engine.Download(offers[i], this);
        current = nullptr;
        if (!result.Ok()) {
            dialogs.MessageBox(
                app.GetLangText("FormLiveUpdate", "MsgInet1",
                                "Error happened while downloading database updates, please try "
                                "it later."),
                kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
            SetButtons(false, false, true);
            return;
        }
        view.SetProgress(kPgBarTotal, i + 1, total);
        view.PumpMessages();
    }
    bool allInstalled = true;
    for (const auto& offer : offers) {
        InstallOutcome outcome = engine.Install(offer);
        if (outcome == InstallOutcome::Installed)
            continue;
        allInstalled = false;
        dialogs.MessageBox(
            offer.component == 0
                ? app.GetLangText("FormLiveUpdate", "StrError1",
                                  "Device identifier database was destroyed during the downloading "
                                  "process, please try to download it again.")
                : app.GetLangText("FormLiveUpdate", "StrError2",
                                  "Drivers update database was destroyed during the downloading "
                                  "process, please try to download it again."),
            kProductName, MsgButtons::Ok, MsgIcon::Exclamation);
        if (outcome == InstallOutcome::Older)
            view.SetCaption(kLabel2,
                            app.GetLangText("FormLiveUpdate", "MsgOlder",
                                            "The downloaded database is older than the installed one, "
                                            "which is kept."));
        else if (outcome == InstallOutcome::WriteFailed)
            view.SetCaption(kLabel2,
                            app.GetLangText("FormLiveUpdate", "MsgNotReplaced",
                                            "The installed database could not be replaced and is kept."));
        else
            view.SetCaption(kLabel2,
                            app.GetLangText("FormLiveUpdate", "MsgDamaged",
                                            "The downloaded database did not open and was deleted; the "
                                            "installed one is kept."));
    }
    if (!allInstalled) {
        // Nothing may claim success when a database stayed behind.
        SetButtons(false, false, true);
        return;
    }
    Finish();
}

void LiveUpdatePage::Finish() {
    ShowPage(Step::Finished);
    view.SetProgress(kPgBarCurrent, 100, 100);
    view.SetProgress(kPgBarTotal, static_cast<int>(offers.size()), static_cast<int>(offers.size()));
    view.SetCaption(kLabel1,
                    app.GetLangText("FormLiveUpdate", "MsgTip3",
                                    "Thank you for using LiveUpdate. The following components are now "
                                    "up-to-date") +
                        ":");
    view.SetCaption(kLabel2,
                    app.GetLangText("FormLiveUpdate", "MsgTip4", "LiveUpdate finished successfully."));
    view.SetCaption(kCmdNext, app.GetLangText("FormLiveUpdate", "CmdFinished", "&Finished"));
    SetButtons(false, true, false);
}

void LiveUpdatePage::OnState(HttpState transferState) {
    std::string host = engine.ServerHost();
    std::string text;
    switch (transferState) {
    case HttpState::ResolvingHost:
        text = app.GetLangText("FormLiveUpdate", "MsgInet2", "Resolving host") + " " + host;
        break;
    case HttpState::HostResolved:
        text = app.GetLangText("FormLiveUpdate", "MsgInet3", "Host resolved");
        break;
    case HttpState::Connecting:
        text = app.GetLangText("FormLiveUpdate", "MsgInet4", "Connecting to") + " " + host;
        break;
    case HttpState::Connected:
        text = app.GetLangText("FormLiveUpdate", "MsgInet5", "Connected");
        break;
    case HttpState::Requesting:
        text = app.GetLangText("FormLiveUpdate", "MsgInet6", "Requesting database updates");
        break;
    case HttpState::RequestSent:
        text = app.GetLangText("FormLiveUpdate", "MsgInet7", "Request sent");
        break;
    case HttpState::Disconnecting:
        text = app.GetLangText("FormLiveUpdate", "MsgInet8", "Disconnecting with") + " " + host;
        break;
    case HttpState::Disconnected:
        text = app.GetLangText("FormLiveUpdate", "MsgInet9", "Disconnected");
        break;
    }
    view.SetCaption(kLabel2, text + "...");
    view.PumpMessages();
}

bool LiveUpdatePage::OnBytes(std::uint64_t bytes) {
    if (!current)
        return true;
    int percent = 0;
    if (current->sizeKnown && current->bytes > 0)
        percent = static_cast<int>(std::min<std::uint64_t>(bytes * 100 / current->bytes, 100));
    view.SetProgress(kPgBarCurrent, percent, 100);
    view.SetCaption(kLblCurrent, app.GetLangText("FormLiveUpdate", "StrUpdate", "Update") + " " +
                                     ComponentName(current->component) + " (" + std::to_string(percent) +
                                     "% " + app.GetLangText("FormLiveUpdate", "StrCompleted", "Completed") +
                                     ")");
    view.PumpMessages();
    return true;
}

} // namespace vantrel

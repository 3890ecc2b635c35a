// The LiveUpdate wizard: welcome, search result, download and finished pages behind Back,
// Next and Cancel; and the start-up reminder that offers it when the database is old.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "liveupdate/LiveUpdate.h"
#include "platform/Http.h"

namespace vantrel {

class App;
class Dialogs;
class View;

inline constexpr char kFrmLiveUpdate[] = "FrmLiveUpdate";
// The reminder offers the wizard from this age on.
inline constexpr int kDatabaseReminderDays = 15;

// Days from a yyyymmdd date to today by the clock; false when the text is not a valid date.
bool DatabaseAgeDays(std::string_view date, int year, int month, int day, int* days);

// Run once after the main window shows: true when the user wants the wizard now.
bool ShowDatabaseAgeReminder(App& app, Dialogs& dialogs);

class LiveUpdatePage : private HttpObserver {
public:
    enum class Step { Welcome, Search, Download, Finished };

    LiveUpdatePage(App& app, View& view, Dialogs& dialogs, Http& http, std::string server);

    void Load();
    // Each returns true when the wizard closes.
    bool OnNext();
    void OnBack();
    bool OnCancel() { return true; }

    Step CurrentStep() const { return step; }
    const std::vector<UpdateOffer>& Offers() const { return offers; }

private:
    void ShowWelcome();
    void Search();
    void DownloadAndInstall();
    void Finish();
    void ShowPage(Step page);
    void SetButtons(bool back, bool next, bool cancel);
    std::string ComponentName(int component) const;
    void OnState(HttpState state) override;
    bool OnBytes(std::uint64_t bytes) override;

    App& app;
    View& view;
    Dialogs& dialogs;
    LiveUpdate engine;
    Step step = Step::Welcome;
    std::string state; // "Update exists." once the search found something
    std::vector<UpdateOffer> offers;
    const UpdateOffer* current = nullptr; // the download under way
};

} // namespace vantrel

// Dialogs that answer from a script and remember what they were asked.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "app/Dialogs.h"

namespace vantrel::test {

struct ShownMessage {
    std::string text;
    std::string title;
    MsgButtons buttons;
    MsgIcon icon;
};

class FakeDialogs : public Dialogs {
public:
    MsgAnswer MessageBox(const std::string& text, const std::string& title, MsgButtons buttons,
                         MsgIcon icon) override {
        messages.push_back({text, title, buttons, icon});
        if (answers.empty())
            return buttons == MsgButtons::Ok || buttons == MsgButtons::OkCancel ? MsgAnswer::Ok
                                                                                : MsgAnswer::No;
        MsgAnswer answer = answers.front();
        answers.pop_front();
        return answer;
    }
    bool BrowseForFolder(const std::string& prompt, std::string* folder) override {
        prompts.push_back(prompt);
        if (folders.empty())
            return false;
        *folder = folders.front();
        folders.pop_front();
        return true;
    }
    bool OpenFile(const std::string& title, const std::string&, std::string* path) override {
        prompts.push_back(title);
        if (files.empty())
            return false;
        *path = files.front();
        files.pop_front();
        return true;
    }

    std::deque<MsgAnswer> answers;
    std::deque<std::string> folders; // answers to BrowseForFolder; empty = cancel
    std::deque<std::string> files;   // answers to OpenFile; empty = cancel
    std::vector<ShownMessage> messages;
    std::vector<std::string> prompts;
};

} // namespace vantrel::test

// How a long archive run reports back to its front end. Calls arrive on the thread that
// started the run, so a window can pump its messages from Progress.
#pragma once

#include <string>

namespace vantrel {

class ArchiveCallback {
public:
    virtual ~ArchiveCallback() = default;
    virtual void ItemStarted(const std::string& name) { (void)name; }
    // Entries refused or files that could not be read; the run goes on without them.
    virtual void ItemSkipped(const std::string& name, const std::string& why) {
        (void)name;
        (void)why;
    }
    // 0 to 100 over the bytes of the whole run.
    virtual void Progress(double percent) { (void)percent; }
    virtual bool Cancelled() { return false; }
};

} // namespace vantrel

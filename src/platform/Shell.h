// Shell port: documents and addresses opened with their associated program.
#pragma once

#include <string>

namespace vantrel {

class Shell {
public:
    virtual ~Shell() = default;
    // ShellExecuteA(verb, file, parameters, folder, SW_SHOWNORMAL); false when it fails.
    virtual bool Execute(const std::string& verb, const std::string& file, const std::string& parameters,
                         const std::string& folder) = 0;
};

} // namespace vantrel

// Resources port: the programs carried inside vantrel.exe as resources of type "CUSTOM".
#pragma once

#include <string>

namespace vantrel {

inline constexpr int kResAutoSetupWizard = 101;
inline constexpr int kResDrvInstall32 = 102;
inline constexpr int kResDrvInstall64 = 103;
inline constexpr int kResAutoSetupLauncher = 104;

class Resources {
public:
    virtual ~Resources() = default;
    // The bytes of CUSTOM resource id; false when the program does not carry it.
    virtual bool LoadCustom(int id, std::string* bytes) = 0;
};

} // namespace vantrel

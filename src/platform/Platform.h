// The set of ports the core runs on: the real Windows or a machine image.
#pragma once

#include <memory>
#include <string>

namespace vantrel {

class Registry;
class FileSystem;
class System;
class Processes;
class Shell;
class Resources;
class Profile;
class Clock;

struct Platform {
    Registry& registry;
    FileSystem& fs;
    System& system;
    Processes& processes;
    Shell& shell;
    Resources& resources;
    Profile& profile;
    Clock& clock;
};

// Owns a full set of ports and hands them out as a Platform.
class PlatformSet {
public:
    virtual ~PlatformSet() = default;
    virtual Platform& Ports() = 0;
    // Writes back what the program changed that must outlive the run (settings of a
    // machine image). Nothing to do on real Windows. False with *error set on failure.
    virtual bool Save(std::string* error) = 0;
};

#ifdef _WIN32
// The running Windows.
std::unique_ptr<PlatformSet> CreateWin32Platform();
#endif

} // namespace vantrel

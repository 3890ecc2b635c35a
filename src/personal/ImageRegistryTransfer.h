// The registry of a machine image moved in and out of .reg text, where the image has no
// registry editor to run.
#pragma once

#include "personal/PersonalData.h"

namespace vantrel {

class FileSystem;
class ImageRegistry;

class ImageRegistryTransfer : public RegistryTransfer {
public:
    ImageRegistryTransfer(ImageRegistry& registry, FileSystem& fs) : registry(registry), fs(fs) {}
    // HKEY_LOCAL_MACHINE, HKEY_USERS and HKEY_CURRENT_USER in one version 5.00 file.
    bool Export(const std::string& file) override;
    // Merges the keys of the file; a malformed file changes nothing.
    bool Import(const std::string& file) override;

private:
    ImageRegistry& registry;
    FileSystem& fs;
};

} // namespace vantrel

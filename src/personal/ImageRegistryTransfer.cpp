#include "personal/ImageRegistryTransfer.h"

#include "platform/FileSystem.h"
#include "platform/image/ImageRegistry.h"
#include "platform/image/RegFile.h"

namespace vantrel {

bool ImageRegistryTransfer::Export(const std::string& file) {
    std::vector<RegFileKey> keys;
    for (RegHandle root : {kHkeyLocalMachine, kHkeyUsers, kHkeyCurrentUser}) {
        auto part = registry.Export(root);
        keys.insert(keys.end(), part.begin(), part.end());
    }
    return WriteWholeFile(fs, file, FormatRegFile(keys));
}

bool ImageRegistryTransfer::Import(const std::string& file) {
    std::string bytes, error;
    std::vector<RegFileKey> keys;
    if (!ReadWholeFile(fs, file, &bytes) || !ParseRegFile(bytes, file, &keys, &error))
        return false;
    registry.Apply(keys);
    return true;
}

} // namespace vantrel

// A registry hive file (SYSTEM, SOFTWARE) of a Windows that is not running, read with hivex.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/image/ImageRegistry.h"

namespace vantrel {

class HiveFile : public RegistrySource {
public:
    // Opens the file read-only; nullptr with *error naming the file when it is not a hive.
    static std::shared_ptr<HiveFile> Open(const std::string& hostFile, std::string* error);
    ~HiveFile() override;
    HiveFile(const HiveFile&) = delete;
    HiveFile& operator=(const HiveFile&) = delete;

    std::uint64_t Root() const;
    // The subkey of that name (any letter case); false when there is none.
    bool FindChild(std::uint64_t key, std::string_view name, std::uint64_t* child) const;
    // The header's two sequence numbers differ: Windows stopped before writing the changes
    // its transaction logs (.LOG1, .LOG2) still hold, and only the primary file is read.
    bool Dirty() const { return dirty; }

    // Strings and multi-strings come as UTF-8, as the image's ANSI calls return them.
    void ReadKey(std::uint64_t id, std::vector<Child>* children, std::vector<RegFileValue>* values) override;

private:
    HiveFile() = default;
    struct Handle;
    std::unique_ptr<Handle> hive;
    bool dirty = false;
};

} // namespace vantrel

#include "platform/image/OfflineHive.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <hivex.h>

#include "platform/image/ImageText.h"

namespace vantrel {

namespace {

std::uint32_t Le32(const unsigned char* p) {
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

// hivex hands out malloc'ed strings and arrays.
struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Owned = std::unique_ptr<T, FreeDeleter>;

} // namespace

struct HiveFile::Handle {
    hive_h* h = nullptr;
    ~Handle() {
        if (h != nullptr)
            hivex_close(h);
    }
};

std::shared_ptr<HiveFile> HiveFile::Open(const std::string& hostFile, std::string* error) {
    unsigned char header[12] = {};
    {
        std::ifstream in(HostPath(hostFile), std::ios::binary);
        if (!in) {
            *error = hostFile + ": cannot open the hive file";
            return nullptr;
        }
        in.read(reinterpret_cast<char*>(header), sizeof header);
        if (in.gcount() != sizeof header || std::memcmp(header, "regf", 4) != 0) {
            *error = hostFile + ": not a registry hive file";
            return nullptr;
        }
    }
    // Without HIVEX_OPEN_WRITE hivex maps the file read-only: nothing can reach the disk.
    errno = 0;
    hive_h* h = hivex_open(hostFile.c_str(), 0);
    if (h == nullptr) {
        *error = hostFile + ": the hive file cannot be read (" +
                 (errno != 0 ? std::string(std::strerror(errno)) : std::string("damaged or truncated")) + ")";
        return nullptr;
    }
    std::shared_ptr<HiveFile> file(new HiveFile());
    file->hive = std::make_unique<Handle>();
    file->hive->h = h;
    file->dirty = Le32(header + 4) != Le32(header + 8);
    return file;
}

HiveFile::~HiveFile() = default;

std::uint64_t HiveFile::Root() const {
    return hivex_root(hive->h);
}

bool HiveFile::FindChild(std::uint64_t key, std::string_view name, std::uint64_t* child) const {
    // hivex compares names without regard to case, as Windows does.
    *child = hivex_node_get_child(hive->h, static_cast<hive_node_h>(key), std::string(name).c_str());
    return *child != 0;
}

void HiveFile::ReadKey(std::uint64_t id, std::vector<Child>* children, std::vector<RegFileValue>* values) {
    hive_h* h = hive->h;
    auto node = static_cast<hive_node_h>(id);
    // A damaged key reads as far as hivex can follow it; what it refuses is left out.
    if (Owned<hive_node_h> list{hivex_node_children(h, node)}) {
        for (hive_node_h* c = list.get(); *c != 0; ++c) {
            if (Owned<char> name{hivex_node_name(h, *c)})
                children->push_back(Child{name.get(), *c});
        }
    }
    Owned<hive_value_h> list{hivex_node_values(h, node)};
    if (!list)
        return;
    for (hive_value_h* v = list.get(); *v != 0; ++v) {
        Owned<char> name{hivex_value_key(h, *v)};
        hive_type type;
        std::size_t length = 0;
        Owned<char> data{hivex_value_value(h, *v, &type, &length)};
        if (!name || !data)
            continue;
        RegFileValue value;
        value.name = name.get();
        value.type = static_cast<std::uint32_t>(type);
        value.data.assign(data.get(), length);
        if (type == hive_t_REG_SZ || type == hive_t_REG_EXPAND_SZ || type == hive_t_REG_MULTI_SZ)
            value.data = Utf16LeToUtf8(value.data);
        values->push_back(std::move(value));
    }
}

} // namespace vantrel

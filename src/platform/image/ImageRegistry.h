// The registry of a machine image: an in-memory tree with the Win32 results of the ANSI calls.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/Registry.h"
#include "platform/image/RegFile.h"

namespace vantrel {

// RegQueryValueEx and friends on a handle whose key was deleted meanwhile.
inline constexpr long kErrorKeyDeleted = 1018;

// Keys read from elsewhere on first use (a hive file): each key is asked for once, when it is
// first opened or walked through, and kept in memory from then on.
class RegistrySource {
public:
    struct Child {
        std::string name;
        std::uint64_t id;
    };
    virtual ~RegistrySource() = default;
    virtual void ReadKey(std::uint64_t id, std::vector<Child>* children,
                         std::vector<RegFileValue>* values) = 0;
};

// HKEY_CLASSES_ROOT is HKEY_LOCAL_MACHINE\SOFTWARE\Classes, as on Windows without per-user classes.
// Subkeys enumerate in the order of their upper-cased names, as a hive keeps them and Windows
// returns them: "COMPOSITEBUS" before "COMPOSITE_BATTERY". (Wine compares lower-cased names,
// which differs only for the characters [ \ ] ^ _ `.)
class ImageRegistry : public Registry {
public:
    ImageRegistry();
    ~ImageRegistry() override;

    long OpenKey(RegHandle parent, std::string_view subKey, RegHandle* out) override;
    long CreateKey(RegHandle parent, std::string_view subKey, RegHandle* out) override;
    long CloseKey(RegHandle key) override;
    long QueryInfoKey(RegHandle key, RegKeyInfo* info) override;
    long EnumKey(RegHandle key, std::uint32_t index, std::uint32_t bufferChars, std::string* name) override;
    long EnumValue(RegHandle key, std::uint32_t index, std::string* name, std::uint32_t* type) override;
    long QueryValue(RegHandle key, std::string_view name, std::uint32_t bufferBytes, std::uint32_t* type,
                    std::string* data) override;
    long SetValue(RegHandle key, std::string_view name, std::uint32_t type, std::string_view data) override;
    long DeleteValue(RegHandle key, std::string_view name) override;
    long DeleteKey(RegHandle parent, std::string_view subKey) override;

    // Applies the keys of a .reg file in order: creates keys, sets and deletes values, deletes trees.
    void Apply(const std::vector<RegFileKey>& keys);
    bool LoadRegFile(const std::string& hostFile, std::string* error);
    // root\subKey (created when missing) becomes key id of source, read lazily; what was there
    // is dropped. Writes below it stay in memory: the source is never written.
    void Attach(RegHandle root, std::string_view subKey, std::shared_ptr<RegistrySource> source,
                std::uint64_t id);

    // The tree at root\subKey as .reg keys: parents before children, siblings in enumeration order,
    // values in their order. Keys without values are listed too, so empty keys survive a save.
    std::vector<RegFileKey> Export(RegHandle root, std::string_view subKey = {}) const;
    // Removes every subkey and value below a predefined root.
    void ClearRoot(RegHandle root);

    std::size_t OpenHandleCount() const { return handles.size(); }

private:
    struct Value {
        std::string name;
        std::uint32_t type;
        std::string data;
    };
    struct Node;

    Node* Resolve(RegHandle key) const;
    Node* Walk(Node* from, std::string_view path, bool create, long* status);
    RegHandle NewHandle(const std::shared_ptr<Node>& node);
    std::shared_ptr<Node> Shared(Node* node) const;
    static Value* FindValue(Node* node, std::string_view name);
    static void Load(Node* node);
    void Detach(Node* node);
    void KeepClasses();
    void ExportNode(const Node* node, const std::string& path, std::vector<RegFileKey>* out) const;

    std::shared_ptr<Node> machine, user, users;
    std::shared_ptr<Node> classes; // kept alive so a deleted SOFTWARE key can be noticed
    std::unordered_map<RegHandle, std::shared_ptr<Node>> handles;
    std::vector<std::shared_ptr<RegistrySource>> sources;
    RegHandle nextHandle = 0x100;
};

} // namespace vantrel

#include "platform/image/ImageRegistry.h"

#include <algorithm>
#include <map>

#include "platform/image/ImageText.h"
#include "util/Text.h"

namespace vantrel {

struct ImageRegistry::Node {
    std::string name;
    std::string sortKey; // upper-cased name: lookups and enumeration order, as Windows compares
    Node* parent = nullptr;
    bool deleted = false;
    std::map<std::string, std::shared_ptr<Node>> children; // by sortKey
    std::vector<Value> values;                             // in the order they were first written
    RegistrySource* source = nullptr;                      // set until the key is read from it
    std::uint64_t sourceId = 0;

    // EnumKey by index: a flat copy of the order, rebuilt after the children change.
    Node* ChildAt(std::size_t index) {
        if (!orderValid) {
            order.clear();
            order.reserve(children.size());
            for (auto& [key, child] : children)
                order.push_back(child.get());
            orderValid = true;
        }
        return order[index];
    }
    void ChildrenChanged() { orderValid = false; }

private:
    std::vector<Node*> order;
    bool orderValid = true;
};

namespace {

// Splits a subkey path on "\", skipping empty parts as RegOpenKeyEx does for a trailing "\".
template <typename F> void ForEachPart(std::string_view path, F&& f) {
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t slash = path.find('\\', start);
        std::size_t end = slash == std::string_view::npos ? path.size() : slash;
        if (end > start)
            f(path.substr(start, end - start));
        if (slash == std::string_view::npos)
            break;
        start = slash + 1;
    }
}

} // namespace

ImageRegistry::ImageRegistry() {
    machine = std::make_shared<Node>();
    machine->name = "HKEY_LOCAL_MACHINE";
    user = std::make_shared<Node>();
    user->name = "HKEY_CURRENT_USER";
    users = std::make_shared<Node>();
    users->name = "HKEY_USERS";
    long status;
    classes = Shared(Walk(machine.get(), "SOFTWARE\\Classes", true, &status));
}

ImageRegistry::~ImageRegistry() = default;

ImageRegistry::Node* ImageRegistry::Resolve(RegHandle key) const {
    switch (key) {
    case kHkeyLocalMachine:
        return machine.get();
    case kHkeyCurrentUser:
        return user.get();
    case kHkeyUsers:
        return users.get();
    case kHkeyClassesRoot:
        return classes.get();
    default:
        break;
    }
    auto it = handles.find(key);
    return it == handles.end() ? nullptr : it->second.get();
}

std::shared_ptr<ImageRegistry::Node> ImageRegistry::Shared(Node* node) const {
    if (node == machine.get())
        return machine;
    if (node == user.get())
        return user;
    if (node == users.get())
        return users;
    return node->parent->children.at(node->sortKey);
}

ImageRegistry::Node* ImageRegistry::Walk(Node* from, std::string_view path, bool create, long* status) {
    Node* node = from;
    *status = kErrorSuccess;
    ForEachPart(path, [&](std::string_view part) {
        if (node == nullptr)
            return;
        Load(node);
        std::string key = UpperAscii(part);
        auto it = node->children.find(key);
        if (it != node->children.end()) {
            node = it->second.get();
            return;
        }
        if (!create) {
            node = nullptr;
            *status = kErrorFileNotFound;
            return;
        }
        auto child = std::make_shared<Node>();
        child->name = std::string(part);
        child->sortKey = std::move(key);
        child->parent = node;
        node->ChildrenChanged();
        node = node->children.emplace(child->sortKey, child).first->second.get();
    });
    if (node != nullptr)
        Load(node);
    return node;
}

void ImageRegistry::Load(Node* node) {
    if (node->source == nullptr)
        return;
    RegistrySource* source = node->source;
    node->source = nullptr;
    std::vector<RegistrySource::Child> children;
    std::vector<RegFileValue> values;
    source->ReadKey(node->sourceId, &children, &values);
    for (auto& found : children) {
        auto child = std::make_shared<Node>();
        child->sortKey = UpperAscii(found.name);
        child->name = std::move(found.name);
        child->parent = node;
        child->source = source;
        child->sourceId = found.id;
        node->children.emplace(child->sortKey, std::move(child));
    }
    node->ChildrenChanged();
    for (auto& value : values) {
        if (FindValue(node, value.name) == nullptr)
            node->values.push_back(Value{std::move(value.name), value.type, std::move(value.data)});
    }
}

void ImageRegistry::Attach(RegHandle root, std::string_view subKey, std::shared_ptr<RegistrySource> source,
                           std::uint64_t id) {
    Node* from = Resolve(root);
    if (from == nullptr)
        return;
    long status;
    Node* node = Walk(from, subKey, true, &status);
    while (!node->children.empty())
        Detach(node->children.begin()->second.get());
    node->values.clear();
    node->source = source.get();
    node->sourceId = id;
    sources.push_back(std::move(source));
    KeepClasses();
}

RegHandle ImageRegistry::NewHandle(const std::shared_ptr<Node>& node) {
    RegHandle h = nextHandle;
    nextHandle += 4;
    handles.emplace(h, node);
    return h;
}

long ImageRegistry::OpenKey(RegHandle parent, std::string_view subKey, RegHandle* out) {
    *out = 0;
    Node* from = Resolve(parent);
    if (from == nullptr)
        return kErrorInvalidHandle;
    if (from->deleted)
        return kErrorKeyDeleted;
    long status;
    Node* node = Walk(from, subKey, false, &status);
    if (node == nullptr)
        return status;
    *out = NewHandle(Shared(node));
    return kErrorSuccess;
}

long ImageRegistry::CreateKey(RegHandle parent, std::string_view subKey, RegHandle* out) {
    *out = 0;
    Node* from = Resolve(parent);
    if (from == nullptr)
        return kErrorInvalidHandle;
    if (from->deleted)
        return kErrorKeyDeleted;
    long status;
    Node* node = Walk(from, subKey, true, &status);
    *out = NewHandle(Shared(node));
    return kErrorSuccess;
}

long ImageRegistry::CloseKey(RegHandle key) {
    if (key == kHkeyLocalMachine || key == kHkeyCurrentUser || key == kHkeyUsers || key == kHkeyClassesRoot)
        return kErrorSuccess;
    return handles.erase(key) == 1 ? kErrorSuccess : kErrorInvalidHandle;
}

long ImageRegistry::QueryInfoKey(RegHandle key, RegKeyInfo* info) {
    Node* node = Resolve(key);
    if (node == nullptr)
        return kErrorInvalidHandle;
    if (node->deleted)
        return kErrorKeyDeleted;
    *info = RegKeyInfo{};
    info->subKeys = static_cast<std::uint32_t>(node->children.size());
    for (const auto& [key, child] : node->children)
        info->maxSubKeyLen = std::max(info->maxSubKeyLen, static_cast<std::uint32_t>(child->name.size()));
    info->values = static_cast<std::uint32_t>(node->values.size());
    for (const auto& value : node->values) {
        info->maxValueNameLen =
            std::max(info->maxValueNameLen, static_cast<std::uint32_t>(value.name.size()));
        info->maxValueLen = std::max(info->maxValueLen, static_cast<std::uint32_t>(value.data.size()));
    }
    return kErrorSuccess;
}

long ImageRegistry::EnumKey(RegHandle key, std::uint32_t index, std::uint32_t bufferChars,
                            std::string* name) {
    Node* node = Resolve(key);
    if (node == nullptr)
        return kErrorInvalidHandle;
    if (node->deleted)
        return kErrorKeyDeleted;
    if (index >= node->children.size())
        return kErrorNoMoreItems;
    const std::string& childName = node->ChildAt(index)->name;
    if (childName.size() + 1 > bufferChars)
        return kErrorMoreData;
    *name = childName;
    return kErrorSuccess;
}

long ImageRegistry::EnumValue(RegHandle key, std::uint32_t index, std::string* name, std::uint32_t* type) {
    Node* node = Resolve(key);
    if (node == nullptr)
        return kErrorInvalidHandle;
    if (node->deleted)
        return kErrorKeyDeleted;
    if (index >= node->values.size())
        return kErrorNoMoreItems;
    *name = node->values[index].name;
    if (type != nullptr)
        *type = node->values[index].type;
    return kErrorSuccess;
}

ImageRegistry::Value* ImageRegistry::FindValue(Node* node, std::string_view name) {
    for (auto& value : node->values) {
        if (EqualsNoCase(value.name, name))
            return &value;
    }
    return nullptr;
}

long ImageRegistry::QueryValue(RegHandle key, std::string_view name, std::uint32_t bufferBytes,
                               std::uint32_t* type, std::string* data) {
    Node* node = Resolve(key);
    if (node == nullptr)
        return kErrorInvalidHandle;
    if (node->deleted)
        return kErrorKeyDeleted;
    if (data != nullptr)
        data->clear();
    const Value* value = FindValue(node, name);
    if (value == nullptr)
        return kErrorFileNotFound;
    if (type != nullptr)
        *type = value->type;
    if (value->data.size() > bufferBytes)
        return kErrorMoreData;
    if (data != nullptr)
        *data = value->data;
    return kErrorSuccess;
}

long ImageRegistry::SetValue(RegHandle key, std::string_view name, std::uint32_t type,
                             std::string_view data) {
    Node* node = Resolve(key);
    if (node == nullptr)
        return kErrorInvalidHandle;
    if (node->deleted)
        return kErrorKeyDeleted;
    if (Value* value = FindValue(node, name)) {
        value->type = type;
        value->data.assign(data);
    } else {
        node->values.push_back(Value{std::string(name), type, std::string(data)});
    }
    return kErrorSuccess;
}

long ImageRegistry::DeleteValue(RegHandle key, std::string_view name) {
    Node* node = Resolve(key);
    if (node == nullptr)
        return kErrorInvalidHandle;
    if (node->deleted)
        return kErrorKeyDeleted;
    auto it = std::find_if(node->values.begin(), node->values.end(),
                           [&](const Value& v) { return EqualsNoCase(v.name, name); });
    if (it == node->values.end())
        return kErrorFileNotFound;
    node->values.erase(it);
    return kErrorSuccess;
}

void ImageRegistry::Detach(Node* node) {
    // Open handles keep the node alive but see it as deleted.
    std::vector<Node*> stack{node};
    while (!stack.empty()) {
        Node* n = stack.back();
        stack.pop_back();
        n->deleted = true;
        for (auto& [key, child] : n->children)
            stack.push_back(child.get());
    }
    Node* parent = node->parent;
    parent->ChildrenChanged();
    parent->children.erase(node->sortKey);
}

long ImageRegistry::DeleteKey(RegHandle parent, std::string_view subKey) {
    Node* from = Resolve(parent);
    if (from == nullptr)
        return kErrorInvalidHandle;
    if (from->deleted)
        return kErrorKeyDeleted;
    long status;
    Node* node = Walk(from, subKey, false, &status);
    if (node == nullptr)
        return status;
    if (node->parent == nullptr || node == classes.get() || !node->children.empty())
        return kErrorAccessDenied;
    Detach(node);
    return kErrorSuccess;
}

void ImageRegistry::ClearRoot(RegHandle root) {
    Node* node = Resolve(root);
    if (node == nullptr)
        return;
    node->source = nullptr;
    while (!node->children.empty())
        Detach(node->children.begin()->second.get());
    node->values.clear();
    KeepClasses();
}

void ImageRegistry::KeepClasses() {
    // HKEY_CLASSES_ROOT must always stand on a live key.
    if (classes->deleted) {
        long status;
        classes = Shared(Walk(machine.get(), "SOFTWARE\\Classes", true, &status));
    }
}

void ImageRegistry::Apply(const std::vector<RegFileKey>& keys) {
    for (const auto& key : keys) {
        RegHandle root;
        std::string rest;
        if (!SplitRegRoot(key.path, &root, &rest))
            continue;
        Node* rootNode = Resolve(root);
        long status;
        if (key.remove) {
            Node* node = Walk(rootNode, rest, false, &status);
            if (node == nullptr)
                continue;
            if (node->parent == nullptr || node == classes.get()) {
                ClearRoot(node == classes.get() ? kHkeyClassesRoot : root);
            } else {
                Detach(node);
                KeepClasses();
            }
            continue;
        }
        Node* node = Walk(rootNode, rest, true, &status);
        for (const auto& value : key.values) {
            if (value.remove) {
                auto it = std::find_if(node->values.begin(), node->values.end(),
                                       [&](const Value& v) { return EqualsNoCase(v.name, value.name); });
                if (it != node->values.end())
                    node->values.erase(it);
            } else if (Value* existing = FindValue(node, value.name)) {
                existing->type = value.type;
                existing->data = value.data;
            } else {
                node->values.push_back(Value{value.name, value.type, value.data});
            }
        }
    }
}

bool ImageRegistry::LoadRegFile(const std::string& hostFile, std::string* error) {
    std::vector<RegFileKey> keys;
    if (!ReadRegFile(hostFile, &keys, error))
        return false;
    Apply(keys);
    return true;
}

void ImageRegistry::ExportNode(const Node* node, const std::string& path,
                               std::vector<RegFileKey>* out) const {
    Load(const_cast<Node*>(node));
    RegFileKey key;
    key.path = path;
    for (const auto& value : node->values)
        key.values.push_back(RegFileValue{value.name, false, value.type, value.data});
    out->push_back(std::move(key));
    for (const auto& [sortKey, child] : node->children)
        ExportNode(child.get(), path + "\\" + child->name, out);
}

std::vector<RegFileKey> ImageRegistry::Export(RegHandle root, std::string_view subKey) const {
    std::vector<RegFileKey> out;
    std::string rootName = RegRootName(root);
    Node* node = Resolve(root);
    if (node == nullptr || rootName.empty())
        return out;
    long status;
    node = const_cast<ImageRegistry*>(this)->Walk(node, subKey, false, &status);
    if (node == nullptr)
        return out;
    // The stored spelling of each name, not the caller's.
    std::string path;
    for (const Node* n = node; n != nullptr && n != Resolve(root); n = n->parent)
        path = "\\" + n->name + path;
    path = rootName + path;
    ExportNode(node, path, &out);
    // The root itself has no line of its own unless it holds values.
    if (subKey.empty() && out.front().values.empty())
        out.erase(out.begin());
    return out;
}

} // namespace vantrel

// Real hive files for tests and benchmarks: an empty hive written here, filled by
// `hivexregedit --merge` from .reg text (Linux only).
#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/image/ImageRegistry.h"
#include "platform/image/RegFile.h"
#include "util/Text.h"

namespace vantrel {

// The smallest hive Windows and hivex accept: the base block, one bin with the root key, its
// security cell and the free rest.
inline bool WriteEmptyHive(const std::filesystem::path& file) {
    std::string bytes(0x2000, '\0');
    auto put32 = [&](std::size_t at, std::uint32_t v) {
        for (int i = 0; i < 4; ++i)
            bytes[at + i] = static_cast<char>(v >> (8 * i));
    };
    auto put16 = [&](std::size_t at, std::uint16_t v) {
        bytes[at] = static_cast<char>(v);
        bytes[at + 1] = static_cast<char>(v >> 8);
    };
    const std::uint32_t rootCell = 0x20, securityCell = 0x78, freeCell = 0xA8;
    bytes.replace(0, 4, "regf");
    put32(0x04, 1); // both sequence numbers equal: a clean hive
    put32(0x08, 1);
    put32(0x14, 1); // format 1.3
    put32(0x18, 3);
    put32(0x20, 1);
    put32(0x24, rootCell);
    put32(0x28, 0x1000); // size of the bins
    put32(0x2C, 1);
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < 0x1FC; i += 4)
        sum ^= static_cast<unsigned char>(bytes[i]) | static_cast<unsigned char>(bytes[i + 1]) << 8 |
               static_cast<unsigned char>(bytes[i + 2]) << 16 |
               static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i + 3])) << 24;
    put32(0x1FC, sum);

    const std::size_t bin = 0x1000;
    bytes.replace(bin, 4, "hbin");
    put32(bin + 0x08, 0x1000);
    // Root key "ROOT": flags hive entry, no delete, compressed name; no subkeys, values or class.
    std::size_t nk = bin + rootCell;
    put32(nk, static_cast<std::uint32_t>(-88));
    nk += 4;
    bytes.replace(nk, 2, "nk");
    put16(nk + 0x02, 0x2C);
    put32(nk + 0x1C, 0xFFFFFFFF);
    put32(nk + 0x20, 0xFFFFFFFF);
    put32(nk + 0x28, 0xFFFFFFFF);
    put32(nk + 0x2C, securityCell);
    put32(nk + 0x30, 0xFFFFFFFF);
    put16(nk + 0x48, 4);
    bytes.replace(nk + 0x4C, 4, "ROOT");
    // Security: a self-relative descriptor with a NULL DACL, linked to itself.
    std::size_t sk = bin + securityCell;
    put32(sk, static_cast<std::uint32_t>(-48));
    sk += 4;
    bytes.replace(sk, 2, "sk");
    put32(sk + 0x04, securityCell);
    put32(sk + 0x08, securityCell);
    put32(sk + 0x0C, 1);
    put32(sk + 0x10, 20);
    bytes[sk + 0x14] = 1;
    put16(sk + 0x16, 0x8004);
    put32(bin + freeCell, 0x1000 - freeCell);

    std::ofstream out(file, std::ios::binary);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

// Merges .reg text (UTF-8, version 5.00) into the hive; prefix is the key the hive stands for
// ("HKEY_LOCAL_MACHINE\SYSTEM"). False when hivexregedit fails.
inline bool MergeIntoHive(const std::filesystem::path& hive, std::string_view regText,
                          std::string_view prefix) {
    std::filesystem::path reg = hive;
    reg += ".merge.reg";
    {
        std::ofstream out(reg, std::ios::binary);
        out.write(regText.data(), static_cast<std::streamsize>(regText.size()));
    }
    std::string command = "hivexregedit --merge --prefix '" + std::string(prefix) + "' '" + hive.string() +
                          "' '" + reg.string() + "' >/dev/null 2>&1";
    bool ok = std::system(command.c_str()) == 0;
    std::error_code ec;
    std::filesystem::remove(reg, ec);
    return ok;
}

// A hive made of the registry's tree under HKEY_LOCAL_MACHINE\<name>. The SYSTEM hive of a
// machine image gets its CurrentControlSet as ControlSet001, and Select\Current names it.
inline bool WriteHive(const ImageRegistry& reg, std::string_view name, const std::filesystem::path& file) {
    const std::string root = "HKEY_LOCAL_MACHINE\\" + std::string(name);
    const std::string current = root + "\\CurrentControlSet";
    std::vector<RegFileKey> keys = reg.Export(kHkeyLocalMachine, name);
    if (!keys.empty() && EqualsNoCase(keys.front().path, root))
        keys.erase(keys.begin()); // the hive's root key itself
    for (auto& key : keys) {
        if (StartsWithNoCase(key.path, current) &&
            (key.path.size() == current.size() || key.path[current.size()] == '\\'))
            key.path = root + "\\ControlSet001" + key.path.substr(current.size());
    }
    if (EqualsNoCase(name, "SYSTEM")) {
        RegFileKey select;
        select.path = root + "\\Select";
        select.values.push_back(RegFileValue{"Current", false, kRegDword, std::string("\1\0\0\0", 4)});
        keys.push_back(select);
    }
    // hivexregedit reads Unix text.
    std::string text = FormatRegFile(keys), unix;
    for (char c : text) {
        if (c != '\r')
            unix += c;
    }
    std::filesystem::create_directories(file.parent_path());
    return WriteEmptyHive(file) && MergeIntoHive(file, unix, root);
}

} // namespace vantrel

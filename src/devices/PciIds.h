// Conversion of the PCI ID repository (pci.ids) into the device database pcidevs.txt.
#pragma once

#include <string>
#include <string_view>

namespace vantrel {

// UTF-8 to Windows-1252, the code page the database is read in. Characters that code page lacks
// become "?"; bytes that are not UTF-8 are taken as Windows-1252 already.
std::string Utf8ToWindows1252(std::string_view text);

// pci.ids text -> pcidevs.txt text (CR LF lines). The first line is "yyyymmdd=" + the source's
// version: eight digits before the "=" never read as a 4-digit vendor key. Vendor, device and
// subsystem lines become "VVVV=", "VVVV:DDDD=" and "VVVV:DDDD:SSSS:ssss=", where SSSS is the
// subsystem device and ssss the subsystem vendor, the order of a Windows "SUBSYS_" field. The
// class section at the end is left out. False with *error set when the text has no date.
bool ConvertPciIds(std::string_view pciIds, std::string* out, std::string* error);

} // namespace vantrel

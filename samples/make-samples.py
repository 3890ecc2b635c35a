#!/usr/bin/env python3
"""Regenerates the sample machine images and samples/README.md.

    python3 samples/make-samples.py

Writes samples/machine/registry/devices.reg and the INF, catalog and driver files under
samples/machine/drive_c/windows/{inf,system32}, and all of samples/machine-98/. The output is the
same on every run: file contents come from fixed seeds, never from the clock.

The README's expected listing is computed here from the files just written, with the program's
own reading rules (device tree joined to the class keys, provider rule, duplicate removal, INF
file list), so a hand check of `vantrel list` has a second opinion to compare with.

Every vendor, product and file below is made up for these samples.
"""

import datetime
import hashlib
import os
import shutil
import struct
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
MACHINE = os.path.join(HERE, "machine")
MACHINE98 = os.path.join(HERE, "machine-98")

HKLM = "HKEY_LOCAL_MACHINE"
CCS = HKLM + "\\SYSTEM\\CurrentControlSet"

# Windows 10 setup classes: name -> (GUID, display name).
CLASSES = {
    "Bluetooth": ("{e0cbf06c-cd8b-4647-bb8a-263b43f0f974}", "Bluetooth"),
    "Camera": ("{ca3e7ab9-b4c3-4ae6-8251-579ef933890f}", "Cameras"),
    "DiskDrive": ("{4d36e967-e325-11ce-bfc1-08002be10318}", "Disk drives"),
    "Display": ("{4d36e968-e325-11ce-bfc1-08002be10318}", "Display adapters"),
    "hdc": ("{4d36e96a-e325-11ce-bfc1-08002be10318}", "IDE ATA/ATAPI controllers"),
    "Keyboard": ("{4d36e96b-e325-11ce-bfc1-08002be10318}", "Keyboards"),
    "MEDIA": ("{4d36e96c-e325-11ce-bfc1-08002be10318}", "Sound, video and game controllers"),
    "Monitor": ("{4d36e96e-e325-11ce-bfc1-08002be10318}", "Monitors"),
    "Mouse": ("{4d36e96f-e325-11ce-bfc1-08002be10318}", "Mice and other pointing devices"),
    "Net": ("{4d36e972-e325-11ce-bfc1-08002be10318}", "Network adapters"),
    "Ports": ("{4d36e978-e325-11ce-bfc1-08002be10318}", "Ports (COM & LPT)"),
    "Printer": ("{4d36e979-e325-11ce-bfc1-08002be10318}", "Printers"),
    "SCSIAdapter": ("{4d36e97b-e325-11ce-bfc1-08002be10318}", "Storage controllers"),
    "System": ("{4d36e97d-e325-11ce-bfc1-08002be10318}", "System devices"),
    "USB": ("{36fc9e60-c465-11cf-8056-444553540000}", "Universal Serial Bus controllers"),
    "Processor": ("{50127dc3-0f36-415e-a6cc-4cb3be910b65}", "Processors"),
    "HIDClass": ("{745a17a0-74d3-11d0-b6fe-00a0c90f57da}", "Human Interface Devices"),
    "Biometric": ("{53d29ef7-377c-4d14-864b-eb3a85769359}", "Biometric devices"),
}

CATROOT = "{F750E6C3-38EE-11D1-85E5-00C04FC295EE}"

# ---------------------------------------------------------------------------------------------
# Small helpers


def blob(seed, size):
    """Deterministic bytes: a SHA-256 chain over the seed."""
    out = bytearray()
    block = hashlib.sha256(seed.encode()).digest()
    while len(out) < size:
        out += block
        block = hashlib.sha256(block + seed.encode()).digest()
    return bytes(out[:size])


def size_for(name, low=300, high=900):
    return low + int(hashlib.sha1(name.lower().encode()).hexdigest()[:6], 16) % (high - low)


def driver_file_bytes(name, vendor):
    """A small file that looks like what its extension says, with our own text inside."""
    lower = name.lower()
    ext = os.path.splitext(lower)[1]
    note = "Sample file %s of %s for the Vantrel sample machine; not a real driver.\r\n" % (name, vendor)
    if ext in (".sys", ".dll", ".exe", ".drv", ".vxd", ".cpl", ".mpd", ".pdr", ".386"):
        head = b"MZ" + b"\x90\x00\x03\x00\x00\x00\x04\x00\x00\x00\xff\xff\x00\x00"
        return head + note.encode() + blob(vendor + "/" + lower, size_for(lower))
    if ext == ".cat":
        body = note.encode() + blob("cat/" + lower, size_for(lower, 200, 500))
        return b"\x30\x82" + struct.pack(">H", len(body)) + body
    if ext in (".ini", ".gpd", ".json", ".txt"):
        lines = ["; %s" % note.strip(), "; vendor: %s" % vendor, ""]
        if ext == ".json":
            return ('{\r\n  "file_format_version": "1.0.0",\r\n  "ICD": { "library_path": "%s" }\r\n}\r\n'
                    % name.replace(".json", ".dll")).encode()
        if ext == ".gpd":
            lines += ["*GPDSpecVersion: \"1.0\"", "*ModelName: \"%s\"" % vendor, "*MasterUnits: PAIR(600, 600)"]
        else:
            lines += ["[Settings]", "Vendor=%s" % vendor, "File=%s" % name]
        return ("\r\n".join(lines) + "\r\n").encode()
    return note.encode() + blob(vendor + "/" + lower, size_for(lower))


def pnf_bytes(inf_name):
    # Windows keeps a precompiled copy of each INF beside it; ours is noise with a header.
    return b"\x01\x03\x02\x00" + blob("pnf/" + inf_name.lower(), 400)


def filetime(date_mdy):
    m, d, y = (int(x) for x in date_mdy.split("-"))
    delta = datetime.datetime(y, m, d) - datetime.datetime(1601, 1, 1)
    ticks = (delta.days * 86400 + delta.seconds) * 10_000_000
    return struct.pack("<Q", ticks)


def store_hash(name):
    return hashlib.sha1(("store/" + name).encode()).hexdigest()[:16]


# ---------------------------------------------------------------------------------------------
# Registry: a tree kept in memory, written as a version 5 .reg file and read by the expectations.


class Key:
    def __init__(self, name):
        self.name = name
        self.values = []  # (name, type, data)
        self.children = {}  # lower name -> Key

    def child(self, name, create=True):
        low = name.lower()
        if low not in self.children:
            if not create:
                return None
            self.children[low] = Key(name)
        return self.children[low]

    def sorted_children(self):
        return [self.children[k] for k in sorted(self.children)]

    def value(self, name):
        for n, t, d in self.values:
            if n.lower() == name.lower():
                return t, d
        return None


class Registry:
    def __init__(self):
        self.root = Key("")

    def key(self, path, create=True):
        node = self.root
        for part in path.split("\\"):
            node = node.child(part, create)
            if node is None:
                return None
        return node

    def set(self, path, values):
        k = self.key(path)
        for v in values:
            if v is not None:
                k.values.append(v)
        return k


def sz(name, text):
    return (name, "sz", text)


def multi(name, items):
    return (name, "multi", list(items))


def dword(name, value):
    return (name, "dword", value)


def binary(name, data):
    return (name, "binary", bytes(data))


def expand(name, text):
    return (name, "expand", text)


def string_value(v):
    """The text the ANSI calls return for a value, as the program cuts it at its first NUL."""
    if v is None:
        return None
    t, d = v
    if t in ("sz", "expand"):
        return d
    if t == "multi":
        return d[0] if d else ""
    return None


def hex_lines(prefix, data):
    out, line = [], prefix
    for i, b in enumerate(data):
        line += "%02x" % b
        if i + 1 < len(data):
            line += ","
            if len(line) > 76:
                out.append(line + "\\")
                line = "  "
    out.append(line)
    return out


def quote(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def utf16z(text):
    return text.encode("utf-16-le") + b"\x00\x00"


def format_reg(reg, header_comment=None):
    lines = ["Windows Registry Editor Version 5.00", ""]
    if header_comment:
        lines[1:1] = ["", "; " + header_comment]

    def walk(node, path):
        # regedit writes the keys of the exported subtree; the roots above it stay implicit.
        if path and (node.values or path.count("\\") >= 3):
            lines.append("[%s]" % path)
            for name, t, d in node.values:
                left = "@" if name == "" else quote(name)
                if t == "sz":
                    lines.append("%s=%s" % (left, quote(d)))
                elif t == "dword":
                    lines.append("%s=dword:%08x" % (left, d))
                elif t == "binary":
                    lines.extend(hex_lines(left + "=hex:", d))
                elif t == "expand":
                    lines.extend(hex_lines(left + "=hex(2):", utf16z(d)))
                elif t == "multi":
                    data = b"".join(utf16z(s) for s in d) + b"\x00\x00"
                    lines.extend(hex_lines(left + "=hex(7):", data))
            lines.append("")
        for c in node.sorted_children():
            walk(c, path + "\\" + c.name if path else c.name)

    walk(reg.root, "")
    return "\r\n".join(lines) + "\r\n"


# ---------------------------------------------------------------------------------------------
# Files of an image, by Windows path (case-insensitive, as Windows finds them).


class Files:
    def __init__(self, host_root):
        self.host_root = host_root  # the image folder
        self.items = {}  # lower windows path -> (windows path, bytes)

    def put(self, winpath, data):
        self.items[winpath.lower()] = (winpath, data)

    def get(self, winpath):
        item = self.items.get(winpath.lower())
        return item[1] if item else None

    def exists(self, winpath):
        return winpath.lower() in self.items

    def host_path(self, winpath, folders):
        """Host path with one spelling per folder: the one already on disk, else the first used
        (Windows finds C:\\WINDOWS\\System32 and C:\\windows\\system32 alike; Linux would not)."""
        drive, rest = winpath.split(":", 1)
        parts = [p for p in rest.split("\\") if p]
        host = os.path.join(self.host_root, "drive_" + drive.lower())
        for i, part in enumerate(parts):
            if i + 1 < len(parts):
                key = (host.lower(), part.lower())
                if key not in folders:
                    existing = [d for d in (os.listdir(host) if os.path.isdir(host) else [])
                                if d.lower() == part.lower() and os.path.isdir(os.path.join(host, d))]
                    folders[key] = existing[0] if existing else part
                part = folders[key]
            host = os.path.join(host, part)
        return host

    def write(self):
        folders = {}
        for winpath, data in sorted(self.items.values()):
            host = self.host_path(winpath, folders)
            os.makedirs(os.path.dirname(host), exist_ok=True)
            with open(host, "wb") as f:
                f.write(data)


# ---------------------------------------------------------------------------------------------
# INF text and the program's reading of it.


def encode_inf(text, utf16):
    text = text.replace("\r\n", "\n").replace("\n", "\r\n")
    if utf16:
        return b"\xff\xfe" + text.encode("utf-16-le")
    return text.encode("cp1252")


def decode_text(data):
    if data.startswith(b"\xff\xfe"):
        return data[2:].decode("utf-16-le")
    if data.startswith(b"\xef\xbb\xbf"):
        return data[3:].decode("utf-8")
    return data.decode("cp1252")


def inf_lines(data):
    return decode_text(data).split("\n")


def clean(line):
    return "".join(c for c in line if ord(c) >= 32 and ord(c) != 127)


def strip_comment(line):
    return line.split(";", 1)[0]


def profile_get(data, section, key):
    """The profile reader: first [section] and first key, blanks trimmed, one pair of quotes off."""
    current = None
    for raw in inf_lines(data):
        line = raw.strip(" \t\r")
        if not line or line.startswith(";"):
            continue
        if line.startswith("["):
            close = line.rfind("]")
            name = line[1:close if close >= 0 else None].strip().lower()
            current = name
            continue
        if current != section.lower() or "=" not in line:
            continue
        k, v = line.split("=", 1)
        if k.strip(" \t").lower() == key.lower():
            v = v.strip(" \t")
            if len(v) >= 2 and v[0] in "\"'" and v[-1] == v[0]:
                v = v[1:-1]
            return v
    return ""


def check_inf_layout(name, data):
    """Keeps the samples clear of layouts that two careful readings of the rules could take
    differently (blanks before section headers and directives, comments after headers). Blanks
    after a header's "]" are allowed: the program's two readings take them apart on purpose."""
    for n, raw in enumerate(inf_lines(data), 1):
        line = raw.rstrip("\r")
        if line.lstrip(" \t").startswith("[") and line.rstrip(" ") != strip_comment(line).strip():
            raise SystemExit("%s:%d: section header with blanks or comment" % (name, n))
        if line[:1] in (" ", "\t") and line.strip().lower().startswith(("copyfiles", "[")):
            raise SystemExit("%s:%d: indented directive" % (name, n))


def read_copy_section(data, section):
    header = "[" + section.lower() + "]"
    lines = inf_lines(data)
    i = 0
    while i < len(lines):
        line = lines[i]
        i += 1
        if clean(strip_comment(line)).lower() == header:
            break
    else:
        return []
    found = []
    while i < len(lines):
        line = lines[i]
        i += 1
        if line[:1] == "[":
            break
        text = clean(strip_comment(line))
        if "," in text:
            fields = text.split(",")
            name, source = clean(fields[0]).strip(), clean(fields[1]).strip()
        else:
            if text != text.strip():
                raise SystemExit("%s: file line with blanks around it: %r" % (section, text))
            name, source = text, ""
        if name:
            found.append((name, source))
    return found


def walk_install_section(data, lines, start, header):
    """From line `start`, finds `header` and reads its CopyFiles; returns (entries, next line)."""
    entries = []
    i = start
    while i < len(lines):
        line = lines[i]
        i += 1
        if clean(strip_comment(line)).lower() != header:
            continue
        while i < len(lines):
            line = lines[i]
            i += 1
            if line[:1] == "[":
                break
            text = clean(line)
            if text[:9].lower() != "copyfiles":
                continue
            items = clean(strip_comment(text.split("=", 1)[1] if "=" in text else ""))
            for item in items.split(","):
                item = item.strip()
                if item.startswith("@"):
                    entries.append((item[1:], ""))
                elif item:
                    entries.extend(read_copy_section(data, item))
        return entries, i
    return entries, i


def windows_sections(data):
    """Section bodies as Windows' INF reader finds them: a header is a line whose first character
    other than blanks is "[", named by its text up to "]" without the blanks around it; the
    bodies of sections of one name run together."""
    bodies, current = {}, None
    for raw in inf_lines(data):
        stripped = raw.lstrip(" \t\r")
        if stripped.startswith("["):
            close = stripped.find("]")
            current = clean(stripped[1:close]).strip().lower() if close >= 0 else None
            if current is not None:
                bodies.setdefault(current, [])
            continue
        if current is not None:
            bodies[current].append(raw)
    return bodies


def windows_install_section(bodies, section):
    """The CopyFiles of one section by Windows' headers, read as the program reads the lines."""
    entries = []
    for line in bodies.get(section.strip().lower(), []):
        text = clean(line)
        if text[:9].lower() != "copyfiles":
            continue
        items = clean(strip_comment(text.split("=", 1)[1] if "=" in text else ""))
        for item in items.split(","):
            item = item.strip()
            if item.startswith("@"):
                entries.append((item[1:].strip(), ""))
            elif item:
                for body_line in bodies.get(item.lower(), []):
                    text = clean(strip_comment(body_line))
                    if "," in text:
                        fields = text.split(",")
                        name, source = clean(fields[0]).strip(), clean(fields[1]).strip()
                    else:
                        name, source = text.strip(), ""
                    if name:
                        entries.append((name, source))
    return entries


def driver_file_list(files, windir, inf_path, section, nt, ext=""):
    """(INF path found or None, [(name, source)]) as the program lists a driver's files."""
    inf_path = inf_path.strip()
    entries = [(inf_path, "")]
    if not inf_path:
        return None, entries
    found = None
    for candidate in (windir + "\\inf\\" + inf_path, windir + "\\inf\\other\\" + inf_path, inf_path):
        if files.exists(candidate):
            found = candidate
            break
    if found is None:
        return None, entries
    data = files.get(found)
    entries[0] = (found.split("\\")[-1], "")
    cat = clean(profile_get(data, "Version", "CatalogFile").split(";")[0]).strip()
    if cat:
        entries.append((cat, ""))
    if nt:
        decorated = ""
        for k in ("CatalogFile.nt", "CatalogFile.ntx86", "CatalogFile.ntia64", "CatalogFile.ntamd64"):
            v = profile_get(data, "Version", k)
            if v:
                decorated = v
        decorated = clean(decorated.split(";")[0]).strip()
        if decorated:
            entries.append((decorated, ""))
    lines = inf_lines(data)
    sect = section.strip().lower()
    main, pos = walk_install_section(data, lines, 0, "[" + sect + "]")
    co_after, _ = walk_install_section(data, lines, pos, "[" + sect + ".coinstallers]")
    co_anywhere, _ = walk_install_section(data, lines, 0, "[" + sect + ".coinstallers]")
    if co_after != co_anywhere:
        raise SystemExit("%s: co-installer section must follow the install section" % found)
    entries = entries + main + co_after
    if not sect:
        return found, entries
    # Then the sections as Windows reads them, the decorated one it ran included; only files
    # not listed yet are added.
    listed = {(n.lower(), (s or n).lower()) for n, s in entries}
    bodies = windows_sections(data)
    ext = ext.strip()
    names = [sect, sect + ".coinstallers"] + ([sect + ext, sect + ext + ".coinstallers"] if ext else [])
    for name in names:
        for n, s in windows_install_section(bodies, name):
            if (n.lower(), (s or n).lower()) not in listed:
                listed.add((n.lower(), (s or n).lower()))
                entries.append((n, s))
    return found, entries


# ---------------------------------------------------------------------------------------------
# Placing a package's files where its INF copies them.


def parse_sections(data):
    sections, current = {}, None
    for raw in inf_lines(data):
        line = strip_comment(raw).strip()
        if not line:
            continue
        if line.startswith("[") and line.endswith("]"):
            current = line[1:-1].strip()
            sections.setdefault(current.lower(), (current, []))
            continue
        if current is not None:
            sections[current.lower()][1].append(line)
    return sections


def copy_entries(data):
    """Every file the INF copies, from any section: (dest, source, DestinationDirs entry)."""
    sections = parse_sections(data)
    dest_dirs = {}
    for line in sections.get("destinationdirs", ("", []))[1]:
        k, v = line.split("=", 1)
        dest_dirs[k.strip().lower()] = v.strip()
    default = dest_dirs.get("defaultdestdir", "11")
    out = []
    for _, (_, lines) in sections.items():
        for line in lines:
            if not line.lower().startswith("copyfiles") or "=" not in line:
                continue
            for item in line.split("=", 1)[1].split(","):
                item = item.strip()
                if item.startswith("@"):
                    out.append((item[1:], "", default))
                elif item and item.lower() in sections:
                    for fl in sections[item.lower()][1]:
                        fields = [f.strip() for f in fl.split(",")]
                        out.append((fields[0], fields[1] if len(fields) > 1 else "",
                                    dest_dirs.get(item.lower(), default)))
    return out


def fill_source_disks(text):
    """Fills the %SOURCEFILES% line with the package's [SourceDisksFiles] entries."""
    if "%SOURCEFILES%" not in text:
        return text
    names = []
    for dest, source, _ in copy_entries(encode_inf(text.replace("%SOURCEFILES%", ""), False)):
        name = source or dest
        if name.lower() not in [n.lower() for n in names]:
            names.append(name)
    return text.replace("%SOURCEFILES%", "\n".join("%s = 1" % n for n in names))


# ---------------------------------------------------------------------------------------------
# The Windows 10 machine: INF packages.

MS_VER = "06/21/2006,10.0.19041.1"


def ms_inf(name, cls, provider, models, installs, copies, dest_dirs=None, version=MS_VER):
    """One of Windows' own INFs, written small: models -> install sections -> copy sections."""
    guid = CLASSES[cls][0]
    out = [
        "; %s" % name,
        ";",
        "; Windows in-box driver package (sample machine copy).",
        "",
        "[Version]",
        'Signature="$Windows NT$"',
        "Class=%s" % cls,
        "ClassGuid=%s" % guid,
        "Provider=%PROVIDER%",
        "DriverVer=%s" % version,
        "PnpLockdown=1",
        "",
        "[SourceDisksNames]",
        "3426=windows cd",
        "",
        "[SourceDisksFiles]",
        "%SOURCEFILES%",
        "",
        "[DestinationDirs]",
        "DefaultDestDir=12",
    ]
    for k, v in (dest_dirs or {}).items():
        out.append("%s=%s" % (k, v))
    out += ["", "[ControlFlags]", "ExcludeFromSelect=*", "", "[Manufacturer]", "%MFG%=Models,NTamd64", "",
            "[Models.NTamd64]"]
    for desc_key, section, hwid in models:
        out.append("%%%s%%=%s,%s" % (desc_key, section, hwid))
    out.append("")
    for section, body in installs:
        out.append("[%s]" % section)
        out += body
        out.append("")
        if any(line.lower().startswith("copyfiles") for line in body):
            out += ["[%s.Services]" % section, "AddService=%s,0x00000002,%s_Service_Inst" % (
                section.split(".")[0].split("_")[0], section.split(".")[0]), ""]
    for section, lines in copies:
        out.append("[%s]" % section)
        out += lines
        out.append("")
    out += ["[Strings]", 'PROVIDER="%s"' % provider, 'MFG="%s"' % provider]
    for desc_key, _, _ in models:
        out.append('%s="%s"' % (desc_key, MS_DESCS[desc_key]))
    return "\n".join(out) + "\n"


MS_DESCS = {
    "AmdPPM.DeviceDesc": "AMD Processor",
    "HostBridge.DeviceDesc": "PCI standard host CPU bridge",
    "PciRoot.DeviceDesc": "PCI Express Root Complex",
    "PS2Kbd.DeviceDesc": "Standard PS/2 Keyboard",
    "HidKbd.DeviceDesc": "HID Keyboard Device",
    "HidMouse.DeviceDesc": "HID-compliant mouse",
    "PnPMonitor.DeviceDesc": "Generic PnP Monitor",
    "HDAudio.DeviceDesc": "High Definition Audio Controller",
    "XHCI.DeviceDesc": "USB xHCI Compliant Host Controller",
    "AHCI.DeviceDesc": "Standard SATA AHCI Controller",
    "NVMe.DeviceDesc": "Standard NVM Express Controller",
    "BasicDisplay.DeviceDesc": "Microsoft Basic Display Driver",
    "SwEnum.DeviceDesc": "Plug and Play Software Device Enumerator",
    "SMBios.DeviceDesc": "Microsoft System Management BIOS Driver",
    "Disk.DeviceDesc": "Disk drive",
    "RootHub3.DeviceDesc": "USB Root Hub (USB 3.0)",
    "Composite.DeviceDesc": "USB Composite Device",
    "HidUsb.DeviceDesc": "USB Input Device",
    "HidGame.DeviceDesc": "HID-compliant game controller",
    "UsbPrint.DeviceDesc": "USB Printing Support",
    "UsbVideo.DeviceDesc": "USB Video Device",
}

MS_INFS = {
    "cpu.inf": ms_inf(
        "cpu.inf", "Processor", "Microsoft",
        [("AmdPPM.DeviceDesc", "AmdPPM_Inst", "ACPI\\AuthenticAMD_-_AMD64_Family_23")],
        [("AmdPPM_Inst", ["CopyFiles=@amdppm.sys"])], []),
    "machine.inf": ms_inf(
        "machine.inf", "System", "(Standard system devices)",
        [("HostBridge.DeviceDesc", "NO_DRV", "PCI\\VEN_1022&DEV_1480"),
         ("HostBridge.DeviceDesc", "NO_DRV", "PCI\\VEN_1022&DEV_1482")],
        [("NO_DRV", ["; the bus driver runs these devices", "Include=machine.inf"])], []),
    "pci.inf": ms_inf(
        "pci.inf", "System", "(Standard system devices)",
        [("PciRoot.DeviceDesc", "PCI_DRV_ROOT", "ACPI\\PNP0A08")],
        [("PCI_DRV_ROOT", ["CopyFiles=PCI_DRV_COPYFILES", "AddReg=PCI_DRV_ROOT_AddReg"])],
        [("PCI_DRV_COPYFILES", ["pci.sys,,,0x100"])]),
    "keyboard.inf": ms_inf(
        "keyboard.inf", "Keyboard", "(Standard keyboards)",
        [("PS2Kbd.DeviceDesc", "STANDARD_Inst", "*PNP0303"),
         ("HidKbd.DeviceDesc", "HID_Keyboard_Inst", "HID_DEVICE_SYSTEM_KEYBOARD")],
        [("STANDARD_Inst", ["CopyFiles=STANDARD_CopyFiles"]),
         ("HID_Keyboard_Inst", ["CopyFiles=HID_Keyboard_Inst.CopyFiles"])],
        [("STANDARD_CopyFiles", ["i8042prt.sys", "kbdclass.sys"]),
         ("HID_Keyboard_Inst.CopyFiles", ["kbdhid.sys", "kbdclass.sys"])]),
    "msmouse.inf": ms_inf(
        "msmouse.inf", "Mouse", "Microsoft",
        [("HidMouse.DeviceDesc", "HID_Mouse_Inst", "HID_DEVICE_SYSTEM_MOUSE")],
        [("HID_Mouse_Inst", ["CopyFiles=HID_Mouse_Inst.CopyFiles"])],
        [("HID_Mouse_Inst.CopyFiles", ["mouhid.sys", "mouclass.sys"])]),
    "monitor.inf": ms_inf(
        "monitor.inf", "Monitor", "Microsoft",
        [("PnPMonitor.DeviceDesc", "PnPMonitor.Install", "*PNP09FF")],
        [("PnPMonitor.Install", ["DelReg=DEL_CURRENT_REG", "CopyFiles=PnPMonitor.CopyFiles"])],
        [("PnPMonitor.CopyFiles", ["monitor.sys"])]),
    "hdaudbus.inf": ms_inf(
        "hdaudbus.inf", "System", "Microsoft",
        [("HDAudio.DeviceDesc", "HDAudio_Device", "PCI\\CC_0403")],
        [("HDAudio_Device", ["CopyFiles=HDAudio_CopyFiles"])],
        [("HDAudio_CopyFiles", ["hdaudbus.sys"])]),
    # Windows reads [Generic.Install.NT]; the registry names the section without ".NT".
    "usbxhci.inf": ms_inf(
        "usbxhci.inf", "USB", "Microsoft",
        [("XHCI.DeviceDesc", "Generic.Install", "PCI\\CC_0C0330")],
        [("Generic.Install.NT", ["CopyFiles=Generic.CopyFiles"])],
        [("Generic.CopyFiles", ["USBXHCI.SYS", "UCX01000.SYS"])]),
    "mshdc.inf": ms_inf(
        "mshdc.inf", "hdc", "(Standard IDE ATA/ATAPI controllers)",
        [("AHCI.DeviceDesc", "storahci_Inst", "PCI\\CC_010601")],
        [("storahci_Inst", ["CopyFiles=storahci_CopyFiles"])],
        [("storahci_CopyFiles", ["storahci.sys"])]),
    "stornvme.inf": ms_inf(
        "stornvme.inf", "SCSIAdapter", "Microsoft",
        [("NVMe.DeviceDesc", "Stornvme_Inst", "PCI\\CC_010802")],
        [("Stornvme_Inst", ["CopyFiles=Stornvme_CopyFiles"])],
        [("Stornvme_CopyFiles", ["stornvme.sys"])]),
    "basicdisplay.inf": ms_inf(
        "basicdisplay.inf", "System", "Microsoft",
        [("BasicDisplay.DeviceDesc", "BasicDisplay_Inst", "ROOT\\BasicDisplay")],
        [("BasicDisplay_Inst", ["FeatureScore=FB", "CopyFiles=@BasicDisplay.sys"])], []),
    "swenum.inf": ms_inf(
        "swenum.inf", "System", "(Standard system devices)",
        [("SwEnum.DeviceDesc", "SWENUM", "SW\\{b7f53a80-3ff6-11d2-a2b0-00a0c9250ab7}")],
        [("SWENUM", ["CopyFiles=SWENUM.CopyFiles"])],
        [("SWENUM.CopyFiles", ["swenum.sys"])]),
    "mssmbios.inf": ms_inf(
        "mssmbios.inf", "System", "Microsoft Corporation",
        [("SMBios.DeviceDesc", "MSSMBIOS_DRV", "ROOT\\mssmbios")],
        [("MSSMBIOS_DRV", ["CopyFiles=MSSMBIOS_DRV_COPYFILES"])],
        [("MSSMBIOS_DRV_COPYFILES", ["mssmbios.sys"])]),
    "disk.inf": ms_inf(
        "disk.inf", "DiskDrive", "Microsoft",
        [("Disk.DeviceDesc", "disk_install", "GenDisk")],
        [("disk_install", ["CopyFiles=disk_copyfiles"])],
        [("disk_copyfiles", ["disk.sys", "classpnp.sys"])]),
    "usbhub3.inf": ms_inf(
        "usbhub3.inf", "USB", "Microsoft",
        [("RootHub3.DeviceDesc", "ROOTHUB.Dev", "USB\\ROOT_HUB30")],
        [("ROOTHUB.Dev", ["CopyFiles=ROOTHUB.CopyFiles"])],
        [("ROOTHUB.CopyFiles", ["usbhub3.sys"])]),
    "usb.inf": ms_inf(
        "usb.inf", "USB", "(Standard USB Host Controller)",
        [("Composite.DeviceDesc", "Composite.Dev", "USB\\COMPOSITE")],
        [("Composite.Dev", ["CopyFiles=CCGP.CopyFiles"])],
        [("CCGP.CopyFiles", ["usbccgp.sys"])]),
    "input.inf": ms_inf(
        "input.inf", "HIDClass", "Microsoft",
        [("HidUsb.DeviceDesc", "HID_Inst", "USB\\Class_03"),
         ("HidGame.DeviceDesc", "HID_Raw_Inst", "HID_DEVICE_SYSTEM_GAME")],
        [("HID_Inst", ["CopyFiles=HID_Inst.CopyFilesDLL"]),
         ("HID_Raw_Inst", ["; served by the class driver", "Include=input.inf"])],
        [("HID_Inst.CopyFilesDLL", ["hidusb.sys", "hidclass.sys", "hidparse.sys"])]),
    "usbprint.inf": ms_inf(
        "usbprint.inf", "USB", "Microsoft",
        [("UsbPrint.DeviceDesc", "USBPRINT_Inst", "USB\\Class_07")],
        [("USBPRINT_Inst", ["CopyFiles=@usbprint.sys"])], []),
    "usbvideo.inf": ms_inf(
        "usbvideo.inf", "Camera", "Microsoft",
        [("UsbVideo.DeviceDesc", "USBVideo", "USB\\Class_0E")],
        [("USBVideo", ["Include=ks.inf,kscaptur.inf", "Needs=KS.Registration,KSCAPTUR.Registration.NT",
                       "CopyFiles=USBVideo.CopyList"])],
        [("USBVideo.CopyList", ["usbvideo.sys"])]),
}

# Third-party packages: (oem name, original name, folder "inf" / "other" / "both", UTF-16?, text)
NORTHWIND_INF = r"""; nwhda64.inf
;
; Northwind HD Audio driver package for Windows 10 x64.
; Copyright © 2021 Northwind Audio. All rights reserved.

[Version]
Signature="$Windows NT$"
Class=MEDIA
ClassGuid={4d36e96c-e325-11ce-bfc1-08002be10318}
Provider=%NwMfg%
DriverVer=05/14/2021,6.0.9177.1
CatalogFile=nwhda64.cat
CatalogFile.NTamd64=nwhda64x.cat
PnpLockdown=1

[SourceDisksNames]
1=%DiskName%,,,

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=11
NwHda.CopySys=12

[Manufacturer]
%NwMfg%=Northwind,NTamd64.10.0

[Northwind.NTamd64.10.0]
%NwHda.DeviceDesc%=NwHda_Install,HDAUDIO\FUNC_01&VEN_7C12&DEV_0887&SUBSYS_1A2B7C12
%NwHda.DeviceDesc%=NwHda_Install,HDAUDIO\FUNC_01&VEN_7C12&DEV_0887

[NwHda_Install]
Include=ks.inf,wdmaudio.inf
Needs=KS.Registration,WDMAUDIO.Registration
CopyFiles=NwHda.CopySys,NwHda.CopyDll ; kernel driver, then the effects and property pages
CopyFiles=@nwhdacpl.exe
AddReg=NwHda.AddReg

[NwHda_Install.HW]
AddReg=NwHda.HW.AddReg

[NwHda_Install.Services]
AddService=NwHdaSvc,0x00000002,NwHda.ServiceInstall

[NwHda_Install.CoInstallers]
AddReg=NwHda.CoInstaller.AddReg
CopyFiles=NwHda.CoInstaller.CopyFiles

[NwHda.CopySys]
nwhda64.sys,,,0x00004000 ; replace on reboot when in use

[NwHda.CopyDll]
nwapo64.dll,nwapo64_x64.dll
nwprop64.dll,nwprop64_x64.dll,,2
nwhdares.dll

[NwHda.CoInstaller.CopyFiles]
nwcoins64.dll

[NwHda.CoInstaller.AddReg]
HKR,,CoInstallers32,0x00010000,"nwcoins64.dll,NwCoInstallerEntry"

[NwHda.AddReg]
HKR,,AssociatedFilters,,"wdmaud,swmidi,redbook"
HKR,,Driver,,nwhda64.sys
HKR,Drivers,SubClasses,,"wave,midi,mixer"
HKR,Drivers\wave\wdmaud.drv,Driver,,wdmaud.drv
HKR,Drivers\wave\wdmaud.drv,Description,,%NwHda.DeviceDesc%

[NwHda.HW.AddReg]
HKR,,UpperFilters,0x00010000,"NwHdaFlt"

[NwHda.ServiceInstall]
DisplayName=%NwHda.SvcDesc%
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\nwhda64.sys

[Strings]
NwMfg="Northwind Audio"
DiskName="Northwind HD Audio Installation Disk"
NwHda.DeviceDesc="Northwind HD Audio"
NwHda.SvcDesc="Northwind HD Audio Service (Kühlschrank-Modus)"
"""

TALLIS_VIREO_INF = r""";
; tlgvireo.inf - Tallis Graphics Vireo display driver, Windows 10 x64 (DCH)
; Copyright (c) 2020-2021 Tallis Graphics. All rights reserved.
;

[Version]
Signature = "$Windows NT$"
Provider = %Tallis%
Class = Display
ClassGUID = {4d36e968-e325-11ce-bfc1-08002be10318}
DriverVer = 10/12/2021,27.20.21012.4001
CatalogFile.NTamd64 = tlgvireo.cat
PnpLockdown = 1

[SourceDisksNames.amd64]
1 = %DiskId%,,,""

[SourceDisksFiles.amd64]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir = 13
TLG.Copy.System32 = 11
TLG.Copy.Wow64 = 16425

[Manufacturer]
%Tallis% = Tallis, NTamd64.10.0...17763

[Tallis.NTamd64.10.0...17763]
%TLG7340% = TLG_Vireo, PCI\VEN_6B3D&DEV_7340&SUBSYS_5A1E6B3D
%TLG7340% = TLG_Vireo, PCI\VEN_6B3D&DEV_7340

[TLG_Vireo]
FeatureScore = F6
CopyFiles = TLG.Copy.Kmd, TLG.Copy.Umd, TLG.Copy.Vulkan
CopyFiles = TLG.Copy.System32, TLG.Copy.Profiles, TLG.Copy.Wow64
AddReg = TLG.SoftwareDeviceSettings, TLG.Vulkan.AddReg

[TLG_Vireo.Services]
AddService = tlgkmd, 0x00000002, TLG.Service, TLG.EventLog

[TLG_Vireo.HW]
AddReg = TLG.HW.AddReg

[TLG.Copy.Kmd]
tlgkmd64.sys,,,0x100

[TLG.Copy.Umd]
tlgumd64.dll
tlgd3d12.dll
tlgdxc64.dll
tlgocl64.dll
tlgmon.dll

[TLG.Copy.Vulkan]
tlgvk64.dll
tlgvk64.json

; the control panel and the monitor helper also live in System32
[TLG.Copy.System32]
tlgcpl.exe,tlgcpl.ex_
tlgmon.dll

; the 32-bit build of the monitor helper, for 32-bit programs
[TLG.Copy.Wow64]
tlgmon.dll,tlgmon32.dll

[TLG.SoftwareDeviceSettings]
HKR,, InstalledDisplayDrivers, %REG_MULTI_SZ%, tlgumd64
HKR,, UserModeDriverName, %REG_MULTI_SZ%, tlgumd64.dll
HKR,, VideoID, %REG_SZ%, {6b3d7340-0000-4c61-8e57-76697265726f}

[TLG.Vulkan.AddReg]
HKR,, VulkanDriverName, %REG_MULTI_SZ%, %13%\tlgvk64.json

[TLG.HW.AddReg]
HKR,, SupportedDisplayModes, %REG_DWORD%, 0x7

[TLG.Service]
ServiceType = 1
StartType = 3
ErrorControl = 0
ServiceBinary = %13%\tlgkmd64.sys

[TLG.EventLog]
AddReg = TLG.EventLog.AddReg

[TLG.EventLog.AddReg]
HKR,,EventMessageFile,%REG_EXPAND_SZ%,"%%SystemRoot%%\System32\IoLogMsg.dll"
HKR,,TypesSupported,%REG_DWORD%,7

[Strings]
REG_SZ = 0x00000000
REG_MULTI_SZ = 0x00010000
REG_EXPAND_SZ = 0x00020000
REG_DWORD = 0x00010001
Tallis = "Tallis Graphics"
DiskId = "Tallis Graphics Installation Disk"
TLG7340 = "Tallis Graphics Vireo RX 5600 XT Series Graphics Adapter with Extended Desktop and Colour Management Support"
"""

TALLIS_HDMI_INF = r"""; tlghdmi.inf - Tallis Graphics High Definition Audio (HDMI/DP)
; Copyright (c) 2021 Tallis Graphics.

[Version]
Signature="$Windows NT$"
Class=MEDIA
ClassGuid={4d36e96c-e325-11ce-bfc1-08002be10318}
Provider=%Tallis%
DriverVer=08/02/2021,10.0.1.21
CatalogFile=tlghdmi.cat
PnpLockdown=1

[SourceDisksNames]
1=%DiskId%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12

[Manufacturer]
%Tallis%=Tallis,NTamd64

[Tallis.NTamd64]
%TlgHdmi.DeviceDesc%=TlgHdmi_Install,HDAUDIO\FUNC_01&VEN_6B3D&DEV_AA01

[TlgHdmi_Install.NT]
Include=ks.inf,wdmaudio.inf
Needs=KS.Registration,WDMAUDIO.Registration
CopyFiles=TlgHdmi.Copy
AddReg=TlgHdmi.AddReg

[TlgHdmi_Install.NT.Services]
AddService=tlghdmi,0x00000002,TlgHdmi.Service

[TlgHdmi.Copy]
tlghdmi.sys

[TlgHdmi.AddReg]
HKR,,Driver,,tlghdmi.sys

[TlgHdmi.Service]
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\tlghdmi.sys

[Strings]
Tallis="Tallis Graphics"
DiskId="Tallis Graphics Audio Disk"
TlgHdmi.DeviceDesc="Tallis Graphics High Definition Audio"
"""

CORVID_NET_INF = r"""; cvnet25.inf
; Corvid Networks PCIe 2.5 Gigabit Ethernet, NDIS 6.x, Windows 10 x64
; Copyright (C) 2021 Corvid Networks

[Version]
Signature   = "$Windows NT$"
Class       = Net
ClassGUID   = {4d36e972-e325-11ce-bfc1-08002be10318}
Provider    = %Corvid%
CatalogFile = cvnet25.cat   ; signed catalog
DriverVer   = 09/03/2021,10.52.903.2021
PnpLockdown = 1

[SourceDisksNames]
1 = %DiskDescription%,,,

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir = 12
CV.CopyFiles = 12

[Manufacturer]
%Corvid% = Corvid,NTamd64.10.0

[Corvid.NTamd64.10.0]
%CV8125.DeviceDesc% = CV8125.ndi, PCI\VEN_3E91&DEV_8125&SUBSYS_86773E91
%CV8125.DeviceDesc% = CV8125.ndi, PCI\VEN_3E91&DEV_8125

[CV8125.ndi] 
Characteristics    = 0x84
BusType            = 5
*IfType            = 6
*MediaType         = 0
*PhysicalMediaType = 14
AddReg             = CV8125.reg, CV.Advanced.reg
CopyFiles          = CV.CopyFiles

[CV8125.ndi.Services]
AddService = cvnet25, 2, CV.Service, CV.EventLog

[CV.CopyFiles]
cvnet25x64.sys,,,2

[CV8125.reg]
HKR, Ndi,            Service,    0, "cvnet25"
HKR, Ndi\Interfaces, UpperRange, 0, "ndis5"
HKR, Ndi\Interfaces, LowerRange, 0, "ethernet"

[CV.Advanced.reg]
HKR, Ndi\params\*SpeedDuplex, ParamDesc, 0, %SpeedDuplex%
HKR, Ndi\params\*SpeedDuplex, default,   0, "0"

[CV.Service]
DisplayName   = %CV.Service.DispName%
ServiceType   = 1
StartType     = 3
ErrorControl  = 1
ServiceBinary = %12%\cvnet25x64.sys

[CV.EventLog]
AddReg = CV.AddEventLog.reg

[CV.AddEventLog.reg]
HKR, , EventMessageFile, 0x00020000, "%%SystemRoot%%\System32\netevent.dll"
HKR, , TypesSupported,   0x00010001, 7

[Strings]
Corvid               = "Corvid Networks"
DiskDescription      = "Corvid Ethernet Driver Disk"
CV8125.DeviceDesc    = "Corvid PCIe 2.5GbE Family Controller"
CV.Service.DispName  = "Corvid 2.5GbE NDIS Driver"
SpeedDuplex          = "Speed & Duplex"
"""

CORVID_WLAN_INF = r"""; cvwlx64.inf
; Corvid Wireless-AX 2723 WLAN driver, Windows 10 x64
; Copyright (c) 2021 Corvid Networks. All rights reserved.

[Version]
Signature="$WINDOWS NT$"
Class=Net
ClassGuid={4d36e972-e325-11ce-bfc1-08002be10318}
Provider=%Corvid%
CatalogFile=cvwl.cat
CatalogFile.NTx86=cvwlx86.cat
CatalogFile.NTamd64=cvwlx64.cat
DriverVer=06/30/2021,22.70.0.6
PnpLockdown=1

[SourceDisksNames]
1=%DiskName%,,,

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12
CvWl.CopyUm=11
CvWl.CoInst.Copy=11

[Manufacturer]
%Corvid%=Corvid,NTamd64.10.0

[Corvid.NTamd64.10.0]
%AX2723.DeviceDesc%=Install_GEN_AX2723,PCI\VEN_3E91&DEV_2723&SUBSYS_00843E91
%AX2723.DeviceDesc%=Install_GEN_AX2723,PCI\VEN_3E91&DEV_2723

[Install_GEN_AX2723.NTamd64]
Characteristics=0x84
BusType=5
*IfType=71
*MediaType=16
*PhysicalMediaType=9
AddReg=CvWl.Reg
CopyFiles=CvWl.CopyFiles,CvWl.CopyUm

[Install_GEN_AX2723.NTamd64.Services]
AddService=cvwlx64,0x00000002,CvWl.Service

[Install_GEN_AX2723.NTamd64.CoInstallers]
AddReg=CvWl.CoInst.AddReg
CopyFiles=CvWl.CoInst.Copy

[CvWl.CoInst.Copy]
cvwlcoins.dll

[CvWl.CoInst.AddReg]
HKR,,CoInstallers32,0x00010000,"cvwlcoins.dll,CvWlCoInstaller"

[CvWl.CopyFiles]
cvwlx64.sys
cvwlfw2723.ucode

[CvWl.CopyUm]
cvwlext.dll

[CvWl.Reg]
HKR,Ndi,Service,0,"cvwlx64"
HKR,Ndi\Interfaces,UpperRange,0,"ndis5"
HKR,Ndi\Interfaces,LowerRange,0,"wlan,ethernet,vwifi"

[CvWl.Service]
DisplayName=%CvWl.Service.DispName%
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\cvwlx64.sys

[Strings]
Corvid="Corvid Networks"
DiskName="Corvid Wireless Driver Disk"
AX2723.DeviceDesc="Corvid Wireless-AX 2723 160MHz"
CvWl.Service.DispName="Corvid Wireless-AX Miniport Driver"
"""

CORVID_BT_INF = r"""; cvbt.inf
; Corvid Wireless Bluetooth, Windows 10 x64
; Copyright (c) 2021 Corvid Networks

[Version]
Signature="$Windows NT$"
Class=Bluetooth
ClassGuid={e0cbf06c-cd8b-4647-bb8a-263b43f0f974}
Provider=%Corvid%
CatalogFile.NT=cvbt.cat
DriverVer=07/21/2021,22.70.0.3
PnpLockdown=1

[SourceDisksNames]
1=%DiskName%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12

[Manufacturer]
%Corvid%=Corvid,NTamd64.10.0...16299

[Corvid.NTamd64.10.0...16299]
%CvBt.DeviceDesc%=CvBt_Install,USB\VID_3E91&PID_0029

[CvBt_Install]
Include=bth.inf
Needs=BthUsb.NT
CopyFiles=CvBt.Copy.Sys,CvBt.Copy.Fw

[CvBt_Install.Services]
AddService=cvbtusb,0x00000002,CvBt.Service

[CvBt.Copy.Sys]
cvbtusb.sys

[CvBt.Copy.Fw]
cvbtfw2723.sfi,,,0x00004000

[CvBt.Service]
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\cvbtusb.sys

[Strings]
Corvid="Corvid Networks"
DiskName="Corvid Bluetooth Driver Disk"
CvBt.DeviceDesc="Corvid Wireless Bluetooth"
"""

KESTREL_INF = r"""; kstpad.inf - Kestrel Pro Gamepad
; Copyright (c) 2020 Kestrel Peripherals

[Version]
Signature="$Windows NT$"
Class=HIDClass
ClassGuid={745a17a0-74d3-11d0-b6fe-00a0c90f57da}
Provider=%Kestrel%
CatalogFile=kstpad.cat
DriverVer=11/20/2020,2.3.1.7

[SourceDisksNames]
1=%DiskName%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12
KstPad.CopyUser=11

[Manufacturer]
%Kestrel%=Kestrel,NTamd64

[Kestrel.NTamd64]
%KstPad.DeviceDesc%=KstPad.Inst,USB\VID_3A07&PID_1002

[KstPad.Inst]
CopyFiles=@kstpad.sys,KstPad.CopyUser
AddReg=KstPad.AddReg

[KstPad.Inst.HW]
AddReg=KstPad.HW.AddReg

[KstPad.Inst.Services]
AddService=kstpad,0x00000002,KstPad.Service

[KstPad.CopyUser]
kstpadcpl.dll
kstpadff.dll

[KstPad.AddReg]
HKR,,EnumPropPages32,,"kstpadcpl.dll,KstPadPropPageProvider"

[KstPad.HW.AddReg]
HKR,,"LowerFilters",0x00010000,"kstpad"

[KstPad.Service]
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\kstpad.sys

[Strings]
Kestrel="Kestrel Peripherals"
DiskName="Kestrel Gamepad Disk"
KstPad.DeviceDesc="Kestrel Pro Gamepad"
"""


def haldane_inf(date, version, with_tray):
    tray = "hldcrtray.exe,hldcrtray.ex_\n" if with_tray else ""
    return r"""; hldcr.inf - Haldane USB 3.0 Card Reader
; Copyright (c) 2017-2019 Haldane Microsystems

[Version]
Signature="$Windows NT$"
Class=SCSIAdapter
ClassGUID={4d36e97b-e325-11ce-bfc1-08002be10318}
Provider=%Haldane%
DriverVer=""" + date + "," + version + r"""
CatalogFile=hldcr.cat

[SourceDisksNames]
1=%DiskName%,,,

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12
HldCr.CoInst.Copy=11
HldCr.Util.Copy=11

[Manufacturer]
%Haldane%=Haldane,NTamd64

[Haldane.NTamd64]
%HldCr.DeviceDesc%=HldCr_Inst,USB\VID_4B21&PID_0650

[HldCr_Inst]
CopyFiles=HldCr.Sys.Copy
CopyFiles=HldCr.Util.Copy
AddReg=HldCr.AddReg

[HldCr_Inst.HW]
AddReg=HldCr.HW.AddReg

[HldCr_Inst.Services]
AddService=hldcr,0x00000002,HldCr.Service

[HldCr_Inst.CoInstallers]
AddReg=HldCr.CoInst.AddReg
CopyFiles=HldCr.CoInst.Copy

[HldCr_Inst.Wdf]
KmdfService=hldcr,HldCr.WdfSect

[HldCr.WdfSect]
KmdfLibraryVersion=1.11

[HldCr.Sys.Copy]
hldcr.sys

[HldCr.Util.Copy]
hldcrsvc.exe
""" + tray + r"""
[HldCr.CoInst.Copy]
hldcoins.dll

[HldCr.CoInst.AddReg]
HKR,,CoInstallers32,0x00010000,"hldcoins.dll,HldCoInstaller"

[HldCr.AddReg]
HKR,,"CardSlots",0x00010001,2

[HldCr.HW.AddReg]
HKR,,"SelectiveSuspendEnabled",0x00000001,1

[HldCr.Service]
DisplayName=%HldCr.SvcName%
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\hldcr.sys

[Strings]
Haldane="Haldane Microsystems"
DiskName="Haldane Card Reader Disk"
HldCr.DeviceDesc="Haldane USB 3.0 Card Reader"
HldCr.SvcName="Haldane Card Reader Driver"
"""


BRIGHTWATER_INF = r"""; bwser.inf - Brightwater USB serial bridge
; Copyright (c) 2019 Brightwater Semiconductor

[Version]
Signature="$Windows NT$"
Class=Ports
ClassGuid={4D36E978-E325-11CE-BFC1-08002BE10318}
Provider=%Brightwater%
DriverVer=03/07/2019,3.5.2019.1
CatalogFile=bwser.cat

[SourceDisksNames]
1=%DiskName%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12

[Manufacturer]
%Brightwater%=Brightwater,NTamd64

[Brightwater.NTamd64]
%BwSer.DeviceDesc%=BwSer.NT,USB\VID_4C57&PID_7523

[BwSer.NT]
CopyFiles=BwSer.CopyFiles
AddReg=BwSer.NT.AddReg

[BwSer.NT.HW]
AddReg=BwSer.NT.HW.AddReg

[BwSer.NT.Services]
AddService=bwser64,0x00000002,BwSer.Service

[BwSer.CopyFiles]
bwser64.sys,bwser64.sy_
bwserenum64.sys

[BwSer.NT.AddReg]
HKR,,PortSubClass,1,01
HKR,,EnumPropPages32,,"MsPorts.dll,SerialPortPropPageProvider"

[BwSer.NT.HW.AddReg]
HKR,,"UpperFilters",0x00010000,"serenum"

[BwSer.Service]
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\bwser64.sys

[Strings]
Brightwater="Brightwater Semiconductor"
DiskName="Brightwater Serial Driver Disk"
BwSer.DeviceDesc="Brightwater USB Serial Port"
"""

FARROW_INF = r"""; frwfh24.inf - Farrow Displays FH-2410 monitor
; Copyright (c) 2020 Farrow Displays

[Version]
signature="$CHICAGO$"
Class=Monitor
ClassGUID={4d36e96e-e325-11ce-bfc1-08002be10318}
Provider=%Farrow%
DriverVer=02/14/2020,1.0.0.3
CatalogFile=frwfh24.cat

[SourceDisksNames]
1=%DiskName%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=23

[Manufacturer]
%Farrow%=Farrow,NTamd64

[Farrow.NTamd64]
%FH2410%=FH2410.Install,Monitor\FRW2410

[FH2410.Install]
DelReg=DEL_CURRENT_REG
AddReg=FH2410.AddReg,1920,DPMS
CopyFiles=FH2410.CopyFiles

[FH2410.Install.Services]
AddService=,0x00000002

[FH2410.CopyFiles]
frwfh24.icm

[DEL_CURRENT_REG]
HKR,MODES
HKR,,MaxResolution
HKR,,DPMS
HKR,,ICMProfile

[1920]
HKR,,MaxResolution,,"1920, 1080"

[DPMS]
HKR,,DPMS,,1

[FH2410.AddReg]
HKR,"MODES\1920,1080",Mode1,,"30-83,56-75,+,+"
HKR,,ICMProfile,0,"frwfh24.icm"

[Strings]
Farrow="Farrow Displays"
DiskName="Farrow Monitor Disk"
FH2410="Farrow Displays FH-2410 (Digital)"
"""

ORRIN_INF = r"""; orspmc.inf - Orrin Systems Power Management Controller
; Copyright (c) 2020 Orrin Systems

[Version]
Signature="$WINDOWS NT$"
Class=System
ClassGuid={4d36e97d-e325-11ce-bfc1-08002be10318}
Provider=%Orrin%
CatalogFile=orspmc.cat
DriverVer=08/30/2020,2.0.0.14

[SourceDisksNames]
1=%DiskName%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=12
OrsPmc.Util=11

[Manufacturer]
%Orrin%=Orrin,NTamd64

[Orrin.NTamd64]
%OrsPmc.DeviceDesc%=OrsPmc_Inst,ACPI\ORS0010

[OrsPmc_Inst]
CopyFiles=OrsPmc.Sys

[OrsPmc_Inst.Services]
AddService=orspmc,0x00000002,OrsPmc.Service

[OrsPmc_Inst.NTamd64]
CopyFiles=OrsPmc.Sys,OrsPmc.Util

[OrsPmc_Inst.NTamd64.Services]
AddService=orspmc,0x00000002,OrsPmc.Service

[OrsPmc.Sys]
orspmc.sys

[OrsPmc.Util]
orspmcsvc.exe

[OrsPmc.Service]
ServiceType=1
StartType=3
ErrorControl=1
ServiceBinary=%12%\orspmc.sys

[Strings]
Orrin="Orrin Systems"
DiskName="Orrin Systems Driver Disk"
OrsPmc.DeviceDesc="Orrin Systems Power Management Controller"
"""

QUILLON_INF = r"""; qvpnadp.inf - Quillon VPN virtual network adapter
; Copyright (c) 2022 Quillon Software

[version]
Signature   = "$Windows NT$"
Class       = Net
ClassGUID   = {4d36e972-e325-11ce-bfc1-08002be10318}
Provider    = %Quillon%
DriverVer   = 01/19/2022,9.24.0.11
CatalogFile = qvpnadp.cat

[SourceDisksNames]
1 = %DiskName%

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir = 11
QVpn.Files.Sys = 12

[Manufacturer]
%Quillon% = Quillon,NTamd64

[Quillon.NTamd64]
%QVpn.DeviceDesc% = QVpn.ndi, quillon_vpnadp

[QVpn.ndi]
Characteristics = 0x1 ; virtual adapter
*IfType = 53
*MediaType = 0
*PhysicalMediaType = 0
AddReg = QVpn.Reg
CopyFiles = QVpn.Files.Sys
CopyFiles = @qvpnhelper.dll

[QVpn.ndi.Services]
AddService = qvpnadp, 2, QVpn.Service

[QVpn.Files.Sys]
qvpnadp.sys,,,6 ; no skip, no version check

[QVpn.Reg]
HKR, Ndi,            Service,    0, "qvpnadp"
HKR, Ndi\Interfaces, UpperRange, 0, "ndis5"
HKR, Ndi\Interfaces, LowerRange, 0, "ethernet"

[QVpn.Service]
DisplayName   = %QVpn.SvcDesc%
ServiceType   = 1
StartType     = 3
ErrorControl  = 1
ServiceBinary = %12%\qvpnadp.sys

[Strings]
Quillon         = "Quillon Software"
DiskName        = "Quillon VPN Driver Disk"
QVpn.DeviceDesc = "Quillon VPN Virtual Adapter"
QVpn.SvcDesc    = "Quillon VPN Adapter Driver"
"""

ASHGROVE_INF = r"""; aslw2040.inf - Ashgrove LaserWriter 2040 printer driver
; Copyright (c) 2019 Ashgrove Imaging

[Version]
Signature="$Windows NT$"
Provider=%Ashgrove%
ClassGUID={4D36E979-E325-11CE-BFC1-08002BE10318}
Class=Printer
CatalogFile=aslw2040.cat
DriverVer=04/11/2019,6.2.1904.11
PnpLockdown=1

[SourceDisksNames]
1=%DiskName%,,,

[SourceDisksFiles]
%SOURCEFILES%

[DestinationDirs]
DefaultDestDir=66000

[Manufacturer]
%Ashgrove%=Ashgrove,NTamd64

[Ashgrove.NTamd64]
"Ashgrove LaserWriter 2040"=ASLW2040,USBPRINT\AshgroveLaserWriter_20407A1C,AshgroveLaserWriter_20407A1C

[ASLW2040]
CopyFiles=ASLW.Common,ASLW.2040
DataSection=UNIDRV_DATA
DataFile=aslw2040.gpd
Include=ntprint.inf
Needs=UNIDRV.OEM

[ASLW.Common]
aslwres.dll
aslwui.dll
aslwcfg.ini
aslwhelp.chm

[ASLW.2040]
aslw2040.gpd
aslw2040.icc

[Strings]
Ashgrove="Ashgrove"
DiskName="Ashgrove Printer Driver Disk"
"""

# (oem name, original name, where, utf16, text)
PACKAGES = [
    ("oem2.inf", "bwser.inf", "inf", False, BRIGHTWATER_INF, "Brightwater Semiconductor"),
    ("oem3.inf", "cvnet25.inf", "inf", False, CORVID_NET_INF, "Corvid Networks"),
    ("oem4.inf", "orspmc.inf", "inf", False, ORRIN_INF, "Orrin Systems"),
    ("oem5.inf", "cvwlx64.inf", "other", True, CORVID_WLAN_INF, "Corvid Networks"),
    ("oem6.inf", "kstpad.inf", "other", False, KESTREL_INF, "Kestrel Peripherals"),
    ("oem7.inf", "nwhda64.inf", "inf", True, NORTHWIND_INF, "Northwind Audio"),
    ("oem8.inf", "cvbt.inf", "inf", True, CORVID_BT_INF, "Corvid Networks"),
    ("oem9.inf", "frwfh24.inf", "inf", False, FARROW_INF, "Farrow Displays"),
    ("oem10.inf", "tlghdmi.inf", "inf", False, TALLIS_HDMI_INF, "Tallis Graphics"),
    ("oem11.inf", "tlgvireo.inf", "inf", False, TALLIS_VIREO_INF, "Tallis Graphics"),
    ("oem12.inf", "aslw2040.inf", "inf", False, ASHGROVE_INF, "Ashgrove Imaging"),
    ("oem13.inf", "qvpnadp.inf", "inf", False, QUILLON_INF, "Quillon Software"),
    ("oem14.inf", "hldcr.inf", "inf", False, haldane_inf("3/7/2019", "1.4.2.0", True), "Haldane Microsystems"),
]
# An older copy of the card reader's INF that an earlier install left in inf\other.
OLD_HALDANE = ("oem14.inf", haldane_inf("11/2/2017", "1.2.0.0", False))
# The display driver's version before the current one, left in the driver store: (date, version).
OLD_VIREO = ("05/20/2021", "27.20.14535.3005")
# The fingerprint reader's INF (oem15.inf) was deleted by hand; only its driver file is left.
MISSING_INF = "oem15.inf"

WIN10_DIRS = {
    "10": "C:\\WINDOWS",
    "11": "C:\\WINDOWS\\system32",
    "12": "C:\\WINDOWS\\system32\\drivers",
    "23": "C:\\WINDOWS\\system32\\spool\\drivers\\color",
    "66000": "C:\\WINDOWS\\system32\\spool\\drivers\\x64\\3",
    "16425": "C:\\WINDOWS\\SysWOW64",
}


def place_package(files, dirs, inf_name, data, vendor, store_dir=None, installed=True):
    """Puts the files an INF copies where Windows would have put them: into the package's folder
    of the driver store under their source names, and, when installed, where the INF copies
    them (DIRID 13 files run from the store and have no other place)."""
    for dest, source, target in copy_entries(data):
        dirid, _, sub = target.partition(",")
        # A 32-bit build of a file is another file than the 64-bit one of that name.
        data_of_file = driver_file_bytes(dest, vendor + (" 32-bit" if dirid.strip() == "16425" else ""))
        if dirid.strip() == "13":
            if store_dir is None:
                raise SystemExit("%s: DIRID 13 outside the driver store" % inf_name)
        elif installed:
            folder = dirs[dirid.strip()] + ("\\" + sub.strip() if sub.strip() else "")
            files.put(folder + "\\" + dest, data_of_file)
        if store_dir is not None:
            files.put(store_dir + "\\" + (source or dest), data_of_file)


def catalogs_of(data):
    names = []
    for k in ("CatalogFile", "CatalogFile.nt", "CatalogFile.ntx86", "CatalogFile.ntia64", "CatalogFile.ntamd64"):
        v = clean(profile_get(data, "Version", k).split(";")[0]).strip()
        if v and v.lower() not in [n.lower() for n in names]:
            names.append(v)
    return names


# ---------------------------------------------------------------------------------------------
# The Windows 10 machine: devices.


class Drv:
    def __init__(self, desc, provider, inf, section, date=None, version=None, ext=None, matching=None,
                 extra=None, no_infpath=False):
        self.desc, self.provider, self.inf, self.section = desc, provider, inf, section
        self.date, self.version, self.ext, self.matching = date, version, ext, matching
        self.extra = extra or []
        self.no_infpath = no_infpath


class Dev:
    def __init__(self, enum, devid, inst, cls, hwids, drv, compat=(), service=None, present=True,
                 location=None, params=None, friendly=None, note=""):
        self.enum, self.devid, self.inst, self.cls = enum, devid, inst, cls
        self.hwids, self.compat, self.drv = list(hwids), list(compat), drv
        self.service, self.present, self.location = service, present, location
        self.params = params or []
        self.friendly = friendly
        self.note = note


def edid(mfg, product, serial, name, week=12, year=2020):
    code = ((ord(mfg[0]) - 64) << 10) | ((ord(mfg[1]) - 64) << 5) | (ord(mfg[2]) - 64)
    e = bytearray(b"\x00\xff\xff\xff\xff\xff\xff\x00")
    e += struct.pack(">H", code) + struct.pack("<HI", product, serial) + bytes([week, year - 1990, 1, 4])
    e += bytes([0xA5, 0x35, 0x1E, 0x78, 0x3A]) + blob("edid-colour/" + name, 10)
    e += bytes([0x21, 0x08, 0x00]) + bytes([0xD1, 0xC0] + [0x01, 0x01] * 7)
    e += bytes([0x02, 0x3A, 0x80, 0x18, 0x71, 0x38, 0x2D, 0x40, 0x58, 0x2C, 0x45, 0x00, 0x0F, 0x28,
                0x21, 0x00, 0x00, 0x1E])
    e += bytes([0, 0, 0, 0xFD, 0, 0x38, 0x4B, 0x1E, 0x53, 0x11, 0x00, 0x0A]) + b" " * 6
    e += bytes([0, 0, 0, 0xFC, 0]) + (name.encode() + b"\n" + b" " * 13)[:13]
    e += bytes([0, 0, 0, 0xFF, 0]) + (("%08d" % serial).encode() + b"\n" + b" " * 13)[:13]
    e += b"\x00"
    e.append((256 - sum(e) % 256) % 256)
    assert len(e) == 128
    return bytes(e)


LONG_VIREO = ("Tallis Graphics Vireo RX 5600 XT Series Graphics Adapter with Extended Desktop and "
              "Colour Management Support")
CPU_HWID = "ACPI\\AuthenticAMD_-_AMD64_Family_23_Model_113_-_AMD_Ryzen_5_3600_6-Core_Processor"


def win10_devices():
    M, S = "Microsoft", "(Standard system devices)"
    cpu = [Dev("ACPI", CPU_HWID.split("\\", 1)[1], "_%d" % n, "Processor",
               [CPU_HWID, "*AuthenticAMD_-_AMD64_Family_23_Model_113", "ACPI\\AuthenticAMD_-_AMD64_Family_23",
                "*AuthenticAMD_-_AMD64_Family_23", "ACPI\\AuthenticAMD_-_AMD64", "*AuthenticAMD_-_AMD64"],
               Drv("AMD Processor", M, "cpu.inf", "AmdPPM_Inst", "6-21-2006", "10.0.19041.1",
                   matching="acpi\\authenticamd_-_amd64_family_23"),
               service="amdppm", friendly="AMD Ryzen 5 3600 6-Core Processor",
               note="four cores, four equal descriptions in a row" if n == 0 else "")
           for n in range(4)]
    devs = cpu + [
        Dev("ACPI", "ORS0010", "1", "System", ["ACPI\\ORS0010", "*ORS0010"],
            Drv("Orrin Systems Power Management Controller", "Orrin Systems", "oem4.inf", "OrsPmc_Inst",
                "8-30-2020", None, ext=".NTamd64", matching="acpi\\ors0010"),
            service="orspmc", note="registry has no DriverVersion: taken from the INF's DriverVer; "
                                   "plain and .NTamd64 install sections"),
        Dev("ACPI", "PNP0303", "4&1d401fb5&0", "Keyboard", ["ACPI\\VEN_PNP&DEV_0303", "ACPI\\PNP0303", "*PNP0303"],
            Drv("Standard PS/2 Keyboard", "(Standard keyboards)", "keyboard.inf", "STANDARD_Inst",
                "6-21-2006", "10.0.19041.1", matching="*pnp0303"),
            service="i8042prt", present=False),
        Dev("ACPI", "PNP0A08", "0", "System", ["ACPI\\VEN_PNP&DEV_0A08", "ACPI\\PNP0A08", "*PNP0A08"],
            Drv("PCI Express Root Complex", S, "pci.inf", "PCI_DRV_ROOT", "6-21-2006", "10.0.19041.1",
                matching="acpi\\pnp0a08"),
            compat=["*PNP0A03"], service="pci"),
        Dev("DISPLAY", "FRW2410", "5&2f0e1c3&0&UID4353", "Monitor", ["MONITOR\\FRW2410"],
            Drv("Farrow Displays FH-2410 (Digital)", "Farrow Displays", "oem9.inf", "FH2410.Install",
                "2-14-2020", "1.0.0.3", matching="monitor\\frw2410"),
            compat=["*PNP09FF"], service="monitor",
            params=[binary("EDID", edid("FRW", 0x2410, 24101987, "FH-2410"))]),
        Dev("DISPLAY", "PMB0C21", "5&2f0e1c3&0&UID4354", "Monitor", ["MONITOR\\PMB0C21"],
            Drv("Generic PnP Monitor", M, "monitor.inf", "PnPMonitor.Install", "6-21-2006", "10.0.19041.1",
                matching="*pnp09ff"),
            compat=["*PNP09FF"], service="monitor",
            params=[binary("EDID", edid("PMB", 0x0C21, 3105, "PB24 Office"))]),
        Dev("HDAUDIO", "FUNC_01&VEN_6B3D&DEV_AA01&SUBSYS_6B3DAA01&REV_1001", "5&1d2c4a8&0&0001", "MEDIA",
            ["HDAUDIO\\FUNC_01&VEN_6B3D&DEV_AA01&SUBSYS_6B3DAA01&REV_1001",
             "HDAUDIO\\FUNC_01&VEN_6B3D&DEV_AA01&SUBSYS_6B3DAA01", "HDAUDIO\\FUNC_01&VEN_6B3D&DEV_AA01"],
            Drv("Tallis Graphics High Definition Audio", "Tallis Graphics", "oem10.inf", "TlgHdmi_Install",
                "8-2-2021", "10.0.1.21", ext=".NT", matching="hdaudio\\func_01&ven_6b3d&dev_aa01"),
            compat=["HDAUDIO\\FUNC_01&VEN_6B3D", "HDAUDIO\\FUNC_01"], service="tlghdmi",
            note="install section only as [TlgHdmi_Install.NT]"),
        Dev("HDAUDIO", "FUNC_01&VEN_7C12&DEV_0887&SUBSYS_1A2B7C12&REV_1003", "4&3b19b07&0&0001", "MEDIA",
            ["HDAUDIO\\FUNC_01&VEN_7C12&DEV_0887&SUBSYS_1A2B7C12&REV_1003",
             "HDAUDIO\\FUNC_01&VEN_7C12&DEV_0887&SUBSYS_1A2B7C12", "HDAUDIO\\FUNC_01&VEN_7C12&DEV_0887"],
            Drv("Northwind HD Audio", "Northwind Audio", "oem7.inf", "NwHda_Install", "5-14-2021", "6.0.9177.1",
                matching="hdaudio\\func_01&ven_7c12&dev_0887&subsys_1a2b7c12",
                extra=[multi("CoInstallers32", ["nwcoins64.dll,NwCoInstallerEntry"]),
                       sz("AssociatedFilters", "wdmaud,swmidi,redbook"), sz("Driver", "nwhda64.sys")]),
            compat=["HDAUDIO\\FUNC_01&VEN_7C12", "HDAUDIO\\FUNC_01"], service="NwHdaSvc",
            note="UTF-16 INF with two catalogs, @file, source names and a co-installer"),
        Dev("HID", "VID_2F1A&PID_0101&MI_00", "7&2a6b4c1e&0&0000", "Keyboard",
            ["HID\\VID_2F1A&PID_0101&REV_0110&MI_00", "HID\\VID_2F1A&PID_0101&MI_00", "HID_DEVICE_SYSTEM_KEYBOARD",
             "HID_DEVICE_UP:0001_U:0006", "HID_DEVICE"],
            Drv("HID Keyboard Device", "(Standard keyboards)", "keyboard.inf", "HID_Keyboard_Inst",
                "6-21-2006", "10.0.19041.1", matching="hid_device_system_keyboard"),
            service="kbdhid"),
        Dev("HID", "VID_2F1A&PID_0102", "7&1c3e8a2&0&0000", "Mouse",
            ["HID\\VID_2F1A&PID_0102&REV_0200", "HID\\VID_2F1A&PID_0102", "HID_DEVICE_SYSTEM_MOUSE",
             "HID_DEVICE_UP:0001_U:0002", "HID_DEVICE"],
            Drv("HID-compliant mouse", M, "msmouse.inf", "HID_Mouse_Inst", "6-21-2006", "10.0.19041.1",
                matching="hid_device_system_mouse"),
            service="mouhid"),
        Dev("HID", "VID_3A07&PID_1002", "7&b1d2e01&0&0000", "HIDClass",
            ["HID\\VID_3A07&PID_1002&REV_0107", "HID\\VID_3A07&PID_1002", "HID_DEVICE_SYSTEM_GAME",
             "HID_DEVICE_UP:0001_U:0005", "HID_DEVICE"],
            Drv("HID-compliant game controller", M, "input.inf", "HID_Raw_Inst", "6-21-2006", "10.0.19041.1",
                matching="hid_device_system_game")),
        Dev("HID", "VID_3A07&PID_1002", "7&b1d2e02&0&0000", "HIDClass",
            ["HID\\VID_3A07&PID_1002&REV_0107", "HID\\VID_3A07&PID_1002", "HID_DEVICE_SYSTEM_GAME",
             "HID_DEVICE_UP:0001_U:0005", "HID_DEVICE"],
            Drv("HID-compliant game controller", M, "input.inf", "HID_Raw_Inst", "6-21-2006", "10.0.19041.1",
                matching="hid_device_system_game"), present=False),
        Dev("PCI", "VEN_1022&DEV_1457&SUBSYS_A1821849&REV_00", "4&2c1ac4d0&0&0341", "System",
            ["PCI\\VEN_1022&DEV_1457&SUBSYS_A1821849&REV_00", "PCI\\VEN_1022&DEV_1457&SUBSYS_A1821849",
             "PCI\\VEN_1022&DEV_1457&CC_040300", "PCI\\VEN_1022&DEV_1457&CC_0403"],
            Drv("High Definition Audio Controller", M, "hdaudbus.inf", "HDAudio_Device", "6-21-2006",
                "10.0.19041.1", matching="pci\\cc_0403"),
            compat=["PCI\\VEN_1022&CC_040300", "PCI\\CC_0403"], service="HDAudBus",
            location="PCI bus 9, device 0, function 3"),
        Dev("PCI", "VEN_1022&DEV_1480&SUBSYS_14801849&REV_00", "3&2411e6fe&0&00", "System",
            ["PCI\\VEN_1022&DEV_1480&SUBSYS_14801849&REV_00", "PCI\\VEN_1022&DEV_1480&SUBSYS_14801849",
             "PCI\\VEN_1022&DEV_1480&CC_060000", "PCI\\VEN_1022&DEV_1480&CC_0600"],
            Drv("PCI standard host CPU bridge", S, "machine.inf", "NO_DRV", "6-21-2006", "10.0.19041.1",
                matching="pci\\ven_1022&dev_1480"),
            compat=["PCI\\VEN_1022&CC_060000", "PCI\\CC_0600"], location="PCI bus 0, device 0, function 0"),
        Dev("PCI", "VEN_1022&DEV_1482&SUBSYS_00000000&REV_00", "3&2411e6fe&0&08", "System",
            ["PCI\\VEN_1022&DEV_1482&SUBSYS_00000000&REV_00", "PCI\\VEN_1022&DEV_1482&SUBSYS_00000000",
             "PCI\\VEN_1022&DEV_1482&CC_060000", "PCI\\VEN_1022&DEV_1482&CC_0600"],
            Drv("PCI standard host CPU bridge", S, "machine.inf", "NO_DRV", "6-21-2006", "10.0.19041.1",
                matching="pci\\ven_1022&dev_1482"),
            compat=["PCI\\VEN_1022&CC_060000", "PCI\\CC_0600"], location="PCI bus 0, device 1, function 0"),
        Dev("PCI", "VEN_1022&DEV_149C&SUBSYS_7C561849&REV_00", "4&3a4f2d1&0&0341", "USB",
            ["PCI\\VEN_1022&DEV_149C&SUBSYS_7C561849&REV_00", "PCI\\VEN_1022&DEV_149C&SUBSYS_7C561849",
             "PCI\\VEN_1022&DEV_149C&CC_0C0330", "PCI\\VEN_1022&DEV_149C&CC_0C03"],
            Drv("USB xHCI Compliant Host Controller", M, "usbxhci.inf", "Generic.Install", "6-21-2006",
                "10.0.19041.1", ext=".NT", matching="pci\\cc_0c0330"),
            compat=["PCI\\VEN_1022&CC_0C0330", "PCI\\CC_0C0330", "PCI\\CC_0C03"], service="USBXHCI",
            note="install section is [Generic.Install.NT] in the INF"),
        Dev("PCI", "VEN_1022&DEV_43D5&SUBSYS_11421B21&REV_01", "4&11cd3b1&0&000A", "USB",
            ["PCI\\VEN_1022&DEV_43D5&SUBSYS_11421B21&REV_01", "PCI\\VEN_1022&DEV_43D5&SUBSYS_11421B21",
             "PCI\\VEN_1022&DEV_43D5&CC_0C0330", "PCI\\VEN_1022&DEV_43D5&CC_0C03"],
            Drv("USB xHCI Compliant Host Controller", M, "usbxhci.inf", "Generic.Install", "6-21-2006",
                "10.0.19041.1", ext=".NT", matching="pci\\cc_0c0330"),
            compat=["PCI\\VEN_1022&CC_0C0330", "PCI\\CC_0C0330", "PCI\\CC_0C03"], service="USBXHCI"),
        Dev("PCI", "VEN_1022&DEV_7901&SUBSYS_79011849&REV_51", "3&2411e6fe&0&A0", "hdc",
            ["PCI\\VEN_1022&DEV_7901&SUBSYS_79011849&REV_51", "PCI\\VEN_1022&DEV_7901&SUBSYS_79011849",
             "PCI\\VEN_1022&DEV_7901&CC_010601", "PCI\\VEN_1022&DEV_7901&CC_0106"],
            Drv("Standard SATA AHCI Controller", "(Standard IDE ATA/ATAPI controllers)", "mshdc.inf",
                "storahci_Inst", "6-21-2006", "10.0.19041.1", matching="pci\\cc_010601"),
            compat=["PCI\\VEN_1022&CC_010601", "PCI\\CC_010601", "PCI\\CC_0106"], service="storahci"),
        Dev("PCI", "VEN_1022&DEV_790B&SUBSYS_790B1849&REV_61", "3&2411e6fe&0&A3", None,
            ["PCI\\VEN_1022&DEV_790B&SUBSYS_790B1849&REV_61", "PCI\\VEN_1022&DEV_790B&SUBSYS_790B1849",
             "PCI\\VEN_1022&DEV_790B&CC_0C0500", "PCI\\VEN_1022&DEV_790B&CC_0C05"],
            None, compat=["PCI\\VEN_1022&CC_0C0500", "PCI\\CC_0C05"],
            note="SM Bus controller without a driver: no Driver value"),
        Dev("PCI", "VEN_3E91&DEV_2723&SUBSYS_00843E91&REV_1A", "4&1e5c2a1&0&00E8", "Net",
            ["PCI\\VEN_3E91&DEV_2723&SUBSYS_00843E91&REV_1A", "PCI\\VEN_3E91&DEV_2723&SUBSYS_00843E91",
             "PCI\\VEN_3E91&DEV_2723&CC_028000", "PCI\\VEN_3E91&DEV_2723&CC_0280"],
            Drv("Corvid Wireless-AX 2723 160MHz", "Corvid Networks", "oem5.inf", "Install_GEN_AX2723",
                "6-30-2021", "22.70.0.6", ext=".NTamd64", matching="pci\\ven_3e91&dev_2723&subsys_00843e91",
                extra=[sz("*IfType", "71"), sz("NetCfgInstanceId", "{8c1e4f0a-3b2d-4e6f-9a1c-2d3e4f5a6b7c}")]),
            compat=["PCI\\VEN_3E91&CC_028000", "PCI\\CC_0280"], service="cvwlx64",
            note="UTF-16 INF in inf\\other; install section [Install_GEN_AX2723.NTamd64] carries the decoration"),
        Dev("PCI", "VEN_3E91&DEV_8125&SUBSYS_86773E91&REV_05", "4&1e5c2a1&0&00E9", "Net",
            ["PCI\\VEN_3E91&DEV_8125&SUBSYS_86773E91&REV_05", "PCI\\VEN_3E91&DEV_8125&SUBSYS_86773E91",
             "PCI\\VEN_3E91&DEV_8125&CC_020000", "PCI\\VEN_3E91&DEV_8125&CC_0200"],
            Drv("Corvid PCIe 2.5GbE Family Controller", "Corvid Networks", "oem3.inf", "CV8125.ndi",
                "9-3-2021", "10.52.903.2021", matching="pci\\ven_3e91&dev_8125&subsys_86773e91",
                extra=[sz("*IfType", "6"), sz("NetCfgInstanceId", "{2f6a9b1c-7d3e-4a5b-8c9d-0e1f2a3b4c5d}"),
                       sz("*SpeedDuplex", "0")]),
            compat=["PCI\\VEN_3E91&CC_020000", "PCI\\CC_0200"], service="cvnet25",
            note="driver date with one-digit month and day (9-3-2021)"),
        Dev("PCI", "VEN_5B19&DEV_5006&SUBSYS_50065B19&REV_01", "4&2a8c1e3&0&0009", "SCSIAdapter",
            ["PCI\\VEN_5B19&DEV_5006&SUBSYS_50065B19&REV_01", "PCI\\VEN_5B19&DEV_5006&SUBSYS_50065B19",
             "PCI\\VEN_5B19&DEV_5006&CC_010802", "PCI\\VEN_5B19&DEV_5006&CC_0108"],
            Drv("Standard NVM Express Controller", M, "stornvme.inf", "Stornvme_Inst", "6-21-2006",
                "10.0.19041.1", matching="pci\\cc_010802"),
            compat=["PCI\\VEN_5B19&CC_010802", "PCI\\CC_010802", "PCI\\CC_0108"], service="stornvme"),
        Dev("PCI", "VEN_6B3D&DEV_7340&SUBSYS_5A1E6B3D&REV_C1", "4&3b1d8f2&0&0019", "Display",
            ["PCI\\VEN_6B3D&DEV_7340&SUBSYS_5A1E6B3D&REV_C1", "PCI\\VEN_6B3D&DEV_7340&SUBSYS_5A1E6B3D",
             "PCI\\VEN_6B3D&DEV_7340&CC_030000", "PCI\\VEN_6B3D&DEV_7340&CC_0300"],
            Drv(LONG_VIREO, "Tallis Graphics", "oem11.inf", "TLG_Vireo", "10-12-2021", "27.20.21012.4001",
                matching="pci\\ven_6b3d&dev_7340&subsys_5a1e6b3d",
                extra=[multi("UserModeDriverName", ["tlgumd64.dll"] * 4),
                       multi("InstalledDisplayDrivers", ["tlgumd64"]),
                       sz("VideoID", "{6b3d7340-0000-4c61-8e57-76697265726f}")]),
            compat=["PCI\\VEN_6B3D&CC_030000", "PCI\\CC_0300"], service="tlgkmd",
            note="description longer than 80 characters; driver store (DIRID 13) files; tlgmon.dll listed twice"),
        Dev("PCI", "VEN_6B3D&DEV_AB38&SUBSYS_AB386B3D&REV_00", "4&3b1d8f2&0&0119", "System",
            ["PCI\\VEN_6B3D&DEV_AB38&SUBSYS_AB386B3D&REV_00", "PCI\\VEN_6B3D&DEV_AB38&SUBSYS_AB386B3D",
             "PCI\\VEN_6B3D&DEV_AB38&CC_040300", "PCI\\VEN_6B3D&DEV_AB38&CC_0403"],
            Drv("High Definition Audio Controller", M, "hdaudbus.inf", "HDAudio_Device", "6-21-2006",
                "10.0.19041.1", matching="pci\\cc_0403"),
            compat=["PCI\\VEN_6B3D&CC_040300", "PCI\\CC_0403"], service="HDAudBus"),
        Dev("ROOT", "BasicDisplay", "0000", "System", ["ROOT\\BasicDisplay"],
            Drv("Microsoft Basic Display Driver", M, "basicdisplay.inf", "BasicDisplay_Inst", "6-21-2006",
                "10.0.19041.1", matching="root\\basicdisplay"),
            service="BasicDisplay"),
        Dev("ROOT", "NET", "0000", "Net", ["quillon_vpnadp"],
            Drv("Quillon VPN Virtual Adapter", "Quillon Software", "oem13.inf", "QVpn.ndi", "1-19-2022",
                "9.24.0.11", matching="quillon_vpnadp",
                extra=[sz("*IfType", "53"), sz("NetCfgInstanceId", "{5e2d8c4b-1a9f-4b7e-a3c6-7d8e9f0a1b2c}")]),
            service="qvpnadp"),
        Dev("ROOT", "SYSTEM", "0000", "System", ["SW\\{b7f53a80-3ff6-11d2-a2b0-00a0c9250ab7}"],
            Drv("Plug and Play Software Device Enumerator", S, "swenum.inf", "SWENUM", "6-21-2006",
                "10.0.19041.1", matching="sw\\{b7f53a80-3ff6-11d2-a2b0-00a0c9250ab7}"),
            service="swenum"),
        Dev("ROOT", "SYSTEM", "0001", "System", ["ROOT\\mssmbios"],
            Drv("Microsoft System Management BIOS Driver", "Microsoft Corporation", "mssmbios.inf",
                "MSSMBIOS_DRV", matching="root\\mssmbios"),
            service="mssmbios", note="Microsoft driver without DriverDate and DriverVersion: both stay blank"),
        Dev("ROOT", "SYSTEM", "0002", "System", ["ROOT\\ORSLPF"],
            Drv("Orrin Systems Legacy Port Filter", "Orrin Systems", None, None, "8-30-2020", "1.0.3.0",
                no_infpath=True),
            service="orslpf", note="driver key without InfPath: no record"),
        Dev("SCSI", "Disk&Ven_NVMe&Prod_Marlowe_MX500", "5&2a1b3c4&0&000000", "DiskDrive",
            ["SCSI\\DiskNVMe____Marlowe_MX500_____1.0", "SCSI\\DiskNVMe____Marlowe_MX500_____",
             "SCSI\\DiskNVMe____", "SCSI\\NVMe____Marlowe_MX500_____1", "NVMe____Marlowe_MX500_____1", "GenDisk"],
            Drv("Disk drive", M, "disk.inf", "disk_install", "6-21-2006", "10.0.19041.1", matching="gendisk"),
            compat=["SCSI\\Disk", "SCSI\\RAW"], service="disk", friendly="Marlowe MX500 NVMe 1TB"),
        Dev("USB", "ROOT_HUB30", "5&1a8e3c2&0&0", "USB", ["USB\\ROOT_HUB30&VID1022&PID149C&REV0000",
                                                         "USB\\ROOT_HUB30&VID1022&PID149C", "USB\\ROOT_HUB30"],
            Drv("USB Root Hub (USB 3.0)", M, "usbhub3.inf", "ROOTHUB.Dev", "6-21-2006", "10.0.19041.1",
                matching="usb\\root_hub30"),
            service="USBHUB3"),
        Dev("USB", "ROOT_HUB30", "5&2c4f5d1&0&0", "USB", ["USB\\ROOT_HUB30&VID1022&PID43D5&REV0001",
                                                         "USB\\ROOT_HUB30&VID1022&PID43D5", "USB\\ROOT_HUB30"],
            Drv("USB Root Hub (USB 3.0)", M, "usbhub3.inf", "ROOTHUB.Dev", "6-21-2006", "10.0.19041.1",
                matching="usb\\root_hub30"),
            service="USBHUB3"),
        Dev("USB", "VID_2F1A&PID_0101", "6&1b2c3d4&0&2", "USB",
            ["USB\\VID_2F1A&PID_0101&REV_0110", "USB\\VID_2F1A&PID_0101"],
            Drv("USB Composite Device", "(Standard USB Host Controller)", "usb.inf", "Composite.Dev", "6-21-2006",
                "10.0.19041.1", matching="usb\\composite"),
            compat=["USB\\DevClass_00&SubClass_00&Prot_00", "USB\\DevClass_00&SubClass_00", "USB\\DevClass_00",
                    "USB\\COMPOSITE"], service="usbccgp"),
        Dev("USB", "VID_2F1A&PID_0101&MI_00", "7&2a6b4c1e&0&0000", "HIDClass",
            ["USB\\VID_2F1A&PID_0101&REV_0110&MI_00", "USB\\VID_2F1A&PID_0101&MI_00"],
            Drv("USB Input Device", M, "input.inf", "HID_Inst", "6-21-2006", "10.0.19041.1",
                matching="usb\\class_03&subclass_01"),
            compat=["USB\\Class_03&SubClass_01&Prot_01", "USB\\Class_03&SubClass_01", "USB\\Class_03"],
            service="HidUsb", note="three USB Input Devices in a row"),
        Dev("USB", "VID_2F1A&PID_0101&MI_01", "7&2a6b4c1e&0&0001", "HIDClass",
            ["USB\\VID_2F1A&PID_0101&REV_0110&MI_01", "USB\\VID_2F1A&PID_0101&MI_01"],
            Drv("USB Input Device", M, "input.inf", "HID_Inst", "6-21-2006", "10.0.19041.1",
                matching="usb\\class_03"),
            compat=["USB\\Class_03&SubClass_00&Prot_00", "USB\\Class_03&SubClass_00", "USB\\Class_03"],
            service="HidUsb"),
        Dev("USB", "VID_2F1A&PID_0102", "6&1b2c3d4&0&3", "HIDClass",
            ["USB\\VID_2F1A&PID_0102&REV_0200", "USB\\VID_2F1A&PID_0102"],
            Drv("USB Input Device", M, "input.inf", "HID_Inst", "6-21-2006", "10.0.19041.1",
                matching="usb\\class_03&subclass_01"),
            compat=["USB\\Class_03&SubClass_01&Prot_02", "USB\\Class_03&SubClass_01", "USB\\Class_03"],
            service="HidUsb"),
        Dev("USB", "VID_3A07&PID_1002", "6&1b2c3d4&0&5", "HIDClass",
            ["USB\\VID_3A07&PID_1002&REV_0107", "USB\\VID_3A07&PID_1002"],
            Drv("Kestrel Pro Gamepad", "Kestrel Peripherals", "oem6.inf", "KstPad.Inst", "11-20-2020", "2.3.1.7",
                matching="usb\\vid_3a07&pid_1002",
                extra=[sz("EnumPropPages32", "kstpadcpl.dll,KstPadPropPageProvider")]),
            compat=["USB\\Class_03&SubClass_00&Prot_00", "USB\\Class_03&SubClass_00", "USB\\Class_03"],
            service="kstpad", note="two equal gamepads; INF only in inf\\other"),
        Dev("USB", "VID_3A07&PID_1002", "6&1b2c3d4&0&6", "HIDClass",
            ["USB\\VID_3A07&PID_1002&REV_0107", "USB\\VID_3A07&PID_1002"],
            Drv("Kestrel Pro Gamepad", "Kestrel Peripherals", "oem6.inf", "KstPad.Inst", "11-20-2020", "2.3.1.7",
                matching="usb\\vid_3a07&pid_1002",
                extra=[sz("EnumPropPages32", "kstpadcpl.dll,KstPadPropPageProvider")]),
            compat=["USB\\Class_03&SubClass_00&Prot_00", "USB\\Class_03&SubClass_00", "USB\\Class_03"],
            service="kstpad", present=False),
        Dev("USB", "VID_3E91&PID_0029", "6&1b2c3d4&0&7", "Bluetooth",
            ["USB\\VID_3E91&PID_0029&REV_0001", "USB\\VID_3E91&PID_0029"],
            Drv("Corvid Wireless Bluetooth", "Corvid Networks", "oem8.inf", "CvBt_Install", "7-21-2021", "22.70.0.3",
                matching="usb\\vid_3e91&pid_0029"),
            compat=["USB\\Class_e0&SubClass_01&Prot_01", "USB\\Class_e0&SubClass_01", "USB\\Class_e0"],
            service="cvbtusb", note="UTF-16 INF; only a decorated catalog (CatalogFile.NT)"),
        Dev("USB", "VID_4B21&PID_0650", "6&1b2c3d4&0&8", "SCSIAdapter",
            ["USB\\VID_4B21&PID_0650&REV_0302", "USB\\VID_4B21&PID_0650"],
            Drv("Haldane USB 3.0 Card Reader", "Haldane Microsystems", "oem14.inf", "HldCr_Inst", None, None,
                matching="usb\\vid_4b21&pid_0650",
                extra=[multi("CoInstallers32", ["hldcoins.dll,HldCoInstaller"])]),
            compat=["USB\\Class_08&SubClass_06&Prot_50", "USB\\Class_08&SubClass_06", "USB\\Class_08"],
            service="hldcr",
            note="no DriverDate/DriverVersion: both from the INF (3/7/2019); an older oem14.inf in inf\\other"),
        Dev("USB", "VID_4C57&PID_7523", "6&1b2c3d4&0&9", "Ports",
            ["USB\\VID_4C57&PID_7523&REV_0264", "USB\\VID_4C57&PID_7523"],
            Drv("Brightwater USB Serial Port", "Brightwater Semiconductor", "oem2.inf", "BwSer.NT", "3-7-2019",
                "3.5.2019.1", matching="usb\\vid_4c57&pid_7523",
                extra=[binary("PortSubClass", b"\x01"), sz("EnumPropPages32", "MsPorts.dll,SerialPortPropPageProvider")]),
            compat=["USB\\Class_ff&SubClass_01&Prot_02", "USB\\Class_ff&SubClass_01", "USB\\Class_ff"],
            service="bwser64", friendly="Brightwater USB Serial Port (COM3)",
            note="driver date 3-7-2019"),
        Dev("USB", "VID_5A11&PID_2040", "6&1b2c3d4&0&10", "USB",
            ["USB\\VID_5A11&PID_2040&REV_0100", "USB\\VID_5A11&PID_2040"],
            Drv("USB Printing Support", M, "usbprint.inf", "USBPRINT_Inst", "6-21-2006", "10.0.19041.1",
                matching="usb\\class_07"),
            compat=["USB\\Class_07&SubClass_01&Prot_02", "USB\\Class_07&SubClass_01", "USB\\Class_07"],
            service="usbprint"),
        Dev("USB", "VID_6A2E&PID_0C24", "6&1b2c3d4&0&11", "Camera",
            ["USB\\VID_6A2E&PID_0C24&REV_0012", "USB\\VID_6A2E&PID_0C24"],
            Drv("USB Video Device", M, "usbvideo.inf", "USBVideo", "6-21-2006", "10.0.19041.1",
                matching="usb\\class_0e"),
            compat=["USB\\Class_0e&SubClass_03&Prot_00", "USB\\Class_0e&SubClass_03", "USB\\Class_0e"],
            service="usbvideo"),
        Dev("USB", "VID_6E20&PID_0A10", "6&1b2c3d4&0&12", "Biometric",
            ["USB\\VID_6E20&PID_0A10&REV_0300", "USB\\VID_6E20&PID_0A10"],
            Drv("Pellucid Touch Fingerprint Reader", "Pellucid", MISSING_INF, "PelFp_Inst", None, None,
                matching="usb\\vid_6e20&pid_0a10"),
            compat=["USB\\Class_ff&SubClass_00&Prot_00", "USB\\Class_ff&SubClass_00", "USB\\Class_ff"],
            service="pelfp", note="its INF (oem15.inf) is missing: kept but never listed"),
        Dev("USBPRINT", "AshgroveLaserWriter_20407A1C", "7&2f3a1b5&0&USB001", "Printer",
            ["USBPRINT\\AshgroveLaserWriter_20407A1C", "AshgroveLaserWriter_20407A1C"],
            Drv("Ashgrove LaserWriter 2040", "Ashgrove", "oem12.inf", "ASLW2040", "4-11-2019", "6.2.1904.11",
                matching="usbprint\\ashgrovelaserwriter_20407a1c"),
            compat=["GENPRINTER"], service=None),
    ]
    return devs


SERVICE_LOCATIONS = {"PCI": "PCI bus 0, device 8, function 1", "USB": "Port_#0001.Hub_#0001"}


def build_win10_registry(devs):
    reg = Registry()
    counters = {}
    for name, (guid, display) in CLASSES.items():
        reg.set(CCS + "\\Control\\Class\\" + guid, [sz("", display), sz("Class", name), sz("Icon", "-1")])
    reg.key(CCS + "\\Enum")
    for dev in devs:
        path = "%s\\Enum\\%s\\%s\\%s" % (CCS, dev.enum, dev.devid, dev.inst)
        driver = None
        if dev.drv is not None:
            guid = CLASSES[dev.cls][0]
            n = counters.get(dev.cls, 0)
            counters[dev.cls] = n + 1
            driver = "%s\\%04d" % (guid, n)
            d = dev.drv
            inf_name = d.inf or ""
            desc_ref = "@%s,%%%s%%;%s" % (inf_name or "oem0.inf", "devicedesc", d.desc)
            values = []
            if not d.no_infpath:
                values += [sz("InfPath", d.inf), sz("InfSection", d.section)]
                if d.ext:
                    values.append(sz("InfSectionExt", d.ext))
            values += [sz("ProviderName", d.provider)]
            if d.date:
                values += [binary("DriverDateData", filetime(d.date)), sz("DriverDate", d.date)]
            if d.version:
                values.append(sz("DriverVersion", d.version))
            if d.matching:
                values.append(sz("MatchingDeviceId", d.matching))
            values.append(sz("DriverDesc", d.desc))
            values += d.extra
            reg.set(CCS + "\\Control\\Class\\" + driver, values)
            if dev.cls == "MEDIA":
                reg.set(CCS + "\\Control\\Class\\" + driver + "\\Drivers",
                        [sz("SubClasses", "wave,midi,mixer")])
                reg.set(CCS + "\\Control\\Class\\" + driver + "\\Drivers\\wave\\wdmaud.drv",
                        [sz("Driver", "wdmaud.drv"), sz("Description", d.desc)])
            if dev.cls == "Net":
                reg.set(CCS + "\\Control\\Class\\" + driver + "\\Ndi", [sz("Service", dev.service)])
                reg.set(CCS + "\\Control\\Class\\" + driver + "\\Ndi\\Interfaces",
                        [sz("UpperRange", "ndis5"), sz("LowerRange", "ethernet")])
                instance_id = next((v[2] for v in d.extra if v[0] == "NetCfgInstanceId"), "")
                reg.set(CCS + "\\Control\\Class\\" + driver + "\\Linkage",
                        [multi("Export", ["\\Device\\" + instance_id]), sz("RootDevice", instance_id)])
        desc = dev.drv.desc if dev.drv else "SM Bus Controller"
        inf_ref = (dev.drv.inf if dev.drv and dev.drv.inf else "machine.inf")
        values = [sz("DeviceDesc", "@%s,%%devicedesc%%;%s" % (inf_ref, desc))]
        if dev.location or dev.enum in SERVICE_LOCATIONS:
            values.append(sz("LocationInformation", dev.location or SERVICE_LOCATIONS[dev.enum]))
        values += [dword("Capabilities", 0x000000a4 if dev.enum == "USB" else 0x00000030)]
        values.append(multi("HardwareID", dev.hwids))
        if dev.compat:
            values.append(multi("CompatibleIDs", dev.compat))
        values.append(sz("ContainerID", "{00000000-0000-0000-ffff-ffffffffffff}" if dev.enum != "USB" else
                         "{%s}" % uuid_for(dev.devid)))
        if dev.drv is None:
            values.append(dword("ConfigFlags", 0x00000040))
        else:
            values.append(dword("ConfigFlags", 0))
            values += [sz("ClassGUID", CLASSES[dev.cls][0]), sz("Driver", driver),
                       sz("Mfg", "@%s,%%mfg%%;%s" % (inf_ref, dev.drv.provider))]
            if dev.service:
                values.append(sz("Service", dev.service))
            values.append(sz("Class", dev.cls))
        if dev.friendly:
            values.append(sz("FriendlyName", dev.friendly))
        reg.set(path, values)
        reg.set(path + "\\Device Parameters", dev.params)
        reg.set(path + "\\LogConf", [])
        if dev.present:
            reg.set(path + "\\Control", [sz("ActiveService", dev.service)] if dev.service else [])
    return reg


def uuid_for(text):
    h = hashlib.md5(text.encode()).hexdigest()
    return "%s-%s-%s-%s-%s" % (h[:8], h[8:12], h[12:16], h[16:20], h[20:32])


def build_win10_files(files):
    windir = "C:\\WINDOWS"
    inf_dir, other_dir = windir + "\\inf", windir + "\\inf\\other"
    for name, text in MS_INFS.items():
        data = encode_inf(fill_source_disks(text), False)
        check_inf_layout(name, data)
        files.put(inf_dir + "\\" + name, data)
        files.put(inf_dir + "\\" + name[:-4] + ".PNF", pnf_bytes(name))
        place_package(files, WIN10_DIRS, name, data, "Microsoft")
    for oem, orig, where, utf16, text, vendor in PACKAGES:
        data = encode_inf(fill_source_disks(text), utf16)
        check_inf_layout(orig, data)
        folder = other_dir if where == "other" else inf_dir
        files.put(folder + "\\" + oem, data)
        files.put(folder + "\\" + oem[:-4] + ".PNF", pnf_bytes(oem))
        store = "%s\\System32\\DriverStore\\FileRepository\\%s_amd64_%s" % (windir, orig, store_hash(orig))
        files.put(store + "\\" + orig, data)
        for cat in catalogs_of(data):
            files.put(store + "\\" + cat, driver_file_bytes(cat, vendor))
        cats = catalogs_of(data)
        if cats:
            files.put("%s\\system32\\CatRoot\\%s\\%s" % (windir, CATROOT, oem[:-4] + ".cat"),
                      driver_file_bytes(cats[-1], vendor))
        place_package(files, WIN10_DIRS, orig, data, vendor, store)
    # The display driver's previous version is still in the driver store beside the current
    # one, as Windows keeps it: same file names, other bytes, an INF of the same size.
    old_date, old_version = OLD_VIREO
    old_vireo = encode_inf(fill_source_disks(TALLIS_VIREO_INF.replace(
        "DriverVer = 10/12/2021,27.20.21012.4001", "DriverVer = %s,%s" % (old_date, old_version))), False)
    current = "%s\\System32\\DriverStore\\FileRepository\\tlgvireo.inf_amd64_%s" % (windir, store_hash("tlgvireo.inf"))
    old_store = "%s\\System32\\DriverStore\\FileRepository\\tlgvireo.inf_amd64_%s" % (
        windir, store_hash("tlgvireo.inf " + old_date))
    if len(old_vireo) != len(files.get(current + "\\tlgvireo.inf")) or old_store.lower() > current.lower():
        raise SystemExit("the older display package must have an INF of the same size and be listed first")
    files.put(old_store + "\\tlgvireo.inf", old_vireo)
    for cat in catalogs_of(old_vireo):
        files.put(old_store + "\\" + cat, driver_file_bytes(cat, "Tallis Graphics " + old_version))
    place_package(files, WIN10_DIRS, "tlgvireo.inf", old_vireo, "Tallis Graphics " + old_version, old_store,
                  installed=False)
    old_oem, old_text = OLD_HALDANE
    old = encode_inf(fill_source_disks(old_text), False)
    check_inf_layout("old " + old_oem, old)
    files.put(other_dir + "\\" + old_oem, old)
    # What is left of the fingerprint reader whose INF was deleted.
    files.put(windir + "\\system32\\drivers\\pelfp.sys", driver_file_bytes("pelfp.sys", "Pellucid"))


# ---------------------------------------------------------------------------------------------
# The Windows 98 machine.

W98 = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\Class"
W98_DIRS = {
    "10": "C:\\WINDOWS",
    "11": "C:\\WINDOWS\\SYSTEM",
    "17": "C:\\WINDOWS\\INF",
}


def inf98(name, cls, provider, models, installs, copies, version=None, extra_version=(), dest=None):
    out = ["; %s" % name, "; Windows 98 Second Edition (sample machine copy)", "", "[Version]",
           'Signature="$CHICAGO$"', "Class=%s" % cls, "Provider=%Provider%", "LayoutFile=LAYOUT.INF"]
    if version:
        out.append("DriverVer=%s" % version)
    out += list(extra_version)
    out += ["", "[DestinationDirs]", "DefaultDestDir=11"]
    for k, v in (dest or {}).items():
        out.append("%s=%s" % (k, v))
    out += ["", "[Manufacturer]", "%Mfg%=Mfg", "", "[Mfg]"]
    for desc, section, hwid in models:
        out.append('"%s"=%s,%s' % (desc, section, hwid))
    out.append("")
    for section, body in installs:
        out += ["[%s]" % section] + body + [""]
    for section, lines in copies:
        out += ["[%s]" % section] + lines + [""]
    out += ["[Strings]", 'Provider="%s"' % provider, 'Mfg="%s"' % provider]
    return "\n".join(out) + "\n"


INF98_MS = {
    "MACHINE.INF": inf98(
        "MACHINE.INF", "System", "(Standard system devices)",
        [("System board", "NO_DRV", "*PNP0C01"), ("PCI standard host CPU bridge", "NO_DRV", "PCI\\CC_0600"),
         ("PCI standard PCI-to-PCI bridge", "PCI_PCI_BRIDGE", "PCI\\CC_0604"),
         ("System timer", "NO_DRV", "*PNP0100"), ("Direct memory access controller", "NO_DRV", "*PNP0200")],
        [("NO_DRV", ["; nothing to install"]), ("PCI_PCI_BRIDGE", ["CopyFiles=PCI.CopyFiles"])],
        [("PCI.CopyFiles", ["pci.vxd"])]),
    "MSHDC.INF": inf98(
        "MSHDC.INF", "hdc", "(Standard hard disk drivers)",
        [("Standard Dual PCI IDE Controller", "DUAL_PCI_IDE", "PCI\\CC_0101"),
         ("Primary IDE controller (dual fifo)", "ESDI_Inst", "*PNP0600"),
         ("Secondary IDE controller (dual fifo)", "ESDI_Inst", "*PNP0600")],
        [("DUAL_PCI_IDE", ["AddReg=DUAL_PCI_IDE.AddReg"]), ("ESDI_Inst", ["CopyFiles=ESDI.CopyFiles"])],
        [("ESDI.CopyFiles", ["esdi_506.pdr"])]),
    "KEYBOARD.INF": inf98(
        "KEYBOARD.INF", "Keyboard", "Microsoft",
        [("Standard 101/102-Key or Microsoft Natural Keyboard", "STANDARD_Inst", "*PNP0303")],
        [("STANDARD_Inst", ["CopyFiles=KBD.CopyFiles", "AddReg=STANDARD.AddReg"])],
        [("KBD.CopyFiles", ["keyboard.drv", "vkd.vxd"])]),
    "MSJSTICK.INF": inf98(
        "MSJSTICK.INF", "MEDIA", "Microsoft",
        [("Gameport Joystick", "Gameport_Inst", "*PNPB02F")],
        [("Gameport_Inst", ["CopyFiles=Gameport.CopyFiles"])],
        [("Gameport.CopyFiles", ["msanalog.vxd", "vjoyd.vxd"])]),
    "MONITOR.INF": inf98(
        "MONITOR.INF", "Monitor", "(Standard monitor types)",
        [("Plug and Play Monitor", "PnPMonitor.Install", "Monitor\\Default_Monitor")],
        [("PnPMonitor.Install", ["DelReg=DEL_CURRENT_REG", "AddReg=PnPMonitor.AddReg"])], []),
    "MSMOUSE.INF": inf98(
        "MSMOUSE.INF", "Mouse", "Microsoft",
        [("Standard PS/2 Port Mouse", "PS2_Inst", "*PNP0F13")],
        [("PS2_Inst", ["CopyFiles=PS2.CopyFiles", "AddReg=PS2.AddReg"])],
        [("PS2.CopyFiles", ["mouse.drv", "msmouse.vxd"])]),
    "NETDIAL.INF": inf98(
        "NETDIAL.INF", "Net", "Microsoft",
        [("Dial-Up Adapter", "PPPMAC.ndi", "*PNP8387")],
        [("PPPMAC.ndi", ["CopyFiles=PPPMAC.CopyFiles", "AddReg=PPPMAC.ndi.reg"])],
        [("PPPMAC.CopyFiles", ["pppmac.vxd"])]),
    "NETTRANS.INF": inf98(
        "NETTRANS.INF", "NetTrans", "Microsoft",
        [("TCP/IP", "MSTCP.ndi", "MSTCP")],
        [("MSTCP.ndi", ["CopyFiles=MSTCP.CopyFiles", "AddReg=MSTCP.ndi.reg"])],
        [("MSTCP.CopyFiles", ["vtcp.386", "vip.386", "wsock32.dll"])]),
    "MSPORTS.INF": inf98(
        "MSPORTS.INF", "Ports", "(Standard port types)",
        [("Communications Port", "ComPort", "*PNP0500"), ("Communications Port", "ComPort", "*PNP0501"),
         ("ECP Printer Port", "EcpPort", "*PNP0401")],
        [("ComPort", ["CopyFiles=ComPort.Copy", "AddReg=ComPort.AddReg"]),
         ("EcpPort", ["CopyFiles=EcpPort.Copy"])],
        [("ComPort.Copy", ["serial.vxd", "serialui.dll"]), ("EcpPort.Copy", ["lpt.vxd"])]),
    "USB.INF": inf98(
        "USB.INF", "USB", "Microsoft",
        [("Standard Universal PCI to USB Host Controller", "UHCI.Dev", "PCI\\CC_0C0300"),
         ("USB Root Hub", "ROOTHUB.Dev", "USB\\ROOT_HUB")],
        [("UHCI.Dev", ["CopyFiles=UHCI.CopyFiles,USB.CopyFiles"]),
         ("ROOTHUB.Dev", ["CopyFiles=HUB.CopyFiles"])],
        [("UHCI.CopyFiles", ["uhcd.sys"]), ("USB.CopyFiles", ["usbd.sys"]), ("HUB.CopyFiles", ["usbhub.sys"])],
        dest={"UHCI.CopyFiles": "10,SYSTEM32\\DRIVERS", "USB.CopyFiles": "10,SYSTEM32\\DRIVERS",
              "HUB.CopyFiles": "10,SYSTEM32\\DRIVERS"}),
}

TALLIS98_INF = r"""; TLGV2.INF - Tallis Graphics Vireo 2 AGP for Windows 98
; Copyright (c) 2000 Tallis Graphics

[Version]
Signature="$CHICAGO$"
Class=DISPLAY
Provider=%Tallis%
DriverVer=04/17/2000,4.12.01.0602
CatalogFile=tlgv2.cat

[DestinationDirs]
DefaultDestDir=11

[Manufacturer]
%Tallis%=Tallis

[Tallis]
%Vireo2.DeviceDesc%=Vireo2,PCI\VEN_6B3D&DEV_0021

[Vireo2]
CopyFiles=Vireo2.Copy.Drv,Vireo2.Copy.Vxd
DelReg=Vireo2.DelReg
AddReg=Vireo2.AddReg

[Vireo2.Copy.Drv]
tlgv2.drv
tlgv2dd.dll
tlgv232.dll

[Vireo2.Copy.Vxd]
tlgv2.vxd,tlgv2.vx_
tlgv2mm.vxd

[Vireo2.DelReg]
HKR,,Ver
HKR,,DevLoader

[Vireo2.AddReg]
HKR,,Ver,,4.0
HKR,,DevLoader,,*vdd,*vflatd
HKR,DEFAULT,drv,,tlgv2.drv
HKR,DEFAULT,minivdd,,tlgv2.vxd
HKR,DEFAULT,Mode,,"8,640,480"

[Strings]
Tallis="Tallis Graphics"
Vireo2.DeviceDesc="Tallis Graphics Vireo 2 AGP"
"""

NORTHWIND98_INF = r"""; NWSW64.INF - Northwind SoundWave 64 PCI, Windows 98
; Copyright (c) 1999 Northwind Audio

[Version]
Signature="$CHICAGO$"
Class=MEDIA
Provider=%Northwind%
DriverVer=11/02/1999,4.06.1190
CatalogFile=nwsw64.cat
CatalogFile.NT=nwsw64nt.cat

[DestinationDirs]
DefaultDestDir=11
NWSW64.Copy.Wdm=10,SYSTEM32\DRIVERS

[Manufacturer]
%Northwind%=Northwind

[Northwind]
%NWSW64.DeviceDesc%=NWSW64.Install,PCI\VEN_7C12&DEV_5880&SUBSYS_58807C12

[NWSW64.Install]
CopyFiles=NWSW64.Copy.Drv,NWSW64.Copy.Vxd,NWSW64.Copy.Wdm,@nwsw64.hlp
AddReg=NWSW64.AddReg

[NWSW64.Copy.Drv]
nwsw64.drv
nwswfm.drv

[NWSW64.Copy.Vxd]
nwsw64.vxd,nwsw64.vx_

[NWSW64.Copy.Wdm]
nwsw64.sys

[NWSW64.AddReg]
HKR,,DevLoader,,mmdevldr.vxd
HKR,Drivers,MIDI,,
HKR,Drivers,Wave,,
HKR,Drivers\wave\nwsw64.drv,Driver,,nwsw64.drv
HKR,Drivers\midi\nwswfm.drv,Driver,,nwswfm.drv

[Strings]
Northwind="Northwind Audio"
NWSW64.DeviceDesc="Northwind SoundWave 64 PCI"
"""

CORVID98_INF = r"""; OEM0.INF - Corvid EtherLink 10/100 PCI (setup disk 1.2)
; Copyright (c) 1999 Corvid Networks

[Version]
Signature="$CHICAGO$"
Class=Net
Provider=%Corvid%

[DestinationDirs]
DefaultDestDir=11

[Manufacturer]
%Corvid%=Corvid

[Corvid]
%CVEL.DeviceDesc%=CVEL.ndi,PCI\VEN_3E91&DEV_9050

[CVEL.ndi]
AddReg=CVEL.ndi.reg
CopyFiles=CVEL.ndi.CopyFiles
DeviceID=PCI\VEN_3E91&DEV_9050
MaxInstance=4

[CVEL.ndi.reg]
HKR,Ndi,DeviceID,,"PCI\VEN_3E91&DEV_9050"
HKR,NDIS,LogDriverName,,"CVEL"
HKR,NDIS,MajorNdisVersion,1,03

[CVEL.ndi.CopyFiles]
cvel.sys
cvel.vxd

[Strings]
Corvid="Corvid Networks"
CVEL.DeviceDesc="Corvid EtherLink 10/100 PCI"
"""

# (file name in INF\OTHER or INF, folder, text, vendor)
PACKAGES98 = [
    ("TallisTLGV2.INF", "OTHER", TALLIS98_INF, "Tallis Graphics"),
    ("NorthwindNWSW64.INF", "OTHER", NORTHWIND98_INF, "Northwind Audio"),
    ("OEM0.INF", "INF", CORVID98_INF, "Corvid Networks"),
]
MISSING_INF98 = "HaldaneHLDCR98.INF"

LONG_VXDS = ("nwsw64.vxd,nwsw64mm.vxd,nwswjoy.vxd,nwswmidi.vxd,nwswfm.vxd,nwswsb16.vxd,nwswmpu.vxd,"
             "nwswgame.vxd,nwsweffx.vxd,nwsw3d.vxd")


def win98_registry():
    reg = Registry()
    reg.set("HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion",
            [sz("ProductName", "Microsoft Windows 98"), sz("Version", "Windows 98"),
             sz("VersionNumber", "4.10.2222"), sz("SubVersionNumber", " A "), sz("SystemRoot", "C:\\WINDOWS"),
             sz("DevicePath", "C:\\WINDOWS\\INF"), sz("ProgramFilesDir", "C:\\Program Files")])
    reg.set("HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
            [sz("Desktop", "C:\\WINDOWS\\Desktop"), sz("Favorites", "C:\\WINDOWS\\Favorites"),
             sz("Personal", "C:\\My Documents"), sz("AppData", "C:\\WINDOWS\\Application Data")])
    ms_date = "4-23-1999"

    def cls(name, display, installer=None):
        values = [sz("", display), sz("Class", name), sz("Icon", "-1")]
        if installer:
            values.append(sz("Installer", installer))
        reg.set(W98 + "\\" + name, values)

    def drv(path, desc, provider, inf, section, matching, date=ms_date, version=None, more=()):
        values = [sz("DriverDesc", desc), sz("ProviderName", provider), sz("InfPath", inf),
                  sz("InfSection", section), sz("MatchingDeviceId", matching)]
        if date:
            values.append(sz("DriverDate", date))
        if version:
            values.append(sz("DriverVersion", version))
        reg.set(W98 + "\\" + path, values + list(more))

    S = "(Standard system devices)"
    cls("Display", "Display adapters", "SetupX.Dll, Display_ClassInstaller")
    drv("Display\\0000", "Tallis Graphics Vireo 2 AGP", "Tallis Graphics", "TallisTLGV2.INF", "Vireo2",
        "PCI\\VEN_6B3D&DEV_0021", date="4-17-2000",
        more=[sz("DevLoader", "*vdd,*vflatd"), sz("Ver", "4.0")])
    reg.set(W98 + "\\Display\\0000\\DEFAULT", [sz("drv", "tlgv2.drv"), sz("minivdd", "tlgv2.vxd"),
                                               sz("Mode", "8,640,480"), sz("RefreshRate", "-1")])
    for depth, modes in (("8", ("640,480", "800,600", "1024,768")), ("16", ("640,480", "800,600", "1024,768")),
                         ("32", ("800,600", "1024,768"))):
        for mode in modes:
            reg.set(W98 + "\\Display\\0000\\MODES\\%s\\%s" % (depth, mode), [])
    cls("hdc", "Hard disk controllers")
    drv("hdc\\0000", "Standard Dual PCI IDE Controller", "(Standard hard disk drivers)", "MSHDC.INF",
        "DUAL_PCI_IDE", "PCI\\CC_0101", more=[sz("DevLoader", "*ios")])
    drv("hdc\\0001", "Primary IDE controller (dual fifo)", "(Standard hard disk drivers)", "MSHDC.INF",
        "ESDI_Inst", "*PNP0600", more=[sz("DevLoader", "*ios"), sz("PortDriver", "ESDI_506.pdr")])
    drv("hdc\\0002", "Secondary IDE controller (dual fifo)", "(Standard hard disk drivers)", "mshdc.inf",
        "ESDI_Inst", "*PNP0600", more=[sz("DevLoader", "*ios"), sz("PortDriver", "ESDI_506.pdr")])
    cls("Keyboard", "Keyboard")
    drv("Keyboard\\0000", "Standard 101/102-Key or Microsoft Natural Keyboard", "Microsoft", "KEYBOARD.INF",
        "STANDARD_Inst", "*PNP0303", more=[sz("DevLoader", "*vkd")])
    cls("MEDIA", "Sound, video and game controllers", "mmci.dll")
    drv("MEDIA\\0000", "Northwind SoundWave 64 PCI", "Northwind Audio", "NorthwindNWSW64.INF", "NWSW64.Install",
        "PCI\\VEN_7C12&DEV_5880&SUBSYS_58807C12", date="11-2-1999", version="4.06.1190",
        more=[sz("DevLoader", "mmdevldr.vxd"), sz("DeviceVxDs", LONG_VXDS)])
    reg.set(W98 + "\\MEDIA\\0000\\Drivers", [sz("MIDI", ""), sz("Wave", ""), sz("SubClasses", "wave,midi")])
    reg.set(W98 + "\\MEDIA\\0000\\Drivers\\wave\\nwsw64.drv", [sz("Driver", "nwsw64.drv"),
                                                              sz("Description", "Northwind SoundWave 64 PCI")])
    reg.set(W98 + "\\MEDIA\\0000\\Drivers\\midi\\nwswfm.drv", [sz("Driver", "nwswfm.drv"),
                                                              sz("Description", "Northwind SoundWave 64 FM")])
    drv("MEDIA\\0001", "Gameport Joystick", "Microsoft", "MSJSTICK.INF", "Gameport_Inst", "*PNPB02F",
        more=[sz("DevLoader", "mmdevldr.vxd"), sz("DeviceVxDs", "msanalog.vxd,vjoyd.vxd")])
    cls("Monitor", "Monitors")
    drv("Monitor\\0000", "Plug and Play Monitor", "(Standard monitor types)", "MONITOR.INF",
        "PnPMonitor.Install", "Monitor\\Default_Monitor")
    cls("Mouse", "Mouse")
    drv("Mouse\\0000", "Standard PS/2 Port Mouse", "Microsoft", "MSMOUSE.INF", "PS2_Inst", "*PNP0F13",
        more=[sz("DevLoader", "*vmouse"), sz("MouseDriver", "msmouse.vxd")])
    cls("Net", "Network adapters", "NETDI.DLL,NetClassInstaller")
    drv("Net\\0000", "Corvid EtherLink 10/100 PCI", "Corvid Networks", "OEM0.INF", "CVEL.ndi",
        "PCI\\VEN_3E91&DEV_9050", date="8-24-1999", more=[sz("DevLoader", "*ndis"), sz("DeviceVxDs", "cvel.sys")])
    reg.set(W98 + "\\Net\\0000\\Ndi", [sz("DeviceID", "PCI\\VEN_3E91&DEV_9050")])
    reg.set(W98 + "\\Net\\0000\\Ndi\\Interfaces", [sz("DefUpper", "ndis2,ndis3"), sz("Lower", "ethernet")])
    reg.set(W98 + "\\Net\\0000\\NDIS", [sz("LogDriverName", "CVEL"), binary("MajorNdisVersion", b"\x03")])
    drv("Net\\0001", "Dial-Up Adapter", "Microsoft", "NETDIAL.INF", "PPPMAC.ndi", "*PNP8387",
        more=[sz("DevLoader", "*ndis"), sz("DeviceVxDs", "pppmac.vxd")])
    cls("NetTrans", "Network Protocol", "NETDI.DLL,NetClassInstaller")
    drv("NetTrans\\0000", "TCP/IP", "Microsoft", "NETTRANS.INF", "MSTCP.ndi", "MSTCP",
        more=[sz("DeviceVxDs", "vtcp.386,vip.386")])
    drv("NetTrans\\0001", "TCP/IP", "Microsoft", "NETTRANS.INF", "MSTCP.ndi", "MSTCP",
        more=[sz("DeviceVxDs", "vtcp.386,vip.386")])
    cls("Ports", "Ports (COM & LPT)")
    drv("Ports\\0000", "Communications Port", "(Standard port types)", "MSPORTS.INF", "ComPort", "*PNP0501",
        more=[sz("PortDriver", "serial.vxd"), sz("Contention", "*vcd")])
    drv("Ports\\0001", "ECP Printer Port", "(Standard port types)", "MSPORTS.INF", "EcpPort", "*PNP0401",
        more=[sz("PortDriver", "lpt.vxd"), sz("Contention", "*vpd")])
    drv("Ports\\0002", "Communications Port", "(Standard port types)", "MSPORTS.INF", "ComPort", "*PNP0501",
        more=[sz("PortDriver", "serial.vxd"), sz("Contention", "*vcd")])
    cls("Printer", "Printers")
    cls("System", "System devices")
    drv("System\\0000", "System board", S, "MACHINE.INF", "NO_DRV", "*PNP0C01")
    drv("System\\0001", "PCI standard host CPU bridge", S, "MACHINE.INF", "NO_DRV", "PCI\\CC_0600")
    drv("System\\0002", "PCI standard PCI-to-PCI bridge", S, "MACHINE.INF", "PCI_PCI_BRIDGE", "PCI\\CC_0604")
    drv("System\\0003", "PCI standard PCI-to-PCI bridge", S, "MACHINE.INF", "PCI_PCI_BRIDGE", "PCI\\CC_0604")
    drv("System\\0004", "System timer", S, "MACHINE.INF", "NO_DRV", "*PNP0100")
    drv("System\\0005", "Direct memory access controller", S, "MACHINE.INF", "NO_DRV", "*PNP0200")
    cls("USB", "Universal serial bus controller")
    drv("USB\\0000", "Standard Universal PCI to USB Host Controller", "Microsoft", "USB.INF", "UHCI.Dev",
        "PCI\\CC_0C0300", more=[sz("DevLoader", "ntkern"), sz("NTMPDriver", "uhcd.sys")])
    drv("USB\\0001", "USB Root Hub", "Microsoft", "USB.INF", "ROOTHUB.Dev", "USB\\ROOT_HUB",
        more=[sz("DevLoader", "ntkern"), sz("NTMPDriver", "usbhub.sys")])
    drv("USB\\0002", "Haldane USB Card Reader", "Haldane Microsystems", MISSING_INF98, "HldCr98",
        "USB\\VID_4B21&PID_0310", date=None, more=[sz("DevLoader", "*ntkern"), sz("NTMPDriver", "hldcr98.sys")])
    return reg


def build_win98_files(files):
    for name, text in INF98_MS.items():
        data = encode_inf(text, False)
        check_inf_layout(name, data)
        files.put("C:\\WINDOWS\\INF\\" + name, data)
        place_package(files, W98_DIRS, name, data, "Microsoft")
    for name, where, text, vendor in PACKAGES98:
        data = encode_inf(text, False)
        check_inf_layout(name, data)
        folder = "C:\\WINDOWS\\INF\\OTHER" if where == "OTHER" else "C:\\WINDOWS\\INF"
        files.put(folder + "\\" + name, data)
        place_package(files, W98_DIRS, name, data, vendor)
        for cat in catalogs_of(data):
            files.put("C:\\WINDOWS\\SYSTEM\\CATROOT\\%s\\%s" % (CATROOT, cat), driver_file_bytes(cat, vendor))
    files.put("C:\\WINDOWS\\INF\\DRVIDX.BIN", blob("drvidx", 512))
    files.put("C:\\WINDOWS\\INF\\DRVDATA.BIN", blob("drvdata", 768))


# ---------------------------------------------------------------------------------------------
# What the program should list.

WIDTHS = {"hardwareId": 80, "driverDate": 30, "driverDesc": 80, "infPath": 80, "infSection": 80,
          "infSectionExt": 80, "providerName": 80, "driverVersion": 30, "deviceVxds": 100, "className": 80}


def normalize_date(text):
    text = text.strip()
    if not text:
        return ""
    sep = "-" if "-" in text else ("/" if "/" in text else None)
    if sep is None:
        return ""
    p = text.index(sep)
    rest = text[p + 1:]
    if sep not in rest:
        return ""
    a = text[:p].strip()
    if len(a) == 1:
        a = "0" + a
    q = rest.index(sep)
    b = rest[:q].strip()
    if len(b) == 1:
        b = "0" + b
    c = rest[q + 1:].strip()
    return c + "-" + a + "-" + b


def is_microsoft(provider):
    p = provider.strip()
    return p.lower() in ("microsoft", "microsoft corporation") or p.startswith("(")


def fit(text, width):
    text = text or ""
    return text[:width].ljust(width)


def make_record(key, hwid, class_name, files, windir):
    def val(name):
        return string_value(key.value(name)) or ""

    rec = {
        "driverDate": fit(normalize_date(val("driverdate")), 30),
        "driverDesc": fit(val("driverdesc"), 80),
        "infSection": fit(val("infsection"), 80),
        "infSectionExt": fit(val("infsectionext"), 80),
        "providerName": fit(val("providername"), 80),
        "infPath": fit(val("infpath"), 80),
        "driverVersion": fit(val("driverversion"), 30),
        "deviceVxds": fit(val("devicevxds"), 100),
        "hardwareId": fit(hwid.strip(), 80),
        "className": fit(class_name, 80),
        "completed": "",
    }
    if not is_microsoft(rec["providerName"]) and (not rec["driverDate"].strip() or not rec["driverVersion"].strip()):
        inf = rec["infPath"].strip()
        for candidate in (windir + "\\inf\\" + inf, windir + "\\inf\\other\\" + inf):
            if files.exists(candidate):
                ver = profile_get(files.get(candidate), "version", "DriverVer")[:511]
                date, _, version = ver.partition(",")
                if not rec["driverDate"].strip():
                    rec["driverDate"] = fit(normalize_date(date), 30)
                    rec["completed"] += "date" if rec["driverDate"].strip() else ""
                if not rec["driverVersion"].strip():
                    rec["driverVersion"] = fit(version.strip(), 30)
                    rec["completed"] += "version" if rec["driverVersion"].strip() else ""
                break
    if not is_microsoft(rec["providerName"]):
        if not rec["driverDate"].strip():
            rec["driverDate"] = fit("null", 30)
        if not rec["driverVersion"].strip():
            rec["driverVersion"] = fit("null", 30)
    return rec


def enumerate_nt(reg, files, windir, major, minor):
    records = []
    enum = reg.key(CCS + "\\Enum", create=False)
    class_root = CCS + "\\Control\\Class\\"
    for enumerator in enum.sorted_children():
        for device in enumerator.sorted_children():
            for instance in device.sorted_children():
                driver = (string_value(instance.value("Driver")) or "").strip()
                if not driver:
                    continue
                hwid = string_value(instance.value("HardwareID")) or ""
                key = reg.key(class_root + driver, create=False)
                if key is None or key.value("infpath") is None:
                    continue
                class_key = reg.key(class_root + driver.split("\\")[0], create=False)
                name = "Class" if (major, minor) in ((6, 2), (6, 3), (10, 0)) else ""
                class_name = string_value(class_key.value(name)) if class_key else ""
                rec = make_record(key, hwid, class_name or "", files, windir)
                rec["source"] = "%s\\%s\\%s" % (enumerator.name, device.name, instance.name)
                records.append(rec)
    return records


def enumerate_9x(reg, files, windir):
    records = []
    root = reg.key(W98, create=False)

    def visit(key, top, path):
        if key.value("infpath") is not None:
            class_name = string_value(top.value("class")) or ""
            rec = make_record(key, string_value(key.value("MatchingDeviceId")) or "", class_name, files, windir)
            rec["source"] = path
            records.append(rec)
        for child in key.sorted_children():
            visit(child, top, path + "\\" + child.name)

    for top in root.sorted_children():
        visit(top, top, top.name)
    return records


def remove_duplicates(records):
    """The in-place removal, slot for slot: it may leave two of three equal neighbours."""
    slots = [None] + [dict(r) for r in records]
    count = len(records)
    removed = []
    for i in range(1, count):
        bound = count
        for j in range(i + 1, bound + 1):
            if slots[j]["driverDesc"] == slots[i]["driverDesc"]:
                if j <= count:
                    removed.append((slots[j]["source"], slots[i]["source"]))
                for k in range(j, count):
                    slots[k] = dict(slots[k + 1])
                last = slots[count]
                last["driverDesc"] = fit("" if last["driverDesc"].strip() else "ljj", 80)
                count -= 1
    return slots[1:count + 1], removed


def expected_rows(records, files, windir, nt):
    rows = []
    for rec in records:
        inf = rec["infPath"].strip()
        found, entries = driver_file_list(files, windir, inf, rec["infSection"], nt, rec["infSectionExt"])
        if found is None:
            rec["listed"] = False
            continue
        rec["listed"] = True
        rows.append({
            "desc": rec["driverDesc"].strip(), "class": rec["className"].strip(),
            "version": rec["driverVersion"].strip(), "date": rec["driverDate"].strip(),
            "provider": rec["providerName"].strip(),
            "nonms": "no" if is_microsoft(rec["providerName"]) else "yes",
            "hwid": rec["hardwareId"].strip(), "inf": found, "files": len(entries),
            "names": [n for n, _ in entries], "source": rec["source"], "completed": rec["completed"],
        })
    return rows


# ---------------------------------------------------------------------------------------------
# README


def md_table(header, rows):
    out = ["| " + " | ".join(header) + " |", "|" + "|".join("---" for _ in header) + "|"]
    for r in rows:
        out.append("| " + " | ".join(str(c).replace("|", "\\|") for c in r) + " |")
    return "\n".join(out)


def device_notes(devs, rows, records, removed, all_records):
    by_source = {r["source"]: r for r in rows}
    removed_by = dict(removed)
    rec_by_source = {r["source"]: r for r in all_records}
    out = []
    for dev in devs:
        source = "%s\\%s\\%s" % (dev.enum, dev.devid, dev.inst)
        notes = [dev.note] if dev.note else []
        if dev.drv is None:
            result = "skipped (no Driver value)"
        elif dev.drv.no_infpath:
            result = "skipped (no InfPath)"
        elif source in removed_by:
            result = "removed: same description as `%s`" % removed_by[source]
        elif source in by_source:
            row = by_source[source]
            result = "listed, %d files" % row["files"]
            if row["completed"]:
                notes.append("completed from INF: " + row["completed"].replace("dateversion", "date and version"))
        elif source in rec_by_source and not rec_by_source[source].get("listed", True):
            result = "kept, not listed (INF missing)"
        else:
            result = "?"
        drv = dev.drv
        out.append([
            "`" + source + "`",
            "`%s`" % dev.hwids[0],
            drv.desc if drv else "(none)",
            ("yes" if drv and not is_microsoft(drv.provider) else "no") if drv else "",
            drv.inf if drv and drv.inf else "",
            result,
            "; ".join(n for n in notes if n),
        ])
    return out


def rows_table(rows):
    return md_table(
        ["#", "Description", "Class", "Version", "Date", "Provider", "Non-MS", "Files", "INF", "Hardware ID"],
        [[i + 1, r["desc"], r["class"], r["version"], r["date"], r["provider"], r["nonms"], r["files"],
          "`%s`" % r["inf"], "`%s`" % r["hwid"]] for i, r in enumerate(rows)])


def completions(rows):
    out = []
    for r in rows:
        if r["completed"]:
            what = {"date": "date", "version": "version", "dateversion": "date and version"}[r["completed"]]
            out.append("%s (%s)" % (r["desc"], what))
    return ", ".join(out) or "none"


def file_lists(rows):
    out = []
    for r in rows:
        if r["nonms"] == "yes":
            out.append("- %s (%d): %s" % (r["desc"], r["files"], ", ".join(r["names"])))
    return "\n".join(out)


README = """# Sample machine images

Two machine images for the command line and the tests. Both are written by
`python3 samples/make-samples.py` (pure Python 3, deterministic: the same files on every run); edit
the script, not its output, and commit both. Every vendor, product, INF and driver file in them is
made up for these samples; the driver files are a few hundred bytes of text and noise.

- `machine/`: Windows 10 22H2 x64 on an AMD desktop. `machine.ini` and
  `registry/system.reg` hold the machine's skeleton (version, folders, setup classes, shell
  folders); the devices are in `registry/devices.reg` and their files under `drive_c/windows`:
  INFs in `inf\\` (and a few in `inf\\other\\`) with their `.PNF`, driver files in
  `system32\\drivers`, `system32` and `SysWOW64`, catalogs and original packages (each file under
  its name on the medium) in `System32\\DriverStore\\FileRepository\\<name>.inf_amd64_<hash>\\`,
  catalogs also in `system32\\CatRoot`.
- `machine-98/`: Windows 98 Second Edition (4.10.2222): the class tree in
  `System\\CurrentControlSet\\Services\\Class`, INFs in `INF\\` and `INF\\OTHER\\`, driver files in
  `SYSTEM\\` and `SYSTEM32\\DRIVERS\\`.

Check the command line by hand against the tables below:

```
vantrel list --all --image samples/machine        # every row of the first table
vantrel list --image samples/machine              # the rows with Non-MS "yes"
vantrel list --all --csv --image samples/machine-98
```

Hardware IDs and descriptions are cut to 80 characters, as the program stores them. Rows come in the order the device tree is walked (enumerators, devices and instances in the
registry's order), after duplicate removal; the Files column is the driver file count (the INF,
its catalogs, and every file of the install section's and co-installer section's CopyFiles,
repeats included; then the files that Windows' own reading of these sections adds, headers
written loosely and the install section with its `InfSectionExt` decoration, each once). Dates
are yyyy-mm-dd. A "null" date or version marks a Non-Microsoft driver
that has neither in the registry nor in its INF.

## Windows 10 x64 (`samples/machine`)

### Devices

%(devices)s

### Expected `vantrel list --all`

%(rows)s

`vantrel list` shows the %(nonms_count)d rows with Non-MS "yes", in the same order.

Files of the Non-Microsoft drivers, as listed (INF first, then catalogs):

%(files)s

### Things this machine exercises

- Duplicates: four CPU cores named "AMD Processor" in a row leave two rows, and three "USB Input
  Device" in a row leave two (the removal does not look again at a record that moved into a
  removed slot); pairs in a row (two host bridges, two xHCI controllers, two root hubs, two
  gamepads, two game controllers) and a pair apart (the two "High Definition Audio Controller")
  leave one.
- The SM Bus controller has no `Driver` value; the legacy port filter's driver key has no
  `InfPath`; the fingerprint reader's INF (`oem15.inf`) is missing from both INF folders (its
  `pelfp.sys` is still in `system32\\drivers`).
- The display adapter's description is longer than 80 characters and is cut to 80.
- Dates written with one-digit month or day: `9-3-2021` and `3-7-2019` in the registry, `3/7/2019`
  in the card reader's INF (which has no date or version in the registry). The Orrin controller
  has a registry date but no version; the version comes from its INF.
- Providers: "Microsoft", "Microsoft Corporation" and parenthesised ones such as "(Standard system
  devices)" are Microsoft's; everything else is Non-Microsoft.
- INF files: UTF-16LE with a byte-order mark (`oem5.inf`, `oem7.inf`, `oem8.inf`), ANSI for the
  rest; `inf\\other\\` holds `oem5.inf` and `oem6.inf` and an older `oem14.inf` that must lose to
  the one in `inf\\` (its DriverVer is 11/2/2017 and it lists one file less).
- Catalogs: undecorated and `CatalogFile.NTamd64` together (`oem7.inf`: two entries), only a
  decorated key (`oem8.inf`, `oem11.inf`), three keys of which the last decorated one wins
  (`oem5.inf`), a catalog value with a comment after it (`oem3.inf`).
- CopyFiles: sections, `@file` entries (`oem6.inf`, `oem7.inf`, `oem13.inf`), "dest,source" lines
  whose source name differs, flags after the names, a section that does not exist
  (`TLG.Copy.Profiles`), a file named in two sections (`tlgmon.dll`), co-installer sections
  (`oem7.inf`, `oem14.inf`, with the `CoInstallers32` value in the driver key).
- Install sections that the INF only has with a decoration (`[Generic.Install.NT]`,
  `[TlgHdmi_Install.NT]`, `[Install_GEN_AX2723.NTamd64]` with its
  `[Install_GEN_AX2723.NTamd64.CoInstallers]`): the registry names the section without it and
  the decoration in `InfSectionExt`, and the files of the decorated sections are listed. The
  Orrin INF has both a plain section and a decorated one that copies one file more; its
  `orspmc.sys` is listed once.
- A header written with a blank after its "]" (`[CV8125.ndi] ` in `oem3.inf`): the line-by-line
  reading misses it, Windows' reading finds the driver's binary.
- The driver store holds two versions of the display package side by side
  (`tlgvireo.inf_amd64_1c62...` with DriverVer 05/20/2021 is listed before the current
  `tlgvireo.inf_amd64_5c1e...`; their INFs have the same size). The display driver's files run
  from the store (DIRID 13), so only the package whose INF has the bytes of `oem11.inf` gives the
  right ones; `SysWOW64` holds the 32-bit `tlgmon.dll` (from `tlgmon32.dll`), which a search that
  starts there would take for the 64-bit one.

## Windows 98 (`samples/machine-98`)

`machine.ini`: major 4, minor 10, build 2222, platform 1, x86, `C:\\WINDOWS`, `C:\\WINDOWS\\SYSTEM`.
The class keys carry a `Class` value; a record's Class is read from its top-level class key. The
walk also descends into keys without `InfPath` (`Display\\0000\\MODES\\...`,
`MEDIA\\0000\\Drivers\\...`, `Net\\0000\\Ndi\\...`), which give no records.

### Expected `vantrel list --all`

%(rows98)s

`vantrel list` shows the %(nonms98_count)d rows with Non-MS "yes". Taken from the INF's `DriverVer`
because the registry lacks them: %(completed98)s; the Corvid INF has no `DriverVer`, so its version
is "null". Not listed: "Haldane USB Card
Reader" (`USB\\0002`, its INF `%(missing98)s` is missing). Removed as duplicates: %(removed98)s.

Files of the Non-Microsoft drivers on Windows 98 (the decorated `CatalogFile.NT` of the
Northwind INF is not read there):

%(files98)s

The Northwind driver key's `DeviceVxDs` value is %(vxdlen)d characters long and is cut to 100.
"""


def removed_text(removed):
    if not removed:
        return "none"
    return ", ".join("`%s` (same as `%s`)" % (a, b) for a, b in removed)


def main():
    # Only what this script writes is removed: the skeleton's machine.ini, system.reg and any
    # placeholder files stay.
    for folder in ("inf", "system32", "SysWOW64"):
        root = os.path.join(MACHINE, "drive_c", "windows", folder)
        if os.path.isdir(root):
            for dirpath, dirnames, filenames in os.walk(root, topdown=False):
                for f in filenames:
                    if f != ".keep":
                        os.remove(os.path.join(dirpath, f))
                for d in dirnames:
                    full = os.path.join(dirpath, d)
                    if not os.listdir(full):
                        os.rmdir(full)
    if os.path.isdir(MACHINE98):
        shutil.rmtree(MACHINE98)

    # Windows 10
    devs = win10_devices()
    reg10 = build_win10_registry(devs)
    files10 = Files(MACHINE)
    build_win10_files(files10)
    os.makedirs(os.path.join(MACHINE, "registry"), exist_ok=True)
    with open(os.path.join(MACHINE, "registry", "devices.reg"), "wb") as f:
        f.write(format_reg(reg10, "Devices and driver keys of the sample machine; written by "
                                  "samples/make-samples.py").encode("utf-8"))
    files10.write()

    # Windows 98
    reg98 = win98_registry()
    files98 = Files(MACHINE98)
    build_win98_files(files98)
    os.makedirs(os.path.join(MACHINE98, "registry"), exist_ok=True)
    with open(os.path.join(MACHINE98, "machine.ini"), "wb") as f:
        f.write(b"; Windows 98 Second Edition on a Pentium III.\r\n[system]\r\nmajor=4\r\nminor=10\r\n"
                b"build=2222\r\nplatform=1\r\narch=x86\r\nwindir=C:\\WINDOWS\r\nsysdir=C:\\WINDOWS\\SYSTEM\r\n"
                b"temp=C:\\WINDOWS\\TEMP\r\nappdata=C:\\WINDOWS\\Application Data\r\n")
    with open(os.path.join(MACHINE98, "registry", "system.reg"), "wb") as f:
        f.write(format_reg(reg98, "Windows 98 sample machine; written by samples/make-samples.py")
                .encode("utf-8"))
    files98.write()
    for keep in ("WINDOWS/TEMP", "WINDOWS/Application Data", "My Documents", "WINDOWS/Desktop",
                 "WINDOWS/Favorites"):
        path = os.path.join(MACHINE98, "drive_c", *keep.split("/"), ".keep")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        open(path, "wb").close()

    # Registry order: Windows compares upper-cased names, the image lower-cased ones; the samples
    # keep to names where both agree.
    for reg in (reg10, reg98):
        stack = [reg.root]
        while stack:
            node = stack.pop()
            names = [c.name for c in node.sorted_children()]
            if names != sorted(names, key=str.upper):
                raise SystemExit("key order differs between upper and lower case under %s" % node.name)
            stack.extend(node.children.values())

    # Expectations
    records10 = enumerate_nt(reg10, files10, "C:\\WINDOWS", 10, 0)
    kept10, removed10 = remove_duplicates(records10)
    rows10 = expected_rows(kept10, files10, "C:\\WINDOWS", True)
    records98 = enumerate_9x(reg98, files98, "C:\\WINDOWS")
    kept98, removed98 = remove_duplicates(records98)
    rows98 = expected_rows(kept98, files98, "C:\\WINDOWS", False)
    if sum(1 for r in rows10 if r["nonms"] == "yes") < 12:
        raise SystemExit("fewer than 12 Non-Microsoft drivers listed")

    dev_rows = device_notes(devs, rows10, kept10, removed10, kept10)
    devices = md_table(["Instance (under `Enum`)", "First hardware ID", "DriverDesc", "Non-MS", "InfPath",
                        "Result", "Notes"], dev_rows)
    readme = README % {
        "devices": devices,
        "rows": rows_table(rows10),
        "nonms_count": sum(1 for r in rows10 if r["nonms"] == "yes"),
        "files": file_lists(rows10),
        "rows98": rows_table(rows98),
        "nonms98_count": sum(1 for r in rows98 if r["nonms"] == "yes"),
        "missing98": MISSING_INF98,
        "removed98": removed_text(removed98),
        "files98": file_lists(rows98),
        "vxdlen": len(LONG_VXDS),
        "completed98": completions(rows98),
    }
    with open(os.path.join(HERE, "README.md"), "w", newline="\n") as f:
        f.write(readme)
    print("machine: %d instances, %d records, %d listed (%d Non-Microsoft); machine-98: %d listed" % (
        len(devs), len(kept10), len(rows10), sum(1 for r in rows10 if r["nonms"] == "yes"), len(rows98)))
    return 0


if __name__ == "__main__":
    sys.exit(main())

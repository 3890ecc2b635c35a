#include "archive/ZipWriter.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>

#include <zlib.h>

#include "archive/ArchiveCallback.h"
#include "archive/ZipCrypto.h"
#include "archive/ZipDeflate.h"
#include "archive/ZipFormat.h"
#include "platform/FileSystem.h"

namespace vantrel {

using namespace zipfmt;

namespace {

constexpr std::size_t kBlock = 1 << 20;
// Files from this size on get ZIP64 sizes in their local header: deflate may grow
// incompressible data a little, and the header is written before the size is known.
constexpr std::uint64_t kZip64LocalFrom = 0xFF000000u;
constexpr std::uint32_t kKeptAttributes = kFileAttributeReadOnly | kFileAttributeHidden |
                                          kFileAttributeSystem | kFileAttributeDirectory |
                                          kFileAttributeArchive;

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

std::string TrimSeparators(std::string_view path) {
    while (!path.empty() && IsSeparator(path.back()))
        path.remove_suffix(1);
    return std::string(path);
}

// Archive names use "/" and never start with one.
std::string ArchiveName(std::string_view name) {
    while (!name.empty() && IsSeparator(name.front()))
        name.remove_prefix(1);
    std::string s(name);
    std::replace(s.begin(), s.end(), '\\', '/');
    return s;
}

// Names are compared as Windows compares file names.
std::string FoldName(std::string_view name) {
    std::string s = ArchiveName(name);
    while (!s.empty() && s.back() == '/')
        s.pop_back();
    for (char& c : s)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return s;
}

bool SameText(std::string_view a, std::string_view b) {
    return FoldName(a) == FoldName(b);
}

// The path below base; a path outside base loses only its drive or network share.
std::string RelativeName(std::string_view path, std::string_view base) {
    std::string b = TrimSeparators(base);
    if (!b.empty() && path.size() > b.size() && IsSeparator(path[b.size()]) &&
        SameText(path.substr(0, b.size()), b))
        return ArchiveName(path.substr(b.size() + 1));
    if (path.size() >= 2 && path[1] == ':') {
        path.remove_prefix(2);
    } else if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1])) {
        std::size_t server = path.find_first_of("\\/", 2);
        std::size_t share = server == std::string_view::npos ? server : path.find_first_of("\\/", server + 1);
        path = share == std::string_view::npos ? std::string_view() : path.substr(share);
    }
    return ArchiveName(path);
}

class MemoryInput : public InputFile {
public:
    explicit MemoryInput(const std::string& data) : data(data) {}
    std::int64_t Read(void* buffer, std::size_t size) override {
        std::size_t n = std::min(size, data.size() - pos);
        std::memcpy(buffer, data.data() + pos, n);
        pos += n;
        return static_cast<std::int64_t>(n);
    }
    bool Seek(std::uint64_t offset) override {
        if (offset > data.size())
            return false;
        pos = static_cast<std::size_t>(offset);
        return true;
    }
    std::uint64_t Size() const override { return data.size(); }

private:
    const std::string& data;
    std::size_t pos = 0;
};

std::string LocalHeader(const ZipEntry& e, bool zip64) {
    bool later = (e.flags & kFlagDataDescriptor) != 0;
    std::string h;
    Put32(h, kLocalHeaderSig);
    Put16(h, zip64 ? std::max(e.versionNeeded, kVersionZip64) : e.versionNeeded);
    Put16(h, e.flags);
    Put16(h, e.method);
    Put32(h, e.dosTime);
    Put32(h, later ? 0 : e.crc);
    Put32(h, zip64 ? kMax32 : later ? 0 : static_cast<std::uint32_t>(e.compressedSize));
    Put32(h, zip64 ? kMax32 : later ? 0 : static_cast<std::uint32_t>(e.size));
    Put16(h, static_cast<std::uint32_t>(e.name.size()));
    Put16(h, zip64 ? 20 : 0);
    h += e.name;
    if (zip64) {
        Put16(h, kZip64ExtraId);
        Put16(h, 16);
        Put64(h, later ? 0 : e.size);
        Put64(h, later ? 0 : e.compressedSize);
    }
    return h;
}

std::string CentralHeader(const ZipEntry& e, bool force) {
    bool bigSize = force || e.size >= kMax32;
    bool bigCompressed = force || e.compressedSize >= kMax32;
    bool bigOffset = force || e.localHeaderOffset >= kMax32;
    std::string zip64;
    if (bigSize)
        Put64(zip64, e.size);
    if (bigCompressed)
        Put64(zip64, e.compressedSize);
    if (bigOffset)
        Put64(zip64, e.localHeaderOffset);
    std::string extra;
    if (!zip64.empty()) {
        Put16(extra, kZip64ExtraId);
        Put16(extra, static_cast<std::uint32_t>(zip64.size()));
        extra += zip64;
    }
    if (extra.size() + e.extra.size() <= kMax16)
        extra += e.extra;
    std::uint16_t madeBy = e.versionMadeBy, needed = e.versionNeeded;
    if (!zip64.empty()) {
        madeBy = static_cast<std::uint16_t>((madeBy & 0xFF00) |
                                            std::max<std::uint16_t>(madeBy & 0xFF, kVersionZip64));
        needed = std::max(needed, kVersionZip64);
    }
    std::string h;
    Put32(h, kCentralHeaderSig);
    Put16(h, madeBy);
    Put16(h, needed);
    Put16(h, e.flags);
    Put16(h, e.method);
    Put32(h, e.dosTime);
    Put32(h, e.crc);
    Put32(h, bigCompressed ? kMax32 : static_cast<std::uint32_t>(e.compressedSize));
    Put32(h, bigSize ? kMax32 : static_cast<std::uint32_t>(e.size));
    Put16(h, static_cast<std::uint32_t>(e.name.size()));
    Put16(h, static_cast<std::uint32_t>(extra.size()));
    Put16(h, static_cast<std::uint32_t>(std::min<std::size_t>(e.comment.size(), kMax16)));
    Put16(h, 0); // disk
    Put16(h, e.internalAttributes);
    Put32(h, e.externalAttributes);
    Put32(h, bigOffset ? kMax32 : static_cast<std::uint32_t>(e.localHeaderOffset));
    h += e.name;
    h += extra;
    h.append(e.comment, 0, kMax16);
    return h;
}

} // namespace

int ZipLevelFromSetting(const std::string& text, int currentLevel) {
    if (text == "High")
        return 9;
    if (text == "Medium")
        return 6;
    if (text == "Low")
        return 1;
    if (text == "None")
        return 0;
    return currentLevel;
}

// One Close: reads the queued files in order on this thread, lets the pool compress them and
// writes the results in the same order, so callbacks stay on the caller's thread.
class ZipWriter::Run {
public:
    Run(ZipWriter& w, ArchiveCallback* callback, int threadCount)
        : w(w), callback(callback), pool(threadCount > 1 ? threadCount : 0),
          maxInFlight(std::max(2, threadCount * 4)) {}

    bool Execute() {
        for (const Item& item : w.items)
            total += item.size + 1;
        Report();
        bool ok = true;
        for (;;) {
            while (inFlight.size() < maxInFlight && Feed()) {
            }
            if (inFlight.empty())
                break;
            Unit unit = std::move(inFlight.front());
            inFlight.pop_front();
            if (unit.job)
                pool.Wait(*unit.job);
            if (!Consume(unit)) {
                ok = false;
                break;
            }
            if (callback && callback->Cancelled()) {
                w.error = "Cancelled";
                ok = false;
                break;
            }
        }
        // A half-written entry stays as unreferenced bytes; the directory leaves it out.
        current.reset();
        input.reset();
        return ok;
    }

private:
    struct Unit {
        std::size_t item = 0;
        bool first = true;
        bool last = true;
        std::uint64_t fileSize = 0;
        std::string failure; // the file could not be read
        std::shared_ptr<DeflateJob> job;
    };
    struct Streamed {
        ZipEntry entry;
        bool zip64 = false;
        std::optional<ZipCrypto> crypto;
    };

    // Reads the next block of the queued files and hands it to the pool.
    bool Feed() {
        while (nextItem < w.items.size()) {
            const Item& item = w.items[nextItem];
            Unit unit;
            unit.item = nextItem;
            if (!input) {
                if (item.directory) {
                    ++nextItem;
                    inFlight.push_back(std::move(unit));
                    return true;
                }
                if (item.fromMemory)
                    input = std::make_unique<MemoryInput>(item.data);
                else
                    input = w.fs.OpenRead(item.path);
                if (!input) {
                    unit.failure = "cannot open the file";
                    ++nextItem;
                    inFlight.push_back(std::move(unit));
                    return true;
                }
                inputSize = inputLeft = input->Size();
                inputFirst = true;
            }
            auto job = std::make_shared<DeflateJob>();
            job->level = w.level;
            std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(inputLeft, kBlock));
            job->input.resize(n);
            unit.first = inputFirst;
            unit.fileSize = inputSize;
            if (n > 0 && !ReadFully(*input, job->input.data(), n)) {
                unit.failure = "cannot read the file";
                input.reset();
                ++nextItem;
                inFlight.push_back(std::move(unit));
                return true;
            }
            inputLeft -= n;
            unit.last = inputLeft == 0;
            job->finish = unit.last;
            if (!inputFirst)
                job->dictionary = std::move(dictionary);
            if (!unit.last)
                dictionary.assign(job->input.end() - static_cast<std::ptrdiff_t>(std::min(n, kDeflateWindow)),
                                  job->input.end());
            inputFirst = false;
            if (unit.last) {
                input.reset();
                ++nextItem;
            }
            unit.job = job;
            pool.Submit(std::move(job));
            inFlight.push_back(std::move(unit));
            return true;
        }
        return false;
    }

    ZipEntry NewEntry(const Item& item) const {
        ZipEntry e;
        e.name = item.name;
        e.dosTime = DosTimeFromUnix(item.lastWrite);
        e.versionMadeBy = static_cast<std::uint16_t>(kHostDos << 8 | kVersionDefault);
        e.versionNeeded = kVersionDefault;
        e.externalAttributes = item.attributes & kKeptAttributes;
        e.localHeaderOffset = w.position;
        return e;
    }

    bool Consume(Unit& unit) {
        const Item& item = w.items[unit.item];
        if (unit.first && callback)
            callback->ItemStarted(item.name);
        if (!unit.failure.empty()) {
            current.reset();
            w.skipped.push_back(item.name + ": " + unit.failure);
            if (callback)
                callback->ItemSkipped(item.name, unit.failure);
            done += item.size + 1;
            Report();
            return true;
        }
        bool ok;
        if (item.directory)
            ok = WriteDirectory(item);
        else if (!unit.job->ok)
            ok = w.Fail("Compression failed (out of memory?)");
        else if (unit.first && unit.last)
            ok = WriteWhole(item, *unit.job);
        else
            ok = WriteBlock(item, unit);
        if (unit.job)
            done += unit.job->input.size();
        if (unit.last)
            ++done;
        Report();
        return ok;
    }

    bool WriteDirectory(const Item& item) {
        ZipEntry e = NewEntry(item);
        e.externalAttributes |= kFileAttributeDirectory;
        w.written.push_back(e);
        return w.Write(LocalHeader(e, w.forceZip64));
    }

    // A file that fits in one block: everything is known before its header is written, and
    // data that deflate cannot shrink is stored.
    bool WriteWhole(const Item& item, DeflateJob& job) {
        ZipEntry e = NewEntry(item);
        bool store = job.level == 0 || job.output.size() >= job.input.size();
        std::vector<unsigned char>& data = store ? job.input : job.output;
        e.method = store ? kMethodStored : kMethodDeflated;
        e.crc = job.crc;
        e.size = job.input.size();
        e.compressedSize = data.size();
        // Empty files stay unencrypted, as other zip programs leave them.
        bool encrypt = !w.password.empty() && !job.input.empty();
        if (encrypt) {
            e.flags |= kFlagEncrypted;
            e.compressedSize += kEncryptionHeaderSize;
        }
        if (!w.Write(LocalHeader(e, w.forceZip64)))
            return false;
        if (encrypt) {
            ZipCrypto crypto(w.password);
            unsigned char header[kEncryptionHeaderSize];
            crypto.MakeHeader(static_cast<std::uint8_t>(e.crc >> 24), header);
            crypto.Encrypt(data.data(), data.size());
            if (!w.Write(header, sizeof header))
                return false;
        }
        if (!w.Write(data.data(), data.size()))
            return false;
        w.written.push_back(e);
        return true;
    }

    // A block of a large file. Its header is written before the CRC and sizes are known: they
    // are patched in afterwards, or, when encrypted, follow the data in a descriptor (the
    // encryption header must be written before the CRC is known).
    bool WriteBlock(const Item& item, Unit& unit) {
        DeflateJob& job = *unit.job;
        if (unit.first) {
            current.emplace();
            ZipEntry& e = current->entry;
            e = NewEntry(item);
            e.method = job.level == 0 ? kMethodStored : kMethodDeflated;
            current->zip64 = w.forceZip64 || unit.fileSize >= kZip64LocalFrom;
            if (!w.password.empty())
                e.flags |= kFlagEncrypted | kFlagDataDescriptor;
            if (!w.Write(LocalHeader(e, current->zip64)))
                return false;
            if (!w.password.empty()) {
                current->crypto.emplace(w.password);
                unsigned char header[kEncryptionHeaderSize];
                current->crypto->MakeHeader(static_cast<std::uint8_t>(e.dosTime >> 8), header);
                if (!w.Write(header, sizeof header))
                    return false;
                e.compressedSize = kEncryptionHeaderSize;
            }
        }
        if (!current)
            return true; // the rest of a file abandoned earlier
        ZipEntry& e = current->entry;
        std::vector<unsigned char>& data = job.level == 0 ? job.input : job.output;
        if (current->crypto)
            current->crypto->Encrypt(data.data(), data.size());
        if (!w.Write(data.data(), data.size()))
            return false;
        e.crc = unit.first ? job.crc
                           : static_cast<std::uint32_t>(
                                 crc32_combine(e.crc, job.crc, static_cast<z_off_t>(job.input.size())));
        e.size += job.input.size();
        e.compressedSize += data.size();
        if (!unit.last)
            return true;
        if (!current->zip64 && (e.size >= kMax32 || e.compressedSize >= kMax32))
            return w.Fail(item.name + " grew past 4 GiB while it was being added");
        if (e.flags & kFlagDataDescriptor) {
            std::string d;
            Put32(d, kDataDescriptorSig);
            Put32(d, e.crc);
            if (current->zip64) {
                Put64(d, e.compressedSize);
                Put64(d, e.size);
            } else {
                Put32(d, static_cast<std::uint32_t>(e.compressedSize));
                Put32(d, static_cast<std::uint32_t>(e.size));
            }
            if (!w.Write(d))
                return false;
        } else {
            std::string sizes;
            Put32(sizes, e.crc);
            Put32(sizes, current->zip64 ? kMax32 : static_cast<std::uint32_t>(e.compressedSize));
            Put32(sizes, current->zip64 ? kMax32 : static_cast<std::uint32_t>(e.size));
            std::string sizes64;
            Put64(sizes64, e.size);
            Put64(sizes64, e.compressedSize);
            std::uint64_t end = w.position;
            if (!w.Flush())
                return false;
            bool ok = w.out->Seek(e.localHeaderOffset + 14) && w.out->Write(sizes.data(), sizes.size());
            if (ok && current->zip64)
                ok = w.out->Seek(e.localHeaderOffset + kLocalHeaderSize + e.name.size() + 4) &&
                     w.out->Write(sizes64.data(), sizes64.size());
            if (!ok || !w.out->Seek(end))
                return w.Fail("Cannot write to the archive");
        }
        w.written.push_back(e);
        current.reset();
        return true;
    }

    void Report() {
        if (callback)
            callback->Progress(total == 0 ? 100.0
                                          : 100.0 * static_cast<double>(std::min(done, total)) / total);
    }

    ZipWriter& w;
    ArchiveCallback* callback;
    DeflatePool pool;
    std::size_t maxInFlight;
    std::deque<Unit> inFlight;
    std::size_t nextItem = 0;
    std::unique_ptr<InputFile> input;
    std::uint64_t inputSize = 0;
    std::uint64_t inputLeft = 0;
    bool inputFirst = true;
    std::vector<unsigned char> dictionary;
    std::optional<Streamed> current;
    std::uint64_t total = 0;
    std::uint64_t done = 0;
};

ZipWriter::ZipWriter(FileSystem& fs) : fs(fs) {}
ZipWriter::~ZipWriter() = default;

bool ZipWriter::Fail(std::string text) {
    error = std::move(text);
    return false;
}

// Headers and small files are gathered into larger writes: an archive of many small files
// would otherwise cost a system call per header.
bool ZipWriter::Write(const void* data, std::size_t size) {
    if (pending.size() + size > kBlock && !Flush())
        return false;
    if (size >= kBlock) {
        if (!out->Write(data, size))
            return Fail("Cannot write to the archive (disk full?)");
    } else {
        pending.append(static_cast<const char*>(data), size);
    }
    position += size;
    return true;
}

bool ZipWriter::Flush() {
    bool ok = pending.empty() || out->Write(pending.data(), pending.size());
    pending.clear();
    return ok || Fail("Cannot write to the archive (disk full?)");
}

bool ZipWriter::Write(const std::string& bytes) {
    return Write(bytes.data(), bytes.size());
}

void ZipWriter::Reset() {
    out.reset();
    pending.clear();
    position = 0;
    error.clear();
    skipped.clear();
    written.clear();
    items.clear();
    queuedNames.clear();
    keptNames.clear();
    replacedNames.clear();
    archive.clear();
    created = false;
    oldDirectoryAt = 0;
    oldDirectory.clear();
}

// The archive's folder is created when missing, as a backup root may not exist yet.
static bool CreateParent(FileSystem& fs, std::string_view path) {
    auto slash = path.find_last_of("\\/");
    return slash == std::string_view::npos || slash == 0 || CreateDirectories(fs, path.substr(0, slash));
}

bool ZipWriter::Create(std::string_view archivePath, std::string_view prefix) {
    Reset();
    if (CreateParent(fs, archivePath))
        out = fs.OpenWrite(archivePath);
    if (!out)
        return Fail("Cannot create " + std::string(archivePath));
    archive = std::string(archivePath);
    created = true;
    if (!prefix.empty() && !Write(prefix.data(), prefix.size())) {
        out.reset();
        fs.DeleteFile(archive);
        return false;
    }
    return true;
}

bool ZipWriter::Append(std::string_view archivePath) {
    FindData info;
    if (!fs.GetInfo(archivePath, &info) || info.size == 0)
        return Create(archivePath);
    Reset();
    {
        // Closed again before the file is opened for writing.
        ZipReader reader(fs);
        if (!reader.Open(archivePath))
            return Fail("Cannot add to " + std::string(archivePath) + ": " + reader.Error());
        written = reader.Entries();
        position = reader.CentralDirectoryOffset();
    }
    // New entries go over the old directory; it is kept to be put back if they fail.
    auto in = fs.OpenRead(archivePath);
    if (!in || in->Size() < position || !in->Seek(position))
        return Fail("Cannot read " + std::string(archivePath));
    oldDirectoryAt = position;
    oldDirectory.resize(static_cast<std::size_t>(in->Size() - position));
    if (!ReadFully(*in, oldDirectory.data(), oldDirectory.size()))
        return Fail("Cannot read " + std::string(archivePath));
    in.reset();
    for (const ZipEntry& e : written)
        keptNames.insert(FoldName(e.name));
    archive = std::string(archivePath);
    out = fs.OpenWrite(archivePath, true);
    if (!out || !out->Seek(position)) {
        out.reset();
        return Fail("Cannot open " + std::string(archivePath) + " for writing");
    }
    return true;
}

void ZipWriter::SetLevel(int value) {
    level = std::clamp(value, 0, 9);
}
void ZipWriter::SetPassword(std::string text) {
    password = std::move(text);
}
void ZipWriter::SetThreads(int count) {
    threads = count;
}
void ZipWriter::SetForceZip64(bool force) {
    forceZip64 = force;
}

void ZipWriter::Queue(Item item) {
    std::string key = FoldName(item.name);
    if (keptNames.count(key))
        replacedNames.insert(key);
    auto found = queuedNames.find(key);
    if (found != queuedNames.end()) {
        items[found->second] = std::move(item);
        return;
    }
    queuedNames.emplace(std::move(key), items.size());
    items.push_back(std::move(item));
}

bool ZipWriter::AddFile(std::string_view path, std::string_view nameInArchive) {
    FindData info;
    if (!fs.GetInfo(path, &info) || info.IsDirectory())
        return Fail("File not found: " + std::string(path));
    Item item;
    item.path = std::string(path);
    item.name = ArchiveName(nameInArchive.empty() ? std::string_view(info.name) : nameInArchive);
    item.size = info.size;
    item.attributes = info.attributes;
    item.lastWrite = info.lastWrite;
    if (item.name.empty())
        return Fail("No name for " + std::string(path));
    Queue(std::move(item));
    return true;
}

void ZipWriter::AddBytes(std::string_view nameInArchive, std::string data, std::int64_t lastWrite) {
    Item item;
    item.name = ArchiveName(nameInArchive);
    item.size = data.size();
    item.data = std::move(data);
    item.fromMemory = true;
    item.attributes = kFileAttributeArchive;
    item.lastWrite = lastWrite;
    Queue(std::move(item));
}

void ZipWriter::AddDirectory(std::string_view nameInArchive, std::int64_t lastWrite) {
    Item item;
    item.name = ArchiveName(nameInArchive);
    while (!item.name.empty() && item.name.back() == '/')
        item.name.pop_back();
    item.name += '/';
    item.directory = true;
    item.attributes = kFileAttributeDirectory;
    item.lastWrite = lastWrite;
    Queue(std::move(item));
}

bool ZipWriter::AddFolder(std::string_view folder, std::string_view baseFolder, bool recursive) {
    std::string root = TrimSeparators(folder);
    FindData info;
    if (!fs.GetInfo(root, &info) || !info.IsDirectory())
        return Fail("Folder not found: " + root);
    std::string name = RelativeName(root, baseFolder);
    if (!name.empty() && !SameText(root, TrimSeparators(baseFolder)))
        AddDirectory(name, info.lastWrite);
    Walk(root, TrimSeparators(baseFolder), recursive);
    return true;
}

void ZipWriter::Walk(const std::string& folder, const std::string& base, bool recursive) {
    std::vector<FindData> found;
    if (!fs.FindFiles(folder + "\\*", &found))
        return; // empty
    for (const FindData& f : found) {
        std::string path = folder + "\\" + f.name;
        if (f.IsDirectory()) {
            // Junctions are not followed: they can loop and point outside the folder.
            if (!recursive || (f.attributes & kFileAttributeReparsePoint))
                continue;
            AddDirectory(RelativeName(path, base), f.lastWrite);
            Walk(path, base, recursive);
            continue;
        }
        Item item;
        item.path = path;
        item.name = RelativeName(path, base);
        item.size = f.size;
        item.attributes = f.attributes;
        item.lastWrite = f.lastWrite;
        Queue(std::move(item));
    }
}

bool ZipWriter::Close(ArchiveCallback* callback) {
    if (!out)
        return Fail(error.empty() ? "No archive is open" : error);
    error.clear();
    if (!replacedNames.empty()) {
        // Replaced entries leave their old data behind as unreferenced bytes.
        std::erase_if(written, [&](const ZipEntry& e) { return replacedNames.count(FoldName(e.name)) != 0; });
    }
    int threadCount = threads > 0 ? threads : static_cast<int>(std::clamp(ProcessorCount(), 1u, 16u));
    bool ok;
    {
        Run run(*this, callback, threadCount);
        ok = run.Execute();
    }
    // Whatever happened to the entries, a directory of those written keeps the archive readable.
    // The last Seek hands any gathered bytes to the disk, so a failure shows before closing.
    std::string failure = error;
    bool directory =
        Flush() && out->Seek(position) && WriteCentralDirectory() && Flush() && out->Seek(position);
    if (failure.empty() && !directory)
        failure = error.empty() ? "Cannot write to the archive (disk full?)" : error;
    bool restored = false;
    if (!directory && !created) {
        // Without its new directory the file would not open at all: the old one goes back.
        restored = out->Truncate(oldDirectoryAt) && out->Write(oldDirectory.data(), oldDirectory.size());
    }
    bool closed = out->Close();
    out.reset();
    items.clear();
    queuedNames.clear();
    if (!directory && created)
        fs.DeleteFile(archive);
    if (!directory && !created && !(restored && closed))
        failure += " The archive may be damaged.";
    if (!ok || !directory) {
        error = failure;
        return false;
    }
    if (!closed)
        return Fail("Cannot write to the archive (disk full?)");
    if (callback)
        callback->Progress(100.0);
    return true;
}

bool ZipWriter::WriteCentralDirectory() {
    std::uint64_t start = position;
    std::string buffer;
    for (const ZipEntry& e : written) {
        buffer += CentralHeader(e, forceZip64);
        if (buffer.size() >= kBlock) {
            if (!Write(buffer))
                return false;
            buffer.clear();
        }
    }
    if (!Write(buffer))
        return false;
    std::uint64_t size = position - start;
    std::uint64_t count = written.size();
    bool zip64 = forceZip64 || count >= kMax16 || size >= kMax32 || start >= kMax32;
    std::string end;
    if (zip64) {
        std::uint64_t recordAt = position;
        Put32(end, kZip64EndSig);
        Put64(end, kZip64EndSize - 12);
        Put16(end, kHostDos << 8 | kVersionZip64);
        Put16(end, kVersionZip64);
        Put32(end, 0);
        Put32(end, 0);
        Put64(end, count);
        Put64(end, count);
        Put64(end, size);
        Put64(end, start);
        Put32(end, kZip64LocatorSig);
        Put32(end, 0);
        Put64(end, recordAt);
        Put32(end, 1);
    }
    auto field16 = [&](std::uint64_t v) {
        return zip64 && (forceZip64 || v >= kMax16) ? kMax16 : static_cast<std::uint32_t>(v);
    };
    auto field32 = [&](std::uint64_t v) {
        return zip64 && (forceZip64 || v >= kMax32) ? kMax32 : static_cast<std::uint32_t>(v);
    };
    Put32(end, kEndSig);
    Put16(end, 0);
    Put16(end, 0);
    Put16(end, field16(count));
    Put16(end, field16(count));
    Put32(end, field32(size));
    Put32(end, field32(start));
    Put16(end, 0);
    return Write(end);
}

} // namespace vantrel

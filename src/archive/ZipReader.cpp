#include "archive/ZipReader.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

#include <zlib.h>

#include "archive/ArchiveCallback.h"
#include "archive/ZipCrypto.h"
#include "archive/ZipFormat.h"
#include "archive/ZipSafety.h"
#include "platform/FileSystem.h"

namespace vantrel {

using namespace zipfmt;

namespace {

constexpr std::size_t kChunk = 256 * 1024;
// The end record sits in the last 64 KiB + 22 bytes; a little more allows a trailer after it.
constexpr std::uint64_t kTailSearch = 65536 + kEndSize + 4096;

bool ReadAt(InputFile& file, std::uint64_t offset, void* buffer, std::size_t size) {
    return file.Seek(offset) && ReadFully(file, buffer, size);
}

std::string TrimSeparators(std::string_view path) {
    while (!path.empty() && (path.back() == '\\' || path.back() == '/'))
        path.remove_suffix(1);
    return std::string(path);
}

} // namespace

bool ZipEntry::IsDirectory() const {
    return !name.empty() && (name.back() == '/' || name.back() == '\\');
}
bool ZipEntry::IsEncrypted() const {
    return (flags & kFlagEncrypted) != 0;
}
std::int64_t ZipEntry::LastWrite() const {
    return UnixFromDosTime(dosTime);
}

class ZipReader::Sink {
public:
    virtual ~Sink() = default;
    virtual bool Write(const unsigned char* data, std::size_t size) = 0;
};

namespace {

class FileSink : public ZipReader::Sink {
public:
    explicit FileSink(OutputFile& out) : out(out) {}
    bool Write(const unsigned char* data, std::size_t size) override { return out.Write(data, size); }

private:
    OutputFile& out;
};

class StringSink : public ZipReader::Sink {
public:
    explicit StringSink(std::string& text) : text(text) {}
    bool Write(const unsigned char* data, std::size_t size) override {
        text.append(reinterpret_cast<const char*>(data), size);
        return true;
    }

private:
    std::string& text;
};

class NullSink : public ZipReader::Sink {
public:
    bool Write(const unsigned char*, std::size_t) override { return true; }
};

} // namespace

// Counts entries as well as bytes so an archive of empty files still moves the bar.
class ZipReader::Progress {
public:
    Progress(ArchiveCallback* callback, std::uint64_t total) : callback(callback), total(total) {}
    void Add(std::uint64_t n) { Set(done + n); }
    void Set(std::uint64_t value) {
        done = value;
        if (callback)
            callback->Progress(total == 0 ? 100.0
                                          : 100.0 * static_cast<double>(std::min(done, total)) / total);
    }
    std::uint64_t Done() const { return done; }
    bool Cancelled() { return callback && callback->Cancelled(); }

private:
    ArchiveCallback* callback;
    std::uint64_t total;
    std::uint64_t done = 0;
};

ZipReader::ZipReader(FileSystem& fs) : fs(fs) {}
ZipReader::~ZipReader() = default;

bool ZipReader::Fail(std::string text) {
    error = std::move(text);
    entries.clear();
    limits.clear();
    file.reset();
    return false;
}

bool ZipReader::Open(std::string_view path) {
    entries.clear();
    limits.clear();
    error.clear();
    file = fs.OpenRead(path);
    if (!file)
        return Fail("Cannot open " + std::string(path));
    fileSize = file->Size();
    if (fileSize < kEndSize)
        return Fail("Not a zip archive (too short)");

    std::uint64_t tailStart = fileSize > kTailSearch ? fileSize - kTailSearch : 0;
    std::string tail(static_cast<std::size_t>(fileSize - tailStart), '\0');
    if (!ReadAt(*file, tailStart, tail.data(), tail.size()))
        return Fail("Cannot read the archive");

    // The last end record whose comment fits in the file; a few bytes may follow it (the
    // length trailer of an auto-setup package).
    std::optional<std::size_t> endAt;
    for (std::size_t p = tail.size() - kEndSize + 1; p-- > 0;) {
        if (Get32(&tail[p]) == kEndSig && p + kEndSize + Get16(&tail[p + 20]) <= tail.size()) {
            endAt = p;
            break;
        }
    }
    if (!endAt)
        return Fail("Not a zip archive, or the archive is truncated (no end of central directory)");
    const char* end = &tail[*endAt];
    std::uint64_t endPos = tailStart + *endAt;
    std::uint32_t disk = Get16(end + 4), centralDisk = Get16(end + 6);
    std::uint64_t count = Get16(end + 10), centralSize = Get32(end + 12), claimedOffset = Get32(end + 16);
    std::uint64_t recordPos = endPos; // the first of the end records

    bool zip64 = false;
    if (endPos >= kZip64LocatorSize) {
        unsigned char locator[kZip64LocatorSize];
        if (ReadAt(*file, endPos - kZip64LocatorSize, locator, sizeof locator) &&
            Get32(locator) == kZip64LocatorSig) {
            // Prefer the claimed offset; a stub in front of the archive moves it by a fixed amount.
            unsigned char rec[kZip64EndSize];
            std::uint64_t claimed = Get64(locator + 8);
            std::uint64_t nearby = endPos - kZip64LocatorSize >= kZip64EndSize
                                       ? endPos - kZip64LocatorSize - kZip64EndSize
                                       : fileSize;
            bool found = false;
            for (std::uint64_t at : {claimed, nearby}) {
                if (at + kZip64EndSize <= endPos && ReadAt(*file, at, rec, sizeof rec) &&
                    Get32(rec) == kZip64EndSig) {
                    recordPos = at;
                    found = true;
                    break;
                }
            }
            if (!found)
                return Fail("The archive's ZIP64 end record is missing or damaged");
            zip64 = true;
            disk = Get32(rec + 16);
            centralDisk = Get32(rec + 20);
            count = Get64(rec + 32);
            centralSize = Get64(rec + 40);
            claimedOffset = Get64(rec + 48);
        }
    }
    if (disk != 0 || centralDisk != 0)
        return Fail("Archives split over several disks are not supported");
    if (centralSize > recordPos)
        return Fail("The archive is truncated or its central directory is damaged");
    if (count > centralSize / kCentralHeaderSize)
        return Fail("The archive's central directory is damaged (entry count)");

    // Where the directory really is. Offsets that count from the start of the archive rather
    // than of the file (a stub put in front afterwards) are shifted by the difference.
    std::uint64_t actualOffset = recordPos - centralSize;
    std::int64_t delta = 0;
    std::string central(static_cast<std::size_t>(centralSize), '\0');
    auto readCentral = [&](std::uint64_t at) {
        return at + centralSize <= recordPos && ReadAt(*file, at, central.data(), central.size()) &&
               (count == 0 || Get32(central.data()) == kCentralHeaderSig);
    };
    if (readCentral(claimedOffset)) {
        centralOffset = claimedOffset;
    } else if (readCentral(actualOffset)) {
        centralOffset = actualOffset;
        delta = static_cast<std::int64_t>(actualOffset) - static_cast<std::int64_t>(claimedOffset);
    } else {
        return Fail("The archive is truncated or its central directory is damaged");
    }
    if (!ParseCentralDirectory(central, count, zip64, delta))
        return false;
    return CheckLayout();
}

bool ZipReader::ParseCentralDirectory(const std::string& bytes, std::uint64_t count, bool zip64,
                                      std::int64_t delta) {
    const std::string damaged = "The archive's central directory is damaged";
    entries.reserve(static_cast<std::size_t>(count));
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        if (bytes.size() - pos < kCentralHeaderSize || Get32(&bytes[pos]) != kCentralHeaderSig)
            return Fail(damaged);
        const char* h = &bytes[pos];
        std::size_t nameLen = Get16(h + 28), extraLen = Get16(h + 30), commentLen = Get16(h + 32);
        if (bytes.size() - pos - kCentralHeaderSize < nameLen + extraLen + commentLen)
            return Fail(damaged);
        ZipEntry e;
        e.versionMadeBy = Get16(h + 4);
        e.versionNeeded = Get16(h + 6);
        e.flags = Get16(h + 8);
        e.method = Get16(h + 10);
        e.dosTime = Get32(h + 12);
        e.crc = Get32(h + 16);
        e.compressedSize = Get32(h + 20);
        e.size = Get32(h + 24);
        std::uint32_t diskStart = Get16(h + 34);
        e.internalAttributes = Get16(h + 36);
        e.externalAttributes = Get32(h + 38);
        e.localHeaderOffset = Get32(h + 42);
        e.name.assign(h + kCentralHeaderSize, nameLen);
        std::string_view extra(h + kCentralHeaderSize + nameLen, extraLen);
        e.comment.assign(h + kCentralHeaderSize + nameLen + extraLen, commentLen);
        pos += kCentralHeaderSize + nameLen + extraLen + commentLen;

        // Keep every extra field but the ZIP64 one, which the writer rebuilds.
        while (extra.size() >= 4) {
            std::uint16_t id = Get16(extra.data()), len = Get16(extra.data() + 2);
            if (extra.size() - 4 < len)
                break; // a torn field at the end: dropped, as other readers do
            std::string_view data = extra.substr(4, len);
            if (id == kZip64ExtraId) {
                auto take = [&](std::uint64_t* value) {
                    if (data.size() < 8)
                        return false;
                    *value = Get64(data.data());
                    data.remove_prefix(8);
                    return true;
                };
                if ((e.size == kMax32 && !take(&e.size)) ||
                    (e.compressedSize == kMax32 && !take(&e.compressedSize)) ||
                    (e.localHeaderOffset == kMax32 && !take(&e.localHeaderOffset)))
                    return Fail(damaged + " (ZIP64 field)");
                if (diskStart == kMax16 && data.size() >= 4)
                    diskStart = Get32(data.data());
            } else {
                e.extra.append(extra.data(), 4 + len);
            }
            extra.remove_prefix(4 + len);
        }
        if (diskStart != 0)
            return Fail("Archives split over several disks are not supported");
        if (delta < 0 && e.localHeaderOffset < static_cast<std::uint64_t>(-delta))
            return Fail(damaged);
        e.localHeaderOffset += static_cast<std::uint64_t>(delta);
        entries.push_back(std::move(e));
    }
    // Some writers store the count modulo 65,536 instead of writing ZIP64 records.
    if (entries.size() != count && (zip64 || (entries.size() & 0xFFFF) != count))
        return Fail(damaged + " (entry count)");
    return true;
}

// Every entry must lie before the directory and apart from every other one: overlapping
// entries are how the worst decompression bombs multiply their output.
bool ZipReader::CheckLayout() {
    std::vector<std::size_t> order(entries.size());
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return entries[a].localHeaderOffset < entries[b].localHeaderOffset;
    });
    limits.assign(entries.size(), centralOffset);
    for (std::size_t k = 0; k < order.size(); ++k) {
        const ZipEntry& e = entries[order[k]];
        std::uint64_t limit = k + 1 < order.size() ? entries[order[k + 1]].localHeaderOffset : centralOffset;
        std::uint64_t minimalEnd = e.localHeaderOffset + kLocalHeaderSize + e.name.size();
        if (e.compressedSize > centralOffset || minimalEnd + e.compressedSize > centralOffset)
            return Fail("The archive is truncated or damaged: " + e.name +
                        " lies past the central directory");
        if (minimalEnd + e.compressedSize > limit)
            return Fail("The archive's entries overlap (" + e.name + ")");
        limits[order[k]] = limit;
    }
    return true;
}

bool ZipReader::CheckRatios(const std::vector<std::size_t>& indexes, ZipResult* result) {
    std::uint64_t size = 0, compressed = 0;
    for (std::size_t i : indexes) {
        const ZipEntry& e = entries[i];
        if (IsAbsurdRatio(e.size, e.compressedSize)) {
            result->error = e.name + ": compression ratio too high, refused as a decompression bomb";
            return false;
        }
        size += e.size;
        compressed += e.compressedSize;
    }
    if (IsAbsurdRatio(size, compressed)) {
        result->error = "Compression ratio of the archive too high, refused as a decompression bomb";
        return false;
    }
    return true;
}

bool ZipReader::Decode(std::size_t index, const std::string& password, Sink& sink, Progress& progress,
                       std::string* why) {
    const ZipEntry& e = entries[index];
    if ((e.flags & kFlagStrongEncryption) || e.method == 99) {
        *why = "encryption method not supported";
        return false;
    }
    if (e.method != kMethodStored && e.method != kMethodDeflated) {
        *why = "compression method " + std::to_string(e.method) + " not supported";
        return false;
    }
    unsigned char local[kLocalHeaderSize];
    if (!ReadAt(*file, e.localHeaderOffset, local, sizeof local) || Get32(local) != kLocalHeaderSig) {
        *why = "local header damaged";
        return false;
    }
    std::uint64_t dataStart = e.localHeaderOffset + kLocalHeaderSize + Get16(local + 26) + Get16(local + 28);
    if (dataStart + e.compressedSize > limits[index] || dataStart + e.compressedSize > fileSize) {
        *why = "data overlaps the next entry or is truncated";
        return false;
    }
    if (!file->Seek(dataStart)) {
        *why = "cannot read the archive";
        return false;
    }
    std::uint64_t remaining = e.compressedSize;
    std::optional<ZipCrypto> crypto;
    if (e.IsEncrypted()) {
        if (password.empty()) {
            *why = "password required";
            return false;
        }
        unsigned char header[kEncryptionHeaderSize];
        if (remaining < sizeof header || !ReadFully(*file, header, sizeof header)) {
            *why = "data truncated";
            return false;
        }
        remaining -= sizeof header;
        crypto.emplace(password);
        auto check =
            static_cast<std::uint8_t>((e.flags & kFlagDataDescriptor) ? (e.dosTime >> 8) : (e.crc >> 24));
        if (!crypto->CheckHeader(header, check)) {
            *why = "wrong password";
            return false;
        }
    }
    bool deflated = e.method == kMethodDeflated;
    if (!deflated && remaining != e.size) {
        *why = "sizes do not match";
        return false;
    }

    z_stream z{};
    if (deflated && inflateInit2(&z, -MAX_WBITS) != Z_OK) {
        *why = "out of memory";
        return false;
    }
    struct Cleanup {
        z_stream* z;
        ~Cleanup() {
            if (z)
                inflateEnd(z);
        }
    } cleanup{deflated ? &z : nullptr};

    std::vector<unsigned char> in(kChunk), out(deflated ? kChunk : 0);
    std::uint32_t crc = 0;
    std::uint64_t produced = 0;
    auto emit = [&](const unsigned char* data, std::size_t n) {
        if (n > e.size - produced) {
            *why = "more data than its declared size";
            return false;
        }
        crc = Crc32(crc, data, n);
        produced += n;
        if (!sink.Write(data, n)) {
            *why = "cannot write the file";
            return false;
        }
        progress.Add(n);
        return true;
    };
    for (;;) {
        if (progress.Cancelled()) {
            *why = "cancelled";
            return false;
        }
        if (z.avail_in == 0 && remaining > 0) {
            std::size_t n = static_cast<std::size_t>(std::min<std::uint64_t>(remaining, kChunk));
            if (!ReadFully(*file, in.data(), n)) {
                *why = "data truncated";
                return false;
            }
            remaining -= n;
            if (crypto)
                crypto->Decrypt(in.data(), n);
            z.next_in = in.data();
            z.avail_in = static_cast<uInt>(n);
        }
        if (!deflated) {
            if (z.avail_in == 0)
                break;
            if (!emit(z.next_in, z.avail_in))
                return false;
            z.avail_in = 0;
            continue;
        }
        z.next_out = out.data();
        z.avail_out = static_cast<uInt>(out.size());
        int ret = inflate(&z, Z_NO_FLUSH);
        std::size_t n = out.size() - z.avail_out;
        if (n > 0 && !emit(out.data(), n))
            return false;
        if (ret == Z_STREAM_END)
            break;
        if (ret != Z_OK && ret != Z_BUF_ERROR) {
            *why = crypto ? "compressed data damaged (wrong password?)" : "compressed data damaged";
            return false;
        }
        if (n == 0 && z.avail_in == 0 && remaining == 0) {
            *why = "compressed data truncated";
            return false;
        }
    }
    if (produced != e.size) {
        *why = "size does not match";
        return false;
    }
    if (crc != e.crc) {
        *why = crypto ? "CRC error (wrong password?)" : "CRC error";
        return false;
    }
    return true;
}

// Writes one file entry below root. Returns false with *why set; *skipped when the file
// exists and may not be replaced.
bool ZipReader::WriteFile(std::size_t index, const std::string& path, const ZipExtractOptions& options,
                          Progress& progress, std::string* why, bool* skipped) {
    bool exists = fs.Exists(path);
    if (exists && !options.overwrite) {
        *skipped = true;
        return true;
    }
    if (exists && fs.IsDirectory(path)) {
        *why = "a folder of that name is in the way";
        return false;
    }
    // A file that exists is replaced only once its new content has passed the CRC check.
    std::string target = exists ? path + ".partial" : path;
    auto out = fs.OpenWrite(target);
    if (!out) {
        *why = "cannot create the file";
        return false;
    }
    FileSink sink(*out);
    bool ok = Decode(index, options.password, sink, progress, why);
    if (!out->Close() && ok) {
        ok = false;
        *why = "cannot write the file";
    }
    if (ok && exists && !fs.MoveFile(target, path)) {
        ok = false;
        *why = "cannot replace the file";
    }
    if (!ok)
        fs.DeleteFile(target);
    return ok;
}

ZipResult ZipReader::Run(std::string_view targetFolder, const ZipExtractOptions& options, bool write,
                         ArchiveCallback* callback) {
    ZipResult result;
    if (!file) {
        result.error = error.empty() ? "No archive is open" : error;
        return result;
    }
    std::vector<std::size_t> indexes = options.only;
    if (indexes.empty()) {
        for (std::size_t i = 0; i < entries.size(); ++i)
            indexes.push_back(i);
    }
    std::uint64_t total = 0;
    for (std::size_t i : indexes) {
        if (i >= entries.size()) {
            result.error = "No such entry in the archive";
            return result;
        }
        total += entries[i].size + 1;
    }
    if (!CheckRatios(indexes, &result))
        return result;
    std::string root = TrimSeparators(targetFolder);
    if (write && !CreateDirectories(fs, root)) {
        result.error = "Cannot create the folder " + root;
        return result;
    }

    std::unordered_set<std::string> folders; // made or found already
    auto makeFolder = [&](const std::string& folder) {
        if (folders.count(folder))
            return true;
        if (!CreateDirectories(fs, folder))
            return false;
        folders.insert(folder);
        return true;
    };
    Progress progress(callback, total);
    progress.Set(0);
    bool cancelled = false;
    for (std::size_t i : indexes) {
        const ZipEntry& e = entries[i];
        std::uint64_t doneAfter = progress.Done() + e.size + 1;
        if (progress.Cancelled()) {
            cancelled = true;
            break;
        }
        if (callback)
            callback->ItemStarted(e.name);
        std::string why, relative;
        bool ok = true, skipped = false;
        if (!write) {
            NullSink sink;
            ok = e.IsDirectory() || Decode(i, options.password, sink, progress, &why);
        } else if (!SanitizeEntryPath(e.name, &relative, &why)) {
            ok = false;
        } else if (IsLinkEntry(e.externalAttributes)) {
            why = "symbolic link";
            ok = false;
        } else {
            std::string path = root + "\\" + relative;
            if (!makeFolder(e.IsDirectory() ? path : path.substr(0, path.rfind('\\')))) {
                why = "cannot create the folder";
                ok = false;
            } else if (!e.IsDirectory()) {
                ok = WriteFile(i, path, options, progress, &why, &skipped);
                if (ok && !skipped)
                    ++result.filesWritten;
            }
        }
        if (skipped && callback)
            callback->ItemSkipped(e.name, "already exists");
        if (!ok) {
            if (why == "cancelled") {
                cancelled = true;
                break;
            }
            result.problems.push_back(e.name + ": " + why);
            if (callback)
                callback->ItemSkipped(e.name, why);
        }
        progress.Set(doneAfter);
    }
    if (cancelled)
        result.error = "Cancelled";
    else if (!result.problems.empty())
        result.error = result.problems.front();
    result.ok = result.error.empty();
    return result;
}

ZipResult ZipReader::Extract(std::string_view targetFolder, const ZipExtractOptions& options,
                             ArchiveCallback* callback) {
    return Run(targetFolder, options, true, callback);
}

ZipResult ZipReader::Test(const std::string& password, ArchiveCallback* callback) {
    ZipExtractOptions options;
    options.password = password;
    return Run({}, options, false, callback);
}

bool ZipReader::ReadEntry(std::size_t index, const std::string& password, std::string* data,
                          std::string* why) {
    if (!file || index >= entries.size()) {
        *why = "no such entry";
        return false;
    }
    ZipResult ratio;
    if (!CheckRatios({index}, &ratio)) {
        *why = ratio.error;
        return false;
    }
    data->clear();
    data->reserve(static_cast<std::size_t>(std::min<std::uint64_t>(entries[index].size, 64u << 20)));
    StringSink sink(*data);
    Progress progress(nullptr, 0);
    return Decode(index, password, sink, progress, why);
}

} // namespace vantrel

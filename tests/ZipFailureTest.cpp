// Damaged archives and failing disks: every failure is reported in words, and nothing
// damaged is ever handed back as good data.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "ZipTestSupport.h"
#include "archive/ZipReader.h"
#include "archive/ZipWriter.h"

namespace vantrel {

using namespace ziptest;

namespace {

struct Archive {
    std::string bytes;
    std::vector<std::string> contents; // in entry order
};

Archive MakeArchive(Sandbox& box, const std::string& password = {}) {
    box.Write("C:\\in\\a.inf", TextData(40000, 1));
    box.Write("C:\\in\\b.bin", NoiseData(3000, 2));
    box.Write("C:\\in\\c.txt", "tiny");
    ZipWriter writer(box.Fs());
    writer.SetPassword(password);
    EXPECT_TRUE(writer.Create("C:\\good.zip") && writer.AddFolder("C:\\in", "C:\\in", false) &&
                writer.Close());
    return {box.Read("C:\\good.zip"), {TextData(40000, 1), NoiseData(3000, 2), "tiny"}};
}

std::string OpenError(Sandbox& box, const std::string& bytes) {
    box.Write("C:\\bad.zip", bytes);
    ZipReader reader(box.Fs());
    return reader.Open("C:\\bad.zip") ? std::string() : reader.Error();
}

std::string TestError(Sandbox& box, const std::string& bytes, const std::string& password = {}) {
    box.Write("C:\\bad.zip", bytes);
    ZipReader reader(box.Fs());
    if (!reader.Open("C:\\bad.zip"))
        return reader.Error();
    return reader.Test(password).error;
}

} // namespace

TEST(ZipFailure, NotAnArchiveOrCutShortFailsToOpen) {
    Sandbox box;
    Archive good = MakeArchive(box);
    EXPECT_NE(OpenError(box, "").find("Not a zip archive"), std::string::npos);
    EXPECT_NE(OpenError(box, TextData(5000, 3)).find("Not a zip archive"), std::string::npos);
    ZipReader missing(box.Fs());
    EXPECT_FALSE(missing.Open("C:\\nowhere.zip"));
    EXPECT_NE(missing.Error().find("Cannot open"), std::string::npos);
    for (std::size_t cut = 1; cut < good.bytes.size(); cut += cut < 100 ? 1 : 997) {
        std::string error = OpenError(box, good.bytes.substr(0, good.bytes.size() - cut));
        EXPECT_NE(error.find("truncated"), std::string::npos) << "cut " << cut << ": " << error;
    }
    // Bytes missing from the middle while the end survives.
    std::string holed = good.bytes.substr(0, 100) + good.bytes.substr(600);
    EXPECT_FALSE(TestError(box, holed).empty());
}

TEST(ZipFailure, DamagedDirectoryAndDataAreNamed) {
    Sandbox box;
    Archive good = MakeArchive(box);
    std::size_t central = good.bytes.find("PK\x01\x02");
    std::size_t end = good.bytes.find("PK\x05\x06");
    ASSERT_NE(central, std::string::npos);

    std::string badSignature = good.bytes;
    badSignature[central + 2] = 9;
    EXPECT_NE(OpenError(box, badSignature).find("central directory"), std::string::npos);
    std::string badCount = good.bytes;
    badCount[end + 10] = 7;
    badCount[end + 8] = 7;
    EXPECT_NE(OpenError(box, badCount).find("central directory"), std::string::npos);
    std::string badName = good.bytes;
    badName[central + 28] = static_cast<char>(0xF0); // name runs past the directory
    EXPECT_NE(OpenError(box, badName).find("central directory"), std::string::npos);

    // c.txt is stored (too small to deflate): one changed byte is a CRC error.
    std::size_t tiny = good.bytes.find("tiny");
    std::string badCrc = good.bytes;
    badCrc[tiny] = 'T';
    EXPECT_EQ(TestError(box, badCrc), "c.txt: CRC error");
    std::string badDeflate = good.bytes;
    badDeflate[good.bytes.find("a.inf") + 5 + 200] ^= 0x55;
    std::string error = TestError(box, badDeflate);
    EXPECT_EQ(error.rfind("a.inf: ", 0), 0u) << error;

    std::string unknownMethod = good.bytes;
    unknownMethod[central + 10] = 12;
    EXPECT_EQ(TestError(box, unknownMethod), "a.inf: compression method 12 not supported");
}

TEST(ZipFailure, ADamagedEntryNeverReplacesAFile) {
    Sandbox box;
    Archive good = MakeArchive(box);
    std::string bytes = good.bytes;
    bytes[bytes.find("tiny")] = 'T';
    box.Write("C:\\bad.zip", bytes);
    box.Write("C:\\Out\\c.txt", "the good old file");
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\bad.zip"));
    ZipResult result = reader.Extract("C:\\Out", {});
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.problems, (std::vector<std::string>{"c.txt: CRC error"}));
    EXPECT_EQ(result.filesWritten, 2u);
    EXPECT_EQ(box.Read("C:\\Out\\c.txt"), "the good old file");
    EXPECT_FALSE(box.Fs().Exists("C:\\Out\\c.txt.partial"));
    // Existing files stay when overwriting is off.
    box.Write("C:\\Out\\a.inf", "keep me");
    ZipExtractOptions keep;
    keep.overwrite = false;
    reader.Extract("C:\\Out", keep);
    EXPECT_EQ(box.Read("C:\\Out\\a.inf"), "keep me");
}

// Whatever bytes change, the reader either reports a failure or gives back the original data.
TEST(ZipFailure, RandomDamageIsCaughtOrHarmless) {
    Sandbox box;
    for (std::string password : {"", "pw"}) {
        Archive good = MakeArchive(box, password);
        std::mt19937 random(password.size() + 11);
        int caught = 0;
        for (int round = 0; round < 400; ++round) {
            std::string bytes = good.bytes;
            int flips = 1 + static_cast<int>(random() % 3);
            for (int i = 0; i < flips; ++i)
                bytes[random() % bytes.size()] ^= static_cast<char>(1 + random() % 255);
            box.Write("C:\\fuzz.zip", bytes);
            ZipReader reader(box.Fs());
            if (!reader.Open("C:\\fuzz.zip") || !reader.Test(password).ok) {
                ++caught;
                continue;
            }
            ASSERT_EQ(reader.Entries().size(), good.contents.size());
            for (std::size_t i = 0; i < good.contents.size(); ++i) {
                std::string data, why;
                ASSERT_TRUE(reader.ReadEntry(i, password, &data, &why)) << why;
                ASSERT_EQ(data, good.contents[i]) << "round " << round;
            }
        }
        EXPECT_GT(caught, 200); // most bytes of an archive matter
    }
}

// Names and contents of every entry, or the reader's error.
std::map<std::string, std::string> Contents(Sandbox& box, const std::string& path, std::string* error) {
    std::map<std::string, std::string> out;
    ZipReader reader(box.Fs());
    if (!reader.Open(path)) {
        *error = reader.Error();
        return out;
    }
    for (std::size_t i = 0; i < reader.Entries().size(); ++i) {
        std::string data, why;
        if (!reader.ReadEntry(i, "", &data, &why))
            *error += reader.Entries()[i].name + ": " + why + "; ";
        out[reader.Entries()[i].name] = data;
    }
    return out;
}

TEST(ZipFailure, AFailedAdditionKeepsWhatTheArchiveHeld) {
    Sandbox box;
    Archive before = MakeArchive(box);
    std::string error;
    const auto held = Contents(box, "C:\\good.zip", &error);
    ASSERT_EQ(error, "");
    box.Write("C:\\more\\d.sys", NoiseData(150000, 7));
    box.Write("C:\\more\\e.inf", TextData(20000, 8));
    auto add = [&] {
        ZipWriter writer(box.Fs());
        bool opened = writer.Append("C:\\good.zip") && writer.AddFolder("C:\\more", "C:\\", false);
        return opened && writer.Close();
    };
    std::uint64_t start = box.Fs().WriteCalls();
    ASSERT_TRUE(add());
    std::uint64_t calls = box.Fs().WriteCalls() - start;
    ASSERT_GE(calls, 2u); // the entries, then the directory
    const std::size_t whole = Contents(box, "C:\\good.zip", &error).size();
    ASSERT_GT(whole, held.size());

    // Any one write failing, or the disk filling at any point, leaves the earlier entries
    // readable; what was added is either all there or not there at all.
    std::vector<std::pair<std::uint64_t, std::uint64_t>> faults; // failed call, room
    for (std::uint64_t k = 1; k <= calls; ++k)
        faults.push_back({k, 0});
    for (std::uint64_t room : {1u, 100u, 5000u, 60000u, 149000u, 170000u})
        faults.push_back({0, room});
    for (auto [k, room] : faults) {
        SCOPED_TRACE("failed call " + std::to_string(k) + ", room " + std::to_string(room));
        box.Write("C:\\good.zip", before.bytes);
        if (k != 0)
            box.Fs().FailWriteCall(k);
        else
            box.Fs().SetDiskFullAfter(room);
        bool added = add();
        box.Fs().ClearFaults();
        error.clear();
        auto now = Contents(box, "C:\\good.zip", &error);
        ASSERT_EQ(error, "");
        for (const auto& [name, bytes] : held)
            EXPECT_EQ(now[name], bytes) << name;
        if (added) {
            EXPECT_EQ(now.size(), whole);
        }
        for (const char* name : {"more/d.sys", "more/e.inf"}) {
            if (now.count(name)) {
                EXPECT_EQ(now[name], box.Read(std::string("C:\\") + name)) << name;
            }
        }
    }
}

TEST(ZipFailure, ANewArchiveThatCannotBeFinishedIsNotLeftBehind) {
    Sandbox box;
    box.Write("C:\\in\\a.inf", NoiseData(50000, 3));
    for (std::uint64_t room : {0u, 20u, 49000u, 50100u}) {
        box.Fs().SetDiskFullAfter(room);
        ZipWriter writer(box.Fs());
        bool made =
            writer.Create("C:\\new.zip") && writer.AddFile("C:\\in\\a.inf", "a.inf") && writer.Close();
        box.Fs().ClearFaults();
        EXPECT_FALSE(made) << room;
        EXPECT_FALSE(box.Fs().Exists("C:\\new.zip")) << room;
    }
}

TEST(ZipFailure, FailingWritesAreReported) {
    Sandbox box;
    box.Write("C:\\in\\a.inf", NoiseData(200000, 1));
    box.Fs().SetDiskFullAfter(100000);
    ZipWriter writer(box.Fs());
    ASSERT_TRUE(writer.Create("C:\\full.zip") && writer.AddFile("C:\\in\\a.inf", "a.inf"));
    EXPECT_FALSE(writer.Close());
    EXPECT_NE(writer.Error().find("disk full"), std::string::npos) << writer.Error();
    box.Fs().ClearFaults();

    Archive good = MakeArchive(box);
    ZipReader reader(box.Fs());
    ASSERT_TRUE(reader.Open("C:\\good.zip"));
    box.Fs().FailWriteCall(1);
    ZipResult result = reader.Extract("C:\\Out", {});
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.problems, (std::vector<std::string>{"a.inf: cannot write the file"}));
    // The archive that could not be finished is gone.
    EXPECT_EQ(box.Listing(),
              (std::vector<std::string>{"drive_c", "drive_c/Out", "drive_c/Out/b.bin", "drive_c/Out/c.txt",
                                        "drive_c/good.zip", "drive_c/in", "drive_c/in/a.inf",
                                        "drive_c/in/b.bin", "drive_c/in/c.txt"}));
}

} // namespace vantrel

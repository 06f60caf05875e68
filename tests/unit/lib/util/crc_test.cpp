#include "lib/util/crc.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include "lib/util/veskpath.h"
#include "support/child_process.h"
#include "support/files.h"

namespace {

TEST(Crc, AgreesWithPublishedCheckValues) {
    const struct {
        const char* why;
        std::uint16_t (*check)(const unsigned char*, int);
        std::string bytes;
        std::uint16_t want;
    } cases[] = {
        {"start value", CalculateCRC, "", 0xFFFF},
        {"CRC-16/MODBUS gives 0x4B37; here swapped", CalculateCRC, "123456789", 0x374B},
        {"start value of the fast form", CalculateFastCRC, "", 0xFFFF},
        {"0xFFFF + 2 is 0x0001, rotated", CalculateFastCRC, "\x02", 0x8000},
        {"0x8000 + 3, rotated", CalculateFastCRC, "\x02\x03", 0xC001},
    };
    for (const auto& c : cases) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(c.bytes.data());
        EXPECT_EQ(c.check(bytes, static_cast<int>(c.bytes.size())), c.want) << c.why;
    }
}

std::string path(const std::string& name) {
    return testing::TempDir() + "crc_test/" + name;
}

TEST(CrcFile, ChecksTagThenCheckValue) {
    // CRC-16/MODBUS of 01 02 03 04 is 0x2BA1; swapped and little-endian that is its own order.
    const struct {
        const char* why;
        std::string bytes;
        int status;
    } cases[] = {
        {"whole", "VSX__CRC\x01\x02\x03\x04\x2B\xA1", 0},
        {"more behind it", "VSX__CRC\x01\x02\x03\x04\x2B\xA1x", 0},
        {"another value", "VSX__CRC\x02\x02\x03\x04\x2B\xA1", 2},
        {"check value not swapped", "VSX__CRC\x01\x02\x03\x04\xA1\x2B", 2},
        {"another tag, whatever the value", "VSX__CRDxxxx\x2B\xA1", 3},
        {"one byte short", "VSX__CRC\x01\x02\x03\x04\x2B", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        writeFile(path("file"), c.bytes);
        unsigned got = 42;
        EXPECT_EQ(CheckCRCFile(path("file").c_str(), &got), c.status);
        EXPECT_EQ(got, c.status == 0 ? 0x04030201U : 42U);
    }
    EXPECT_EQ(CheckCRCFile(path("missing").c_str(), nullptr), 1);
    EXPECT_EQ(CheckCRCFile(path("").c_str(), nullptr), 1) << "a folder";
}

TEST(CrcFile, NumbersTheSavesOfAProcessEachOnce) {
    ChildProcess child([] {
        SaveCRCFileRoll(path("nosuch/file").c_str());  // silent, and not counted
        for (int save = 0; save < 3; ++save)
            SaveCRCFileRoll(path("roll").c_str());
        constexpr unsigned kEach = 500;
        std::set<unsigned> numbers[2];
        const auto save = [&](unsigned writer) {
            const std::string name = path("roll" + std::to_string(writer));
            for (unsigned i = 0, number = 0; i < kEach; ++i) {
                SaveCRCFileRoll(name.c_str());
                EXPECT_EQ(CheckCRCFile(name.c_str(), &number), 0);
                numbers[writer].insert(number);
            }
        };
        std::thread other(save, 1);
        save(0);
        other.join();
        numbers[0].merge(numbers[1]);
        EXPECT_EQ(numbers[0].size(), 2 * kEach);
        EXPECT_EQ(*numbers[0].rbegin(), 2 + 2 * kEach);
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.out() + child.err(), "");
    EXPECT_EQ(readFile(path("roll")), std::string("VSX__CRC\x02\0\0\0", 12) + "\x9C\x01")
        << "CRC-16/MODBUS of 02 00 00 00 is 0x9C01";
}

TEST(CrcFile, DatesTheDatabaseOverwritesInPlaceAndErasesTheSixFilesOnly) {
    const mode_t former = umask(0);
    SaveCRCFileDB(path("made").c_str());
    umask(former);
    EXPECT_EQ(std::filesystem::status(path("made")).permissions(), std::filesystem::perms{0777});

    writeFile(path("db"), std::string(20, 'x'));
    SaveCRCFileDB(path("db").c_str());
    unsigned value = 0;
    EXPECT_EQ(CheckCRCFile(path("db").c_str(), &value), 0);
    EXPECT_NEAR(value, static_cast<double>(std::time(nullptr)), 2);
    EXPECT_EQ(readFile(path("db")).substr(14), "xxxxxx");

    for (const char* name : {"chk_rol2.dat", "chk_rol2.rez", "chk_db.dat", "chk_db.rez",
                             "chk_db2.dat", "chk_db2.rez", "chk_db3.dat"})
        writeFile(path("check/") + name, "x");
    ChildProcess child([] {
        setenv("PATHDB", path("").c_str(), 1);
        SRV_Path.InitPathes();
        EraseCRCFiles();
        EraseCRCFiles();  // nothing there any more
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.out(), "\nEraseCRCFiles: OK!\nEraseCRCFiles: OK!");
    EXPECT_TRUE(std::filesystem::remove(path("check/chk_db3.dat")));
    EXPECT_TRUE(std::filesystem::is_empty(path("check")));
}

}  // namespace

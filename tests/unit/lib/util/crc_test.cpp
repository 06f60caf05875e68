#include "lib/util/crc.h"

#include "lib/util/veskpath.h"
#include "tests/support/child_process.h"
#include "tests/support/files.h"

TEST(Crc, AgreesWithPublishedCheckValues) {
    const auto* digits = reinterpret_cast<const unsigned char*>("123456789");
    EXPECT_EQ(CalculateCRC(digits, 9), 0x374B) << "CRC-16/MODBUS gives 0x4B37; here swapped";
    EXPECT_EQ(CalculateCRC(digits, 0), 0xFFFF) << "start value";
    const unsigned char two[] = {2, 3};
    EXPECT_EQ(CalculateFastCRC(two, 1), 0x8000) << "0xFFFF + 2 is 0x0001, rotated";
    EXPECT_EQ(CalculateFastCRC(two, 2), 0xC001) << "0x8000 + 3, rotated";
}

static std::string path(const std::string& name) {
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
        writeFile(path("file"), c.bytes);
        unsigned got = 42;
        EXPECT_EQ(CheckCRCFile(path("file").c_str(), &got), c.status) << c.why;
        EXPECT_EQ(got, c.status == 0 ? 0x04030201U : 42U) << c.why;
    }
    for (const char* unreadable : {"missing", ""})  // a folder
        EXPECT_EQ(CheckCRCFile(path(unreadable).c_str(), nullptr), 1);
}

TEST(CrcFile, NumbersTheSavesOfAProcessEachOnce) {
    ChildProcess child([] {
        SaveCRCFileRoll(path("nosuch/file").c_str());  // silent, and not counted
        for (int save = 0; save < 3; ++save)
            SaveCRCFileRoll(path("roll").c_str());
        std::vector<unsigned> numbers[2] = {std::vector<unsigned>(500), std::vector<unsigned>(500)};
        const auto save = [&](unsigned writer) {
            const std::string name = path("roll" + std::to_string(writer));
            for (unsigned& number : numbers[writer]) {
                SaveCRCFileRoll(name.c_str());
                EXPECT_EQ(CheckCRCFile(name.c_str(), &number), 0);
            }
        };
        std::thread other(save, 1);
        save(0);
        other.join();
        std::vector<unsigned> all;
        std::ranges::merge(numbers[0], numbers[1], std::back_inserter(all));
        return std::ranges::adjacent_find(all) == all.end() ? 0 : 1;
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
    for (const char* name : {"chk_rol2.dat", "chk_rol2.rez", "chk_db.dat", "chk_db.rez",
                             "chk_db2.dat", "chk_db2.rez", "chk_db3.dat"})
        writeFile(path("check/") + name, std::string(20, 'x'));
    const std::string file = path("check/chk_db.dat");
    SaveCRCFileDB(file.c_str());
    unsigned value = 0;
    EXPECT_EQ(CheckCRCFile(file.c_str(), &value), 0);
    EXPECT_LE(std::time(nullptr) - value, 60);
    EXPECT_EQ(readFile(file).substr(14), "xxxxxx");
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

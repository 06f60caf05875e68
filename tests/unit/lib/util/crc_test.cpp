#include "lib/util/crc.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "lib/util/veskpath.h"
#include "support/child_process.h"

namespace {

std::uint16_t crc(const std::string& text) {
    return CalculateCRC(reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size()));
}
std::uint16_t fastCrc(const std::string& text) {
    return CalculateFastCRC(reinterpret_cast<const unsigned char*>(text.data()),
                            static_cast<int>(text.size()));
}

TEST(Crc, HasThePublishedCheckValueWithItsBytesSwapped) {
    EXPECT_EQ(crc("123456789"), 0x374B);  // CRC-16/MODBUS: 0x4B37
    EXPECT_EQ(crc(""), 0xFFFF);
    EXPECT_EQ(crc(std::string(4, '\0')), 0x0024) << "0x2400 swapped";
}

TEST(Crc, FastFormAddsAndRotates) {
    EXPECT_EQ(fastCrc(""), 0xFFFF);
    EXPECT_EQ(fastCrc(std::string(1, '\x02')), 0x8000);  // 0xFFFF + 2 = 0x0001, rotated
    EXPECT_EQ(fastCrc("\x02\x03"), 0xC001);              // 0x8003, rotated
}

class CrcFile : public testing::Test {
  protected:
    CrcFile() {
        std::filesystem::create_directories(folder_ / "check");
        setenv("PATHDB", folder_.c_str(), 1);
        SRV_Path.InitPathes();
    }
    ~CrcFile() override {
        unsetenv("PATHDB");
        SRV_Path.InitPathes();
        std::filesystem::remove_all(folder_);
    }

    std::string path(const std::string& name) const { return folder_ / name; }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }
    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return (std::ostringstream() << file.rdbuf()).str();
    }

  private:
    std::filesystem::path folder_ = std::filesystem::path(testing::TempDir()) / "crc_test";
};

TEST_F(CrcFile, ChecksTagThenCheckValue) {
    // CRC-16/MODBUS of 01 02 03 04 is 0x2BA1; swapped and little-endian that is its own order.
    const std::string value("\x01\x02\x03\x04");
    const std::string stored("\x2B\xA1");
    const struct {
        const char* why;
        std::string bytes;
        int status;
    } cases[] = {
        {"whole", "VSX__CRC" + value + stored, 0},
        {"more behind it", "VSX__CRC" + value + stored + "x", 0},
        {"another value", "VSX__CRC" + std::string("\x02\x02\x03\x04", 4) + stored, 2},
        {"check value not swapped",
         "VSX__CRC" + value + std::string(stored.rbegin(), stored.rend()), 2},
        {"another tag", "VSX__CRD" + value + stored, 3},
        {"another tag and value", "VSX__CRD" + std::string(4, 'x') + stored, 3},
        {"one byte short", "VSX__CRC" + value + stored.substr(0, 1), 1},
        {"empty", "", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        write("file", c.bytes);
        unsigned got = 42;
        EXPECT_EQ(CheckCRCFile(path("file").c_str(), &got), c.status);
        EXPECT_EQ(got, c.status == 0 ? 0x04030201U : 42U);
    }
    unsigned untouched = 42;
    EXPECT_EQ(CheckCRCFile(path("missing").c_str(), &untouched), 1);
    EXPECT_EQ(CheckCRCFile(path("check").c_str(), &untouched), 1) << "a folder";
    EXPECT_EQ(untouched, 42U);
}

TEST_F(CrcFile, NumbersTheSavesOfAProcess) {
    ChildProcess child([this] {
        unsigned value = 42;
        SaveCRCFileRoll(path("nosuch/file").c_str());  // silent, and not counted
        for (unsigned save = 0; save < 3; ++save) {
            SaveCRCFileRoll(path("roll").c_str());
            EXPECT_EQ(CheckCRCFile(path("roll").c_str(), &value), 0);
            EXPECT_EQ(value, save);
        }
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.out() + child.err(), "");
    EXPECT_EQ(read("roll"), std::string("VSX__CRC\x02\0\0\0", 12) + "\x9C\x01")
        << "CRC-16/MODBUS of 02 00 00 00 is 0x9C01";
}

TEST_F(CrcFile, DatesTheDatabaseAndOverwritesInPlace) {
    write("db", std::string(20, 'x'));
    const auto before = static_cast<unsigned>(std::time(nullptr));
    SaveCRCFileDB(path("db").c_str());
    unsigned value = 0;
    EXPECT_EQ(CheckCRCFile(path("db").c_str(), &value), 0);
    EXPECT_GE(value, before);
    EXPECT_LE(value, static_cast<unsigned>(std::time(nullptr)));
    EXPECT_EQ(read("db").substr(14), "xxxxxx");
}

TEST_F(CrcFile, ErasesTheSixFilesOnly) {
    const char* const erased[] = {"chk_rol2.dat", "chk_rol2.rez", "chk_db.dat",
                                  "chk_db.rez",   "chk_db2.dat",  "chk_db2.rez"};
    for (const char* name : erased)
        write(std::string("check/") + name, "x");
    write("check/chk_db3.dat", "x");
    Capture out(STDOUT_FILENO);
    EraseCRCFiles();
    EraseCRCFiles();  // nothing there any more
    EXPECT_EQ(out.text(), "\nEraseCRCFiles: OK!\nEraseCRCFiles: OK!");
    for (const char* name : erased)
        EXPECT_FALSE(std::filesystem::exists(path(std::string("check/") + name))) << name;
    EXPECT_TRUE(std::filesystem::exists(path("check/chk_db3.dat")));
}

}  // namespace

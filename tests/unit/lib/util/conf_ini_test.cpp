#include "lib/util/conf_ini.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/capture.h"

namespace {

/// An ini file with the given bytes.
class IniText {
  public:
    explicit IniText(const std::string& bytes) : path_(testing::TempDir() + "conf_ini_test.ini") {
        std::ofstream(path_, std::ios::binary) << bytes;
    }
    ~IniText() { unlink(path_.c_str()); }
    IniText(const IniText&) = delete;
    IniText& operator=(const IniText&) = delete;

    const char* path() const { return path_.c_str(); }

  private:
    std::string path_;
};

TEST(IniFile, ReadsValuesByItsOwnRules) {
    const char* const any = nullptr;
    const struct {
        const char* why;
        const char* file;
        std::vector<const char*> words;
        const char* key;
        int result;
        const char* value;
    } cases[] = {
        {"a comment ends the value",
         "[ROLLING]\nMax = 500 : comment\n",
         {"ROLLING", any, any},
         "Max",
         0,
         "500"},
        {"& joins the next line",
         "[A]\nk = one, & \t\r\n\n \ttwo\n",
         {"A", any, any},
         "k",
         0,
         "one, two"},
        {"& at the very end joins nothing", "[A]\nk = one &", {"A", any, any}, "k", 0, "one"},
        {"blanks and tabs at both ends go", "[A]\nk=\t a\tb \t\n", {"A", any, any}, "k", 0, "a\tb"},
        {"no value", "[A]\nk=\nl=5\n", {"A", any, any}, "k", 0, ""},
        {"CR LF lines", "[A]\r\n\r\nk = 5\r\nl = 6\r\n", {"A", any, any}, "l", 0, "6"},
        {"the file ends behind the value", "[A]\nk=5", {"A", any, any}, "k", 0, "5"},
        {"blanks inside a name are dropped", "[A]\n  lo ng = 5\n", {"A", any, any}, "long", 0, "5"},
        {"a tab is part of the name", "[A]\n\tk = 5\n", {"A", any, any}, "k", 2, ""},
        {"a key is not a beginning of it", "[A]\nkk=1\nk=2\n", {"A", any, any}, "k", 0, "2"},
        {"case counts", "[A]\nK=1\n", {"A", any, any}, "k", 2, ""},
        {"the first of two keys", "[A]\nk=1\nk=2\n", {"A", any, any}, "k", 0, "1"},
        {"a value with = is skipped whole", "[A]\na=k=1\nk=2\n", {"A", any, any}, "k", 0, "2"},
        {"a name without = does not run on", "[A]\nk\n=1\nk=2\n", {"A", any, any}, "k", 0, "2"},
        {"a key in a comment", "[A]\n: k=1\nx : k=2\n", {"A", any, any}, "k", 2, ""},
        {"the next section ends the search", "[A]\na=1\n[B]\nk=2\n", {"A", any, any}, "k", 2, ""},
        {"no such section", "[A]\nk=1\n", {"B", any, any}, "k", 1, ""},
        {"no sections", "k=1\n", {any, any, any}, "k", 1, ""},
        {"no words match the first section",
         "k=0\n[A b]\nk=1\n[C]\nk=2\n",
         {any, any, any},
         "k",
         0,
         "1"},
        {"the first section that matches",
         "[A x]\nk=1\n[A y]\nk=2\n",
         {"A", any, any},
         "k",
         0,
         "1"},
        {"by the second word", "[A x]\nk=1\n[ A  y ]\nk=2\n", {any, "y", any}, "k", 0, "2"},
        {"by all words", "[A b]\nk=1\n[A b c]\nk=2\n", {"A", "b", "c"}, "k", 0, "2"},
        {"only the first section of the name", "[A]\na=1\n[A]\nk=2\n", {"A", any, any}, "k", 2, ""},
        {"four words hide what follows",
         "[A]\nk=1\n[a b c d]\n[B]\nk=2\n",
         {"B", any, any},
         "k",
         1,
         ""},
        {"but not what stands before",
         "[A]\nk=1\n[a b c d]\n[B]\nk=2\n",
         {"A", any, any},
         "k",
         0,
         "1"},
        {"a header in a comment is none",
         "[A]\nk=1 : [B]\n[B]\nk=2\n",
         {"B", any, any},
         "k",
         0,
         "2"},
        {"a header within a line counts", "[A]\nx [B]k=2\n", {"B", any, any}, "k", 0, "2"},
        {"CP866 in words, keys and values",
         "[\x8F\xE3\xE2\xEC]\n\xFF\x80=\xFE\n",
         {"\x8F\xE3\xE2\xEC", any, any},
         "\xFF\x80",
         0,
         "\xFE"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const IniText text(c.file);
        IniFile file(text.path(), 1);
        ASSERT_EQ(file.Open(), 0);
        char value[1000] = "untouched";
        EXPECT_EQ(file.CfgGet(c.words[0], c.words[1], c.words[2], c.key, value), c.result);
        EXPECT_STREQ(value, c.result == 0 ? c.value : "untouched");
        EXPECT_EQ(file.Close(), 0);
    }
}

TEST(IniFile, CutsLongValuesAndGoesOn) {
    const std::string longText(20000, 'x');
    const IniText text("[A]\nlong=" + longText + "\nk=5\n");
    IniFile file(text.path(), 1);
    ASSERT_EQ(file.Open(), 0);
    std::vector<char> value(10000, '?');
    EXPECT_EQ(file.CfgGet("A", nullptr, nullptr, "long", value.data()), 0);
    EXPECT_EQ(std::string(value.data()), longText.substr(0, 999));
    EXPECT_EQ(value[1000], '?') << "nothing is written behind";
    EXPECT_EQ(file.CfgGetMax("A", nullptr, nullptr, "long", value.data()), 0);
    EXPECT_EQ(std::string(value.data()), longText.substr(0, 9999));
    EXPECT_EQ(file.CfgGet("A", nullptr, nullptr, "k", value.data()), 0);
    EXPECT_STREQ(value.data(), "5");
}

TEST(IniFile, ConvertsNumbersAsTheCLibraryDoes) {
    const IniText text(
        "[A]\nplain=12\nleading= -7abc\nnone=abc\nwide=70000\nbig=4294967301\nreal=2.5e1x\n");
    IniFile file(text.path(), 1);
    ASSERT_EQ(file.Open(), 0);
    const auto get = [&file](const char* key, auto value) {
        EXPECT_EQ(file.CfgGet("A", nullptr, nullptr, key, value), 0) << key;
        return value;
    };
    EXPECT_EQ(get("plain", 0), 12);
    EXPECT_EQ(get("leading", 0), -7);
    EXPECT_EQ(get("none", 3), 0);
    EXPECT_EQ(get("wide", short{}), 4464) << "16 bits of it";
    EXPECT_EQ(get("big", 0L), 5) << "32 bits of it";
    EXPECT_EQ(get("leading", 0L), -7);
    EXPECT_FLOAT_EQ(get("real", 0.0F), 25.0F);
    int untouched = 3;
    EXPECT_EQ(file.CfgGet("A", nullptr, nullptr, "nosuch", untouched), 2);
    EXPECT_EQ(file.CfgGet("B", nullptr, nullptr, "plain", untouched), 1);
    EXPECT_EQ(untouched, 3);
}

TEST(IniFile, OpensClosesAndNotesSections) {
    const IniText text("k=1\n[A]\n\n[B c\nd]x\n");
    IniFile file(text.path(), 1);
    EXPECT_STREQ(file.SMode, "rt");
    EXPECT_NE(file.Close(), 0) << "not open yet";
    ASSERT_EQ(file.Open(), 0);
    ASSERT_NE(file.TableSecBeg, nullptr);
    EXPECT_EQ(file.TableSecBeg->text, "A");
    EXPECT_EQ(file.TableSecBeg->pos, 7);
    EXPECT_EQ(file.TableSecBeg->str, 2);
    const TableSec* const second = file.TableSecBeg->next;
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->text, "B c\nd");
    EXPECT_EQ(second->str, 5);
    EXPECT_EQ(second->next, nullptr);

    Capture out(STDOUT_FILENO);
    EXPECT_EQ(file.Open(), 2);
    EXPECT_NE(out.text(), "") << "is reported";
    char value[1000];
    EXPECT_EQ(file.CfgGet("A", nullptr, nullptr, "k", value), 2) << "and readable";
    EXPECT_EQ(file.Close(), 0);
    EXPECT_EQ(file.TableSecBeg, nullptr);
    EXPECT_EQ(file.CfgGet("A", nullptr, nullptr, "k", value), 1) << "closed";

    EXPECT_EQ(IniFile("/nosuch/file.ini", 1).Open(), 1);
    EXPECT_EQ(IniFile("/", 1).Open(), 3) << "a folder";
    for (const char* broken : {"[A]\nk=1\n[B", "[A:b]\nk=1\n", "[A\nk=1 : c\n"}) {
        const IniText bytes(broken);
        IniFile damaged(bytes.path(), 1);
        EXPECT_EQ(damaged.Open(), 3) << broken;
        EXPECT_EQ(damaged.Error, 3);
        EXPECT_EQ(damaged.CfgGet("A", nullptr, nullptr, "k", value), 1) << broken;
        EXPECT_EQ(damaged.Close(), 0);
    }
}

TEST(IniFile, BuildsTheModeInOrder) {
    const struct {
        int mode;
        const char* text;
    } cases[] = {{1, "rt"}, {2, "wt"}, {4 | 16, "at+"}, {1 | 8 | 16, "rb+"}, {31, "rwab+"}};
    for (const auto& c : cases)
        EXPECT_STREQ(IniFile("x", c.mode).SMode, c.text);
}

TEST(IniFile, EnumeratesTheKeysOfASection) {
    const IniText text(
        "[A]\na=1\n[B]\n: c=0\nnoise\nfirst = 1 : x=9\nsecond = 2, &\n 3\nthird=\n[C]\nz=1\n");
    IniFile file(text.path(), 1);
    ASSERT_EQ(file.Open(), 0);
    ASSERT_EQ(file.FindSection("B", nullptr, nullptr), 0);
    std::string all;
    char key[1000];
    char value[1000];
    while (file.GetNextKey(key, value) == 0)
        all += std::string(key) + "=" + value + ";";
    EXPECT_EQ(all, "first=1;second=2, 3;third=;");
    EXPECT_EQ(file.FindSection("D", nullptr, nullptr), 1);
}

TEST(IniFile, TurnsListsIntoNumbers) {
    using Numbers = std::vector<int>;
    const struct {
        const char* text;
        int result;
        Numbers numbers;
    } cases[] = {
        {"3", 0, {3}},
        {" 3, 1 ,5-7", 0, {3, 1, 5, 6, 7}},
        {"8-8", 0, {8}},
        {"ALL", 0, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"All", 0, {1, 2, 3, 4, 5, 6, 7, 8}},
        {" all ", 0, {1, 2, 3, 4, 5, 6, 7, 8}},
        {"aLL", 1, {}},
        {"", 1, {}},
        {"1,,2", 1, {}},
        {"1,2,", 1, {}},
        {"0", 1, {}},
        {"9", 1, {}},
        {"1-9", 1, {}},
        {"5-3", 1, {}},
        {"-3", 1, {}},
        {"1 2", 1, {}},
        {"99999999999", 1, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        Numbers numbers{42};
        EXPECT_EQ(IniFile::ConvertStrToListVar(c.text, 8, numbers), c.result);
        EXPECT_EQ(numbers, c.numbers);
    }
}

}  // namespace

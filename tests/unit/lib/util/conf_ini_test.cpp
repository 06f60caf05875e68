#include "lib/util/conf_ini.h"

#include "tests/support/capture.h"
#include "tests/support/files.h"

/// A reader of a file with the given bytes, not opened yet.
struct IniBytes {
    explicit IniBytes(const std::string& bytes) { writeFile(path, bytes); }

    const std::string path = testing::TempDir() + "conf_ini_test.ini";
    IniFile file{path.c_str(), kIniRead};
};

TEST(IniFile, ReadsValuesByItsOwnRules) {
    const struct {
        const char *why, *bytes, *value;
        const char *s1 = "A", *s2 = nullptr, *s3 = nullptr, *key = "k";
    } cases[] = {
        {"a comment ends the value", "[A]\nk = 500 : comment\n", "500"},
        {"& joins the next line", "[A]\nk = one, & \t\r\n\n \ttwo\n", "one, two"},
        {"& at the very end joins nothing", "[A]\nk = one &", "one"},
        {"blanks and tabs at both ends go", "[A]\nk=\t a\tb \t\n", "a\tb"},
        {"CR LF lines", "[A]\r\n\r\nl = 5\r\nk = 6\r\n", "6"},
        {"blanks inside a name", "[A]\n  lo ng = 5\n", "5", "A", nullptr, nullptr, "long"},
        {"a tab is part of the name", "[A]\n\tk = 5\n", "no key"},
        {"a key is not a beginning, and case counts", "[A]\nkk=1\nK=3\nk=2\n", "2"},
        {"a value with = is skipped whole", "[A]\na=k=1\nk=2\n", "2"},
        {"a name without = does not run on", "[A]\nk\n=1\nk=2\n", "2"},
        {"a key in a comment", "[A]\n: k=1\nx : k=2\n", "no key"},
        {"the next section ends the search", "[A]\na=1\n[B]\nk=2\n", "no key"},
        {"no such section", "[A]\nk=1\n", "no section", "B"},
        {"no sections", "k=1\n", "no section", nullptr},
        {"no words match the first section", "k=0\n[A b]\nk=1\n", "1", nullptr},
        {"by the second word", "[A x]\nk=1\n[ A  y ]\nk=2\n", "2", nullptr, "y"},
        {"by all words", "[A b]\nk=1\n[A b c]\nk=2\n", "2", "A", "b", "c"},
        {"only the first section of the name", "[A]\na=1\n[A]\nk=2\n", "no key"},
        {"four words hide what follows", "[a b c d]\n[A]\nk=2\n", "no section"},
        {"a header in a comment is none", "[B]\nk=1 : [A]\n[A]\nk=2\n", "2"},
        {"a header within a line counts", "[B]\nx [A]k=2\n", "2"},
        {"CP866", "[\x8F\xE3]\n\xFF\x80=\xFE\n", "\xFE", "\x8F\xE3", nullptr, nullptr, "\xFF\x80"},
    };
    for (const auto& c : cases) {
        IniBytes ini(c.bytes);
        ASSERT_EQ(ini.file.Open(), 0);
        char value[1000] = "untouched";
        const int result = ini.file.CfgGet(c.s1, c.s2, c.s3, c.key, value);
        const char* const missing[] = {"", "no section", "no key"};
        EXPECT_STREQ(result == 0 ? value : missing[result], c.value) << c.why;
        EXPECT_EQ(result == 0, std::string(value) != "untouched") << c.why;
        EXPECT_EQ(ini.file.Close(), 0);
    }
}

TEST(IniFile, CutsLongValuesAndGoesOn) {
    const std::string longText(20000, 'x');
    IniBytes ini("[A]\nlong=" + longText + "\nk=5\n");
    ASSERT_EQ(ini.file.Open(), 0);
    std::vector<char> value(10000, '?');
    EXPECT_EQ(ini.file.CfgGet("A", nullptr, nullptr, "long", value.data()), 0);
    EXPECT_EQ(std::string(value.data()), longText.substr(0, 999));
    EXPECT_EQ(value[1000], '?') << "nothing is written behind";
    EXPECT_EQ(ini.file.CfgGetMax("A", nullptr, nullptr, "long", value.data()), 0);
    EXPECT_EQ(std::string(value.data()), longText.substr(0, 9999));
    EXPECT_EQ(ini.file.CfgGet("A", nullptr, nullptr, "k", value.data()), 0);
    EXPECT_STREQ(value.data(), "5");
}

TEST(IniFile, ConvertsNumbersAsTheCLibraryDoes) {
    IniBytes ini("[A]\nleading= -7abc\nnone=abc\nwide=70000\nbig=4294967301\nreal=2.5e1x\n");
    ASSERT_EQ(ini.file.Open(), 0);
    const auto get = [&ini](const char* key, auto value) {
        EXPECT_EQ(ini.file.CfgGet("A", nullptr, nullptr, key, value), 0) << key;
        return value;
    };
    EXPECT_EQ(get("leading", 0), -7);
    EXPECT_EQ(get("none", 3), 0);
    EXPECT_EQ(get("wide", short{}), 4464) << "16 bits of it";
    EXPECT_EQ(get("big", 0L), 5) << "32 bits of it";
    EXPECT_FLOAT_EQ(get("real", 0.0F), 25.0F);
    int untouched = 3;
    EXPECT_EQ(ini.file.CfgGet("A", nullptr, nullptr, "nosuch", untouched), 2);
    EXPECT_EQ(untouched, 3);
}

TEST(IniFile, OpensClosesAndNotesSections) {
    IniBytes ini("k=1\n[A]\n\n[B c\nd]x\n");
    EXPECT_NE(ini.file.Close(), 0) << "not open yet";
    ASSERT_EQ(ini.file.Open(), 0);
    std::string sections;
    for (const TableSec* s = ini.file.TableSecBeg; s != nullptr; s = s->next)
        sections += s->text + '@' + std::to_string(s->pos) + '/' + std::to_string(s->str) + ' ';
    EXPECT_EQ(sections, "A@7/2 B c\nd@16/5 ");

    Capture out(STDOUT_FILENO);
    EXPECT_EQ(ini.file.Open(), 2);
    EXPECT_NE(out.text(), "") << "is reported";
    char value[1000];
    EXPECT_EQ(ini.file.CfgGet("A", nullptr, nullptr, "k", value), 2) << "and readable";
    EXPECT_EQ(ini.file.Close(), 0);
    EXPECT_EQ(ini.file.CfgGet("A", nullptr, nullptr, "k", value), 1) << "closed";

    EXPECT_EQ(IniFile("/nosuch/file.ini", kIniRead).Open(), 1);
    EXPECT_EQ(IniFile("/", kIniRead).Open(), 3) << "a folder";
    for (const char* broken : {"[A]\nk=1\n[B", "[A:b]\nk=1\n"}) {
        IniBytes damaged(broken);
        EXPECT_EQ(damaged.file.Open(), 3) << broken;
        EXPECT_EQ(damaged.file.CfgGet("A", nullptr, nullptr, "k", value), 1) << broken;
    }
    for (const auto& [mode, text] : {std::pair(1, "rt"), {1 | 8 | 16, "rb+"}, {31, "rwab+"}})
        EXPECT_STREQ(IniFile("x", mode).SMode, text);
}

TEST(IniFile, EnumeratesTheKeysOfASection) {
    IniBytes ini(
        "[A]\na=1\n[B]\n: c=0\nnoise\nfirst = 1 : x=9\nnext = 2, &\n 3\nlast=\n[C]\nz=1\n");
    ASSERT_EQ(ini.file.Open() + ini.file.FindSection("B", nullptr, nullptr), 0);
    std::string all;
    for (char key[1000], value[1000]; ini.file.GetNextKey(key, value) == 0;)
        all += std::string(key) + "=" + value + ";";
    EXPECT_EQ(all, "first=1;next=2, 3;last=;");
    EXPECT_EQ(ini.file.FindSection("D", nullptr, nullptr), 1);
}

TEST(IniFile, TurnsListsIntoNumbers) {
    using Numbers = std::vector<int>;
    const Numbers every = {1, 2, 3, 4, 5, 6, 7, 8};
    std::map<std::string, Numbers> cases = {{" 3, 1 ,5-7", {3, 1, 5, 6, 7}}, {"8-8", {8}}};
    for (const char* all : {"ALL", "All", " all "})
        cases[all] = every;
    for (const char* bad : {"aLL", "", "1,,2", "1,2,", "0", "9", "5-3", "-3", "1 2", "99999999999"})
        cases[bad] = {};
    for (const auto& [text, want] : cases) {
        Numbers numbers = {42};
        EXPECT_EQ(IniFile::ConvertStrToListVar(text.c_str(), 8, numbers), want.empty()) << text;
        EXPECT_EQ(numbers, want) << text;
    }
}

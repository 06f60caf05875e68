#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <set>

#include "server/text/Utf8ToCP866Converter.h"
#include "support/capture.h"
#include "support/operator_view.h"
#include "tools/opcuacheck/command_line.h"
#include "tools/opcuacheck/exit_status.h"
#include "tools/opcuacheck/finding.h"

using namespace opcuacheck;

static const std::string kPath = "/tmp/opcuacheck/opcuasrv.ini";
static const std::string kSettings = "/tmp/opcuacheck/veskkntr.ini";

/// Four variables of each kind, the manual inputs a number, a text and two switches.
static Database smallDatabase() {
    Database database;
    database.counts.fill(4);
    database.manualInputs = {{{}, {2}, {3, 4}}};
    return database;
}

/// "line code", in order.
using Told = std::vector<std::string>;
static Told told(const std::string& bytes, const Database& database = smallDatabase()) {
    writeFile(kPath, bytes);
    const ConfigText text(bytes);
    const ServerView view = viewAsServer(kPath, kSettings, database);
    Told lines;
    for (const Finding& finding : allFindings(bytes, {text, view, database})) {
        lines.push_back(std::to_string(finding.line) + " " +
                        std::string(ruleOf(finding.rule).code));
    }
    return lines;
}

static const std::string kHead = "[General]\nServerPort = 4840\n";  // two lines
static const std::string kTags =                                    // up to line 5
    kHead + "[Attributes]\nVA = all\nType1.a = A, 29, OPC_READABLE\n";

// That errors are the server's own is a system test.
TEST(Opcuacheck, TellsEachTrapAtItsLine) {
    const struct {
        const char* why;
        std::string text;
        Told findings;
    } cases[] = {
        {"nothing wrong", kTags, {}},
        {"an empty file", "", {"0 error-3"}},
        {"errors, each at its line",
         kTags + "RV = all\nType1.b = B, 27\nType52.c = C, 12\n[Nowhere]\n",
         {"7 error-4", "8 error-4", "9 error-5"}},
        {"saved as UTF-8", kHead + "; Котёл\n", {"0 encoding"}},
        {"saved as Windows-1251", kHead + "; \xCA\xEE\xF2\xE5\xEB \xCF\xD0\n", {"0 encoding"}},
        {"a byte 0", kHead + std::string("x\0y\n", 4), {"3 file-nul", "3 line-ignored"}},
        {"a heading that is not closed",
         kHead + "[Attributes\nVA = 1\n",
         {"3 heading-unclosed", "5 error-5"}},
        {"lines and keys without use",
         kHead + "text\n= 5\nWork_mode = 1\n[Access]\nSecurityMode = Sign\n",
         {"3 line-ignored", "4 line-ignored", "5 key-unused", "7 key-unused"}},
        {"twice in a section, whatever its case",
         kHead + "[GENERAL]\nServerPort = 4841\n",
         {"2 key-repeated"}},
        {"general keys",
         kHead + "AplicationName = A:B\nOperativeData = Off\nHistoricalData = no\n"
                 "SamplingInterval = fast\nCountHistoryTrends = 1001\n",
         {"3 value-colon", "4 switch-word", "5 switch-word", "6 sampling-no-number",
          "7 history-count"}},
        {"a name of 17 bytes", kHead + "AplicationName = 12345678901234567\n", {"3 name-cut"}},
        {"a name with a blank", kHead + "AplicationName = A B ; c\n", {"3 name-blanks"}},
        {"a unit", kHead + "SamplingInterval = 500ms\n", {"3 number-rest"}},
        {"lists",
         kTags + "VD = 5-3, 1\nType2.a = A, 27\nDV = 1 ; 2\nType4.a = A, 20\n"
                 "AV = 1, 2 - 3\n",
         {"6 range-reversed", "10 list-bad-item"}},
        {"a semicolon between numbers",
         kTags + "VD = 1;2-3\nType2.a = A, 27\n",
         {"6 list-semicolon"}},
        {"a zero in a list", kTags + "VD = 0\n", {"6 list-empty", "6 list-zero"}},
        {"a list too long to expand",
         kTags + "VD = 1-2147483647\nType2.a = A, 27\n",
         {"6 list-absent", "6 list-too-long"}},
        {"as many as there are, and one more",
         kTags + "VD = 1-4\nType2.a = A, 27\nDV = 1-5\nType4.a = A, 20\n",
         {"8 list-absent"}},
        {"pens",
         kHead + "[Plotter_1]\nPens = all\n[Plotter_2]\nPens = 1,,2\n[Plotter_3]\nPens = 3-1\n",
         {"4 pens-all", "6 pens-bad-item", "8 pens-empty", "8 range-reversed"}},
        {"tags without attributes", kTags + "VD = 1\n", {"6 list-no-entries"}},
        {"attribute entries",
         kTags + "Type1.b = B\nType1.c = C, 9th\nType1.d = , 9\nType7.e = E, 9\nXType1.f = F, 9\n"
                 "Type1.g = G, 9, OPC_READ\nType1.h = H, 1, OPC_WRITEABLE\n",
         {"6 entry-no-comma", "7 entry-number", "8 entry-name-empty", "9 entry-marker",
          "10 entry-marker", "11 access-unknown", "12 access-read-only"}},
        {"in a section that publishes nothing", kHead + "Type1.b = B, 9\n", {"3 entry-place"}},
        {"of a kind that is not listed",
         kTags + "Type2.b = B, 27\nType2.c = C, 28\n",
         {"6 entry-unused", "7 entry-refused", "7 entry-unused"}},
        {"one node id twice, the last entry another",
         kTags + "Type1.b = A, 29\nType1.c = C, 30\n",
         {"6 entry-twice"}},
        {"one node id twice, at the end", kTags + "Type1.b = A, 29\n", {"6 entry-twice-last"}},
        {"numbers of sections",
         kHead + "[Plotter]\n[My Plotter_1]\n[Plotter_0]\n[Attributes_Group2x]\nName = A\n"
                 "[Attributes_Group01]\nName = B\n",
         {"3 section-number", "4 section-number", "5 plotter-number", "6 section-number",
          "8 group-number-form"}},
        {"a group without a name", kHead + "[Attributes_Group1]\nName =\n", {"4 group-name-empty"}},
        {"one number begins another",
         kHead + "[Attributes_Group1]\nName = A\n[Attributes_Group12]\n",
         {"3 group-prefix"}},
        {"one number twice",
         kHead + "[Attributes_Group 2]\nName = A\n[Attributes_Group2]\n",
         {"3 group-same-number"}},
        {"blank before a comment",
         kHead + "[Plotter_1]\nName = A ; first\n",
         {"4 name-trailing-blank"}},
        {"plotters that collide",
         kHead + "[Plotter_1]\nName = B\n[Plotter_+1]\nName = A\n[Plotter_2]\nName = A\n",
         // the section that comes first by name holds
         {"3 plotter-same-number", "8 plotter-same-name"}},
        {"in a group and in the flat tree",
         kTags + "[Attributes_Group1]\nVA = 2\nType1.a = A, 29\n",
         {"7 tag-twice"}},
    };
    std::set<std::string> codes{"tree-too-large"};  // told below
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(told(c.text), c.findings);
        for (const std::string& finding : c.findings)
            codes.insert(finding.substr(finding.find(' ') + 1));
    }
    for (const Rule& rule : allRules()) {
        const bool isError = rule.code.substr(0, 6) == "error-";
        EXPECT_TRUE(isError || codes.contains(std::string(rule.code))) << rule.code;
    }
}

TEST(Opcuacheck, NamesNoRefusalForASleepingServer) {
    const std::string bytes = "[General]\nServerPort = 1\nSamplingInterval = 5\n";
    writeFile(kPath, bytes);
    const ServerView view = viewAsServer(kPath, kSettings, smallDatabase());
    ASSERT_EQ(view.reports.size(), 2U);
    EXPECT_TRUE(view.reports[0].given);
    EXPECT_FALSE(view.reports[1].given);
    EXPECT_EQ(view.reports[0].report.logLine, "ЦП 0: OPC UA Сервер: Ошибка конфигурации: 3 ");
    EXPECT_EQ(view.reports[0].report.journalText, "2");
}

TEST(Opcuacheck, AsksTheAttributeFilesForMissingAttributes) {
    Database database = smallDatabase();
    database.attributes.emplace()[0].assign(28, type_float);
    EXPECT_EQ(told(kTags, database), Told{"5 error-4"}) << "29 is not described";
    database.attributes->front().assign(29, type_float);
    EXPECT_EQ(told(kTags, database), Told{});
}

TEST(Opcuacheck, WorksOutLongListsWithoutExpandingThem) {
    std::string text = kHead;
    for (int group = 100; group < 900; ++group) {
        text += "[Attributes_Group" + std::to_string(group) + "]\nVA = 1-2147483647\n";
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(told(text, {}), testing::Contains("0 tree-too-large"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

// ---- The program -------------------------------------------------------------------------------

static std::pair<int, std::string> run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "opcuacheck");
    Capture out(STDOUT_FILENO);
    const Capture errors(STDERR_FILENO);
    const int status = runProgram(static_cast<int>(arguments.size()), arguments.data());
    return {status, out.text()};
}

TEST(OpcuacheckProgram, TellsItsResultByItsStatus) {
    const char* const file = kPath.c_str();
    writeFile(kPath, kTags);
    EXPECT_EQ(run({file}).first, kClean);
    EXPECT_EQ(run({file, "--json"}).second, "[]\n");
    EXPECT_EQ(run({file, "--counts", "va=4,x=1"}).first, kBadUsage);
    EXPECT_EQ(run({file, "--rvs", "1-2147483647"}).first, kBadUsage);
    EXPECT_EQ(run({file, "--lang", "de"}).first, kBadUsage);
    EXPECT_EQ(run({file, "--nonsense"}).first, kBadUsage);
    EXPECT_EQ(run({}).first, kBadUsage);
    EXPECT_EQ(run({file, "--system", "/nowhere"}).first, kNotReadable);
    EXPECT_EQ(run({"/nowhere"}).first, kNotReadable);
    EXPECT_EQ(run({"/tmp"}).first, kNotReadable);
    writeFile(kPath, kTags + "VD = 1,,\n");
    EXPECT_EQ(run({file}).first, kWarnings);
    writeFile(kPath, kTags + "\"VD\\ = 1\n");
    const auto [status, json] = run({file, "--json", "--lang", "en"});
    EXPECT_EQ(status, kErrors);
    EXPECT_THAT(json, testing::HasSubstr(R"("key": "\"VD\\")"));
    EXPECT_THAT(json, testing::HasSubstr("unknown to the server in section [Attributes]"));
}

TEST(OpcuacheckProgram, DocumentsHoldItsCodesAndACleanExample) {
    const std::string root = OPCUASRV_SOURCE_DIR;
    for (const char* name : {"/docs/configuration.md", "/docs/configuration.ru.md"}) {
        const std::string document = readFile(root + name);
        const auto begin = document.find("```ini\n") + 7;
        const std::string example = document.substr(begin, document.find("```", begin) - begin);
        EXPECT_EQ(told(Utf8ToCP866Converter::convertUtf8ToCP866_manual(example), {}), Told{});
        for (const Rule& rule : allRules()) {
            EXPECT_NE(document.find("`" + std::string(rule.code) + "`"), std::string::npos)
                << rule.code << " in " << name;
        }
    }
}

TEST(Opcuacheck, FillsThePlacesOfItsTexts) {
    EXPECT_EQ(filled("{1} and {0}, {2} {x", {"a", "b"}), "b and a, {2} {x");
}

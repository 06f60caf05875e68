#include "server/text/Utf8ToCP866Converter.h"
#include "tests/support/capture.h"
#include "tests/support/operator_view.h"
#include "tools/opcuacheck/command_line.h"
#include "tools/opcuacheck/exit_status.h"
#include "tools/opcuacheck/finding.h"

using namespace tools::opcuacheck;

static const std::string kPath = "/tmp/opcuacheck/opcuasrv.ini";
static const std::string kSettings = "/tmp/opcuacheck/veskkntr.ini";

/// Four variables of each kind, the manual inputs a number, a text and two switches.
static Database smallDatabase() {
    Database database;
    database.counts.fill(4);
    database.manualInputs = {{{}, {2}, {3, 4}}};
    return database;
}

/// How many arguments a text has places for.
static std::size_t placesOf(std::string_view pattern) {
    std::size_t places = 0;
    for (std::size_t n = 0; n < 10; ++n)
        if (pattern.find("{" + std::to_string(n) + "}") != std::string::npos) places = n + 1;
    return places;
}

/// "line code", in order.
using Codes = std::vector<std::string>;
static std::set<RuleId> foundRules;
static Codes findingsOf(const std::string& bytes, const Database& database = smallDatabase()) {
    writeFile(kPath, bytes);
    const auto file = openConfigFile(kPath);
    const ServerView view = viewAsServer(kPath, kSettings, database);
    Codes lines;
    for (const Finding& finding : allFindings({*file, view, database})) {
        const Rule& rule = ruleOf(finding.rule);
        lines.push_back(std::to_string(finding.line) + " " + std::string(rule.code));
        foundRules.insert(rule.id);
        for (const auto pattern :
             {rule.message.ru, rule.message.en, rule.advice.ru, rule.advice.en})
            EXPECT_LE(placesOf(pattern), finding.arguments.size()) << pattern;
    }
    return lines;
}

static const std::string kHead = "[General]\nServerPort = 4840\n";  // two lines
static const std::string kTags =                                    // up to line 5
    kHead + "[Attributes]\nVA = all\nType1.a = A, 29, OPC_READABLE\n";

struct Case {
    std::string name, text;
    Codes expected;
};

/// The cases of findings.txt: "==== NAME", then lines of a configuration, each with the codes that
/// it must get after "<-". "(head)" and "(tags)" are replaced by the lines above.
static std::vector<Case> readCases() {
    std::vector<Case> cases;
    std::ifstream file(OPCUASRV_SOURCE_DIR "/tests/unit/tools/opcuacheck/findings.txt");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("==== ")) {
            cases.push_back({line.substr(5), {}, {}});
            continue;
        }
        Case& last = cases.back();
        const auto mark = line.find("<- ");
        std::istringstream codes(mark == std::string::npos ? "" : line.substr(mark + 3));
        line.erase(std::min(mark, line.size()));
        line.erase(line.find_last_not_of(' ') + 1);
        line += '\n';
        last.text += line == "(head)\n" ? kHead : line == "(tags)\n" ? kTags : line;
        const auto number = std::to_string(std::ranges::count(last.text, '\n')) + ' ';
        for (std::string code; codes >> code;)
            last.expected.push_back(number + code);
    }
    return cases;
}

// That errors are the server's own is a system test.
TEST(Opcuacheck, ReportsEachTrapAtItsLine) {
    std::vector<Case> cases = readCases();
    ASSERT_FALSE(cases.empty());
    // What no file of texts can hold, or finds an error behind its end.
    const Case more[] = {
        {"an empty file", "", {"0 error-3"}},
        {"saved as UTF-8", kHead + "; Котёл\n", {"0 encoding"}},
        {"saved as Windows-1251", kHead + "; \xCA\xEE\xF2\xE5\xEB \xCF\xD0\n", {"0 encoding"}},
        {"a frame in CP866", kHead + "; \xC4\xC4 \x8A\xAE\xE2\xF1\xAB\n", {}},
        {"a byte 0", kHead + std::string("x\0y\n", 4), {"3 file-nul", "3 line-ignored"}},
        {"not closed", kHead + "[Attributes\nVA = 1\n", {"3 heading-unclosed", "5 error-5"}},
    };
    cases.insert(cases.end(), std::begin(more), std::end(more));
    foundRules = {RuleId::fileNotOpened, RuleId::treeTooLarge};  // looked for below
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(findingsOf(c.text), c.expected);
    }
    Database described = smallDatabase();
    described.attributes.emplace();
    for (auto& attributes : *described.attributes)
        attributes.assign(4, type_float);
    EXPECT_EQ(findingsOf(kTags + "Type1.b = B, 4\nRV = all\nType52.c = C, 5\nType52.d = D, 12\n",
                         described),
              (Codes{"5 error-4", "8 error-4", "9 error-4"}))
        << "only the first may be published";
    EXPECT_EQ(findingsOf(kTags + "VD = 65536\nType2.a = A, 27\n", {}), Codes{"6 list-absent"});
    writeFile(kSettings, "CycleTime = -1\n");
    EXPECT_EQ(findingsOf(kHead + "SamplingInterval = 29.999\n"),
              (Codes{"3 error-2", "3 cycle-time"}));
    std::filesystem::remove(kSettings);
    for (const Rule& rule : allRules())
        EXPECT_TRUE(foundRules.contains(rule.id)) << rule.message.en;
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

TEST(Opcuacheck, WorksOutLongListsWithoutExpandingThem) {
    std::string text = kHead;
    for (int group = 100; group < 900; ++group)
        text += "[Attributes_Group" + std::to_string(group) + "]\nVA = 1-2147483647\n";
    EXPECT_THAT(findingsOf(text, {}), testing::Contains("0 tree-too-large"));
}

// ---- The program -------------------------------------------------------------------------------

static std::pair<int, std::string> run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "opcuacheck");
    Capture out(STDOUT_FILENO);
    Capture errors(STDERR_FILENO);
    const int status = runProgram(static_cast<int>(arguments.size()), arguments.data());
    const std::string printed = out.text();
    EXPECT_THAT(printed + errors.text(), testing::Not(testing::HasSubstr("{0}")));
    return {status, printed};
}

TEST(OpcuacheckProgram, ReportsItsResultByItsStatus) {
    const char* const file = kPath.c_str();
    writeFile(kPath, kTags);
    EXPECT_EQ(run({file}).first, kClean);
    EXPECT_EQ(run({"--codes"}).first, kClean);
    EXPECT_EQ(run({file, "--json"}).second, "[]\n");
    for (const char* option :
         {"--counts=va=4,x=1", "--rvs=1-2147483647", "--lang=de", "--nonsense"})
        EXPECT_EQ(run({file, option}).first, kBadUsage) << option;
    EXPECT_EQ(run({}).first, kBadUsage);
    EXPECT_EQ(run({file, "--system", "/nowhere"}).first, kNotReadable);
    for (const char* unreadable : {"/nowhere", "/tmp"})
        EXPECT_EQ(run({unreadable}).first, kNotReadable);
    for (const char* format : {"--csv", "--nodeset2", "--telegraf"}) {
        EXPECT_EQ(run({file, format}).first, kBadUsage) << "without --tree";
        EXPECT_EQ(run({file, "--tree", "--json", format}).first, kBadUsage);
    }
    writeFile(kPath, kTags + "VD = 1,,\n");
    EXPECT_EQ(run({file}).first, kWarnings);
    writeFile(kPath, kTags + "\"VD\\ = 1\n");
    const auto [status, json] = run({file, "--json", "--lang", "en"});
    EXPECT_EQ(status, kErrors);
    EXPECT_THAT(json, testing::HasSubstr(R"("key":"\"VD\\")"));
    EXPECT_THAT(json, testing::HasSubstr("unknown to the server in section [Attributes]"));
}

// What the system test of the address space compares with the server is left out here.
TEST(OpcuacheckProgram, WritesNamesThatAreSpecialInTheFormsOfTheTree) {
    const char* const config =
        "[General]\nServerPort = 4841\nAplicationName = К\"<&\n"
        "[Attributes]\nVA = 1\nRV = 1\nType1.a = $x\"\\#, 29\nType1.b = Quality, 14\n"
        "Type1.c = , 15\nType1.d = \x01, 5\nType50.a = A, 8\n[Plotter_1]\n";
    writeFile(kPath, Utf8ToCP866Converter::convertUtf8ToCP866_manual(config));
    const std::pair<const char*, std::vector<const char*>> forms[] = {
        {"--csv",
         {"\r\n\"ns=2;s=К\"\"<&.Operative.1_VA.VA_1.$x\"\"\\#.A29\",urn:vesk,"
          "\"К\"\"<&/Operative/1_VA/VA_1/$x\"\"\\#\",\"$x\"\"\\#\",,R,,VA_1.A29\r\n"}},
        {"--nodeset2",
         {"<UAVariable NodeId=\"ns=1;s=К&quot;&lt;&amp;.Operative.1_VA.VA_1.$x&quot;\\#.A29\" "
          "BrowseName=\"1:$x&quot;\\#\" ParentNodeId=\"ns=1;s=VA_1\" "}},
        {"--telegraf",
         {"\"opc.tcp://CONTROLLER:4841\"", "path = \"К\\\"<&/Operative/1_VA\", tag = \"VA_1\"",
          "name = \"$$x\\\"\\\\#\"", "s = { attribute = \"29\" }", "name = \"QualityA14\"",
          "name = \"A15\"", "VA_1.\\u0001.A5\""}}};
    for (const auto& [format, texts] : forms) {
        const auto [status, tree] =
            run({kPath.c_str(), "--tree", format, "--counts=va=1,rv=1", "--lang=en"});
        for (const char* text : texts)
            EXPECT_THAT(tree, testing::HasSubstr(text));
        EXPECT_THAT(tree, testing::Not(testing::HasSubstr("RV_1"))) << "which is uncertain";
        EXPECT_EQ(tree.find('\x01') == std::string::npos, format != std::string("--csv"));
    }
}

TEST(OpcuacheckProgram, DocumentsHoldItsCodesAndACleanExample) {
    const std::string root = OPCUASRV_SOURCE_DIR;
    for (const char* name : {"/docs/configuration.md", "/docs/configuration.ru.md"}) {
        const std::string document = readFile(root + name);
        const auto begin = document.find("```ini\n") + 7;
        const std::string example = document.substr(begin, document.find("```", begin) - begin);
        EXPECT_EQ(findingsOf(Utf8ToCP866Converter::convertUtf8ToCP866_manual(example), {}),
                  Codes{});
        for (const Rule& rule : allRules()) {
            EXPECT_NE(document.find("`" + std::string(rule.code) + "`"), std::string::npos)
                << rule.code << " in " << name;
        }
    }
}

TEST(Opcuacheck, FillsThePlacesOfItsTexts) {
    EXPECT_EQ(filled("{1} and {0}, {2} {x", {"a", "b"}), "b and a, … {x");
}

#include "server/config/ConfigState.h"
#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "tests/support/operator_view.h"

static const std::string kPath = "/zrt/settings/test.ini";

/// The sections as a file would have them.
static std::string asText(const std::vector<Section>& sections) {
    std::string text;
    for (const auto& section : sections) {
        text += '[' + section.name + "]\n";
        for (const auto& param : section.params)
            text += param.key + '=' + param.value + '\n';
    }
    return text;
}

class LoadedConfig : public OperatorView {
  protected:
    LoadedConfig() { declareSchema(ListSections::getInstance()); }

    static std::string read(const std::string& file) {
        writeFile(kPath, file);
        std::vector<Section> sections;
        EXPECT_EQ(IniConfigManager::readConfigFile(kPath, sections), 0);
        return asText(sections);
    }
};

TEST_F(LoadedConfig, IsReadInSortedOrderWithValuesCutAtComments) {
    const auto sections = read(
        "; \xAA\xAE\xAC\xAC\xA5\xAD\xE2\n# another\n"
        "[Plotter_2]\nPens = all\n\n"
        "  [ General ]  ; the first section of all\r\n"
        "\tServerPort =  4840 ; tcp\r\n"
        "AplicationName=\x8A\xAE\xE2\xF1\xAB: north\n"
        "OperativeData\n=no key\nHistoricalData=\n"
        "[Attributes]\nType1.B = <<<END\n"
        "VA = 1-3,\t7 \n"
        "Type1.a = \"quoted\", 5\n"
        "[Access]\n");
    EXPECT_EQ(sections,
              "[Access]\n"
              "[Attributes]\nType1.a=\"quoted\", 5\nType1.B=<<<END\nVA=1-3,\t7\n"
              "[General]\nAplicationName=\x8A\xAE\xE2\xF1\xAB\nHistoricalData=\nServerPort=4840 \n"
              "[Plotter_2]\nPens=all\n");
    EXPECT_TRUE(logLines().empty() && journal.messages.empty());
}

TEST_F(LoadedConfig, OfOddBytesIsReadAsFarAsItGoes) {
    EXPECT_EQ(read(""), "");
    EXPECT_EQ(read("VA=1\n[Access]\n"), "[Access]\n") << "keys before any heading";
    EXPECT_EQ(read("[General\n[Access]\nNode_IPn=1"), "[Access]\nNode_IPn=1\n") << "not closed";
    EXPECT_EQ(read({"[Access]\nNode_IPn=1\n\0[General]\n", 31}), "[Access]\nNode_IPn=1\n")
        << "a NUL ends the file";
    EXPECT_EQ(read("\xEF\xBB\xBF[Access]\n"), "[Access]\n") << "a byte order mark";
}

TEST_F(LoadedConfig, SortsCyrillicNamesBehindLatinOnes) {
    // The order is the controller's, where char is unsigned; a signed char turns it round.
    const auto sections = read("[Attributes]\nType\x80=1\nTypez=2\nType\xE0=3\n");
#ifdef __CHAR_UNSIGNED__
    EXPECT_EQ(sections, "[Attributes]\nTypez=2\nType\x80=1\nType\xE0=3\n");
#else
    EXPECT_EQ(sections, "[Attributes]\nType\x80=1\nType\xE0=3\nTypez=2\n");
#endif
}

TEST_F(LoadedConfig, HasAPortWhenEveryOneIsGoodAndTheLastIsTaken) {
    iniFilePath = kPath;
    writeFile(kPath, "\nServerPort = 4841\n");
    const auto port = [this](const char* first, const char* second) {
        journal.messages.clear();
        const auto taken =
            readServerPort({{"A", {{"ServerPort", first}}}, {"B", {{"ServerPort", second}}}});
        if (journal.messages.empty()) return std::to_string(taken.value());
        return "line" + std::get<std::string>(journal.messages[0].back());
    };
    EXPECT_EQ(port("4841", "4849"), "4849");
    EXPECT_EQ(port("484x", "4841"), "line ");
    // the last but one would be 4840, were it cut to 32 bits
    for (const char* bad : {"", "abc", "4840 1", "0x12E8", "4294972136", "4840.0"})
        EXPECT_EQ(port("4841", bad), "line ") << bad;
    for (const char* ofOthers : {"4839", "4850", "-4840"})
        EXPECT_EQ(port("4841", ofOthers), "line2");
    EXPECT_FALSE(readServerPort({{"A", {{"serverport", "4841"}}}}));
}

TEST_F(LoadedConfig, IsLoadedOnce) {
    IniConfigManager manager;
    writeFile(kPath, "[Access]\n");
    EXPECT_TRUE(manager.loadConfig(kPath));
    writeFile(kPath, "[General]\n[Bad]\n");
    EXPECT_TRUE(manager.loadConfig(kPath));
    EXPECT_TRUE(manager.loadConfig("/zrt/settings/none.ini"));
    EXPECT_EQ(asText(manager.getSections()), "[Access]\n");
}

TEST(MessageBlocker, LetsEachKindPassOnce) {
    MissingAttrManager manager;
    for (const int type : {2, 0, 4, 1, 3})
        EXPECT_TRUE(manager.messageBlocker(type) && !manager.messageBlocker(type));
    for (const int type : {-1, 5, 5, -1})
        EXPECT_TRUE(manager.messageBlocker(type));
    EXPECT_TRUE(MissingAttrManager().messageBlocker(AttrTypeMsgRV)) << "per manager";
}

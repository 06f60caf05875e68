#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "server/config/ConfigState.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "support/operator_view.h"

using testing::ElementsAre;
using testing::IsEmpty;
using Message = RecordingJournal::Message;

static const std::string kPath = "/zrt/settings/test.ini";

/// A section as name, then key and value in turn.
using Flat = std::vector<std::string>;

static std::vector<Flat> flat(const std::vector<Section>& sections) {
    std::vector<Flat> all;
    for (const auto& section : sections) {
        Flat one{section.name};
        for (const auto& param : section.params) {
            one.insert(one.end(), {param.key, param.value});
        }
        all.push_back(one);
    }
    return all;
}

class ConfigFile : public OperatorView {
  protected:
    ConfigFile() { declareSchema(ListSections::getInstance()); }

    static std::vector<Flat> read(const std::string& file) {
        writeFile(kPath, file);
        std::vector<Section> sections;
        EXPECT_EQ(IniConfigManager::readConfigFile(kPath, sections), 0);
        return flat(sections);
    }
};

TEST_F(ConfigFile, IsReadInSortedOrderWithValuesCutAtComments) {
    const auto sections = read(
        "; \xAA\xAE\xAC\xAC\xA5\xAD\xE2\n"
        "# another\n"
        "[Plotter_2]\n"
        "Pens = all\n"
        "\n"
        "  [ General ]  ; the first section of all\r\n"
        "\tServerPort =  4840 ; tcp\r\n"
        "AplicationName=\x8A\xAE\xE2\xF1\xAB: north\n"
        "OperativeData\n"
        "=no key\n"
        "HistoricalData=\n"
        "[Attributes]\n"
        "Type1.B = <<<END\n"
        "VA = 1-3,\t7 \n"
        "Type1.a = \"quoted\", 5\n"
        "[Access]\n");
    EXPECT_THAT(sections, ElementsAre(Flat{"Access"},
                                      Flat{"Attributes", "Type1.a", "\"quoted\", 5", "Type1.B",
                                           "<<<END", "VA", "1-3,\t7"},
                                      Flat{"General", "AplicationName", "\x8A\xAE\xE2\xF1\xAB",
                                           "HistoricalData", "", "ServerPort", "4840 "},
                                      Flat{"Plotter_2", "Pens", "all"}));
    EXPECT_THAT(logLines(), IsEmpty());
    EXPECT_THAT(journal.messages, IsEmpty());
}

TEST_F(ConfigFile, MergesSectionsAndKeysWithoutRegardToCase) {
    EXPECT_THAT(read("[General]\nServerPort=1\n[Attributes]\nVA=1\nVA=2\nType1.X=a\ntype1.x=b\n"
                     "[GENERAL]\nSERVERPORT=3\nSamplingInterval=500\n"),
                ElementsAre(Flat{"Attributes", "Type1.X", "b", "VA", "2"},
                            Flat{"General", "SamplingInterval", "500", "ServerPort", "3"}));
    EXPECT_THAT(logLines(), IsEmpty());
}

TEST_F(ConfigFile, OfOddBytesIsReadAsFarAsItGoes) {
    const struct {
        const char* why;
        std::string file;
        std::vector<Flat> sections;
    } cases[] = {
        {"nothing", "", {}},
        {"keys before any heading have no section", "VA=1\n[Access]\n", {{"Access"}}},
        {"a heading that is not closed",
         "[General\n[Access]\nNode_IPn=1",
         {{"Access", "Node_IPn", "1"}}},
        {"a NUL ends the file",
         std::string("[Access]\nNode_IPn=1\n\0[General]\n", 31),
         {{"Access", "Node_IPn", "1"}}},
        {"a byte order mark", "\xEF\xBB\xBF[Access]\n", {{"Access"}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(read(c.file), c.sections);
    }
}

TEST_F(ConfigFile, SortsCyrillicNamesBehindLatinOnes) {
    // The order is the controller's, where char is unsigned; a signed char turns it round.
    const auto sections = read("[Attributes]\nType\x80=1\nTypez=2\nType\xE0=3\n");
#ifdef __CHAR_UNSIGNED__
    EXPECT_THAT(sections,
                ElementsAre(Flat{"Attributes", "Typez", "2", "Type\x80", "1", "Type\xE0", "3"}));
#else
    EXPECT_THAT(sections,
                ElementsAre(Flat{"Attributes", "Type\x80", "1", "Type\xE0", "3", "Typez", "2"}));
#endif
}

TEST_F(ConfigFile, IsLoadedOnce) {
    IniConfigManager manager;
    EXPECT_THAT(manager.getSections(), IsEmpty());
    writeFile(kPath, "[Access]\n");
    EXPECT_TRUE(manager.loadConfig(kPath));
    writeFile(kPath, "[General]\n[Bad]\n");
    EXPECT_TRUE(manager.loadConfig(kPath));
    EXPECT_TRUE(manager.loadConfig("/zrt/settings/none.ini"));
    EXPECT_THAT(flat(manager.getSections()), ElementsAre(Flat{"Access"}));
}

TEST_F(ConfigFile, MissingAttributesAreReportedOnceInTheirOrder) {
    writeFile(iniFilePath, "[Attributes]\nType1.a=A,1\nType1.b=B,2\n");
    MissingAttrManager missing;
    missing.addMissingAttr({"Type1.b", "Type1.a"});
    missing.addMissingAttr({});
    missing.addMissingAttr({"Type1.a", "Type1.c", "Type1.b"});
    EXPECT_THAT(journal.messages, IsEmpty());
    missing.sendMessage();
    EXPECT_THAT(journal.messages, ElementsAre(Message{18094, {3, 4, "строка №3"}},
                                              Message{18094, {3, 4, "строка №2"}},
                                              Message{18094, {3, 4, "строка №4"}}));
}

TEST(MessageBlocker, LetsEachKindPassOnce) {
    MissingAttrManager manager;
    for (const int type : {2, 0, 4, 1, 3}) {
        EXPECT_TRUE(manager.messageBlocker(type));
        EXPECT_FALSE(manager.messageBlocker(type));
    }
    for (const int type : {-1, 5, 5, -1})
        EXPECT_TRUE(manager.messageBlocker(type));
    EXPECT_TRUE(MissingAttrManager().messageBlocker(AttrTypeMsgRV)) << "per manager";
}

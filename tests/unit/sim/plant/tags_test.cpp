#include "plant/tags.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace {

template <class Tags>
void expectNamed(const Tags& tags, std::size_t count) {
    std::set<std::string> designations;
    for (const auto& tag : tags) {
        EXPECT_EQ(tag.texts.designation.back(), '\0');
        EXPECT_EQ(tag.texts.name1.back(), '\0');
        EXPECT_EQ(tag.texts.name2.back(), '\0');
        EXPECT_NE(tag.texts.name1.front(), '\0') << tag.texts.designation.data();
        const std::string designation = tag.texts.designation.data();
        EXPECT_EQ(designation.find_first_of("#?"), std::string::npos) << designation;
        designations.insert(designation);
    }
    EXPECT_EQ(tags.size(), count);
    EXPECT_EQ(designations.size(), count) << "two tags share a designation";
}

TEST(HouseTags, AreNamedEachByItself) {
    const sim::HouseTags& tags = sim::houseTags();
    expectNamed(tags.analogs, 80);
    expectNamed(tags.contacts, 60);
    expectNamed(tags.commands, 24);
    expectNamed(tags.inputs, 24);
    expectNamed(tags.loops, 12);
    // "К1Ргаз" in CP866: the texts are the controller's, not the source's.
    EXPECT_STREQ(tags.analogs[0].texts.designation.data(), "\x8A\x31\x90\xA3\xA0\xA7");
    EXPECT_STREQ(tags.analogs[18].texts.designation.data(), "\x8A\x32\x90\xA3\xA0\xA7");
}

TEST(HouseTags, ReferToEachOtherWithinTheHouse) {
    const sim::HouseTags& tags = sim::houseTags();
    for (const auto& analog : tags.analogs) {
        SCOPED_TRACE(analog.texts.designation.data());
        EXPECT_LT(analog.scaleLow, analog.scaleHigh);
        EXPECT_LT(analog.alarmLow, analog.warningLow);
        EXPECT_LT(analog.warningLow, analog.warningHigh);
        EXPECT_LT(analog.warningHigh, analog.alarmHigh);
    }
    for (const auto& loop : tags.loops) {
        ASSERT_LT(loop.signal, tags.analogs.size());
        ASSERT_LT(loop.input, tags.inputs.size());
        EXPECT_EQ(tags.analogs[loop.signal].unit, tags.inputs[loop.input].unit)
            << "a loop compares two quantities: " << loop.texts.designation.data();
        EXPECT_FALSE(sim::mayBreak(loop.signal));
    }
    for (std::size_t i = 0; i < tags.commands.size(); ++i) {
        const std::size_t feedback = tags.commands[i].feedback;
        if (feedback == sim::CommandTag::kNoFeedback) continue;
        ASSERT_LT(feedback, tags.contacts.size());
        EXPECT_EQ(tags.contacts[feedback].source, sim::ContactSource::driveOn);
        EXPECT_EQ(tags.contacts[feedback].index, i);
        EXPECT_FALSE(sim::contactMayBreak(feedback));
    }
}

}  // namespace

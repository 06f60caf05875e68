#include "plant/tags.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

TEST(HouseTags, ReferToEachOtherWithinTheHouse) {
    const sim::HouseTags& tags = sim::houseTags();
    // "К1Ргаз" in CP866: the texts are the controller's, not the source's.
    EXPECT_STREQ(tags.analogs[0].texts.designation.data(), "\x8A\x31\x90\xA3\xA0\xA7");
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

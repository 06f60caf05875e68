#include "site/record.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "unit/sim/site/temporary_site.h"

namespace {

using sim::Record;

TEST(Record, TellsTheNextRunWhatWasNoted) {
    const TemporarySite site;
    const auto file = site.path(".zrtsim-record");
    {
        Record record(file);
        ASSERT_EQ(record.takeOver(), Record::Lock::absent);
        EXPECT_TRUE(site.entries().empty()) << "looking makes nothing";
        ASSERT_EQ(record.create(), Record::Lock::held);
        EXPECT_TRUE(record.noteOwner(4711));
        EXPECT_TRUE(record.noteDirectory("/a b/c"));
        EXPECT_TRUE(record.noteFile("/a b/half", std::nullopt));
        EXPECT_TRUE(record.noteFile("/a b/whole", std::nullopt));
        EXPECT_TRUE(record.noteFile("/a b/whole", sim::Fingerprint{3, 0xFFFFFFFFFFFFFFFFU}));
        EXPECT_TRUE(record.noteFile("/gone", sim::Fingerprint{1, 1}));
        EXPECT_TRUE(record.forgetFile("/gone"));
        EXPECT_TRUE(record.noteIpc({IpcKind::segment, 0x61, -1, 100}));
        EXPECT_TRUE(record.noteIpc({IpcKind::segment, 0x61, 5, 101}));
        EXPECT_TRUE(record.noteIpc({IpcKind::queue, -7, -1, 100}));
        EXPECT_TRUE(record.noteIpc({IpcKind::segment, 0x70, -1, 100}));
    }
    Record record(file);
    ASSERT_EQ(record.takeOver(), Record::Lock::held);
    const sim::RecordContents& found = record.contents();
    EXPECT_EQ(found.owner, 4711);
    ASSERT_EQ(found.directories.size(), 1U);
    EXPECT_EQ(found.directories[0], "/a b/c");
    ASSERT_EQ(found.files.size(), 2U);
    EXPECT_EQ(found.files.at("/a b/half"), std::nullopt);
    EXPECT_EQ(found.files.at("/a b/whole"), (sim::Fingerprint{3, 0xFFFFFFFFFFFFFFFFU}));
    EXPECT_EQ(found.ipc.size(), 3U);

    const auto object = [](IpcKind kind, key_t key, int id, pid_t maker, std::time_t time) {
        return IpcObject{kind, key, id, 0, maker, 0, 0, time};
    };
    const struct {
        const char* why;
        IpcObject object;
        bool ours;
    } cases[] = {
        {"the very segment", object(IpcKind::segment, 0x61, 5, 1, 101), true},
        {"another with the same key", object(IpcKind::segment, 0x61, 6, 1, 101), false},
        {"the id used again", object(IpcKind::segment, 0x62, 5, 1, 101), false},
        {"id and key used again", object(IpcKind::segment, 0x61, 5, 1, 300), false},
        {"another kind", object(IpcKind::semaphore, 0x61, 5, 1, 101), false},
        {"noted, killed before it was confirmed", object(IpcKind::queue, -7, 9, 0, 100), true},
        {"there before it was noted", object(IpcKind::queue, -7, 9, 0, 99), false},
        {"not confirmed, made by the run", object(IpcKind::segment, 0x70, 3, 4711, 100), true},
        {"not confirmed, of another maker", object(IpcKind::segment, 0x70, 3, 78, 100), false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(found.owns(c.object), c.ours) << c.why;
    }
}

TEST(Record, RefusesNotesOfOthers) {
    const TemporarySite site;
    const auto file = site.path(".zrtsim-record");
    site.write(".zrtsim-record", "notes of somebody\n");
    EXPECT_EQ(Record(file).takeOver(), Record::Lock::failed);
    EXPECT_EQ(site.read(".zrtsim-record"), "notes of somebody\n");
    site.write(".zrtsim-record", "");  // a run that was killed before its first line
    EXPECT_EQ(Record(file).takeOver(), Record::Lock::held);
}

}  // namespace

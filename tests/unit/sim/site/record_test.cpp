#include "sim/site/record.h"
#include "tests/support/basics.h"

TEST(Record, OwnsWhatItNotedAndNothingElse) {
    sim::RecordContents found;
    found.owner = 4711;
    found.ipc = {{IpcKind::segment, 0x61, 5, 101},
                 {IpcKind::queue, -7, -1, 100},
                 {IpcKind::segment, 0x70, -1, 100}};
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
    for (const auto& c : cases)
        EXPECT_EQ(found.owns(c.object), c.ours) << c.why;
}

// The journal's segments with any contents, which change while the journal is used: whatever other
// processes write there, this process stays within the segments and its calls return.

#include "fuzz/support/fuzzing.h"
#include "fuzz/support/ipc_in_process.h"
#include "lib/rolling2/rol_man.h"

namespace {

constexpr std::uint16_t kSlots = 10;  // the least that a journal may have
constexpr std::uint16_t kVariables = 3;
constexpr std::pair<int, std::size_t> kSegments[] = {
    {kRolSettings, sizeof(SRolIniFileSettings)},
    {kRolVersion, sizeof(SRolVersion)},
    {kRolMessageCounter, 2},
    {kRolLastIndex, 2},
    {kRolSaveRol, 1},
    {kRolCurSavePlace, 1},
    {kRolNewMessages, 4},
    {kRolUdpVersion, 1},
    {kRolReaderCounters, sizeof(SCntRolPerSock)},
    {kRolPosition24, 1},
    {kRolVariableCounts, kRolVariableCountsSize},
    {kRolFirstDictionary, kVariables* kRolDictionaryEntry},
    {kRolRing, kSlots * sizeof(SRolMessage)},
};

void layOut(FuzzedDataProvider& in) {
    controller.segments.clear();
    for (const auto& [index, size] : kSegments)
        controller.segments[index] = std::vector<std::uint8_t>(size);
    const SRolIniFileSettings settings{kSlots, in.ConsumeIntegral<std::uint16_t>(), 1000, 301, {}};
    std::memcpy(controller.segments[kRolSettings].data(), &settings, sizeof(settings));
    controller.segments[kRolVariableCounts][0] = kVariables;
    controller.semaphoreIsNew = in.ConsumeBool();
    for (int i = in.ConsumeIntegralInRange(0, 8); i > 0; --i)
        overwrite(in);
}

void post(CRolManager& journal, FuzzedDataProvider& in) {
    const std::string text = in.ConsumeRandomLengthString(300);
    const timeval time{in.ConsumeIntegral<std::int64_t>(), in.ConsumeIntegral<std::int64_t>()};
    const std::array arguments{CRolArg(in.ConsumeIntegral<short>()), CRolArg(text.c_str()),
                               CRolArg(RT_END)};
    static_cast<void>(journal.VeskolMessageWithTime(
        in.ConsumeBool() ? &time : nullptr, in.ConsumeIntegral<std::uint32_t>(),
        in.ConsumeIntegral<std::uint32_t>(), in.ConsumeIntegral<signed char>(),
        in.ConsumeIntegral<short>(), arguments.data()));
}

void readRaw(CRolManager& journal, FuzzedDataProvider& in) {
    std::vector<char> room(in.ConsumeIntegralInRange<std::size_t>(0, 1024));
    require(journal.GetRawData(room.data(), in.ConsumeIntegral<std::uint16_t>(), room.size()) <=
            kSlots);
}

void show(CRolManager& journal, FuzzedDataProvider& in) {
    std::vector<char> line(in.ConsumeIntegralInRange<std::size_t>(1, 512));
    require(journal.MakeString(line.data(), line.size()) ==
            static_cast<int>(std::strlen(line.data())));
}

void count(CRolManager& journal, FuzzedDataProvider& in) {
    const int reader = in.ConsumeIntegralInRange(-1, 9);
    journal.IncCounters(in.ConsumeIntegral<int>());
    journal.DecCounter(reader, in.ConsumeIntegral<int>());
    static_cast<void>(journal.GetCounter(reader));
}

void save(CRolManager& journal, FuzzedDataProvider& in) {
    journal.SetSaveRol(in.ConsumeIntegral<char>());
    static_cast<void>(journal.ForceSave());
    static_cast<void>(in.ConsumeBool() ? journal.Load() : journal.LoadRezRolling());
}

void moveCursor(CRolManager& journal, FuzzedDataProvider& in) {
    static_cast<void>(journal.GoMes(in.ConsumeIntegral<std::uint16_t>()));
    static_cast<void>(in.ConsumeBool() ? journal.GoFirstMes() : journal.GetPrevMes());
    static_cast<void>(journal.GetNextMes());
}

void change(CRolManager& /*journal*/, FuzzedDataProvider& in) {
    overwrite(in);
}

using Operation = void (*)(CRolManager&, FuzzedDataProvider&);
constexpr Operation kOperations[] = {post, readRaw, show, count, moveCursor, change, save};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    for (const char* folder : {"/zrt/sram/dat", "/zrt/sram/rezerv", "/zrt/sram/check"})
        std::filesystem::create_directories(folder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    layOut(in);
    CRolManager journal;
    if (journal.Init() != kRolDone) return 0;
    bool isSaved = false;  // takes longer than all else together
    for (int i = 0; i < 16 && in.remaining_bytes() != 0; ++i) {
        const Operation operation = in.PickValueInArray(kOperations);
        if (operation == save && std::exchange(isSaved, true)) continue;
        operation(journal, in);
    }
    if (isSaved) journal.EraseRollingFiles();
    return 0;
}

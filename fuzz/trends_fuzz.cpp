// The stand-in's definitions of plotters and pens, and its archive's chunks and batches, of any
// content. The first byte of an input selects which.

#include <bit>

#include "fuzz/support/fuzzing.h"
#include "jxotr/opchda.h"
#include "platform/trends/standin/batch.h"
#include "platform/trends/standin/chunk.h"
#include "platform/trends/standin/definitions.h"

using namespace trends;

namespace {

void requireDefinitions(const std::string& text) {
    std::string problem;
    const Definitions definitions = parseDefinitions(text, problem);
    require(problem.empty() || definitions.plotters.empty());
    for (std::uint32_t plotter = 0; plotter <= definitions.plotters.size() + 1; ++plotter) {
        const PenDefinition* const pen = definitions.find(plotter, 1);
        require(pen == nullptr || (pen->variableNum > 0 && pen->variableKind >= 0));
    }
}

std::vector<Sample> samplesOf(const Run& run, bool& isDamaged) {
    std::vector<Sample> samples;
    ChunkDecoder decoder(run.valueType, run.first, run.bytes);
    for (Sample sample; decoder.next(sample);)
        samples.push_back(sample);
    isDamaged = decoder.damaged();
    return samples;
}

/// Values that were read are the same after packing and unpacking, as far as they fit in a chunk.
void requireChunk(const Run& run) {
    bool isDamaged = false;
    const std::vector<Sample> samples = samplesOf(run, isDamaged);
    require(isDamaged || !samples.empty() || run.bytes.empty());
    ChunkEncoder encoder(run.valueType);
    for (const Sample& sample : samples) {
        if (!encoder.accepts(sample.time)) break;
        encoder.add(sample);
    }
    const auto again =
        samplesOf({run.pen, run.valueType, encoder.first(), encoder.bytes()}, isDamaged);
    require(!isDamaged && again.size() == encoder.count());
    for (std::size_t i = 0; i < again.size(); ++i) {
        const auto same = std::bit_cast<std::uint64_t>(again[i].value) ==
                          std::bit_cast<std::uint64_t>(samples[i].value);
        const bool isFlag = run.valueType == jxo::kVtBoolean;
        require(again[i].time == samples[i].time && again[i].quality == samples[i].quality);
        require(same || (isFlag && again[i].value == (samples[i].value != 0 ? 1 : 0)));
    }
}

void requireBatch(std::int64_t first, const std::vector<std::uint8_t>& bytes) {
    BatchDecoder batch(first, bytes);
    std::size_t size = 0;
    for (Run run; batch.next(run); size += run.bytes.size())
        requireChunk(run);
    require(size <= bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    FuzzedDataProvider in(data + 1, size - 1);
    if (data[0] == 'd') {
        requireDefinitions(in.ConsumeRemainingBytesAsString());
        return 0;
    }
    const auto first = in.ConsumeIntegral<std::int64_t>();
    const auto valueType = in.ConsumeIntegral<std::uint8_t>();
    const auto bytes = in.ConsumeRemainingBytes<std::uint8_t>();
    if (data[0] == 'c')
        requireChunk({1, valueType, first, bytes});
    else
        requireBatch(first, bytes);
    return 0;
}

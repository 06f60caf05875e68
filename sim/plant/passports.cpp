#include "sim/plant/passports.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "server/text/Utf8ToCP866Converter.h"
#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/plant/tags.h"

namespace sim {

namespace {

using enum TypeCode;

constexpr char kRed = 4;
constexpr char kGreen = 2;
constexpr char kGrey = 7;

void putByte(std::byte* record, std::size_t offset, int value) {
    record[offset] = static_cast<std::byte>(value);
}

/// The wiring of a variable: boards of 16 channels, 16 boards per station. The numbers wrap in huge
/// databases.
void putWiring(std::byte* record, std::size_t i, std::size_t stationAt, std::size_t boardAt,
               std::size_t channelAt) {
    putByte(record, 0, 1);
    putByte(record, stationAt, static_cast<int>(1 + i / 256 % 100));
    putByte(record, boardAt, static_cast<int>(1 + i / 16 % 16));
    putByte(record, channelAt, static_cast<int>(1 + i % 16));
}

/// The variable that a passport is written for; numbers count from 0.
struct Place {
    const DatabaseMemory& memory;
    std::size_t house;
    std::size_t i;
};

/// Writes the three texts, which are side by side in every record, each with its own NUL.
void putTexts(std::byte* record, std::size_t offset, TagTexts texts, const char* kind,
              const Place& place) {
    if (place.house > 0) {
        Text9& designation = texts.designation;
        designation = {};
        std::snprintf(designation.data(), designation.size(), "%s%u", kind,
                      static_cast<unsigned>(place.i + 1) % 1000000);
    }
    std::memcpy(record + offset, texts.designation.data(), texts.designation.size());
    std::memcpy(record + offset + 9, texts.name1.data(), texts.name1.size());
    std::memcpy(record + offset + 18, texts.name2.data(), texts.name2.size());
}

/// A link to a variable that the database does not have stays empty.
void putLink(std::byte* record, std::size_t offset, TypeCode type, std::size_t i,
             const Place& place) {
    if (i >= place.memory.of(type).count) return;
    putByte(record, offset, static_cast<int>(type));
    store(record + offset + 1, static_cast<std::uint16_t>(i + 1));
}

void putAnalog(std::byte* record, const AnalogTag& tag, const Place& place) {
    putWiring(record, place.i, at(VA, "NUSO"), at(VA, "NPLT"), at(VA, "N_INPUT"));
    putByte(record, at(VA, "UNIT"), static_cast<int>(tag.unit));
    putByte(record, at(VA, "PP"), tag.decimals);
    store(record + at(VA, "NSHK"), tag.scaleLow);
    store(record + at(VA, "KSHK"), tag.scaleHigh);
    store(record + at(VA, "NPG"), tag.warningLow);
    store(record + at(VA, "VPG"), tag.warningHigh);
    store(record + at(VA, "NAG"), tag.alarmLow);
    store(record + at(VA, "VAG"), tag.alarmHigh);
    const float span = tag.scaleHigh - tag.scaleLow;
    store(record + at(VA, "GST"), span * 0.005F);
    store(record + at(VA, "TSK"), 1.0F);
    store(record + at(VA, "SK_UP"), span * 0.1F);
    store(record + at(VA, "SK_DOWN"), span * 0.1F);
    store(record + at(VA, "SKD"), tag.noise);
    store(record + at(VA, "NTR"), tag.scaleLow);
    store(record + at(VA, "KTR"), tag.scaleHigh);
    putByte(record, at(VA, "SELF_SECT"), 1);
}

void putLoop(std::byte* record, const LoopTag& tag, const Place& place) {
    const AnalogTag& process = houseTags().analogs[tag.signal];
    const InputTag& setPoint = houseTags().inputs[tag.input];
    putWiring(record, place.i, at(AV, "NUSO"), at(AV, "NPLT"), at(AV, "NOUT"));
    putLink(record, at(AV, "POZP.type"), VA, place.house * kHouseSignals + tag.signal, place);
    putLink(record, at(AV, "POZD.type"), HI, place.house * kHouseInputs + tag.input, place);
    putByte(record, at(AV, "PP"), tag.decimals);
    store(record + at(AV, "ZD"), setPoint.initial);
    store(record + at(AV, "ZDD"), setPoint.initial);
    store(record + at(AV, "KP"), tag.gain);
    store(record + at(AV, "T"), tag.integrationSeconds);
    store(record + at(AV, "NEC"), process.scaleLow);
    store(record + at(AV, "KNEC"), process.scaleHigh);
    store(record + at(AV, "TCP"), 10.0F);
    store(record + at(AV, "TCO"), 1.0F);
    store(record + at(AV, "MAX"), 100.0F);
    store(record + at(AV, "MIN"), 0.0F);
    store(record + at(AV, "SMAX"), setPoint.maximum);
    store(record + at(AV, "SMIN"), setPoint.minimum);
    putByte(record, at(AV, "KL"), 2);
    store(record + at(AV, "TKL"), std::int16_t{10});
    for (const std::size_t output : {at(AV, "IM"), at(AV, "IMP"), at(AV, "IMR")}) {
        store(record + output, tag.initialOutput);
    }
    putByte(record, at(AV, "SELF_SECT"), 1);
}

void putInput(std::byte* record, const InputTag& tag, const Place& /*place*/) {
    putByte(record, at(HI, "var_type"), static_cast<int>(tag.layout));
    putByte(record, at(HI, "SELF_SECT"), 1);
    switch (tag.layout) {
        case InputLayout::number:
            putByte(record, at(HI, "number.UNIT"), static_cast<int>(tag.unit));
            store(record + at(HI, "number.MAX"), tag.maximum);
            store(record + at(HI, "number.MIN"), tag.minimum);
            store(record + at(HI, "number.TZN"), tag.initial);
            store(record + at(HI, "number.TZN2"), tag.initial);
            break;
        case InputLayout::string:
            std::memcpy(record + at(HI, "string.TZN"), tag.text.data(), tag.text.size());
            putByte(record, at(HI, "string.COLOR"), kGrey);
            break;
        case InputLayout::boolean:
            putByte(record, at(HI, "boolean.TZN"), tag.initial != 0 ? 1 : 0);
            putByte(record, at(HI, "boolean.LOGNAME0"), 0);
            putByte(record, at(HI, "boolean.COLOR0"), kGrey);
            putByte(record, at(HI, "boolean.LOGNAME1"), 1);
            putByte(record, at(HI, "boolean.COLOR1"), kGreen);
            break;
    }
}

void putContact(std::byte* record, const DiscreteTag& tag, const Place& place) {
    putWiring(record, place.i, at(DI, "NUSO"), at(DI, "NPLT"), at(DI, "N_INPUT"));
    putByte(record, at(DI, "COLOR0"), tag.alarmAt0 ? kRed : kGrey);
    putByte(record, at(DI, "COLOR1"), tag.alarmAt1 ? kRed : kGreen);
    putByte(record, at(DI, "LOGNAME1"), 1);
    putByte(record, at(DI, "REG1"), 1);
    putByte(record, at(DI, "REG0"), 1);
    putByte(record, at(DI, "SGN0"), tag.alarmAt0 ? 1 : 0);
    putByte(record, at(DI, "SGN1"), tag.alarmAt1 ? 1 : 0);
    putByte(record, at(DI, "SELF_SECT"), 1);
    const bool ofSignal = tag.source == ContactSource::above || tag.source == ContactSource::below;
    if (!ofSignal) return;
    putLink(record, at(DI, "typevar"), VA, place.house * kHouseSignals + tag.index, place);
}

void putCommand(std::byte* record, const CommandTag& tag, const Place& place) {
    putWiring(record, place.i, at(DO, "NUSO"), at(DO, "NPLT"), at(DO, "N_OUTPUT"));
    putByte(record, at(DO, "TUSO"), 1);
    putByte(record, at(DO, "COLOR0"), kGrey);
    putByte(record, at(DO, "COLOR1"), kGreen);
    putByte(record, at(DO, "LOGNAME1"), 1);
    putByte(record, at(DO, "REG1"), 1);
    putByte(record, at(DO, "REG0"), 1);
    putByte(record, at(DO, "OUT"), tag.initial);
    putByte(record, at(DO, "DU"), 1);
    putByte(record, at(DO, "SELF_SECT"), 1);
    if (tag.feedback == CommandTag::kNoFeedback) return;
    putLink(record, at(DO, "typevar1"), DI, place.house * kHouseContacts + tag.feedback, place);
}

/// Calls put for every variable of a type, after the texts are in place.
template <class Tags, class Put>
void forEach(const DatabaseMemory& memory, TypeCode type, std::size_t textsAt, const char* kindUtf8,
             const Tags& tags, Put put) {
    const std::string kind = Utf8ToCP866Converter::convertUtf8ToCP866_manual(kindUtf8);
    for (std::size_t i = 0; i < memory.of(type).count; ++i) {
        const Place place{memory, i / tags.size(), i};
        const auto& tag = tags[i % tags.size()];
        std::byte* record = memory.passport(type, i);
        putTexts(record, textsAt, tag.texts, kind.c_str(), place);
        put(record, tag, place);
    }
}

}  // namespace

void writePassports(const DatabaseMemory& memory) {
    const HouseTags& tags = houseTags();
    forEach(memory, VA, at(VA, "POZ"), "А", tags.analogs, putAnalog);
    forEach(memory, AV, at(AV, "POZ"), "Р", tags.loops, putLoop);
    forEach(memory, HI, at(HI, "POZ"), "З", tags.inputs, putInput);
    forEach(memory, DI, at(DI, "POZ"), "Д", tags.contacts, putContact);
    forEach(memory, DO, at(DO, "POZ"), "К", tags.commands, putCommand);
}

}  // namespace sim

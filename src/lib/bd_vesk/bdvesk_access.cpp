#include <algorithm>
#include <cmath>
#include <cstring>

#include "lib/bd_vesk/bdvesk.h"
#include "lib/bd_vesk/shmfield.h"

// ---- Locating ----------------------------------------------------------------------------------

CTypeVars* CVeskBDSh::getTypeVars(std::uint16_t type) {
    return bd_vs.itemAt(type - 1);
}

/// As getTypeVars, for the eleven types only.
CTypeVars* CVeskBDSh::tableOf(unsigned type) const {
    return tableRow(type) != nullptr ? bd_vs.itemAt(static_cast<int>(type) - 1) : nullptr;
}

BOOL CVeskBDSh::isVariable(SVariable var) {
    const CTypeVars* const table = tableOf(var.type);
    return table != nullptr && var.num <= table->maxnumAt();
}

bool CVeskBDSh::hasAttribute(Address at) const {
    if (tableRow(at.type) == nullptr) return false;
    if (at.type > kDescribedTypeCount) return at.atr == 0;
    return at.atr <= places_[at.type - 1U].size();
}

BOOL CVeskBDSh::isAttribute(SVariable var) {
    return hasAttribute(Address(var));
}

AtrPlace CVeskBDSh::placeOfAttribute(Address at) const {
    const std::size_t type = at.type - 1U;
    const std::size_t index = at.atr - 1U;
    if (type >= places_.size() || index >= places_[type].size()) return {};
    return places_[type][index];
}

TYPE_VAL CVeskBDSh::typeOf(Address at) const {
    if (at.atr != 0) return static_cast<TYPE_VAL>(placeOfAttribute(at).valueType);
    const TableRow* const row = tableRow(at.type);
    return row != nullptr ? row->valueType : none;
}

TYPE_VAL CVeskBDSh::getTypeAtr(SVariable var) {
    return typeOf(Address(var));
}

// ---- Reading -----------------------------------------------------------------------------------

namespace {

inline void readField(const std::uint8_t* field, AtrPlace place, SVal& out) {
    out.type_val = static_cast<TYPE_VAL>(place.valueType);
    if (place.mask != 0)
        out.value.uch = (loadField<std::uint8_t>(field) & place.mask) != 0;
    else
        loadBytes(&out.value, field, place.size);
}

}  // namespace

BOOL CVeskBDSh::read(Address at, SVal* out, Source source) const {
    CTypeVars* const table = tableOf(at.type);
    if (table == nullptr || !hasAttribute(at) || out == nullptr) return 0;
    out->Clear();
    if (at.atr != 0) {
        const auto* const record = static_cast<const std::uint8_t*>(table->getAdrPasp(at.num));
        const AtrPlace place = placeOfAttribute(at);
        if (record != nullptr) readField(record + place.offset, place, *out);
        return 1;
    }
    const BOOL got = source == Source::curVal ? table->getCurVal(at.num, &out->value)
                                              : table->getCurDat(at.num, &out->value);
    if (got) out->type_val = kTables[at.type - 1U].valueType;
    return 1;
}

BOOL CVeskBDSh::getVal(SVariable var, SVal* out) {
    return read(Address(var), out, Source::curVal);
}

BOOL CVeskBDSh::getDat(SVariable var, SVal* out) {
    return read(Address(var), out, Source::curDat);
}

/// All four operations one by one: attribute 0, the types without passports, and before LoadBD.
void CVeskBDSh::readOneByOne(Address at, SReading* out) const {
    out->type_atr = typeOf(at);
    if (!read(at, &out->val, Source::curVal)) out->val.Clear();
    const TQF* const tqf =
        TQGetTQFPointer(static_cast<char>(at.type - 1), static_cast<std::uint16_t>(at.num - 1));
    out->time = timeOf(tqf);
    out->quality = qualityOf(tqf);
}

void CVeskBDSh::Read(std::uint8_t type, std::uint16_t num, std::uint16_t num_atr, SReading* out) {
    const std::uint32_t typeIndex = type - 1U;
    const std::uint32_t attributeIndex = num_atr - 1U;
    if (typeIndex >= readPlans_.size() || attributeIndex >= readPlans_[typeIndex].placeCount) {
        readOneByOne(Address(type, num, num_atr), out);
        return;
    }
    const ReadPlan& plan = readPlans_[typeIndex];
    const std::uint32_t variableIndex = num - 1U;
    const AtrPlace place = plan.places[attributeIndex];
    out->type_atr = static_cast<TYPE_VAL>(place.valueType);
    out->val.Clear();
    if (variableIndex < plan.recordCount) {
        const std::size_t record = std::size_t{variableIndex} * plan.recordSize;
        readField(plan.records + record + place.offset, place, out->val);
    }
    const bool hasTqf =
        variableIndex < plan.tqfCount && variableIndex < loadField<std::uint16_t>(plan.tqfCountNow);
    const TQF* const tqf = hasTqf ? plan.tqf + variableIndex : nullptr;
    out->time = timeOf(tqf);
    out->quality = qualityOf(tqf);
}

// ---- Writing -----------------------------------------------------------------------------------

namespace {

void writeField(std::uint8_t* field, AtrPlace place, const SVal& val) {
    SVal stored(static_cast<TYPE_VAL>(place.valueType));
    stored = val;
    if (place.mask != 0) return storeBits(field, place.mask, stored.value.uch != 0);
    // KEPT: only the first 9 bytes of the 17-byte text are written, though all 17 are read.
    // Required by the interface.
    storeBytes(field, &stored.value, std::min<std::size_t>(place.size, sizeof(stored.value.str9)));
}

}  // namespace

BOOL CVeskBDSh::setDat(SVariable var, SVal val) {
    if (!isVariable(var)) return 0;
    CTypeVars* const table = tableOf(var.type);
    // Types without attributes take any attribute number for the value.
    if (var.num_atr == 0 || var.type > kDescribedTypeCount) {
        SVal stored(kTables[var.type - 1U].valueType);
        stored = val;
        static_cast<void>(
            table->setCurDat(var.num, &stored.value));  // 0 for number 0: no such variable
        return 1;
    }
    auto* const record = static_cast<std::uint8_t*>(table->getAdrPasp(var.num));
    const AtrPlace place = placeOfAttribute(Address(var));
    if (record != nullptr) writeField(record + place.offset, place, val);
    return 1;
}

BOOL CVeskBDSh::setDatScale(SVariable var, SVal val, float low, float high) {
    if (!isVariable(var)) return 0;
    if (var.type != DB_VA || var.num_atr != 0) return 1;
    SVal scaled(type_float);
    scaled = val;
    static_cast<void>(tableOf(var.type)->setCurDatScale(var.num, &scaled.value, low, high));
    return 1;
}

// ---- Change detection --------------------------------------------------------------------------

bool CVeskBDSh::isChanged(std::uint8_t type, const SVal& now, const SVal& last) const {
    if (now.type_val != last.type_val) return true;
    if (std::memcmp(&now.value, &last.value, valueSize(now.type_val)) == 0) return false;
    if (now.type_val != type_float) return true;
    const float aperture = type == DB_VA   ? m_apertures.aperture_VA
                           : type == DB_AV ? m_apertures.aperture_AV
                           : type == DB_HI ? m_apertures.aperture_HI
                                           : 0;
    // Negated, so that a step to or from "not a number" counts as a change.
    return !(std::fabs(now.value.fl - last.value.fl) < aperture);
}

namespace {

/// The attribute whose change decides for an attribute of an analog output; 0: its own.
std::uint16_t judgedBy(SVariable var) {
    if (var.type != DB_AV) return 0;
    return var.num_atr == 21 ? 41 : var.num_atr == 39 ? 40 : 0;
}

}  // namespace

BOOL CVeskBDSh::getChangeVal(SVariable var, SVal* last, SVal* aux) {
    SVal now;
    if (last == nullptr || !getVal(var, &now)) return 0;
    const std::uint16_t related = judgedBy(var);
    if (related == 0 || aux == nullptr) {
        if (!isChanged(var.type, now, *last)) return 0;
        last->Set(now);
        return 1;
    }
    SVal relatedNow;
    if (!getVal({var.type, var.num, related}, &relatedNow)) return 0;
    if (!isChanged(var.type, relatedNow, *aux)) return 0;
    aux->Set(relatedNow);
    last->Set(now);
    return 1;
}

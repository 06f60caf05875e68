#include "jxotr/IHDA_BrowseConfig.h"

#include <memory>
#include <new>
#include <vector>

#include "platform/trends/standin/definitions.h"
#include "platform/trends/standin/places.h"
#include "platform/trends/standin/results.h"

namespace {

using trends::Definitions;

/// The contents of an object's storage: the definitions, read at the first query, and the records
/// of the last answer of each kind.
struct State {
    Definitions definitions;
    bool loaded = false;
    jxo::CTrendsControlSettingsExt system{};
    std::vector<jxo::CPlotterSettingsExt> plotters;
    std::vector<jxo::CPenSettingsExt> pens;
    std::vector<HRESULT> errors;
};

State& stateIn(std::byte* storage) {
    return *std::launder(reinterpret_cast<State*>(storage));
}

bool load(State& state) {
    std::string problem;
    state.definitions = trends::loadDefinitions(trends::definitionsFile(), problem);
    state.loaded = problem.empty();
    return state.loaded;
}

/// Answers a query about several items: a record and an error for each.
/// @param fill  (item, record) -> HRESULT
/// @return the first error of an item
template <class Record, class Fill>
HRESULT answer(State& state, unsigned int itemCount, const OPCHDAITEMDEF* items,
               std::vector<Record>& records, Record** settings, HRESULT** itemErrors, Fill fill) {
    if (itemCount == 0 || items == nullptr || settings == nullptr) return trends::kInvalidArgument;
    if (!state.loaded && !load(state)) return trends::kNoArchive;
    records.assign(itemCount, Record{});
    state.errors.assign(itemCount, trends::kOk);
    HRESULT result = trends::kOk;
    for (unsigned int i = 0; i < itemCount; ++i) {
        state.errors[i] = fill(state.definitions, items[i], records[i]);
        if (result == trends::kOk) result = state.errors[i];
    }
    if (result != trends::kOk) return result;
    *settings = records.data();
    if (itemErrors != nullptr) *itemErrors = state.errors.data();
    return trends::kOk;
}

HRESULT fillPlotter(const Definitions& definitions, const OPCHDAITEMDEF& item,
                    jxo::CPlotterSettingsExt& record) {
    if (item.plotterNum < 1 || item.plotterNum > definitions.plotters.size()) {
        return trends::kUnknownItem;
    }
    record.penCount = definitions.plotters[item.plotterNum - 1].pens.size();
    return trends::kOk;
}

HRESULT fillPen(const Definitions& definitions, const OPCHDAITEMDEF& item,
                jxo::CPenSettingsExt& record) {
    const trends::PenDefinition* pen = definitions.find(item.plotterNum, item.penNum);
    if (pen == nullptr) return trends::kUnknownItem;
    record.valueType = pen->valueType;
    record.variableKind = pen->variableKind;
    record.variableNum = pen->variableNum;
    return trends::kOk;
}

/// Callers do not expect exceptions.
template <class Question>
HRESULT guarded(Question question) noexcept {
    try {
        return question();
    } catch (const std::bad_alloc&) {
        return trends::kOutOfMemory;
    } catch (const std::exception&) {
        return trends::kNoArchive;
    }
}

}  // namespace

IHDA_BrowseConfig::IHDA_BrowseConfig() {
    static_assert(sizeof(State) <= sizeof storage_);
    new (storage_) State;
}

IHDA_BrowseConfig::~IHDA_BrowseConfig() {
    std::destroy_at(&stateIn(storage_));
}

HRESULT IHDA_BrowseConfig::GetConfigAll(bool /*flag*/, jxo::CTrendsControlSettingsExt** settings) {
    return guarded([&] {
        if (settings == nullptr) return trends::kInvalidArgument;
        State& state = stateIn(storage_);
        if (!load(state)) return trends::kNoArchive;
        state.system.plotterCount = state.definitions.plotters.size();
        *settings = &state.system;
        return trends::kOk;
    });
}

HRESULT IHDA_BrowseConfig::GetConfigPlotters(unsigned int itemCount, OPCHDAITEMDEF* items,
                                             bool /*flag*/, jxo::CPlotterSettingsExt** settings,
                                             HRESULT** itemErrors) {
    return guarded([&] {
        State& state = stateIn(storage_);
        return answer(state, itemCount, items, state.plotters, settings, itemErrors, fillPlotter);
    });
}

HRESULT IHDA_BrowseConfig::GetConfigPens(unsigned int itemCount, OPCHDAITEMDEF* items,
                                         jxo::CPenSettingsExt** settings, HRESULT** itemErrors) {
    return guarded([&] {
        State& state = stateIn(storage_);
        return answer(state, itemCount, items, state.pens, settings, itemErrors, fillPen);
    });
}

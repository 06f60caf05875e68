#include "tools/opcuaweb/tree/tree_index.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <unordered_map>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/text/text.h"

namespace tools::opcuaweb {

Asker::Job TreeIndex::job() {
    return [this](Session* session) { return step(session); };
}

Asker::Step TreeIndex::step(Session* session) {
    if (session == nullptr) {
        walk_.reset();
        current_ = false;  // another server may answer next time
        return Asker::Step::later;
    }
    const auto now = Clock::now();
    if (current_ || now < nextTry_) return Asker::Step::later;
    if (!walk_) walk_.emplace("i=85", kMostIndexed);
    if (!walk_->step(*session)) {
        nextTry_ = now + kConnectEvery;  // a server that refuses is not asked all the time
        return Asker::Step::later;
    }
    {
        const std::lock_guard lock(mutex_);
        counted_ = walk_->count();
    }
    if (walk_->isDone()) finish();
    return Asker::Step::again;
}

void TreeIndex::finish() {
    auto made = std::make_shared<TreeRows>();
    made->complete = walk_->isComplete();
    made->rows = walk_->takeRows();
    std::ranges::transform(made->rows, std::back_inserter(made->search), [](const Row& row) {
        return lowered(row.id) + ' ' + lowered(row.item);
    });
    walk_.reset();
    current_ = true;
    const std::lock_guard lock(mutex_);
    rows_ = std::move(made);
}

std::shared_ptr<const TreeRows> TreeIndex::rows() const {
    const std::lock_guard lock(mutex_);
    return rows_;
}

std::size_t TreeIndex::counted() const {
    const std::lock_guard lock(mutex_);
    return counted_;
}

Json TreeIndex::search(const std::string& text, std::size_t limit) const {
    const auto known = rows();
    Json hits = Json::array();
    if (known) {
        std::istringstream stream(lowered(text));
        const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
        for (std::size_t i = 0; i < known->rows.size() && hits.size() < limit; ++i) {
            const Row& row = known->rows[i];
            const bool isHit = std::ranges::all_of(words, [&](const std::string& word) {
                return known->search[i].find(word) != std::string::npos ||
                       row.tag->search.find(word) != std::string::npos;
            });
            if (isHit) hits.push_back(rowJson(row));
        }
    }
    return {{"complete", known && known->complete}, {"hits", std::move(hits)}};
}

namespace {

using NamesByTag = std::unordered_map<std::string, std::string>;

NamesByTag namesByTag(const std::vector<Row>& rows) {
    NamesByTag names;
    for (const Row& row : rows) {
        if (!row.tag->name.empty()) names.emplace(row.tag->tag, row.tag->name);
    }
    return names;
}

/// A pen "R1_P1.VA_6" with the name of the tag that it records, if that is known.
Json penJson(const Row& row, const NamesByTag& names) {
    const auto known = names.find(row.item.substr(row.item.rfind('.') + 1));
    if (known == names.end()) {
        return {{"id", row.id}, {"name", row.item}, {"unit", row.tag->unit}};
    }
    return {
        {"id", row.id}, {"name", row.item + " " + known->second}, {"unit", unitIn(known->second)}};
}

}  // namespace

Json TreeIndex::pens() const {
    const auto known = rows();
    Json plotters = Json::array();
    if (!known) return {{"complete", false}, {"plotters", std::move(plotters)}};
    const NamesByTag names = namesByTag(known->rows);
    const Tag* last = nullptr;
    for (const Row& row : known->rows) {
        if (!row.history) continue;
        if (row.tag.get() != last) {
            last = row.tag.get();
            plotters.push_back({{"id", last->id}, {"name", last->tag}, {"pens", Json::array()}});
        }
        plotters.back()["pens"].push_back(penJson(row, names));
    }
    return {{"complete", known->complete}, {"plotters", std::move(plotters)}};
}

}  // namespace tools::opcuaweb

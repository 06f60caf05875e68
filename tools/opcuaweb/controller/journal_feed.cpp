#include "tools/opcuaweb/controller/journal_feed.h"

#include <algorithm>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/zrtjournal/designations.h"
#include "tools/zrtjournal/live_ring.h"
#include "tools/zrtjournal/message_text.h"
#include "tools/zrtjournal/selection.h"

namespace tools::opcuaweb {

namespace {

std::int64_t timeOf(const SRolMessage& message) {
    return std::int64_t{message.Date.sec} * 1000 + message.Date.msec;
}

Json messageJson(const SRolMessage& message) {
    std::string variable = zrtjournal::variableName(message);
    if (!variable.empty()) {
        const std::string designation = zrtjournal::designationOf(message);
        if (!designation.empty()) variable += " " + zrtjournal::readable(designation);
    }
    const std::string arguments = zrtjournal::argumentList(message);
    return {{"time", timeOf(message)},
            {"dictionary", std::uint32_t{message.DicNumber}},
            {"code", std::uint32_t{message.MessageCode}},
            {"variable", variable},
            {"text",
             {{"ru", zrtjournal::russianText(message).value_or(arguments)},
              {"en", zrtjournal::englishText(message).value_or(arguments)}}}};
}

}  // namespace

JournalFeed::Stamp JournalFeed::stampOf(const SRolMessage& message) {
    const timeval_32 stamp = message.PseudoTimeStamp;
    return {stamp.tv_sec, stamp.tv_usec};
}

void JournalFeed::poll(Browsers& browsers) {
    constexpr std::size_t kShownInOverview = 5;
    const std::lock_guard reading(reading_);
    const zrtjournal::RingCopy copy = zrtjournal::copyRing();
    std::optional<Json> newest;
    if (copy.error == 0) {
        newest = Json::array();
        const auto& messages = copy.messages;
        const std::size_t count = std::min(messages.size(), kShownInOverview);
        std::transform(messages.end() - static_cast<std::ptrdiff_t>(count), messages.end(),
                       std::back_inserter(*newest), messageJson);
        publishNew(copy, browsers);
    } else if (!shown_) {
        shown_ = Stamp{};  // all messages are new when it comes
    }
    const std::lock_guard lock(mutex_);
    newest_ = std::move(newest);
}

void JournalFeed::publishNew(const zrtjournal::RingCopy& copy, Browsers& browsers) {
    // If the journal was created again, its clock may have been set back.
    if (shown_ && ringId_ != -1 && copy.id != ringId_) shown_ = Stamp{};
    ringId_ = copy.id;
    std::vector<Json> fresh;
    for (const SRolMessage& message : copy.messages) {
        if (shown_ && stampOf(message) > *shown_) fresh.push_back(messageJson(message));
    }
    if (!fresh.empty()) browsers.publishMessages(fresh);
    shown_ = copy.messages.empty() ? Stamp{} : stampOf(copy.messages.back());
}

Json JournalFeed::newest() const {
    const std::lock_guard lock(mutex_);
    return newest_.value_or(Json());
}

bool JournalFeed::isCodeList(const std::string& text) {
    zrtjournal::Selection selection;
    return selection.setCodes(text);
}

std::optional<Json> JournalFeed::messages(const Choice& choice) {
    const std::lock_guard reading(reading_);
    zrtjournal::RingCopy copy = zrtjournal::copyRing();
    if (copy.error != 0) return std::nullopt;
    zrtjournal::Selection selection;
    if (!choice.codes.empty()) static_cast<void>(selection.setCodes(choice.codes));
    std::erase_if(copy.messages, [&](const SRolMessage& message) {
        const std::int64_t time = timeOf(message);
        return time < choice.fromMs || time > choice.toMs || !selection.takes(message);
    });
    const std::size_t count = std::min(
        {copy.messages.size(), choice.limit == 0 ? kMostMessages : choice.limit, kMostMessages});
    Json messages = Json::array();
    std::transform(copy.messages.end() - static_cast<std::ptrdiff_t>(count), copy.messages.end(),
                   std::back_inserter(messages), messageJson);
    return Json{{"messages", std::move(messages)}};
}

}  // namespace tools::opcuaweb

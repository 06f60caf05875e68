#include "tools/opcuaweb/api/requests.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/http/parameters.h"

namespace tools::opcuaweb {

Reply journal(Services& services, const httplib::Request& request) {
    if (!services.journal) return kNoJournal;
    JournalFeed::Choice choice;
    const auto from = numberOf(request, "from", choice.fromMs);
    const auto to = numberOf(request, "to", choice.toMs);
    const auto limit = numberOf(request, "limit", 0);
    choice.codes = request.get_param_value("codes");
    const bool isList = choice.codes.empty() || JournalFeed::isCodeList(choice.codes);
    if (!from || !to || !limit || *limit < 0 || !isList) return kBadRequest;
    choice.fromMs = *from;
    choice.toMs = *to;
    choice.limit = static_cast<std::size_t>(*limit);
    auto messages = services.journal->messages(choice);
    if (!messages) return kJournalGone;
    return std::move(*messages);
}

Reply configuration(Services& services, const httplib::Request& /*request*/) {
    if (!services.configuration) return kNoConfiguration;
    auto checked = services.configuration->current();
    if (!checked) return kConfigurationUnreadable;
    return std::move(*checked);
}

Reply checkConfiguration(Services& services, const httplib::Request& request) {
    if (!services.configuration) return kNoConfiguration;
    const Json body = bodyOf(request);
    if (body.is_discarded() || !body.contains("text") || !body["text"].is_string()) {
        return kBadRequest;
    }
    const std::string text = textIn(body, "text");
    if (text.size() > kMostConfiguration) return kTooLarge;
    auto checked = services.configuration->check(text);
    if (!checked) return kInternal;
    return std::move(*checked);
}

}  // namespace tools::opcuaweb

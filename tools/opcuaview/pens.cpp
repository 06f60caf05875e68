#include "tools/opcuaview/pens.h"

#include "tools/client/format.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

std::vector<const Item*> matchingPens(const std::vector<Item>& pens, const std::string& text) {
    const std::string part = lowered(text);
    std::vector<const Item*> matching;
    for (const Item& pen : pens) {
        if (matchesFilter(*pen.id, pen.attribute, part)) matching.push_back(&pen);
    }
    return matching;
}

ExitStatus readPens(Session& session, std::vector<Item>& pens) {
    const UA_StatusCode status = listPens(session, pens);
    if (status == UA_STATUSCODE_GOOD) return kDone;
    say(in({"не удалось прочитать список перьев (", "cannot read the list of pens ("}) +
        formatQuality(status) + ")");
    return kCannotConnect;
}

ExitStatus choosePen(const std::vector<Item>& pens, const std::string& text, const Item*& pen) {
    const auto matching = matchingPens(pens, text);
    pen = matching.size() == 1 ? matching.front() : nullptr;
    if (pen != nullptr) return kDone;
    if (matching.empty()) {
        say(in({"на сервере нет пера с текстом ", "the server has no pen with the text "}) + text);
        return kNoValue;
    }
    say(in({"уточните, перьев несколько с текстом ",
            "be more specific, several pens contain the text "}) +
        text + ":");
    for (const Item* found : matching)
        say("  " + idText(*found->id.get()));
    return kBadUsage;
}

}  // namespace tools::opcuaview

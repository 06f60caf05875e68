#include "tools/opcuaview/report.h"

#include <algorithm>
#include <cstdio>

#include "tools/client/explain.h"
#include "tools/client/format.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

void print(const std::string& line) {
    std::puts(line.c_str());
}

void printAligned(const std::vector<std::vector<std::string>>& rows) {
    std::vector<int> widths;
    for (const auto& row : rows) {
        widths.resize(std::max(widths.size(), row.size()), 0);
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            widths[i] = std::max(widths[i], displayWidth(row[i]));
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            line += fitted(row[i], widths[i]) + "  ";
        print(line + row.back());
    }
}

void addDetails(Json& object, const Details& details) {
    const UA_DataValue& value = *details.value;
    object["value"] = jsonOf(value.value);
    object["type"] = details.typeName.empty() ? Json(nullptr) : Json(details.typeName);
    object["access"] = details.access == 0 ? "" : accessText(details.access);
    object["quality"] = formatQuality(statusOf(value));
    object["sourceTime"] =
        value.hasSourceTimestamp ? Json(isoTime(value.sourceTimestamp)) : Json(nullptr);
    object["serverTime"] =
        value.hasServerTimestamp ? Json(isoTime(value.serverTimestamp)) : Json(nullptr);
}

ExitStatus failed(const Session& session, UA_StatusCode status) {
    const bool lost = !session.isConnected();
    say(session.url() + ": " +
        (lost ? in({"связь потеряна", "the connection was lost"})
              : in({"сервер не выполнил запрос", "the server did not execute the request"})) +
        ": " + explained(status, language()));
    return lost ? kConnectionLost : kNoValue;
}

}  // namespace tools::opcuaview

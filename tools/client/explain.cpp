#include "tools/client/explain.h"

#include <array>

#include "tools/client/format.h"

namespace tools {

std::string explained(UA_StatusCode status, Language language) {
    static constexpr struct {
        UA_StatusCode status;
        Text text;
    } kReasons[] = {
        {UA_STATUSCODE_BADNODEIDUNKNOWN,
         {"такого узла на сервере нет", "the server has no such node"}},
        {UA_STATUSCODE_BADNODEIDINVALID,
         {"такого идентификатора узла не бывает", "this cannot be a node id"}},
        {UA_STATUSCODE_BADATTRIBUTEIDINVALID,
         {"у этого узла нет значения", "this node has no value"}},
        {UA_STATUSCODE_BADNOTREADABLE,
         {"чтение этого узла не разрешено", "this node may not be read"}},
        {UA_STATUSCODE_BADNOTWRITABLE,
         {"запись в этот узел не разрешена", "this node may not be written"}},
        {UA_STATUSCODE_BADUSERACCESSDENIED,
         {"анонимному пользователю это не разрешено", "anonymous users may not do this"}},
        {UA_STATUSCODE_BADTYPEMISMATCH,
         {"сервер ждёт значение другого типа", "the server expects a value of another type"}},
        {UA_STATUSCODE_BADOUTOFRANGE,
         {"сервер не принимает такое значение", "the server does not accept this value"}},
        {UA_STATUSCODE_BADWRITENOTSUPPORTED,
         {"сервер не умеет записывать этот узел", "the server cannot write this node"}},
    };
    std::string code = formatQuality(status);
    for (const auto& reason : kReasons) {
        if (reason.status == (status & 0xFFFF0000U))
            return reason.text.in(language) + " (" + code + ")";
    }
    return code;
}

std::string serverStateName(int state) {
    static constexpr std::array kNames{"Running",  "Failed", "NoConfiguration",    "Suspended",
                                       "Shutdown", "Test",   "CommunicationFault", "Unknown"};
    const auto index = static_cast<std::size_t>(state);
    return state >= 0 && index < kNames.size() ? kNames[index] : std::to_string(state);
}

ServiceHealth healthOf(UA_Byte serviceLevel) {
    if (serviceLevel == 0) return ServiceHealth::maintenance;
    if (serviceLevel == 1) return ServiceHealth::noData;
    return serviceLevel < 200 ? ServiceHealth::degraded : ServiceHealth::healthy;
}

std::string healthText(ServiceHealth health, Language language) {
    static constexpr std::array<Text, 4> kTexts{{
        {"на обслуживании", "in maintenance"},
        {"источник данных недоступен", "the source of the data is unavailable"},
        {"работает с ограничениями", "degraded"},
        {"исправен", "healthy"},
    }};
    return kTexts[static_cast<std::size_t>(health)].in(language);
}

}  // namespace tools

#include "server/diagnostics/MsgHandler.h"

#include "server/diagnostics/VeskkntrReader.h"

MsgHandler::MsgHandler(const std::string& settingsPath)
    : numKontr_(VeskkntrReader().getNumKontr(settingsPath)),
      cycleTimeMs_(VeskkntrReader().getCycleTime(settingsPath)) {}

std::string MsgHandler::getNumContrStroke() const {
    return std::to_string(numKontr_);
}

MsgHandler& getMsgHandler() {
    static MsgHandler handler("/zrt/settings/veskkntr.ini");
    return handler;
}

void useControllerSettings(const std::string& settingsPath) {
    getMsgHandler() = MsgHandler(settingsPath);
}

#pragma once

#include <string>

namespace sim {

/// Bytes (CP866) of the controller's own settings file.
[[nodiscard]] std::string controllerIni(int controllerNumber, int cycleMs);

/// Bytes (CP866) of a configuration of the OPC UA server that publishes the whole plant.
[[nodiscard]] std::string serverIni(int port);

/// Plotters and pens of the trend recorder: settings/trends.ini, CP866.
[[nodiscard]] std::string trendsIni();

/// CycleTime in the text of a veskkntr.ini, ms; `otherwise` when it is missing or out of 10 to
/// 60000.
[[nodiscard]] int cycleTimeOf(const std::string& controllerIniText, int otherwise);

}  // namespace sim

#include "server/history/RTEXContext.h"

RTEXContext RtexContext;

int numberOfNode(const NumberByNode& numbers, std::string_view nodeId) noexcept {
    const auto found = numbers.find(nodeId);
    return found != numbers.end() ? found->second : 0;
}

#include "server/startup/ControllerJournal.h"

ControllerJournal::~ControllerJournal() {
    if (installedEventJournal() == this) static_cast<void>(installEventJournal(nullptr));
}

int ControllerJournal::open() {
    if (const int error = rolling_.Init(); error != kRolDone) return error;
    static_cast<void>(installEventJournal(this));  // the first one of the process
    return kRolDone;
}

namespace {
struct ToRolArg {
    CRolArg operator()(std::int32_t number) const { return CRolArg(number); }
    CRolArg operator()(const std::string& text) const { return CRolArg(text.c_str()); }
};
}  // namespace

void ControllerJournal::post(std::uint32_t number, const std::vector<JournalArgument>& arguments) {
    if (rolling_.IniFileSettings == nullptr) return;  // closed
    constexpr signed char kNoVariableType = -1;
    constexpr short kNoVariable = -1;
    // The texts are not copied: `arguments` keeps them until the message is posted.
    std::vector<CRolArg> list;
    list.reserve(arguments.size() + 1);
    for (const JournalArgument& argument : arguments)
        list.push_back(std::visit(ToRolArg{}, argument));
    list.emplace_back(RT_END);
    // The journal reports a refusal on standard output; the server continues either way.
    static_cast<void>(rolling_.VeskolMessage(rolling_.IniFileSettings->SysDict, number,
                                             kNoVariableType, kNoVariable, list.data()));
}

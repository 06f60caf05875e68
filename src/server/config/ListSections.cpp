#include "server/config/ListSections.h"

#include <algorithm>
#include <cstdio>

#include "server/config/IntegerText.h"
#include "server/config/SectionNames.h"

ListSections& ListSections::getInstance() {
    static ListSections schema;
    return schema;
}

void ListSections::addSection(const std::string& section,
                              const std::vector<std::string>& parameters) {
    sections_[section] = parameters;
}

void ListSections::addParam(const std::string& section, const std::string& parameter) {
    sections_[section].push_back(parameter);
}

bool ListSections::hasSection(const std::string& name) const {
    for (const auto numbered : {kPlotterSection, kGroupSection}) {
        const auto at = name.find(numbered);
        if (at != std::string::npos) return startsWithInteger(name.substr(at + numbered.size()));
    }
    return sections_.count(name) != 0;
}

bool ListSections::hasParam(const std::string& section, const std::string& key) const {
    return (isEntryKey(key) && !holdsPlotter(section)) ||
           declares(std::string(schemaNameOf(section)), key);
}

void ListSections::PrintAll() const {
    for (const auto& [section, parameters] : sections_) {
        std::printf("[%s]\n", section.c_str());
        for (const auto& parameter : parameters) {
            std::printf("  %s\n", parameter.c_str());
        }
    }
}

void ListSections::RemoveCommentsFromValuesSimple() {
    for (auto& [section, parameters] : sections_) {
        for (auto& parameter : parameters) {
            parameter = parameter.substr(0, parameter.find_first_of(";:"));
        }
    }
}

bool ListSections::declares(const std::string& section, const std::string& parameter) const {
    const auto found = sections_.find(section);
    if (found == sections_.end()) return false;
    return std::find(found->second.begin(), found->second.end(), parameter) != found->second.end();
}

void declareSchema(ListSections& schema) {
    schema.addSection(std::string(kGeneralSection),
                      {"AplicationName",  // spelled so in the files
                       "Work_mode", "ServerPort", "SamplingInterval", "OperativeData",
                       "HistoricalData", "CountHistoryTrends"});
    schema.addSection(std::string(kAccessSection),
                      {"Node_IPn", "Path_to_keys", "SecurityMode", "SecurityPolicy"});
    schema.addSection(std::string(kFlatSection), {"AccessUserN"});
    schema.addSection(std::string(kGroupSection), {"Name", "AccessUserN"});
    for (const std::string_view key : kTagListKeys) {
        schema.addParam(std::string(kFlatSection), std::string(key));
        schema.addParam(std::string(kGroupSection), std::string(key));
    }
    schema.addSection(std::string(kPlotterSchema), {"Name", "AccessUserN", "Pens"});
}

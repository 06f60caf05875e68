#include "tools/client/labels.h"

#include <open62541/types_generated.h>

#include "server/opcua/UaView.h"
#include "tools/text/text.h"

namespace tools {

namespace {

struct LabelName {
    std::string_view name;  // lower case
    Label label;
};

constexpr LabelName kLabelNames[] = {
    {"позиция", Label::designation},
    {"обозначение", Label::designation},
    {"designation", Label::designation},
    {"имя", Label::name},
    {"название", Label::name},
    {"наименование", Label::name},
    {"описание", Label::name},
    {"name", Label::name},
    {"description", Label::name},
    {"единица", Label::unit},
    {"единица измерения", Label::unit},
    {"размерность", Label::unit},
    {"unit", Label::unit},
    {"units", Label::unit},
};

}  // namespace

Label labelOf(std::string_view displayName) {
    std::string name = lowered(displayName);
    name.erase(name.find_last_not_of("0123456789") + 1);
    for (const LabelName& row : kLabelNames) {
        if (row.name == name) return row.label;
    }
    return Label::none;
}

std::string plantText(const UA_DataValue& data) {
    std::string_view text;
    if (UA_Variant_hasScalarType(&data.value, &UA_TYPES[UA_TYPES_STRING])) {
        text = textOf(*static_cast<const UA_String*>(data.value.data));
    } else if (UA_Variant_hasScalarType(&data.value, &UA_TYPES[UA_TYPES_LOCALIZEDTEXT])) {
        text = textOf(static_cast<const UA_LocalizedText*>(data.value.data)->text);
    } else if (UA_Variant_hasScalarType(&data.value, &UA_TYPES[UA_TYPES_EUINFORMATION])) {
        text = textOf(static_cast<const UA_EUInformation*>(data.value.data)->displayName.text);
    }
    std::string result = printable(text);
    result.erase(result.find_last_not_of(' ') + 1);
    result.erase(0, result.find_first_not_of(' '));
    return result;
}

}  // namespace tools

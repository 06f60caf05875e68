#include <algorithm>
#include <array>

#include "tools/opcuacheck/tree_exports.h"

namespace tools::opcuacheck {

namespace {

constexpr char kFirstPrintable = ' ';

bool isXmlSpace(char c) {
    return c == '\t' || c == '\n' || c == '\r';
}

/// The text for an element or an attribute. White space becomes a reference, because a parser would
/// otherwise make blanks of it.
std::string xmlText(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                if (isXmlSpace(c)) {
                    escaped += "&#" + std::to_string(c) + ";";
                } else {
                    escaped += c;
                }
        }
    }
    return escaped;
}

/// How a node of each NodeKind appears; those that follow are never certain.
struct Form {
    const char* element;
    const char* typeDefinition;
    const char* reference;  ///< from the parent
    const char* locale;
};
constexpr auto kForms = std::to_array<Form>({
    {"UAObject", "i=61", "Organizes", "en-US"},
    {"UAObject", "i=58", "HasComponent", "ru-RU"},
    {"UAVariable", "i=63", "HasComponent", "ru-RU"},
});

/// In the file, the namespaces of NamespaceUris are numbered from 1.
std::string fileId(const std::string& id) {
    return id == kObjectsFolder ? id : xmlText("ns=1;" + id);
}

void writeText(std::ostream& out, const char* element, const char* locale,
               const std::string& text) {
    out << "    <" << element << " Locale=\"" << locale << "\">" << xmlText(text) << "</" << element
        << ">\n";
}

void writeNode(std::ostream& out, const TreeNode& node) {
    const Form& form = kForms.at(static_cast<std::size_t>(node.kind));
    out << "  <" << form.element << " NodeId=\"" << fileId(node.id)
        << "\" BrowseName=\"1:" << xmlText(node.name) << "\" ParentNodeId=\""
        << fileId(node.parentId) << '"';
    if (node.kind == NodeKind::item) {
        const int level = (node.access.find('R') != std::string::npos ? 1 : 0) +
                          (node.access.find('W') != std::string::npos ? 2 : 0);
        out << " DataType=\"BaseDataType\" ValueRank=\"-2\" AccessLevel=\"" << level
            << "\" UserAccessLevel=\"" << level << "\" Historizing=\"false\"";
    }
    out << ">\n";
    writeText(out, "DisplayName", form.locale, node.name);
    const std::string description = descriptionOf(node);
    if (!description.empty()) writeText(out, "Description", form.locale, description);
    out << "    <References>\n"
        << "      <Reference ReferenceType=\"HasTypeDefinition\">" << form.typeDefinition
        << "</Reference>\n"
        << "      <Reference ReferenceType=\"" << form.reference << "\" IsForward=\"false\">"
        << fileId(node.parentId) << "</Reference>\n"
        << "    </References>\n"
        << "  </" << form.element << ">\n";
}

}  // namespace

bool fitsXml(const TreeNode& node) {
    return std::ranges::none_of(node.id + node.name, [](char c) {
        return static_cast<unsigned char>(c) < kFirstPrintable && !isXmlSpace(c);
    });
}

void writeNodeSet(std::ostream& out, const std::vector<TreeNode>& tree) {
    out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
           "<!-- Written by opcuacheck. -->\n"
           "<UANodeSet xmlns=\"http://opcfoundation.org/UA/2011/03/UANodeSet.xsd\">\n"
           "  <NamespaceUris>\n    <Uri>"
        << kNamespaceUri << "</Uri>\n  </NamespaceUris>\n  <Models>\n    <Model ModelUri=\""
        << kNamespaceUri
        << "\" />\n  </Models>\n"
           "  <Aliases>\n"
           "    <Alias Alias=\"BaseDataType\">i=24</Alias>\n"
           "    <Alias Alias=\"Organizes\">i=35</Alias>\n"
           "    <Alias Alias=\"HasTypeDefinition\">i=40</Alias>\n"
           "    <Alias Alias=\"HasComponent\">i=47</Alias>\n"
           "  </Aliases>\n";
    for (const TreeNode& node : tree) {
        writeNode(out, node);
    }
    out << "</UANodeSet>\n";
}

}  // namespace tools::opcuacheck

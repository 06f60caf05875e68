#include <algorithm>
#include <array>
#include <cstdio>

#include "tools/opcuacheck/rules.h"
#include "tools/opcuacheck/tree_exports.h"

namespace tools::opcuacheck {

namespace {

/// Values of one plugin, which reads all of them in one request and has a session of its own. The
/// server takes twice as many in a request (docs/limits.md), but long names make it too long.
constexpr std::size_t kMostValues = 5000;

/// A TOML string. Telegraf puts environment variables into strings too, where "$$" is a dollar.
std::string tomlText(std::string_view text) {
    std::string escaped = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            escaped += '\\';
            escaped += c;
        } else if (c == '$') {
            escaped += "$$";
        } else if (byte < ' ' || byte == 0x7F) {
            std::array<char, sizeof("\\u0000")> code{};
            static_cast<void>(std::snprintf(code.data(), code.size(), "\\u%04X", byte));
            escaped += code.data();
        } else {
            escaped += c;
        }
    }
    return escaped + '"';
}

/// "VA", "RVS": an attribute has the same type in all tags of a type, so that a field of a
/// measurement has one type, as time-series databases require.
std::string measurementOf(const TreeNode& node) {
    const std::string_view folder = node.type->folderName;
    return std::string(folder.substr(folder.find('_') + 1));
}

/// Telegraf refuses an empty name, and adds a field "Quality" of its own.
std::string fieldOf(const TreeNode& node) {
    if (!node.name.empty() && node.name != "Quality") return node.name;
    return node.name + "A" + std::to_string(node.attribute);
}

bool isReadable(const TreeNode& node) {
    return node.kind == NodeKind::item && node.access.find('R') != std::string::npos;
}

constexpr Text kHead{
    "# Записано программой opcuacheck для входа OPC UA сборщика Telegraf. Значений: {0}.\n"
    "# Замените CONTROLLER: в endpoint — адресом контроллера, в tags — его именем.\n",
    "# Written by opcuacheck for the OPC UA input of Telegraf. Values: {0}.\n"
    "# Replace CONTROLLER: in the endpoint by the controller's address, in the tags by its "
    "name.\n"};

/// {0}: the port; {1}, {2}: the texts below
constexpr std::string_view kPlugin = R"(
[[inputs.opcua]]
  endpoint = "opc.tcp://CONTROLLER:{0}"
  security_policy = "None"
  security_mode = "None"
  auth_method = "Anonymous"
  certificate = ""
  private_key = ""
  # {1}
  timestamp = "source"
  precision = "1us"

  [inputs.opcua.tags]
    controller = "CONTROLLER"

  # {2}
  [inputs.opcua.workarounds]
    additional_valid_status_codes = ["0x480", "0x40000000", "0x40000480", "0x80000000", "0x80000480"]
)";
constexpr Text kSourceTime{
    "Время значения — то, которое даёт контроллер; без precision оно округляется до секунд.",
    "The time of a value is the controller's; without a precision it is rounded to seconds."};
constexpr Text kQualities{
    "Собирать и неопределённые, и плохие значения, и те, перед которыми другие пропали (480):\n"
    "  # качество — в поле Quality.",
    "Collect uncertain and bad values too, and those before which others were lost (480): their\n"
    "  # quality is in the field Quality."};

/// Shows whether values that no longer change are steady, or their database has ended:
/// docs/operation.md. {0}: the text below
constexpr std::string_view kServiceLevelNode = R"(
  # {0}
  [[inputs.opcua.nodes]]
    name = "ServiceLevel"
    namespace = "0"
    identifier_type = "i"
    identifier = "2267"
)";
constexpr Text kServiceLevel{
    "255, или 1, если база контроллера завершилась и значения больше не меняются.",
    "255, or 1 when the controller's database has ended and values no longer change."};

class Writer {
  public:
    Writer(std::ostream& out, int port, Language language)
        : out_(out), port_(port), language_(language) {}

    void write(const std::vector<TreeNode>& tree) {
        Paths paths;
        for (auto node = tree.begin(); node != tree.end(); ++node) {
            const std::string& path = paths.of(*node);
            if (node->kind != NodeKind::tag) continue;
            const auto end = std::find_if_not(
                node + 1, tree.end(), [](const TreeNode& n) { return n.kind == NodeKind::item; });
            const auto values = std::count_if(node + 1, end, isReadable);
            if (values == 0) continue;
            addTag(*node, path.substr(0, path.rfind('/')), static_cast<std::size_t>(values));
            std::for_each(node + 1, end, [this](const TreeNode& item) {
                if (isReadable(item)) addItem(item);
            });
        }
    }

  private:
    void addTag(const TreeNode& tag, const std::string& folder, std::size_t values) {
        if (values_ == 0 || values_ + values > kMostValues) beginPlugin();
        values_ += values;
        out_ << "\n  [[inputs.opcua.group]]\n    name = " << tomlText(measurementOf(tag))
             << "\n    namespace = \"" << kNamespaceIndex
             << "\"\n    identifier_type = \"s\"\n    default_tags = { path = " << tomlText(folder)
             << ", tag = " << tomlText(tag.name) << " }\n";
    }

    void addItem(const TreeNode& item) {
        out_ << "    [[inputs.opcua.group.nodes]]\n      name = " << tomlText(fieldOf(item))
             << "\n      identifier = " << tomlText(item.id.substr(item.id.find('=') + 1))
             << "\n      default_tags = { attribute = \"" << item.attribute << "\" }\n";
    }

    void beginPlugin() {
        out_ << filled(kPlugin, {std::to_string(port_), in(kSourceTime), in(kQualities)});
        if (values_ == 0) out_ << filled(kServiceLevelNode, {in(kServiceLevel)});
        values_ = 0;
    }

    std::string in(const Text& text) const { return std::string(text.in(language_)); }

    std::ostream& out_;
    int port_;
    Language language_;
    std::size_t values_ = 0;  // of the current plugin
};

}  // namespace

void writeTelegraf(std::ostream& out, const std::vector<TreeNode>& tree, int port,
                   Language language) {
    out << filled(kHead.in(language), {std::to_string(std::ranges::count_if(tree, isReadable))});
    Writer(out, port, language).write(tree);
}

}  // namespace tools::opcuacheck

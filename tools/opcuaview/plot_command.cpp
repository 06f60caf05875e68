#include "tools/opcuaview/plot_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "server/opcua/UaView.h"
#include "tools/client/details.h"
#include "tools/client/format.h"
#include "tools/client/json.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/history.h"
#include "tools/opcuaview/history_reader.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/pens.h"
#include "tools/opcuaview/picture_file.h"
#include "tools/opcuaview/plot.h"
#include "tools/opcuaview/report.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

// ---- Pens ---------------------------------------------------------------------------------------

namespace {

/// Finds the pens that were asked for, in the order of the command line; a pen that was named twice comes
/// once.
class PenChoice {
  public:
    PenChoice(Session& session, const PlotOptions& options)
        : session_(session), options_(options) {}

    /// @param pens  the name of what is above a pen, its own name and its node
    [[nodiscard]] ExitStatus find(std::vector<Item>& pens) {
        std::vector<Item> all;
        // Another server would have to be searched completely for nothing.
        if (!options_.pens.empty() || session_.controllerNamespace() != 0) {
            const ExitStatus status = readPens(session_, all);
            if (status != kDone) return status;
        }
        for (const std::string& text : options_.pens) {
            const Item* pen = nullptr;
            const ExitStatus status = choosePen(all, text, pen);
            if (pen == nullptr) return status;
            add(pens, *pen->id, pen->tag, pen->attribute);
        }
        for (const std::string& text : options_.nodes) {
            NodeId id;
            // The text was already checked when the command line was parsed.
            static_cast<void>(UA_NodeId_parse(id.get(), uaView(text)));
            const auto pen = std::find_if(all.begin(), all.end(), [&](const Item& item) {
                return UA_NodeId_equal(item.id.get(), id.get());
            });
            const bool listed = pen != all.end();
            add(pens, *id, listed ? pen->tag : "", listed ? pen->attribute : displayName(*id));
        }
        return kDone;
    }

  private:
    static void add(std::vector<Item>& pens, const UA_NodeId& id, const std::string& plotter,
                    const std::string& name) {
        const bool known = std::any_of(pens.begin(), pens.end(), [&](const Item& pen) {
            return UA_NodeId_equal(pen.id.get(), &id);
        });
        if (!known) pens.push_back({NodeId::copyOf(id), plotter, name});
    }

    [[nodiscard]] std::string displayName(const UA_NodeId& id) {
        std::vector<DataValue> names;
        const bool read =
            session_.read({&id}, UA_ATTRIBUTEID_DISPLAYNAME, names) == UA_STATUSCODE_GOOD &&
            !names.empty() && hasValue(*names.front());
        return read ? formatValue(names.front()->value) : idText(id);
    }

    Session& session_;
    const PlotOptions& options_;
};

/// The units of the nodes, empty where the server has none.
std::vector<std::string> readUnits(Session& session, const std::vector<Item>& pens) {
    std::vector<std::string> units(pens.size());
    std::vector<const UA_NodeId*> ids;
    ids.reserve(pens.size());
    for (const Item& pen : pens)
        ids.push_back(pen.id.get());
    std::vector<std::vector<Child>> children;
    if (session.browse(ids, children) != UA_STATUSCODE_GOOD) return units;
    for (std::size_t i = 0; i < children.size(); ++i) {
        for (const Child& child : children[i]) {
            std::vector<DataValue> values;
            if (!child.isUnit) continue;
            if (session.read({child.id.get()}, UA_ATTRIBUTEID_VALUE, values) == UA_STATUSCODE_GOOD)
                units[i] = unitText(values.front()->value);
        }
    }
    return units;
}

}  // namespace

// ---- The command --------------------------------------------------------------------------------

namespace {

class PlotCommand {
  public:
    explicit PlotCommand(const PlotOptions& options)
        : options_(options),
          session_(options.server.url),
          range_(timeRange(options.time, UA_DateTime_now())) {}

    ExitStatus run() {
        if (range_.from >= range_.to) {
            say(in({"начало не раньше конца: ", "the begin is not before the end: "}) +
                formatTime(range_.from) + " — " + formatTime(range_.to));
            return kBadUsage;
        }
        if (!options_.out.empty()) {
            const std::string problem = folderProblem(options_.out);
            if (!problem.empty()) return cannotWrite(problem), kBadUsage;
        }
        catchStopSignals();
        if (!connect(session_, options_.server.waitSeconds, kNoConnection)) return kCannotConnect;
        ExitStatus status = PenChoice{session_, options_}.find(pens_);
        if (status == kDone) status = readAll();
        if (!hasValues()) return status == kDone ? kNoValue : status;
        const ExitStatus shown = show();
        return shown != kDone ? shown : status;
    }

  private:
    /// What was read before reading ended early is drawn too.
    ExitStatus readAll() {
        const std::vector<std::string> units = readUnits(session_, pens_);
        HistoryReader reader{session_, options_.server.waitSeconds};
        for (std::size_t i = 0; i < pens_.size(); ++i) {
            const Item& pen = pens_[i];
            chart_.curves.push_back({pen.attribute, pen.tag, units[i], {}});
            auto& values = chart_.curves.back().values;
            const ExitStatus status = reader.read(
                *pen.id, range_, pens_.size() > 1 ? pen.attribute : std::string{},
                [&](const auto& more) { values.insert(values.end(), more.begin(), more.end()); });
            if (status == kConnectionLost || stopRequested()) return status;
            if (status == kIncomplete) incomplete_ = true;
        }
        return incomplete_ ? kIncomplete : kDone;
    }

    [[nodiscard]] bool hasValues() const {
        return std::any_of(chart_.curves.begin(), chart_.curves.end(),
                           [](const ChartCurve& curve) { return !curve.values.empty(); });
    }

    ExitStatus show() {
        if (options_.server.json) printJson();
        if (!options_.out.empty()) return drawFile();
        if (!options_.server.json) drawInTerminal();
        std::fflush(stdout);
        return kDone;
    }

    void printJson() const {
        Json pens = Json::array();
        for (std::size_t i = 0; i < chart_.curves.size(); ++i) {
            const ChartCurve& curve = chart_.curves[i];
            Json values = Json::array();
            for (const HistoryValue& value : curve.values)
                values.push_back(historyJson(value));
            pens.push_back({{"id", idText(*pens_[i].id)},
                            {"name", curve.name},
                            {"parent", curve.group},
                            {"unit", curve.unit},
                            {"values", std::move(values)}});
        }
        print(jsonLine({{"from", isoTime(range_.from)},
                        {"to", isoTime(range_.to)},
                        {"pens", std::move(pens)}}));
    }

    // ---- As a picture ---------------------------------------------------------------------------

    /// The plotters' names; without any, the pens'.
    [[nodiscard]] std::string title() const {
        if (!options_.title.empty()) return printable(options_.title);
        std::vector<std::string> names;
        for (const ChartCurve& curve : chart_.curves) {
            const std::string& name = curve.group.empty() ? curve.name : curve.group;
            if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
        }
        std::string text;
        for (const std::string& name : names)
            text += (text.empty() ? "" : ", ") + name;
        return text;
    }

    ExitStatus drawFile() {
        chart_.title = title();
        chart_.from = range_.from;
        chart_.to = range_.to;
        chart_.language = language();
        std::string picture;
        std::string problem =
            drawChart(chart_, pictureFormat(options_.out).value_or(PictureFormat::svg),
                      options_.size, picture);
        if (problem.empty()) problem = writePicture(options_.out, picture);
        if (!problem.empty()) return cannotWrite(problem), kNotWritten;
        say(in({"записан график: ", "the plot is written: "}) + options_.out);
        return kDone;
    }

    void cannotWrite(const std::string& problem) const {
        say(in({"не записать ", "cannot write "}) + options_.out + ": " + problem);
    }

    // ---- In the terminal ------------------------------------------------------------------------

    void drawInTerminal() const {
        const TerminalSize size = isTerminal() ? terminalSize() : TerminalSize{24, 80};
        const int share = (size.rows - 2) / static_cast<int>(chart_.curves.size());
        const int rows = std::clamp(share - 1, 7, 24);
        print(formatTime(range_.from) + " — " + formatTime(range_.to));
        for (const ChartCurve& curve : chart_.curves) {
            std::string heading = curve.name;
            for (const std::string& detail : {curve.group, curve.unit, rangeText(curve.values)})
                if (!detail.empty()) heading += "   " + detail;
            print(heading);
            if (curve.values.empty()) continue;
            for (const std::string& line :
                 plot(curve.values, range_.from, range_.to, rows, std::max(size.columns, 30)))
                print(line);
        }
    }

    const PlotOptions& options_;
    Session session_;
    TimeRange range_;
    std::vector<Item> pens_;
    Chart chart_;
    bool incomplete_ = false;
};

}  // namespace

ExitStatus plotHistories(const PlotOptions& options) {
    return PlotCommand{options}.run();
}

// ---- The command line ---------------------------------------------------------------------------

namespace {

CLI::Validator pictureName() {
    return {[](std::string& text) -> std::string {
                if (pictureFormat(text)) return {};
                return "\"" + text + in({"\" — ни .svg, ни .png", "\" is neither .svg nor .png"});
            },
            {}};
}

CLI::Validator sizeText() {
    return {[](std::string& text) -> std::string {
                if (parseSize(text)) return {};
                return "\"" + text +
                       in({"\" — не размер вида 1200x600, от 400x250 до 8000x8000",
                           "\" is no size like 1200x600, from 400x250 to 8000x8000"});
            },
            {}};
}

void addPictureOptions(CLI::App& command, PlotOptions& options) {
    CLI::Option* out = command.add_option(
        "--out", options.out,
        in({"Записать картинку, .svg или .png, вместо графика в терминале",
            "Write a picture, .svg or .png, instead of plotting in the terminal"}));
    out->check(pictureName())->type_name(in({"ФАЙЛ", "FILE"}));
    command
        .add_option_function<std::string>(
            "--size",
            [&options](const std::string& text) {
                options.size = parseSize(text).value_or(options.size);
            },
            in({"Размер картинки, иначе 1200x600", "Size of the picture, 1200x600 by default"}))
        ->check(sizeText())
        ->type_name(in({"ШxВ", "WxH"}))
        ->needs(out);
    command
        .add_option("--title", options.title,
                    in({"Заголовок картинки; иначе имена плоттеров",
                        "Title of the picture; the plotters' names by default"}))
        ->type_name(in({"ТЕКСТ", "TEXT"}))
        ->needs(out);
}

}  // namespace

void addPlotCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<PlotOptions>();
    CLI::App& command = addServerCommand(line, "plot",
                                         {"Рисует истории перьев в терминале или в файл",
                                          "Draws histories of pens in the terminal or into a file"},
                                         options->server);
    CLI::Option* pens = command.add_option(
        "--pen", options->pens,
        in({"Перо, в чьём идентификаторе узла или имени есть этот текст; можно повторять",
            "A pen whose node id or name contains this text; can be repeated"}));
    pens->type_name(in({"ТЕКСТ", "TEXT"}))->expected(1)->take_all();
    CLI::Option* nodes =
        command.add_option("--node", options->nodes,
                           in({"Узел с историей, \"ns=2;s=...\"; можно повторять",
                               "A node with a history, \"ns=2;s=...\"; can be repeated"}));
    nodes->check(nodeIdText())->type_name(in({"УЗЕЛ", "NODE"}))->expected(1)->take_all();
    addTimeOptions(command, options->time);
    addPictureOptions(command, *options);
    command.callback([options, pens, nodes, &status] {
        const std::size_t count = pens->count() + nodes->count();
        if (count == 0 || count > kMostCurves) {
            throw CLI::ValidationError(
                "plot",
                in({"укажите от 1 до 8 перьев: --pen или --node (перечень — history --list)",
                    "name 1 to 8 pens with --pen or --node (history --list lists them)"}));
        }
        status = plotHistories(*options);
    });
}

}  // namespace tools::opcuaview

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/opcuaview/reading.h"
#include "tools/text/language.h"

/// The rows of the live table: what they are sorted, filtered and marked by. No terminal, no server.
namespace tools::opcuaview {

using Clock = std::chrono::steady_clock;

/// One variable.
struct Row {
    std::string tag;
    std::string name;  ///< of the tag, in the plant's words; empty if the server has none
    std::string attribute;
    std::string unit = {};     ///< of the variable itself
    std::string tagUnit = {};  ///< of its tag, which applies to floating-point values only
    std::string nodeId = {};
    Reading reading = {};
    bool wasRead = false;
    std::size_t changes = 0;           ///< of value or quality since the program began
    Clock::time_point changedAt = {};  ///< of the last one
    std::string searchable = {};       ///< see makeSearchable()

    [[nodiscard]] const std::string& shownUnit() const {
        return unit.empty() && reading.isFloating ? tagUnit : unit;
    }
};

/// Prepares the row for filters; call it again after a change of its texts.
void makeSearchable(Row& row);

/// Takes over a reading; the first one is no change.
void update(Row& row, Reading reading, Clock::time_point now);

/// The columns in the order in which they are shown.
enum class Column { tag, name, attribute, value, unit, quality, age, changes };
inline constexpr int kColumnCount = 8;

struct Order {
    std::optional<Column> column;  ///< none: as the server was browsed
    bool reversed = false;

    bool operator==(const Order&) const = default;

    /// Whether the order depends on what is read.
    [[nodiscard]] bool isLive() const { return column && *column >= Column::value; }
};

/// The order by the next column; after the last one that of the server.
[[nodiscard]] Order nextOrder(const Order& order);

/// The indexes of the rows that the filter leaves, sorted: numbers in names by their value, numbers
/// before texts, the worst quality, the oldest and the most changed first. What has nothing in the
/// column comes last even in reverse.
/// @param filter  words separated by blanks, each of which the tag, its name, the attribute, the
///                unit or the node id must contain; case is ignored
[[nodiscard]] std::vector<std::size_t> chosenRows(const std::vector<Row>& rows,
                                                  std::string_view filter, const Order& order);

enum class Mark { none, old, uncertain, bad };

/// @param now      on the server's clock
/// @param oldAfter age from which a value is old, 100 ns ticks; 0: none is
[[nodiscard]] Mark markOf(const Reading& reading, UA_DateTime now, UA_DateTime oldAfter);

/// The sign that shows the mark without colours.
[[nodiscard]] char signOf(Mark mark);

/// "12 s", "5 min", "3 h", "17 d", in the operator's language; "—" without a source time.
[[nodiscard]] std::string ageText(const Reading& reading, UA_DateTime now, Language language);

}  // namespace tools::opcuaview

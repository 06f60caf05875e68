#include "server/kinds/AccessTables.h"

#include <initializer_list>

namespace {

struct NumberRange {
    int first;
    int last;
};

/// Attribute 1 is read-only everywhere; the rest can be written.
AccessTable accessTable(std::initializer_list<NumberRange> ranges) {
    AccessTable table;
    for (const auto& [first, last] : ranges) {
        for (int number = first; number <= last; ++number) {
            table.emplace(number, number == 1 ? Access::read : Access::readWrite);
        }
    }
    return table;
}

}  // namespace

const AccessTable tableAccessesVA = accessTable({{1, 26}, {28, 35}, {38, 62}});
const AccessTable tableAccessesVD = accessTable({{1, 27}, {29, 41}});
const AccessTable tableAccessesDV = accessTable({{1, 17}, {19, 23}, {32, 48}});
// KEPT: 94 is not exportable for AV, though its neighbours are. Required by the interface; do not
// add it.
const AccessTable tableAccessesAV = accessTable({{1, 7},
                                                 {20, 41},
                                                 {44, 45},
                                                 {48, 49},
                                                 {52, 52},
                                                 {59, 67},
                                                 {69, 72},
                                                 {75, 93},
                                                 {95, 96},
                                                 {107, 107}});
const AccessTable tableAccessesRV = accessTable({{1, 10}, {12, 18}});

// Classes: 1 common to all layouts of a manual input, 2 number, 3 logical, 4 string.
const std::map<int, int> tableAcessesAttrByType = {
    {1, 1},  {2, 1},  {3, 1},  {4, 1},  {5, 2},  {6, 2},  {7, 2},  {8, 2},  {9, 2},
    {10, 1}, {11, 1}, {12, 4}, {13, 1}, {14, 3}, {15, 3}, {16, 3}, {17, 3}, {18, 3},
};

bool barredForRVL(int attributeNumber) {
    const auto entry = tableAcessesAttrByType.find(attributeNumber);
    return entry != tableAcessesAttrByType.end() && entry->second != 1 && entry->second != 3;
}

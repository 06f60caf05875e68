#include "server/kinds/HidenAttr.h"

bool HidenAttr::checkStatusAttr(int attributeNumber, const AccessTable& table) {
    return table.contains(attributeNumber);
}

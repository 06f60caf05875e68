#include "server/attributes/HidenAttr.h"

bool HidenAttr::checkStatusAttr(int attributeNumber, const AccessTable& table) {
    return table.contains(attributeNumber);
}

#include "server/kinds/Kinds.h"

const PublishedType* findPublishedType(int type, int rvType) {
    for (const PublishedType& row : kPublishedTypes) {
        if (static_cast<int>(row.kind) == type && row.rvType == rvType) return &row;
    }
    return nullptr;
}

#include "server/kinds/PublishedType.h"

// clang-format off
constinit const std::array<PublishedType, 7> kPublishedTypes{{
    {VariableType::AV, 0,  2, "3_AV",   ".3_AV.",   "Type3.",  tableAccessesAV},
    {VariableType::VA, 0,  1, "1_VA",   ".1_VA.",   "Type1.",  tableAccessesVA},
    {VariableType::DV, 0,  5, "4_DV",   ".4_DV.",   "Type4.",  tableAccessesDV},
    {VariableType::VD, 0,  4, "2_VD",   ".2_VD.",   "Type2.",  tableAccessesVD},
    {VariableType::RV, 0,  9, "50_RVV", ".50_RVV.", "Type50.", tableAccessesRV},
    {VariableType::RV, 1, 10, "51_RVS", ".51_RVS.", "Type51.", tableAccessesRV},
    {VariableType::RV, 2, 11, "52_RVL", ".52_RVL.", "Type52.", tableAccessesRV},
}};
// clang-format on

const PublishedType* findPublishedType(int type, int rvType) {
    for (const PublishedType& row : kPublishedTypes) {
        if (static_cast<int>(row.kind) == type && row.rvType == rvType) return &row;
    }
    return nullptr;
}

#pragma once

#include <map>
#include <string>

/// Attribute number -> right text: "R" read only, "W" write only, "RW" both.
/// An attribute that a table does not hold cannot be exported at all.
using AccessTable = std::map<int, std::string>;

// Built before main runs, never changed. docs/configuration.md shows them to engineers.
extern const AccessTable tableAccessesVA;
extern const AccessTable tableAccessesVD;
extern const AccessTable tableAccessesDV;
extern const AccessTable tableAccessesAV;
extern const AccessTable tableAccessesRV;

/// Attribute number of a logical manual input (RVL) -> class of the attribute. Only the classes 1
/// and 3 can be exported. The spelling of the name is meant: other programs of the controller use
/// it.
extern const std::map<int, int> tableAcessesAttrByType;

/// Whether the class table bars this attribute from RVL; numbers that it does not hold are not
/// barred.
bool barredForRVL(int attributeNumber);

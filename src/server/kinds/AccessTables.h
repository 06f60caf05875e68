#pragma once

#include <map>
#include <string>

/// Attribute number -> right text: "R" read only, "W" write only, "RW" both.
/// An attribute that is not in the table cannot be exported at all.
using AccessTable = std::map<int, std::string>;

// Built before main runs, never changed. docs/configuration.md shows them to engineers.
extern const AccessTable tableAccessesVA;
extern const AccessTable tableAccessesVD;
extern const AccessTable tableAccessesDV;
extern const AccessTable tableAccessesAV;
extern const AccessTable tableAccessesRV;

/// Attribute number of a logical manual input (RVL) -> class of the attribute. Only the classes 1
/// and 3 can be exported. The name is spelled as the interface requires.
extern const std::map<int, int> tableAcessesAttrByType;

/// Whether the class table bars this attribute from RVL; numbers that are not in it are not barred.
bool barredForRVL(int attributeNumber);

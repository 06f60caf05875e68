#pragma once

#include <cstdint>
#include <map>

/// A right, in the bits of a node's access level (OPC 10000-3, 8.57).
enum class Access : std::uint8_t { none = 0, read = 1, write = 2, readWrite = read | write };

/// Attribute number -> right. An attribute that is not in the table cannot be exported at all.
using AccessTable = std::map<int, Access>;

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

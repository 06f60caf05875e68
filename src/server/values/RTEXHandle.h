#pragma once

#include <open62541/types.h>

#include "server/kinds/Kinds.h"

/// Exchanges one attribute of one database variable with an OPC UA variant. Stateless: the database
/// is `UARTEXVariable::veskdb`, which is not locked; the caller holds the variable's mutex.
class RTEXHandle {
  public:
    /// Reads value, quality and time. Reports nothing: after a failed database read the value is
    /// zero, and status and time come from the time-quality-flags table nevertheless.
    ///
    /// @param attrNumber  0 the current value, 1 and up passport attributes
    /// @param tagNumber   from 1, within the kind
    /// @param value       set to a scalar that the caller clears; untouched when the attribute has
    ///                    no value type. Its previous contents are not released.
    /// @param statusCode  from the database quality
    /// @param sourceTime  UA_DateTime: 100 ns ticks since 1601
    static void getValueByAttrNumber(int attrNumber, VariableType type, int tagNumber,
                                     UA_Variant& value, unsigned& statusCode, long& sourceTime);

    /// Writes a scalar. Anything else, a type that has no counterpart in the database, and a write
    /// that the database refuses are ignored without a report.
    ///
    /// A number written to the attribute with the kind's current value goes to attribute 0, the
    /// current data, which the controller turns into the current value in its next cycle.
    static void setValueByAttrNumber(int attrNumber, VariableType type, int tagNumber,
                                     const UA_Variant& value);

    /// The free function of the same name.
    static UA_StatusCode qualityConvertFromDA(unsigned quality);
};

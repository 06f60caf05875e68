#pragma once

#include <open62541/types.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "lib/bd_vesk/bdvesk.h"
#include "server/config/Section.h"
#include "server/plan/TagInfo.h"

/// One exported variable of the database. Objects are made at start-up, one per database variable
/// and kind, and live in `rtexvariable` until the process ends.
class UARTEXVariable {
  public:
    /// The first object of the process loads the database, which ends the process if there is no
    /// database process (see CVeskBDSh::LoadBD).
    UARTEXVariable();
    UARTEXVariable(const UARTEXVariable&) = delete;
    UARTEXVariable& operator=(const UARTEXVariable&) = delete;

    /// Sub-kind of a manual input: 0 RVV (number), 1 RVS (string), 2 RVL (logical). 0 for the
    /// others.
    virtual int getRVType() const;

    /// Binds the object to a variable: copies its designation from the passport record, which must
    /// be of this kind. Null is ignored.
    virtual void createVarObj(CVeskBDSh& db, void* passport) = 0;

    virtual ~UARTEXVariable() = default;

    /// 0 VA, 1 AV, 2 RV, 3 VD, 4 DV.
    virtual int getType() const = 0;

    /// Reads an attribute of the object's tag (getIdTag()) under the object's mutex; always 0. See
    /// RTEXHandle::getValueByAttrNumber.
    virtual int getValue(UA_Variant& value, unsigned int& status, int attributeNumber,
                         long& sourceTime) = 0;

    /// Writes an attribute of the object's tag under the object's mutex; always 0. See
    /// RTEXHandle::setValueByAttrNumber.
    virtual int setValue(const UA_Variant& value, int attributeNumber) = 0;

    /// "VA_7": node id, browse name and display name of a tag's structure object.
    virtual std::string getStructId(int number) = 0;

    /// "VA.7.A": the caller appends the attribute number.
    virtual std::string getNodeId(int number) = 0;

    /// Despite its name it binds: the last object of `rtexvariable`, which the caller has just
    /// appended, to database variable `number`, from 1. Returns 0, or 1 when there is no such
    /// variable.
    virtual int getCountVarFormObj(int number) = 0;

    /// The configured attributes of the object's type, see configuredAttributes.
    /// @param mode  "main" or "group", see entrySource
    virtual std::vector<TagInfo> getConfigForTag(const std::vector<Section>& sections,
                                                 std::string mode, int groupNumber,
                                                 const std::map<int, int>& groupMap) = 0;

    // The tree builder sets them for each node that it makes; afterwards they hold those of the
    // last node.
    virtual void setIdTag(int number) = 0;
    virtual void setIdAttr(int number) = 0;
    virtual int getIdTag() const = 0;
    virtual void setId(int number) = 0;
    virtual int getId() const = 0;
    virtual int getIdAttr() const = 0;

    /// The database, shared by all objects. Constructed before main runs, loaded with the first
    /// object; its tables are not locked.
    static CVeskBDSh veskdb;

  private:
    static std::once_flag loaded_;
};

/// All variable objects in creation order. Filled at start-up, constant afterwards.
extern std::vector<std::unique_ptr<UARTEXVariable>> rtexvariable;

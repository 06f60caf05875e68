#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "server/config/EntrySource.h"
#include "server/kinds/Kinds.h"
#include "server/values/UARTEXVariable.h"

/// Everything that the five kinds share, driven by the kind's row of kKinds.
class VariableOfKind : public UARTEXVariable {
  public:
    /// @param id  the object's number among those of its class, from the class's own counter
    VariableOfKind(const VariableKind& kind, int id) : kind_(kind), type_(kind.type), id_(id) {}

    void createVarObj(CVeskBDSh& db, void* passport) override;
    int getType() const override { return static_cast<int>(kind_.type); }
    int getValue(UA_Variant& value, unsigned int& status, int attributeNumber,
                 long& sourceTime) override;
    int setValue(const UA_Variant& value, int attributeNumber) override;
    std::string getStructId(int number) override;
    std::string getNodeId(int number) override;
    int getCountVarFormObj(int number) override;
    std::vector<TagInfo> getConfigForTag(const std::vector<Section>& sections, std::string mode,
                                         int groupNumber,
                                         const std::map<int, int>& groupMap) override;

    void setIdTag(int number) override { idTag_ = number; }
    void setIdAttr(int number) override { idAttr_ = number; }
    int getIdTag() const override { return idTag_; }
    void setId(int number) override { id_ = number; }
    int getId() const override { return id_; }
    int getIdAttr() const override { return idAttr_; }

    /// Designation of the tag (POZ), CP866; empty until bound.
    const std::string& getNameCp866() const { return nameCp866_; }

  private:
    // Members that a read uses come first, so that they are close together in memory.
    const VariableKind& kind_;
    const VariableType type_;
    int idTag_ = 0;          // main thread; constant after start-up
    int idAttr_ = 0;         // main thread
    std::mutex mutex_;       // a read and a write of one tag never overlap
    std::string nameCp866_;  // constant after start-up
    int id_;
};

/// The configured attributes of one published type. One that may be exported but that the database
/// does not describe has its own key in `missing`.
std::vector<TagInfo> configuredAttributes(const std::vector<Section>& sections,
                                          const PublishedType& published,
                                          const EntrySource& source);

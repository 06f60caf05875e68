#include "tools/opcuaview/plant_texts.h"

#include <algorithm>
#include <unordered_map>

namespace tools::opcuaview {

namespace {

/// "VA_7" or "VA_7.A29" for the name "VA_7".
bool repeats(std::string_view description, std::string_view name) {
    return !name.empty() && description.substr(0, name.size()) == name &&
           (description.size() == name.size() || description[name.size()] == '.');
}

}  // namespace

bool isTelling(std::string_view description, const Item& item) {
    return !description.empty() && !repeats(description, item.tag) &&
           !repeats(description, item.attribute);
}

namespace {

void append(std::string& name, const std::string& part) {
    if (part.empty() || part == name) return;
    name += (name.empty() ? "" : " ") + part;
}

/// One batch of variables.
class TextSearch {
  public:
    TextSearch(Session& session, const std::vector<const Item*>& items,
               std::vector<PlantTexts>& texts)
        : session_(session), items_(items), texts_(texts) {
        texts_.assign(items.size(), {});
    }

    UA_StatusCode run() {
        UA_StatusCode status = takeTagTexts();
        if (status == UA_STATUSCODE_GOOD) status = takeUnits();
        if (status == UA_STATUSCODE_GOOD) status = takeDescriptions();
        return status;
    }

  private:
    using Lists = std::vector<std::vector<Child>>;

    struct Found {
        std::size_t list;  // which of the browsed nodes it belongs to
        Label label;
        NodeId id;
        std::string text = {};
    };

    UA_StatusCode readTexts(std::vector<Found>& found) {
        std::vector<const UA_NodeId*> ids;
        ids.reserve(found.size());
        for (const Found& text : found)
            ids.push_back(text.id.get());
        std::vector<DataValue> values;
        const UA_StatusCode status = session_.read(ids, UA_ATTRIBUTEID_VALUE, values);
        for (std::size_t i = 0; i < values.size(); ++i)
            found[i].text = plantText(*values[i]);
        return status;
    }

    UA_StatusCode takeTagTexts() {
        std::unordered_map<const NodeId*, std::size_t> places;
        std::vector<const UA_NodeId*> tags;
        for (const Item* item : items_) {
            if (item->parent == nullptr) continue;
            if (places.emplace(item->parent.get(), tags.size()).second) {
                tags.push_back(item->parent->get());
            }
        }
        Lists lists;
        UA_StatusCode status = session_.browse(tags, lists);
        if (status != UA_STATUSCODE_GOOD) return status;
        std::vector<Found> found = labelsIn(lists);
        status = readTexts(found);
        std::vector<PlantTexts> ofTags(tags.size());
        for (const Found& text : found) {
            PlantTexts& tag = ofTags[text.list];
            append(text.label == Label::unit ? tag.tagUnit : tag.name, text.text);
        }
        for (std::size_t i = 0; i < items_.size(); ++i) {
            const auto place = places.find(items_[i]->parent.get());
            if (place != places.end()) texts_[i] = ofTags[place->second];
        }
        return status;
    }

    /// The designation first, parts of a name in the order of their numbers.
    static std::vector<Found> labelsIn(Lists& lists) {
        std::vector<Found> found;
        for (std::size_t i = 0; i < lists.size(); ++i) {
            const auto first = static_cast<std::ptrdiff_t>(found.size());
            std::sort(lists[i].begin(), lists[i].end(),
                      [](const Child& a, const Child& b) { return a.name < b.name; });
            for (Child& child : lists[i]) {
                const Label label = child.isVariable ? labelOf(child.name) : Label::none;
                if (label != Label::none) found.push_back({i, label, std::move(child.id)});
            }
            std::stable_sort(found.begin() + first, found.end(),
                             [](const Found& a, const Found& b) { return a.label < b.label; });
        }
        return found;
    }

    UA_StatusCode takeUnits() {
        std::vector<std::size_t> indexes;
        std::vector<const UA_NodeId*> variables;
        for (std::size_t i = 0; i < items_.size(); ++i) {
            const NodeId& id = items_[i]->id;
            const bool controllers = session_.controllerNamespace() != 0 &&
                                     id->namespaceIndex == session_.controllerNamespace();
            if (controllers) continue;  // its variables have no properties
            indexes.push_back(i);
            variables.push_back(id.get());
        }
        Lists lists;
        UA_StatusCode status = session_.browse(variables, lists);
        if (status != UA_STATUSCODE_GOOD) return status;
        std::vector<Found> found;
        for (std::size_t i = 0; i < lists.size(); ++i) {
            for (Child& child : lists[i]) {
                if (child.isUnit) found.push_back({indexes[i], Label::unit, std::move(child.id)});
            }
        }
        status = readTexts(found);
        for (const Found& unit : found)
            texts_[unit.list].unit = unit.text;
        return status;
    }

    UA_StatusCode takeDescriptions() {
        std::vector<std::size_t> indexes;
        std::vector<const UA_NodeId*> variables;
        for (std::size_t i = 0; i < items_.size(); ++i) {
            if (!texts_[i].name.empty()) continue;
            indexes.push_back(i);
            variables.push_back(items_[i]->id.get());
        }
        std::vector<DataValue> values;
        const UA_StatusCode status = session_.read(variables, UA_ATTRIBUTEID_DESCRIPTION, values);
        for (std::size_t i = 0; i < values.size(); ++i) {
            std::string text = plantText(*values[i]);
            if (isTelling(text, *items_[indexes[i]])) texts_[indexes[i]].name = std::move(text);
        }
        return status;
    }

    Session& session_;
    const std::vector<const Item*>& items_;
    std::vector<PlantTexts>& texts_;
};

}  // namespace

UA_StatusCode findPlantTexts(Session& session, const std::vector<const Item*>& items,
                             std::vector<PlantTexts>& texts) {
    return TextSearch{session, items, texts}.run();
}

}  // namespace tools::opcuaview

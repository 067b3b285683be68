#include <QCoreApplication>
#include <QJsonArray>
#include <algorithm>
#include <map>
#include <unordered_set>

#include "commands/commands.h"
#include "db/database.h"
#include "db/entities/block_reference.h"
#include "host/command_context.h"
#include "host/document.h"
#include "host/property_protocol/selection_engine.h"
#include "host/text/color_text.h"
#include "properties/handle_text.h"
#include "properties/property_value_text.h"
#include "properties/value_text.h"

namespace vela::commands {

namespace {

int operatorCode(const QString& text, int previous) {
    if (text == QLatin1String("==")) return 1;
    if (text == QLatin1String("!=")) return 2;
    if (text == QLatin1String("<")) return 3;
    if (text == QLatin1String(">")) return 4;
    if (text == QLatin1String("SelectAll")) return 6;
    return previous;  // an unknown text leaves the code as it was
}

/// One property condition of a selection query.
struct SelectionCondition {
    QString property;  // display name (the request's text translated in the context "property_types")
    int operatorCode =
        0;  // 1 ==, 2 !=, 3 <, 4 >, 6 SelectAll; 0 for an operator text that was not understood
    QString value;
};

/// One element of the query's "entities": a class name ("AcDbLine", "All") and its conditions.
struct SelectionEntry {
    QString className;
    std::vector<SelectionCondition> conditions;
};

struct ResultList {
    std::vector<db::ObjectId> ids;
    bool mixed = false;  // entities of several classes (all entities), so it can share ids with other lists
};

// The entries of a query, ordered by class name (entries of one class in request order).
std::vector<SelectionEntry> readSelectionQuery(const QJsonObject& request) {
    std::multimap<QString, SelectionEntry> ordered;
    for (const QJsonValue& element : request.value(QStringLiteral("entities")).toArray()) {
        if (!element.isObject()) continue;
        const QJsonObject object = element.toObject();
        SelectionEntry entry;
        if (object.value(QStringLiteral("className")).isString())
            entry.className = object.value(QStringLiteral("className")).toString();
        const QJsonValue properties = object.value(QStringLiteral("properties"));
        if (properties.isArray()) {
            for (const QJsonValue& c : properties.toArray()) {
                if (!c.isObject()) continue;
                SelectionCondition condition;
                const QJsonObject o = c.toObject();
                for (auto it = o.begin(); it != o.end(); ++it) {
                    if (it.key() == QLatin1String("property"))
                        condition.property = QCoreApplication::translate(
                            "property_types", it.value().toString().toUtf8().constData());
                    else if (it.key() == QLatin1String("operator"))
                        condition.operatorCode = operatorCode(it.value().toString(), condition.operatorCode);
                    else if (it.key() == QLatin1String("value"))
                        condition.value = properties::SixDigitText(it.value()).value_or(QString());
                }
                entry.conditions.push_back(condition);
            }
        }
        ordered.emplace(entry.className, std::move(entry));
    }
    std::vector<SelectionEntry> entries;
    for (auto& [name, entry] : ordered) entries.push_back(std::move(entry));
    return entries;
}

// Finds the entities of the active space that the query describes, selects them and answers with their
// handles. Conditions on one class are joined by AND, classes by OR.
QJsonObject selectEntities(const QJsonDocument& query, host::CommandContext& context) {
    const QJsonObject request = query.object();
    host::Document* document = context.document();
    using host::SearchItem;
    using host::SearchOperator;
    QJsonObject response;
    QJsonArray errors;
    bool success = false;
    std::vector<ResultList> lists;
    const host::PropertyProtocol& protocol = host::PropertyProtocol::instance();
    db::Database* database = document ? document->database() : nullptr;
    const db::ObjectId space = document ? document->activeSpaceId() : db::ObjectId();

    // One engine search. `always` keeps even an empty result: a condition on a named class that matches
    // nothing empties the whole answer, as an AND must.
    auto search = [&](const SearchItem& item, bool always) {
        ResultList list;
        list.mixed = item.cls == nullptr;
        const int count = database ? host::SelectionEngine::selectItems(*database, space, item, list.ids) : 0;
        if (count > 0) success = true;
        if (count > 0 || always) lists.push_back(std::move(list));
    };

    for (const SelectionEntry& entry : readSelectionQuery(request)) {
        if (entry.className == QLatin1String("All")) {
            const bool selectAll = entry.conditions.empty() ||
                                   (entry.conditions.size() == 1 && entry.conditions[0].operatorCode == 6);
            if (selectAll) {
                search(SearchItem{}, false);
                continue;
            }
            // Every class that has the property gets a search; a class without matches is not a reason to
            // empty the answer, so only searches that find something count here. One pass over the space
            // serves all classes of a condition.
            for (const SelectionCondition& c : entry.conditions) {
                if (c.operatorCode == 0 || c.operatorCode == 6) continue;
                std::map<const host::PropertyDescriptor*, properties::ConvertedValue> converted;
                std::map<const db::RxClass*, const host::PropertyDescriptor*> propertyOf;
                bool reported = false;
                for (const db::RxClass* cls : protocol.classes()) {
                    const host::PropertyDescriptor* property = protocol.find(cls, c.property);
                    if (!property) continue;
                    auto it = converted.find(property);
                    if (it == converted.end()) {
                        it = converted
                                 .emplace(property,
                                          properties::ConvertPropertyValue(*property, c.value, database))
                                 .first;
                        // A value that does not read is reported once for the condition, not once per class.
                        if (it->second.status != host::ColorParseStatus::Ok && !reported) {
                            errors.append(host::ColorParseErrorMessage(it->second.status, c.value));
                            reported = true;
                        }
                    }
                    if (!std::holds_alternative<std::monostate>(it->second.value)) propertyOf[cls] = property;
                }
                if (propertyOf.empty() || !database) continue;
                // Classes whose property reads the value the same way share one value.
                const host::PropertyValue& value = converted.at(propertyOf.begin()->second).value;
                bool oneValue = true;
                for (const auto& [cls, property] : propertyOf)
                    oneValue = oneValue && converted.at(property).value == value;
                auto lookup = [&](const db::RxClass* cls) -> const host::PropertyDescriptor* {
                    auto p = propertyOf.find(cls);
                    return p == propertyOf.end() ? nullptr : p->second;
                };
                std::vector<ResultList> perClass(protocol.classes().size());
                if (oneValue) {
                    host::SelectionEngine::selectAcrossClasses(
                        *database, space, static_cast<SearchOperator>(c.operatorCode), value, lookup,
                        [&](std::size_t index, db::ObjectId id) { perClass[index].ids.push_back(id); });
                } else {
                    for (std::size_t i = 0; i < protocol.classes().size(); ++i) {
                        const host::PropertyDescriptor* property = lookup(protocol.classes()[i]);
                        if (!property) continue;
                        host::SelectionEngine::selectItems(
                            *database, space,
                            SearchItem{protocol.classes()[i], property,
                                       static_cast<SearchOperator>(c.operatorCode),
                                       converted.at(property).value, SearchItem::Kind::Ordinary},
                            perClass[i].ids);
                    }
                }
                for (ResultList& list : perClass) {
                    if (list.ids.empty()) continue;
                    success = true;
                    lists.push_back(std::move(list));
                }
            }
            continue;
        }
        const db::RxClass* cls = protocol.findClass(entry.className);
        if (!cls) continue;
        const bool isBlockReference = cls->isDerivedFrom(db::BlockReference::desc());
        for (const SelectionCondition& c : entry.conditions) {
            SearchItem item;
            item.cls = cls;
            item.kind = isBlockReference ? SearchItem::Kind::BlockReference : SearchItem::Kind::Ordinary;
            if (isBlockReference &&
                c.property.compare(QLatin1String("External Reference"), Qt::CaseInsensitive) == 0) {
                item.kind = SearchItem::Kind::ExternalReference;
                item.op = SearchOperator::SelectAll;
                search(item, true);
                continue;
            }
            if (c.operatorCode == 6) {
                item.op = SearchOperator::SelectAll;
                search(item, true);
                continue;
            }
            const host::PropertyDescriptor* property = protocol.find(cls, c.property);
            if (!property) continue;
            if (c.operatorCode == 0) {
                // An operator that was not understood matches nothing.
                search(SearchItem{cls, property, SearchOperator::Equal, host::PropertyValue(), item.kind},
                       true);
                continue;
            }
            const properties::ConvertedValue converted =
                properties::ConvertPropertyValue(*property, c.value, database);
            if (converted.status != host::ColorParseStatus::Ok)
                errors.append(host::ColorParseErrorMessage(converted.status, c.value));
            if (std::holds_alternative<std::monostate>(converted.value)) continue;
            item.property = property;
            item.op = static_cast<SearchOperator>(c.operatorCode);
            item.value = converted.value;
            search(item, true);
        }
    }

    // Combine: AND within the lists of one class (by the class of a list's first entity), OR across classes.
    std::vector<db::ObjectId> result;
    const bool anyEmpty =
        std::any_of(lists.begin(), lists.end(), [](const ResultList& l) { return l.ids.empty(); });
    if (!anyEmpty) {
        // Lists are intersected in handle order, so that answers list entities in a stable order.
        const auto byHandle = [](db::ObjectId a, db::ObjectId b) { return a.handle() < b.handle(); };
        std::vector<std::pair<const db::RxClass*, std::vector<db::ObjectId>>> groups;
        for (ResultList& list : lists) {
            const db::RxClass* cls = list.ids.front().peek()->isA();
            auto group =
                std::find_if(groups.begin(), groups.end(), [&](const auto& g) { return g.first == cls; });
            if (group == groups.end()) {
                groups.emplace_back(cls, std::move(list.ids));
                continue;
            }
            if (!std::is_sorted(group->second.begin(), group->second.end(), byHandle))
                std::sort(group->second.begin(), group->second.end(), byHandle);
            if (!std::is_sorted(list.ids.begin(), list.ids.end(), byHandle))
                std::sort(list.ids.begin(), list.ids.end(), byHandle);
            std::vector<db::ObjectId> both;
            std::set_intersection(group->second.begin(), group->second.end(), list.ids.begin(),
                                  list.ids.end(), std::back_inserter(both), byHandle);
            group->second = std::move(both);
        }
        // Lists of one class each cannot share an entity across groups: only a list of all entities calls for
        // removing duplicates.
        const bool mixed =
            std::any_of(lists.begin(), lists.end(), [](const ResultList& l) { return l.mixed; });
        if (groups.size() == 1) {
            result = std::move(groups.front().second);
        } else if (!mixed) {
            std::size_t total = 0;
            for (const auto& g : groups) total += g.second.size();
            result.reserve(total);
            for (const auto& g : groups) result.insert(result.end(), g.second.begin(), g.second.end());
        } else {
            std::unordered_set<db::ObjectId> seen;
            for (const auto& [cls, ids] : groups)
                for (db::ObjectId id : ids)
                    if (seen.insert(id).second) result.push_back(id);
        }
    }

    const QJsonArray handles = properties::HandleArray(result);
    const qint64 count = static_cast<qint64>(result.size());
    if (document) document->selection().assignDistinct(std::move(result));

    response.insert(QStringLiteral("success"), success);
    response.insert(QStringLiteral("numSelected"), count);
    response.insert(QStringLiteral("handles"), handles);
    if (!errors.isEmpty()) response.insert(QStringLiteral("errorMessages"), errors);
    return response;
}

}  // namespace

extern const catalogue::CommandRow kSelectEntities = {
    .slot = "SelectEntities",
    .parameter = "sSelectionQuery",
    .receivedLog = "Received selection query from assistant:\n%1",
    .responseLog = "Entity selection response:\n%1",
    .globalName = "_V3_SELECTENTITIES",
    .className = "CJxCommandSelectObjects",
    .body = selectEntities,
    .effect = catalogue::Effect::Reads,
    .description =
        "Selects the entities of the active space whose properties match, and answers their handles. Each "
        "element of \"entities\" names a class (\"All\" for every class) with conditions joined by AND; "
        "elements are joined by OR. Properties are named as a properties panel shows them (Color, Layer, "
        "Linetype, Lineweight, Length, Radius, Area, Name, ...).",
    .requestSchema = R"json({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "type": "object",
  "properties": {
    "entities": {
      "type": "array",
      "items": {
        "type": "object",
        "properties": {
          "className": {"type": "string", "description": "All, AcDbLine, AcDbCircle, AcDbArc, AcDbPolyline, AcDbEllipse, AcDbPoint, AcDbText, AcDbMText, AcDbSpline, AcDbBlockReference or AcDbHatch"},
          "properties": {
            "type": "array",
            "items": {
              "type": "object",
              "properties": {
                "property": {"type": "string"},
                "operator": {"enum": ["==", "!=", "<", ">", "SelectAll"]},
                "value": {"type": ["string", "number", "boolean"]}
              },
              "required": ["property", "operator"]
            }
          }
        },
        "required": ["className"]
      }
    }
  },
  "required": ["entities"]
})json",
    .exampleRequest = R"json({"entities": [{"className": "AcDbPolyline", "properties": [
        {"property": "Layer", "operator": "==", "value": "Walls"},
        {"property": "Area", "operator": ">", "value": 1000000}]}]})json",
};

}  // namespace vela::commands

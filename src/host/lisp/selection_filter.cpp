#include "host/lisp/selection_filter.h"

#include <cmath>
#include <unordered_set>

#include "db/database.h"
#include "db/dxf/fields/dxf_record.h"
#include "db/entity.h"
#include "db/symbol_table.h"
#include "host/lisp/group_list.h"
#include "host/lisp/interpreter.h"
#include "host/lisp/printer.h"
#include "host/text/wildcard.h"

namespace vela::host::lisp {

struct SelectionFilter::Node {
    enum class Kind { And, Or, Xor, Not, Test };
    Kind kind = Kind::And;
    std::vector<std::unique_ptr<Node>> children;

    // A test: the group's code, the comparison ("=" unless a -4 group said otherwise; one per coordinate for
    // points) and the value.
    int code = 0;
    QStringList ops;
    Value value;
    // Layer and linetype tests: the records whose names match.
    std::unordered_set<const void*> records;
    bool useRecords = false;
    // Type tests: the answer per class, found once.
    mutable QHash<const db::RxClass*, bool> byClass;
};

namespace {

using Node = SelectionFilter::Node;

[[noreturn]] void badFilter(const Value& v) {
    throw LispError(QLatin1String("bad ssget list value: ") + print(v));
}

bool isEqualOp(const QString& op) {
    return op == u'=';
}
bool isNotEqualOp(const QString& op) {
    return op == QLatin1String("!=") || op == QLatin1String("/=") || op == QLatin1String("<>");
}

bool compareNumbers(double x, const QString& op, double y) {
    if (op == u'*') return true;
    if (isEqualOp(op)) return x == y;
    if (isNotEqualOp(op)) return x != y;
    if (op == u'<') return x < y;
    if (op == QLatin1String("<=")) return x <= y;
    if (op == u'>') return x > y;
    if (op == QLatin1String(">=")) return x >= y;
    // Bit tests are of integers: flags, never more than 32 bits.
    auto bits = [](double v) {
        return std::isfinite(v) && std::fabs(v) < 9e18 ? static_cast<std::int64_t>(v) : 0;
    };
    const std::int64_t xi = bits(x), yi = bits(y);
    if (op == u'&') return (xi & yi) != 0;
    if (op == QLatin1String("&=")) return (xi & yi) == yi;
    return false;
}

bool compareTexts(const QString& x, const QString& op, const QString& pattern) {
    if (op == u'*') return true;
    if (isEqualOp(op)) return WildcardMatch(x, pattern, Qt::CaseInsensitive);
    if (isNotEqualOp(op)) return !WildcardMatch(x, pattern, Qt::CaseInsensitive);
    const int c = x.compare(pattern, Qt::CaseInsensitive);
    if (op == u'<') return c < 0;
    if (op == QLatin1String("<=")) return c <= 0;
    if (op == u'>') return c > 0;
    if (op == QLatin1String(">=")) return c >= 0;
    return false;
}

// One group value of an entity against the test.
bool compareValue(const Value& have, const Node& test) {
    const Value& want = test.value;
    const QString& op = test.ops.front();
    if (want.isString()) {
        if (have.isString()) return compareTexts(have.as<String>()->text, op, want.as<String>()->text);
        if (have.kind() == Kind::Ename) {
            const QString handle = QString::fromStdString(have.as<Ename>()->id.handle().toText());
            return compareTexts(handle, op, want.as<String>()->text);
        }
        return false;
    }
    if (want.isNumber()) return have.isNumber() && compareNumbers(have.number(), op, want.number());
    if (want.isCons()) {
        if (!have.isCons()) return false;
        const std::vector<Value> a = elements(have), b = elements(want);
        for (std::size_t i = 0; i < b.size(); ++i) {
            const QString& o =
                test.ops[qsizetype(std::min<std::size_t>(i, std::size_t(test.ops.size() - 1)))];
            if (o == u'*') continue;
            if (i >= a.size() || !a[i].isNumber() || !b[i].isNumber() ||
                !compareNumbers(a[i].number(), o, b[i].number()))
                return false;
        }
        return true;
    }
    if (want.kind() == Kind::Ename && have.kind() == Kind::Ename) {
        const bool same = want.as<Ename>()->id == have.as<Ename>()->id;
        return isNotEqualOp(op) ? !same : same;
    }
    return false;
}

}  // namespace

SelectionFilter::SelectionFilter(const db::Database& database, const Value& filter)
    : root_(std::make_unique<Node>()) {
    std::vector<Node*> open{root_.get()};
    QStringList pendingOps;
    for (const Value& group : elements(listArg(filter))) {
        if (!group.isCons() || !group.as<Cons>()->car.isInt()) badFilter(group);
        const int code = group.as<Cons>()->car.integer();
        const Value& value = group.as<Cons>()->cdr;
        if (code == -4) {
            if (!value.isString()) badFilter(group);
            const QString word = value.as<String>()->text.toUpper();
            static const QStringList kOpen = {QStringLiteral("<AND"), QStringLiteral("<OR"),
                                              QStringLiteral("<XOR"), QStringLiteral("<NOT")};
            static const QStringList kClose = {QStringLiteral("AND>"), QStringLiteral("OR>"),
                                               QStringLiteral("XOR>"), QStringLiteral("NOT>")};
            if (const qsizetype k = kOpen.indexOf(word); k >= 0) {
                auto node = std::make_unique<Node>();
                node->kind = static_cast<Node::Kind>(k);  // And, Or, Xor, Not in this order
                Node* raw = node.get();
                open.back()->children.push_back(std::move(node));
                open.push_back(raw);
                continue;
            }
            if (const qsizetype k = kClose.indexOf(word); k >= 0) {
                if (open.size() < 2 || int(open.back()->kind) != k) badFilter(group);
                const Node* closing = open.back();
                if ((closing->kind == Node::Kind::Not && closing->children.size() != 1) ||
                    (closing->kind == Node::Kind::Xor && closing->children.size() != 2))
                    badFilter(group);
                open.pop_back();
                continue;
            }
            static const QStringList kOps = {QStringLiteral("="),  QStringLiteral("!="), QStringLiteral("/="),
                                             QStringLiteral("<>"), QStringLiteral("<"),  QStringLiteral("<="),
                                             QStringLiteral(">"),  QStringLiteral(">="), QStringLiteral("*"),
                                             QStringLiteral("&"),  QStringLiteral("&=")};
            pendingOps = word.split(u',');
            for (const QString& op : pendingOps)
                if (!kOps.contains(op)) badFilter(group);
            continue;
        }
        auto test = std::make_unique<Node>();
        test->kind = Node::Kind::Test;
        test->code = code;
        test->ops = pendingOps.isEmpty() ? QStringList{QStringLiteral("=")} : pendingOps;
        pendingOps.clear();
        test->value = value;
        if (!(value.isString() || value.isNumber() || isPoint(value) || value.kind() == Kind::Ename))
            badFilter(group);
        // Layer and linetype names: the records they match, found once.
        const QString& op = test->ops.front();
        if ((code == 8 || code == 6) && value.isString() && (isEqualOp(op) || isNotEqualOp(op))) {
            test->useRecords = true;
            const db::SymbolTable* table = code == 8 ? database.layerTable() : database.linetypeTable();
            if (table)
                table->forEachRecord([&](db::SymbolTableRecord* r) {
                    if (WildcardMatch(QString::fromStdString(r->name()), value.as<String>()->text,
                                      Qt::CaseInsensitive))
                        test->records.insert(r);
                });
        }
        // Groups other than type, layer, linetype and color are read from the entity's group list.
        if (!(code == 0 || code == 62 || ((code == 8 || code == 6) && test->useRecords)))
            listCodes_.push_back(code);
        open.back()->children.push_back(std::move(test));
    }
    if (open.size() != 1) badFilter(filter);
    std::sort(listCodes_.begin(), listCodes_.end());
    listCodes_.erase(std::unique(listCodes_.begin(), listCodes_.end()), listCodes_.end());
}

SelectionFilter::~SelectionFilter() = default;

namespace {

bool testEntity(const Node& node, const db::Entity& entity, Value& groups, const std::vector<int>& codes);

bool test(const Node& t, const db::Entity& e, Value& groups, const std::vector<int>& codes) {
    const QString& op = t.ops.front();
    switch (t.code) {
        case 0: {
            const db::RxClass* cls = e.isA();
            if (auto it = t.byClass.constFind(cls); it != t.byClass.constEnd()) return *it;
            const bool result = compareTexts(QString::fromLatin1(db::dxfRecordType(e)), op,
                                             t.value.isString() ? t.value.as<String>()->text : QString());
            if (t.value.isString() &&
                QLatin1String(db::dxfRecordType(e)) == QLatin1String(cls->dxfName() ? cls->dxfName() : ""))
                t.byClass.insert(cls, result);
            return result;
        }
        case 8:
        case 6:
            if (t.useRecords) {
                const db::ObjectId id = t.code == 8 ? e.layerId() : e.linetypeId();
                const bool found = t.records.count(id.peek()) != 0;
                return isNotEqualOp(op) ? !found : found;
            }
            break;
        case 62: {
            const db::Color c = e.color();
            const int index = c.isByLayer() ? 256 : c.isByBlock() ? 0 : c.nearestColorIndex();
            return t.value.isNumber() && compareNumbers(index, op, t.value.number());
        }
        default:
            break;
    }
    // Any other group: from the entity's group list, made once per entity.
    if (groups.isNil()) groups = groupList(e, {}, &codes);
    bool any = false;
    for (const Value* g = &groups; g->isCons(); g = &g->as<Cons>()->cdr) {
        const Cons* pair = g->as<Cons>()->car.as<Cons>();
        if (pair->car.integer() != t.code) continue;
        any = true;
        if (compareValue(pair->cdr, t)) return true;
    }
    // A test that an entity lacks the group ("!=" of a group it has not) holds.
    return !any && isNotEqualOp(op);
}

bool testEntity(const Node& node, const db::Entity& e, Value& groups, const std::vector<int>& codes) {
    switch (node.kind) {
        case Node::Kind::Test:
            return test(node, e, groups, codes);
        case Node::Kind::And:
            for (const auto& c : node.children)
                if (!testEntity(*c, e, groups, codes)) return false;
            return true;
        case Node::Kind::Or:
            for (const auto& c : node.children)
                if (testEntity(*c, e, groups, codes)) return true;
            return false;
        case Node::Kind::Xor:
            return testEntity(*node.children[0], e, groups, codes) !=
                   testEntity(*node.children[1], e, groups, codes);
        case Node::Kind::Not:
            return !testEntity(*node.children[0], e, groups, codes);
    }
    return false;
}

}  // namespace

bool SelectionFilter::matches(const db::Entity& entity) const {
    Value groups;
    return testEntity(*root_, entity, groups, listCodes_);
}

}  // namespace vela::host::lisp

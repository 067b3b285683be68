// Round trips that hold for any drawing and any value: group lists of every entity of the sample plan read
// back unchanged, entities made again from their lists, text read back from what the printer wrote, and
// wildcards, variables and tables seen the same way from LISP and from the host.
#include <gtest/gtest.h>

#include <QStringList>
#include <random>

#include "db/dxf/file/dxf_writer.h"
#include "db/records/block_table_record.h"
#include "db/symbol_table.h"
#include "host/host.h"
#include "host/lisp/evaluation.h"
#include "host/lisp/printer.h"
#include "host/lisp/reader.h"
#include "host/text/wildcard.h"

namespace vela::host::lisp {
namespace {

class SamplePlan : public ::testing::Test, public MessageSink {
  protected:
    Host host;
    Document* doc = nullptr;
    QStringList log;

    SamplePlan() {
        host.services().setMessageSink(this);
        QString error;
        doc = host.documents().open(QStringLiteral(VELA_SOURCE_DIR "/examples/floor_plan.dxf"), &error);
        EXPECT_NE(doc, nullptr) << error.toStdString();
    }
    void writeMessage(const QString& text) override { log << text; }
    std::string eval(const std::string& text) {
        return evaluateLisp(QString::fromStdString(text)).text.toStdString();
    }
    std::vector<QString> handles() {
        std::vector<QString> out;
        db::openObject<db::BlockTableRecord>(doc->database()->modelSpaceId(), db::OpenMode::ForRead)
            ->forEachEntity(
                [&](db::Entity* e) { out.push_back(QString::fromStdString(e->handle().toText())); });
        return out;
    }
    std::string dxf() { return db::writeDxf(*doc->database()); }
};

TEST_F(SamplePlan, EveryEntitysGroupListWritesItBackUnchanged) {
    const std::string before = dxf();
    int changed = 0;
    for (const QString& h : handles()) {
        const std::string answer = eval("(setq e (handent \"" + h.toStdString() +
                                        "\")) (if (entmod (entget e '(\"*\"))) 'ok 'refused)");
        EXPECT_EQ(answer, "OK") << "entity " << h.toStdString() << ": " << log.join(u'\n').toStdString();
        ++changed;
    }
    EXPECT_GT(changed, 40);
    // entmod always replaces the contents, so the drawing was rewritten entity by entity, and is what it was.
    EXPECT_EQ(dxf(), before);
}

TEST_F(SamplePlan, EntitiesMadeFromTheirListsAreTheirTwins) {
    // One entity of each type of the plan, made again from its list without name, handle and owner.
    QStringList seen;
    int made = 0;
    for (const QString& h : handles()) {
        const std::string type = eval("(cdr (assoc 0 (entget (handent \"" + h.toStdString() + "\"))))");
        if (seen.contains(QString::fromStdString(type))) continue;
        seen << QString::fromStdString(type);
        const std::string strip =
            "(defun strip (l) (vl-remove-if '(lambda (g) (member (car g) '(-1 5 330))) l)) ";
        const std::string answer = eval(
            strip + "(setq old (entget (handent \"" + h.toStdString() +
            "\"))) (if (entmake (strip old)) (equal (strip (entget (entlast))) (strip old) 1e-9) 'refused)");
        if (type == "\"INSERT\"" && answer == "REFUSED")
            continue;  // references with attributes are not made from lists
        EXPECT_EQ(answer, "T") << type << " " << h.toStdString() << ": " << log.join(u'\n').toStdString();
        ++made;
    }
    EXPECT_GE(made, 5);
}

TEST_F(SamplePlan, TablesAndVariablesAreSeenAsTheHostSeesThem) {
    for (const auto& [table, id] : {std::pair{"LAYER", doc->database()->layerTableId()},
                                    std::pair{"LTYPE", doc->database()->linetypeTableId()},
                                    std::pair{"STYLE", doc->database()->textStyleTableId()},
                                    std::pair{"BLOCK", doc->database()->blockTableId()}}) {
        QStringList names;
        static_cast<db::SymbolTable*>(id.peek())->forEachRecord(
            [&](db::SymbolTableRecord* r) { names << QString::fromStdString(r->name()); });
        const std::string walk = std::string("(setq out nil r (tblnext \"") + table +
                                 "\" T)) (while r (setq out (cons (cdr (assoc 2 r)) out) r (tblnext \"" +
                                 table + "\"))) (reverse out)";
        QStringList quoted;
        for (const QString& n : names) quoted << u'"' + n + u'"';
        EXPECT_EQ(QString::fromStdString(eval(walk)), u'(' + quoted.join(u' ') + u')') << table;
        for (const QString& n : names)
            EXPECT_EQ(eval(std::string("(cdr (assoc 2 (tblsearch \"") + table + "\" \"" +
                           n.toLower().toStdString() + "\")))"),
                      ('"' + n + '"').toStdString());
    }
    // Each variable reads as the host shows it, and a writable one takes its own value back.
    for (const SystemVariables::Info& v : SystemVariables::all()) {
        const auto value = host.variables().get(QLatin1String(v.name), doc);
        ASSERT_TRUE(value) << v.name;
        const std::string read = eval(std::string("(getvar \"") + v.name + "\")");
        EXPECT_NE(read, "nil") << v.name;
        if (v.readOnly) continue;
        EXPECT_EQ(eval(std::string("(setvar \"") + v.name + "\" (getvar \"" + v.name + "\"))"), read)
            << v.name;
    }
}

// Values a program could build: nested lists of numbers, strings with every escape, symbols and dotted pairs.
Value randomValue(Interpreter& lisp, std::mt19937& rng, int depth) {
    const int pick = std::uniform_int_distribution<int>(0, depth > 3 ? 4 : 6)(rng);
    switch (pick) {
        case 0:
            return Value(std::uniform_int_distribution<std::int32_t>(INT32_MIN, INT32_MAX)(rng));
        case 1:
            return Value(std::ldexp(std::uniform_real_distribution<double>(-1, 1)(rng),
                                    std::uniform_int_distribution<int>(-30, 30)(rng)));
        case 2: {
            static const char16_t kChars[] = u"aZ09 \"\\\n\t\r;()'.|x\u00e9\u4e2d";
            QString s;
            for (int i = std::uniform_int_distribution<int>(0, 8)(rng); i > 0; --i)
                s += QChar(kChars[std::uniform_int_distribution<int>(0, int(std::size(kChars)) - 2)(rng)]);
            return string(s);
        }
        case 3:
            return lisp.symbol(QStringLiteral("SYM%1").arg(std::uniform_int_distribution<int>(0, 99)(rng)));
        case 4:
            return Value();
        case 5:
            return cons(randomValue(lisp, rng, depth + 1), randomValue(lisp, rng, depth + 1));
        default: {
            std::vector<Value> items;
            for (int i = std::uniform_int_distribution<int>(0, 4)(rng); i > 0; --i)
                items.push_back(randomValue(lisp, rng, depth + 1));
            return list(std::move(items));
        }
    }
}

TEST(LispText, WhatThePrinterWritesTheReaderReadsBack) {
    Interpreter lisp(nullptr);
    std::mt19937 rng(17);
    for (int i = 0; i < 2000; ++i) {
        const Value v = randomValue(lisp, rng, 0);
        const QString text = print(v);
        Reader reader(lisp, text);
        Value back;
        ASSERT_TRUE(reader.next(back)) << text.toStdString();
        // Reals print with six digits, so the text, not the value, is what must come back.
        EXPECT_EQ(print(back), text);
    }
}

TEST(LispText, WildcardsAsCadProgramsReadThem) {
    struct Case {
        const char* text;
        const char* pattern;
        bool matches;
    };
    const Case cases[] = {
        {"", "*", true},         {"", "?", false},        {"abc", "a*c", true},  {"ac", "a*c", true},
        {"abcbc", "a*bc", true}, {"abcb", "a*bc", false}, {"A1", "@#", true},    {"1A", "@#", false},
        {"a-b", "a.b", true},    {"aXb", "a.b", false},   {"x", "~x", false},    {"y", "~x", true},
        {"b", "[abc]", true},    {"d", "[abc]", false},   {"d", "[~abc]", true}, {"q", "[a-z]", true},
        {"Q", "[a-z]", false},   {"*", "`*", true},       {"x", "`*", false},    {"a,b", "a`,b", true},
        {"b", "a,b", true},      {"c", "a,b", false},     {"]", "[]]", true},    {"door", "D*", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(WildcardMatch(QString::fromUtf8(c.text), QString::fromUtf8(c.pattern)), c.matches)
            << c.text << " / " << c.pattern;
    EXPECT_TRUE(WildcardMatch(u"door", u"D*", Qt::CaseInsensitive));
    // A long text against many stars ends quickly (no exponential backtracking).
    EXPECT_FALSE(WildcardMatch(QString(20000, u'a'), u"*a*a*a*a*a*a*a*a*b"));
}

}  // namespace
}  // namespace vela::host::lisp

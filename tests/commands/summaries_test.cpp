#include <charconv>

#include "commands/commands.h"
#include "db/dxf/file/dxf_writer.h"
#include "db/entities/ellipse.h"
#include "db/entities/hatch.h"
#include "db/entities/mtext.h"
#include "db/entities/point.h"
#include "db/entities/polyline.h"
#include "db/entities/spline.h"
#include "db/entities/text.h"
#include "fixture.h"

namespace vela::commands {
namespace {

using testing::DrawingTest;

// The groups of one record of a DXF text: from "0 TYPE" with this handle to the next 0, as code/value pairs.
std::vector<std::pair<int, std::string>> recordOf(const std::string& dxf, const std::string& handle) {
    std::vector<std::pair<int, std::string>> groups;
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < dxf.size()) {
        const std::size_t end = dxf.find('\n', start);
        lines.push_back(dxf.substr(start, end - start));
        start = end == std::string::npos ? dxf.size() : end + 1;
    }
    for (std::size_t i = 0; i + 3 < lines.size(); i += 2) {
        if (std::stoi(lines[i]) != 0 || std::stoi(lines[i + 2]) != 5 || lines[i + 3] != handle) continue;
        for (std::size_t k = i + 2; k + 1 < lines.size() && std::stoi(lines[k]) != 0; k += 2)
            groups.emplace_back(std::stoi(lines[k]), lines[k + 1]);
        break;
    }
    return groups;
}

// The JSON groups spread as a file holds them: points over three codes, numbers as the writer prints them.
std::vector<std::pair<int, std::string>> spread(const QJsonArray& dxf) {
    std::vector<std::pair<int, std::string>> groups;
    auto number = [](double v) {
        char buf[32];
        std::string s(buf, std::to_chars(buf, buf + sizeof buf, v).ptr);
        if (s.find_first_of(".e") == std::string::npos) s += ".0";
        return s;
    };
    for (const QJsonValue& g : dxf) {
        const int code = g.toObject().value("code").toInt();
        const QJsonValue v = g.toObject().value("value");
        if (v.isArray()) {
            const QJsonArray a = v.toArray();
            for (qsizetype i = 0; i < a.size(); ++i)
                groups.emplace_back(code + 10 * static_cast<int>(i), number(a[i].toDouble()));
        } else if (v.isString()) {
            groups.emplace_back(code, v.toString().toStdString());
        } else if (v.isBool()) {
            groups.emplace_back(code, v.toBool() ? "1" : "0");
        } else if (v.toDouble() == static_cast<double>(v.toInteger()) && (code < 10 || code >= 60) &&
                   !(code >= 110 && code < 150) && !(code >= 210 && code < 240) &&
                   !(code >= 1010 && code < 1060)) {
            groups.emplace_back(code, std::to_string(v.toInteger()));
        } else {
            groups.emplace_back(code, number(v.toDouble()));
        }
    }
    return groups;
}

class SummaryTest : public DrawingTest {
  protected:
    std::vector<db::ObjectId> everyType() {
        std::vector<db::ObjectId> ids;
        ids.push_back(line(addLayer("Walls"), db::Color::fromRgb(1, 2, 3)));
        ids.push_back(circle());
        ids.push_back(add(std::make_unique<db::Arc>(db::Point3d(1, 1), 2, 0.5, 2.0)));
        auto pl = std::make_unique<db::Polyline>();
        pl->addVertexAt(0, {0, 0}, 0.5);
        pl->addVertexAt(1, {3, 4});
        ids.push_back(add(std::move(pl)));
        auto el = std::make_unique<db::Ellipse>();
        el->set(db::Point3d(), db::Vector3d::zAxis(), db::Vector3d(2, 0, 0), 0.5);
        ids.push_back(add(std::move(el)));
        ids.push_back(add(std::make_unique<db::PointEntity>(db::Point3d(1, 2, 3))));
        ids.push_back(add(std::make_unique<db::Text>(db::Point3d(), "Kitchen", 2.5)));
        auto mt = std::make_unique<db::MText>();
        mt->setContents("{\\fArial;Hall}");
        ids.push_back(add(std::move(mt)));
        auto sp = std::make_unique<db::Spline>();
        sp->setNurbsData(1, {{0, 0}, {1, 1}}, {0, 0, 1, 1});
        ids.push_back(add(std::move(sp)));
        db::ObjectId block;
        db.addRecord(db.blockTableId(), std::make_unique<db::BlockTableRecord>("Chair"), &block);
        ids.push_back(add(std::make_unique<db::BlockReference>(db::Point3d(5, 5), block)));
        auto h = std::make_unique<db::Hatch>();
        db::HatchLoop loop;
        loop.flags = db::HatchLoop::kPolyline | db::HatchLoop::kExternal;
        loop.vertices = {{{0, 0}, 0}, {{1, 0}, 0}, {{1, 1}, 0}};
        h->appendLoop(loop);
        ids.push_back(add(std::move(h)));
        return ids;
    }
};

TEST_F(SummaryTest, EveryEntityTypeDumpsTheGroupsItsDxfRecordHolds) {
    const std::vector<db::ObjectId> ids = everyType();
    QJsonArray request;
    for (db::ObjectId id : ids) request.append(hex(id));
    request.append(42);
    request.append(QStringLiteral("ZZZ"));
    request.append(hex(db.layerZeroId()));  // not an entity
    const QJsonObject r =
        run(kSummarizeEntities.body, QJsonDocument(QJsonObject{{"handles", request}}).toJson().constData());
    ASSERT_TRUE(r.value("success").toBool());
    ASSERT_EQ(r.value("total").toInt(), static_cast<int>(ids.size()));
    const std::string dxf = db::writeDxf(db);
    const QStringList classes = {"LINE", "CIRCLE", "ARC",    "LWPOLYLINE", "ELLIPSE", "POINT",
                                 "TEXT", "MTEXT",  "SPLINE", "INSERT",     "HATCH"};
    const QJsonArray entities = r.value("entities").toArray();
    for (qsizetype i = 0; i < entities.size(); ++i) {
        const QJsonObject e = entities[i].toObject();
        EXPECT_EQ(e.value("class").toString(), classes[i]);
        EXPECT_EQ(e.value("id").toString(), hex(ids[static_cast<std::size_t>(i)]));
        EXPECT_FALSE(e.contains("isXref"));
        EXPECT_EQ(spread(e.value("dxf").toArray()),
                  recordOf(dxf, hex(ids[static_cast<std::size_t>(i)]).toStdString()))
            << "one declaration, two outputs: " << classes[i].toStdString();
    }
    const QJsonArray lineGroups = entities[0].toObject().value("dxf").toArray();
    EXPECT_EQ(lineGroups[0].toObject().value("code").toInt(), 5);
    bool sawPoint = false;
    for (const QJsonValue& g : lineGroups)
        if (g.toObject().value("code").toInt() == 10)
            sawPoint = g.toObject().value("value").toArray().size() == 3;
    EXPECT_TRUE(sawPoint) << "a 3D point is one group holding [x, y, z]";
}

TEST_F(SummaryTest, HandlesArrayIsRequiredAndXrefsAreMarked) {
    EXPECT_EQ(run(kSummarizeEntities.body, "{}").value("errorMessages").toString(),
              QStringLiteral("Missing or invalid 'handles' array in input"));
    EXPECT_EQ(run(kSummarizeEntities.body, R"({"handles":"2B7"})").value("errorMessages").toString(),
              QStringLiteral("Missing or invalid 'handles' array in input"));
    EXPECT_EQ(run(kSummarizeEntities.body, R"({"handles":[]})").value("errorMessages").toString(),
              QStringLiteral("Empty 'handles' array in input"));
    auto xref = std::make_unique<db::BlockTableRecord>("Site");
    xref->setPathName("site.dwg");
    db::ObjectId block;
    db.addRecord(db.blockTableId(), std::move(xref), &block);
    const db::ObjectId ref = add(std::make_unique<db::BlockReference>(db::Point3d(), block));
    const QJsonObject r =
        run(kSummarizeEntities.body,
            QStringLiteral(R"({"handles":["%1"]})").arg(hex(ref).toLower()).toUtf8().constData());
    const QJsonObject e = r.value("entities").toArray()[0].toObject();
    EXPECT_TRUE(e.value("isXref").toBool());
    EXPECT_EQ(e.value("id").toString(), hex(ref).toLower()) << "the id is the text as given";
}

TEST_F(SummaryTest, SelectedHandlesSkipErasedAndNonEntities) {
    QJsonObject r = run(kSelectedHandles.body, "{}");
    EXPECT_TRUE(r.value("success").toBool());
    EXPECT_EQ(r.value("count").toInt(), 0);
    EXPECT_TRUE(r.value("handles").toArray().isEmpty());
    const db::ObjectId a = line(), b = circle(), gone = line();
    db::openObject(gone, db::OpenMode::ForWrite)->erase();
    doc->selection().set({b, gone, db.layerZeroId(), a});
    r = run(kSelectedHandles.body, "{}");
    EXPECT_EQ(strings(r.value("handles")), (QStringList{hex(b), hex(a)}));
    EXPECT_EQ(r.value("count").toInt(), 2);
    EXPECT_EQ(runWithoutDrawing(kSelectedHandles.body, "{}").value("error").toString(),
              QStringLiteral("Invalid command context"));
}

TEST_F(SummaryTest, LayerSummaryGivesColorsAsRgbAndTransparencyAsPercentOrWord) {
    QJsonObject r = run(kSummarizeLayers.body, "{}");
    ASSERT_TRUE(r.value("success").toBool());
    ASSERT_EQ(r.value("total").toInt(), 1);
    QJsonObject zero = r.value("layers").toArray()[0].toObject();
    EXPECT_EQ(zero.value("name").toString(), QStringLiteral("0"));
    EXPECT_EQ(zero.value("color").toArray(), (QJsonArray{255, 255, 255}));
    EXPECT_EQ(zero.value("linetype").toString(), QStringLiteral("Continuous"));
    EXPECT_EQ(zero.value("lineweight").toString(), QStringLiteral("Default"));
    EXPECT_EQ(zero.value("transparency").toInt(-1), 0);
    EXPECT_TRUE(zero.value("on").toBool());

    const std::vector<std::pair<db::Transparency, QJsonValue>> cases = {
        {db::Transparency::fromAlpha(229), 10},
        {db::Transparency::fromAlpha(127), 50},
        {db::Transparency::fromAlpha(128), 49},
        {db::Transparency::fromAlpha(0), 100},
        {db::Transparency::byLayer(), QStringLiteral("ByLayer")},
        {db::Transparency::byBlock(), QStringLiteral("ByBlock")},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const db::ObjectId id = addLayer("L" + std::to_string(i), db::Color::fromIndex(1));
        auto layer = db::openObject<db::LayerTableRecord>(id, db::OpenMode::ForWrite);
        layer->setTransparency(cases[i].first);
        layer->setIsOff(i == 0);
        layer->setIsLocked(i == 1);
        layer->setLineWeight(db::LineWeight::W025);
    }
    const db::ObjectId erased = addLayer("Gone");
    db::openObject(erased, db::OpenMode::ForWrite)->erase();
    r = run(kSummarizeLayers.body, "{}");
    EXPECT_EQ(r.value("total").toInt(), 1 + static_cast<int>(cases.size())) << "erased layers are not listed";
    const QJsonArray layers = r.value("layers").toArray();
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const QJsonObject l = layers[static_cast<qsizetype>(i + 1)].toObject();
        EXPECT_EQ(l.value("transparency"), cases[i].second) << i;
        EXPECT_EQ(l.value("color").toArray(), (QJsonArray{255, 0, 0}))
            << "a palette index gives its components";
        EXPECT_EQ(l.value("lineweight").toString(), QStringLiteral("0.25 mm"));
    }
    EXPECT_FALSE(layers[1].toObject().value("on").toBool());
    EXPECT_TRUE(layers[2].toObject().value("locked").toBool());
    EXPECT_EQ(runWithoutDrawing(kSummarizeLayers.body, "{}").value("error").toString(),
              QStringLiteral("Invalid database"));
    EXPECT_EQ(runWithoutDrawing(kSummarizeLayers.body, "{}").value("total").toInt(-1), 0);
}

}  // namespace
}  // namespace vela::commands

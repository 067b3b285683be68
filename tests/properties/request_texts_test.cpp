#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonObject>
#include <cmath>
#include <cstring>
#include <random>

#include "db/database.h"
#include "db/entities/line.h"
#include "host/text/number_text.h"
#include "host/text/point_text.h"
#include "properties/handle_text.h"
#include "properties/json_text.h"
#include "properties/value_text.h"

namespace vela::properties {
namespace {

TEST(NumberTexts, ShortestTextsReadBackExactlyAndOnlyPlainNumbersAreRead) {
    EXPECT_EQ(host::ShortestNumberText(250000), "250000");
    EXPECT_EQ(host::ShortestNumberText(1e-6), "1e-06");
    EXPECT_EQ(host::ShortestNumberText(-0.0), "0");
    EXPECT_EQ(host::PointToText({-1.5, 1e300, 0.00001}), "-1.5,1e+300,0.00001");
    EXPECT_EQ(host::SixDigitNumberText(1234567.0), "1.23457e+06");
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        const std::uint64_t bits = random();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        if (i % 2) v = std::ldexp(static_cast<double>(bits >> 11), -20);  // everyday magnitudes too
        if (!std::isfinite(v)) continue;
        ASSERT_EQ(host::NumberFromText(host::ShortestNumberText(v)), v)
            << host::ShortestNumberText(v).toStdString();
    }
    EXPECT_EQ(host::NumberFromText(u" +1.5e3 "), 1500);
    EXPECT_EQ(host::NumberFromText(u".5"), 0.5);
    for (const char16_t* bad :
         {u"", u"1e", u"+-1", u"1 2", u"0x1", u"1,5", u"inf", u"nan", u"1e999", u"\u0661"})
        EXPECT_FALSE(host::NumberFromText(bad)) << QString::fromUtf16(bad).toStdString();
}

TEST(PointTexts, KeepPartsAndCoordinatesApartSoEachCommandCanApplyItsRule) {
    EXPECT_EQ(host::ReadPointText(u"1,2").point(), db::Point3d(1, 2, 0));
    EXPECT_EQ(host::ReadPointText(u" 1.5 , -2e3 ,7,junk").point(), db::Point3d(1.5, -2000, 7))
        << "a fourth part is ignored";
    const host::PointText typo = host::ReadPointText(u"a,2,");
    EXPECT_EQ(typo.parts, 3);
    EXPECT_FALSE(typo.x.has_value());
    EXPECT_EQ(typo.y, 2.0);
    EXPECT_FALSE(typo.z.has_value()) << "an empty third part is given but unreadable";
    EXPECT_FALSE(typo.point().has_value());
    for (const char16_t* bad : {u"", u"1", u"1;2", u"1,", u"1,2,z", u"1,inf"})
        EXPECT_FALSE(host::ReadPointText(bad).point().has_value()) << QString::fromUtf16(bad).toStdString();
    EXPECT_EQ(host::ReadPointText(u"5").parts, 1);
    EXPECT_EQ(host::ReadPointText(u"5").x, 5.0);
}

TEST(ValueTexts, NumbersBooleansAndTextsReadAsTheRequestMeantThem) {
    EXPECT_EQ(PlainText(QJsonValue(12345.0)), "12345");
    EXPECT_EQ(PlainText(QJsonValue(1e16)), "10000000000000000") << "whole numbers never get an exponent";
    EXPECT_EQ(PlainText(QJsonValue(0.1)), "0.1");
    EXPECT_EQ(PlainText(QJsonValue(true)), "true");
    EXPECT_EQ(PlainText(QJsonValue(QJsonArray{1})), "");
    EXPECT_EQ(PlainText(QJsonValue()), "");
    EXPECT_EQ(SixDigitText(QJsonValue(1234567.0)), "1.23457e+06");
    EXPECT_EQ(SixDigitText(QJsonValue(2.5)), "2.5");
    EXPECT_FALSE(SixDigitText(QJsonValue(QJsonObject())).has_value());
    EXPECT_FALSE(SixDigitText(QJsonValue(QJsonValue::Null)).has_value());
    for (const QJsonValue& yes : {QJsonValue(true), QJsonValue(2), QJsonValue("no"), QJsonValue("TRUE")})
        EXPECT_TRUE(Truth(yes)) << yes.toVariant().toString().toStdString();
    for (const QJsonValue& no : {QJsonValue(false), QJsonValue(0), QJsonValue(""), QJsonValue("0"),
                                 QJsonValue("False"), QJsonValue(), QJsonValue(QJsonArray{1})})
        EXPECT_FALSE(Truth(no)) << no.toVariant().toString().toStdString();
}

TEST(HandleTexts, StrictForCommandsForgivingForTheSelector) {
    db::Database database;
    db::ObjectId line;
    ASSERT_EQ(database.appendEntity(database.modelSpaceId(), std::make_unique<db::Line>(), &line),
              db::ErrorStatus::Ok);
    const QString text = HandleText(line);
    EXPECT_EQ(ObjectIdFromHandleText(database, text), line);
    EXPECT_EQ(ObjectIdFromHandleText(database, text.toLower()), line);
    for (const QString& bad : {QStringLiteral("0x") + text, QStringLiteral(" ") + text, QStringLiteral("0"),
                               QStringLiteral("FFFFFF"), QString(), QStringLiteral("12345678901234567")})
        EXPECT_TRUE(ObjectIdFromHandleText(database, bad).isNull()) << bad.toStdString();

    const SelectorHandle prefixed =
        ReadSelectorHandle(QJsonValue(QStringLiteral(" 0X") + text.toLower() + " "));
    EXPECT_EQ(prefixed.handle, line.handle());
    EXPECT_EQ(ReadSelectorHandle(QJsonValue(QStringLiteral("zz"))).text, "zz");
    EXPECT_FALSE(ReadSelectorHandle(QJsonValue(QStringLiteral("zz"))).handle.has_value());
    EXPECT_EQ(ReadSelectorHandle(QJsonValue(31)).handle, db::Handle(0x31)) << "a number is read as its text";

    EXPECT_EQ(HandleArray({line, line}), QJsonArray({text, text}));
    EXPECT_EQ(HandleArray({}), QJsonArray());
}

TEST(JsonTextWriter, WritesWhatQtReadsBackAndForgetsAValueGivenUpHalfWay) {
    JsonTextWriter w;
    w.beginArray();
    w.beginObject()
        .key("name")
        .string(QStringView(u"quote \" back\\slash \n tab\t \u00e9\U0001F600"))
        .endObject();
    const JsonTextWriter::Mark mark = w.mark();
    w.beginObject().key("half").beginArray().number(1);
    w.rewind(mark);
    w.beginObject()
        .key("p")
        .pointString({1, 0.1, -0.0})
        .key("r")
        .sixDigitString(1234567)
        .key("n")
        .number(1e-7);
    w.endObject().string(std::string_view("\x01")).endArray();
    const QJsonArray read = w.toArray();
    ASSERT_EQ(read.size(), 3) << "three values, the one given up left no trace";
    EXPECT_EQ(read[0]["name"].toString(),
              QString::fromUtf16(u"quote \" back\\slash \n tab\t \u00e9\U0001F600"));
    EXPECT_EQ(read[1]["p"].toString(), "1,0.1,0");
    EXPECT_EQ(read[1]["r"].toString(), "1.23457e+06");
    EXPECT_EQ(read[1]["n"].toDouble(), 1e-7);
    EXPECT_EQ(read[2].toString(), QString(QChar(1)));
}

}  // namespace
}  // namespace vela::properties

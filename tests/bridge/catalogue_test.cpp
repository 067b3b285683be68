#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <set>
#include <string>

#include "bridge/command_catalogue.h"
#include "bridge/velaassistant_communication.h"

namespace vela::bridge {
namespace {

// The slots that are no assistant command: the page's calls about the user interface and the add-on.
const std::set<std::string> kNoCommand = {"HighlightUi", "ElectricalGoTo", "newThreadStarted", "openUrl"};

TEST(Catalogue, EveryRowIsASlotInTheWebChannelsOrderAndEverySlotOfACommandIsARow) {
    const QMetaObject& meta = CJxVelaAssistantCommunication::staticMetaObject;
    int previous = -1;
    for (const catalogue::CommandRow* row : Catalogue()) {
        int index = -1;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            if (meta.method(i).methodType() == QMetaMethod::Slot && meta.method(i).name() == row->slot)
                index = i;
        ASSERT_GE(index, 0) << row->slot << " has no slot";
        EXPECT_GT(index, previous) << row->slot << " is out of the slots' order";
        previous = index;
        const QMetaMethod slot = meta.method(index);
        ASSERT_EQ(slot.parameterCount(), 1) << row->slot;
        EXPECT_EQ(slot.parameterNames().front(), row->parameter) << row->slot;
        EXPECT_EQ(slot.returnType(), QMetaType::QString) << row->slot;
    }
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QByteArray name = meta.method(i).name();
        if (meta.method(i).methodType() != QMetaMethod::Slot || kNoCommand.count(name.toStdString()))
            continue;
        EXPECT_NE(FindBySlot(QLatin1StringView(name)), nullptr) << name.constData() << " has no row";
    }
}

TEST(Catalogue, NamesAreUniqueAndEveryHostCommandIsNamedForTranslations) {
    std::set<std::string> slotNames, globals, classes;
    for (const catalogue::CommandRow* row : Catalogue()) {
        EXPECT_TRUE(slotNames.insert(row->slot).second) << row->slot;
        if (!row->globalName) {
            EXPECT_EQ(row->dispatch, catalogue::Dispatch::Direct) << row->slot << " runs no host command";
            continue;
        }
        EXPECT_TRUE(globals.insert(row->globalName).second) << row->globalName;
        ASSERT_NE(row->className, nullptr) << row->globalName;
        EXPECT_TRUE(classes.insert(row->className).second) << row->className;
        EXPECT_EQ(std::string(row->globalName).rfind("_V3_", 0), 0u) << row->globalName;
        EXPECT_EQ(FindByGlobalName(QLatin1StringView(row->globalName)), row);
    }
}

TEST(Catalogue, ClientsGetEveryRowWithItsSchemaAndWhetherItsBodyIsBuilt) {
    // ajv (tests/js) checks the schemas and examples themselves.
    const QJsonArray listed = CatalogueJson().value("commands").toArray();
    ASSERT_EQ(listed.size(), static_cast<qsizetype>(Catalogue().size()));
    for (qsizetype i = 0; i < listed.size(); ++i) {
        EXPECT_EQ(listed[i]["slot"].toString(), Catalogue()[i]->slot);
        EXPECT_EQ(listed[i]["available"].toBool(), Catalogue()[i]->body != nullptr);
        EXPECT_FALSE(listed[i]["requestSchema"].toObject().isEmpty());
    }
}

}  // namespace
}  // namespace vela::bridge
